#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "LineFilters/Hsv.h"
#include "Sources/Dispatch/KernelTargets.h"
#include "Sources/Dispatch/Kernels.h"

namespace {

// Puts the variant that was in use back.
class VariantInUse {
  public:
    VariantInUse() : before_(platen::Kernels()) {}
    ~VariantInUse() {
        platen::UseKernels(before_);
    }
    VariantInUse(const VariantInUse&) = delete;
    VariantInUse& operator=(const VariantInUse&) = delete;

  private:
    const platen::KernelTable& before_;
};

// What is in use where a constructor runs before the library's.
const platen::KernelTable* inUseFirst = nullptr;

[[gnu::constructor(101)]] void AskFirst() {
    inUseFirst = &platen::Kernels();
}

#define PLATEN_NAME(target) #target,
const std::vector<std::string>& Listed() {
    static const std::vector<std::string> listed = {"reference", PLATEN_EACH_TARGET(PLATEN_NAME)};
    return listed;
}

// Whether the processor has what a target's files are compiled for.
bool HasWhatItTakes([[maybe_unused]] const std::string& target) {
#if defined(__x86_64__)
    if (target == "avx2") {
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
    }
    if (target == "avx512") {
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
               __builtin_cpu_supports("avx512vbmi");
    }
#endif
    return true;
}

int rowsSeen = 0;

void CountingHsvRow(std::uint8_t*, std::size_t, std::int32_t, std::int32_t, const std::uint8_t*) {
    ++rowsSeen;
}

TEST(Dispatch, TheBestAvailableVariantIsInUseFromTheStart) {
    if (const char* forced = std::getenv("PLATEN_TEST_KERNELS")) {
        EXPECT_STREQ(forced, platen::Kernels().name);
        return;
    }
    EXPECT_EQ(platen::AvailableKernels().back(), &platen::Kernels());
}

TEST(Dispatch, TheReferenceIsAlwaysThereAndFirst) {
    ASSERT_FALSE(platen::AvailableKernels().empty());
    EXPECT_STREQ("reference", platen::AvailableKernels().front()->name);
}

// On x86_64, where processors differ, the plainest target until they have been asked.
TEST(Dispatch, ATableIsInUseBeforeTheLibrarysConstructorHasRun) {
#if defined(__x86_64__)
    const std::string expected = Listed()[Listed().size() == 1 ? 0 : 1];
#else
    const std::string expected = Listed().back();
#endif
    ASSERT_NE(nullptr, inUseFirst);
    EXPECT_EQ(expected, inUseFirst->name);
}

TEST(Dispatch, EveryTargetThatTheProcessorRunsIsAvailable) {
    std::vector<std::string> expected;
    for (const std::string& target : Listed()) {
        if (!HasWhatItTakes(target)) {
            break;
        }
        expected.push_back(target);
    }
    std::vector<std::string> available;
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        available.emplace_back(variant->name);
    }
    EXPECT_EQ(expected, available);
}

bool Has() {
    return true;
}

bool Lacks() {
    return false;
}

bool Crashes() {
    std::abort();
}

TEST(Dispatch, TargetsAreUsableUpToTheFirstThatTheProcessorLacks) {
    using Runs = bool (*)();
    const auto count = [](std::vector<Runs> runs) { return platen::CountUsable(runs); };
    EXPECT_EQ(0u, count({}));
    EXPECT_EQ(0u, count({Lacks, Crashes})) << "a target builds on those before it, which aren't there";
    EXPECT_EQ(2u, count({Has, Has, Lacks, Crashes}));
    EXPECT_EQ(3u, count({Has, Has, Has}));
}

TEST(Dispatch, TheTablesAreThoseOfTheListOfTargetsInItsOrder) {
    const std::vector<std::string>& listed = Listed();
    std::vector<std::string> available;
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        available.emplace_back(variant->name);
    }
    ASSERT_LE(available.size(), listed.size());
    EXPECT_TRUE(std::equal(available.begin(), available.end(), listed.begin()))
        << testing::PrintToString(available) << " are no beginning of " << testing::PrintToString(listed);
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()).size(), listed.size());
}

// Whether every entry of a table has its function, whatever entries it has: they are pointers, and nothing else.
template <class Table>
bool IsComplete(const Table& table) {
    static_assert(sizeof(Table) % sizeof(void*) == 0 && sizeof(void (*)()) == sizeof(void*));
    std::vector<const void*> entries(sizeof(Table) / sizeof(void*));
    std::memcpy(entries.data(), &table, sizeof table);
    return std::find(entries.begin(), entries.end(), nullptr) == entries.end();
}

TEST(Dispatch, TablesAreComplete) {
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        SCOPED_TRACE(variant->name);
        EXPECT_TRUE(IsComplete(*variant));
        ASSERT_NE(nullptr, variant->horz);
        ASSERT_NE(nullptr, variant->vert);
        EXPECT_TRUE(IsComplete(*variant->vert));
    }
}

TEST(Dispatch, CallsGoToTheVariantInUse) {
    const VariantInUse restore;
    platen::KernelTable counting = platen::Kernels();
    counting.name = "counting";
    counting.hsvRow = CountingHsvRow;
    platen::UseKernels(counting);
    EXPECT_EQ(&counting, &platen::Kernels());
    _SHsvParam param{10, 0, 0, 24, 4, 1, 12};
    void* handle = nullptr;
    ASSERT_EQ(0, SetupHsv(&param, &handle));
    unsigned char line[12] = {};
    EXPECT_EQ(0, ApplyOneLineHsv(handle, line));
    EXPECT_EQ(1, rowsSeen);
    Disposehsv(handle);
}

}  // namespace
