#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>

#include "LineFilters/Hsv.h"
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

TEST(Dispatch, TheInstructionSetsDecideHowManyVariantsAreUsable) {
    EXPECT_EQ(2u, platen::CountUsable(false, false));
    EXPECT_EQ(2u, platen::CountUsable(false, true)) << "the variants build on each other";
    EXPECT_EQ(3u, platen::CountUsable(true, false));
    EXPECT_EQ(4u, platen::CountUsable(true, true));
}

TEST(Dispatch, NamesAreDistinctAndTablesComplete) {
    std::set<std::string> names;
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        EXPECT_TRUE(names.insert(variant->name).second) << variant->name;
        EXPECT_NE(nullptr, variant->sharpRow) << variant->name;
        EXPECT_NE(nullptr, variant->sharpPut) << variant->name;
        EXPECT_NE(nullptr, variant->hsvRow) << variant->name;
        EXPECT_NE(nullptr, variant->expandHorzU8) << variant->name;
        EXPECT_NE(nullptr, variant->expandHorzU16) << variant->name;
        EXPECT_NE(nullptr, variant->vert) << variant->name;
        EXPECT_NE(nullptr, variant->unpackBits) << variant->name;
        EXPECT_NE(nullptr, variant->packBits) << variant->name;
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
