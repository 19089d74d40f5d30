#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "ToneFixture.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/Level.h"
#include "support/AllocationLedger.h"

// Every request for memory of every call fails once alone, and once with all that follow it.
//
// A call's requests are written as a string, in order: 'm' for malloc, 'n' for new. Nothing in this subsystem gives
// a block back where std::bad_alloc passes through, or where a duplication ends; so what stands in the ledger after
// such a failure is what was taken before it.

namespace {

using platen_test::AllocationLedger;
using tone_test::Code;
using tone_test::Curve;
using tone_test::Operation;

constexpr std::int32_t kThrown = -1;

struct Outcome {
    std::int32_t status;  // kThrown: std::bad_alloc came out
    std::size_t outstanding;
};

bool operator==(const Outcome& a, const Outcome& b) {
    return a.status == b.status && a.outstanding == b.outstanding;
}

void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << "status " << outcome.status << ", " << outcome.outstanding << " blocks";
}

// Runs the call; EXPECT macros stay outside, since their messages take memory.
template <class Call>
Outcome Attempt(const AllocationLedger& ledger, Call call) {
    Outcome outcome{};
    try {
        outcome.status = call();
    } catch (const std::bad_alloc&) {
        outcome.status = kThrown;
    }
    outcome.outstanding = ledger.Outstanding();
    return outcome;
}

enum class Mode { kOnly, kFrom };

void Arm(AllocationLedger& ledger, char kind, Mode mode, std::size_t index) {
    if (kind == 'm') {
        mode == Mode::kOnly ? ledger.FailOnly(index) : ledger.FailFrom(index);
    } else {
        mode == Mode::kOnly ? ledger.FailOnlyNew(index) : ledger.FailFromNew(index);
    }
}

// How many requests of `kind` come before `position`.
std::size_t IndexOf(const std::string& requests, std::size_t position) {
    std::size_t index = 0;
    for (std::size_t i = 0; i < position; ++i) {
        index += requests[i] == requests[position] ? 1u : 0u;
    }
    return index;
}

TEST(ToneWorldOutOfMemory, NewToneWorldLeavesTheHandleAlone) {
    auto* const untouched = reinterpret_cast<__OpaqeToneWorld*>(std::uintptr_t{0x1000});
    for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
        for (const char kind : {'m', 'n'}) {
            __OpaqeToneWorld* world = untouched;
            AllocationLedger ledger;
            Arm(ledger, kind, mode, 0);
            const Outcome outcome = Attempt(ledger, [&world] { return NewToneWorld(&world); });
            ledger.FreeOutstanding();
            // Where the list throws, the handle's block is left behind.
            EXPECT_EQ((kind == 'm' ? Outcome{1, 0} : Outcome{kThrown, 1}), outcome);
            EXPECT_EQ(untouched, world);
        }
    }
}

TEST(ToneWorldOutOfMemory, NewToneWorldTakesAHandleAndAList) {
    AllocationLedger ledger;
    __OpaqeToneWorld* world = nullptr;
    NewToneWorld(&world);
    const std::size_t mallocs = ledger.Mallocs();
    const std::size_t news = ledger.News();
    const std::vector<std::size_t> sizes = ledger.OutstandingSizes();
    DisposeToneWorld(world, 0);
    EXPECT_EQ(0u, ledger.Outstanding());
    EXPECT_EQ(1u, mallocs);
    EXPECT_EQ(1u, news);
    EXPECT_EQ((std::vector<std::size_t>{sizeof(void*), sizeof(std::list<_SToneOperation*>)}), sizes);
}

TEST(ToneWorldOutOfMemory, NewOperationGivesNull) {
    for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
        auto* op = reinterpret_cast<_SToneOperation*>(std::uintptr_t{0x1000});
        AllocationLedger ledger;
        Arm(ledger, 'm', mode, 0);
        const Outcome outcome = Attempt(ledger, [&op] { return NewOperation(&op); });
        EXPECT_EQ((Outcome{1, 0}), outcome);
        EXPECT_EQ(nullptr, op);
    }
}

TEST(ToneWorldOutOfMemory, AddOperationThrowsAndAddsNothing) {
    const tone_test::World world;
    const Operation op;
    const Operation second;
    world.Add(op);
    for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
        AllocationLedger ledger;
        Arm(ledger, 'n', mode, 0);
        const Outcome outcome = Attempt(ledger, [&] {
            world.Add(second);
            return 0;
        });
        EXPECT_EQ((Outcome{kThrown, 0}), outcome);
    }
    EXPECT_EQ(op.get(), GetOperation(world.get(), Code("none")));
}

TEST(ToneWorldOutOfMemory, AddPropertyIsSilent) {
    const Operation op(SetupBrightnessContrastOperation);
    for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
        const std::int32_t value = 5;
        AllocationLedger ledger;
        Arm(ledger, 'm', mode, 0);
        const Outcome outcome = Attempt(ledger, [&] {
            AddOperationProperty(op.get(), Code("addd"), 4, &value);
            return 0;
        });
        EXPECT_EQ((Outcome{0, 0}), outcome);
        EXPECT_EQ(0u, ledger.News());
        EXPECT_EQ(2u, op.get()->properties->size());
        std::int32_t read = 4711;
        GetOperationProperty(op.get(), Code("addd"), 4, &read);
        EXPECT_EQ(4711, read);
    }
}

TEST(ToneWorldOutOfMemory, AddPropertyThrowsWhereTheListDoes) {
    const Operation op(SetupBrightnessContrastOperation);
    for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
        AllocationLedger ledger;
        Arm(ledger, 'n', mode, 0);
        const Outcome outcome = Attempt(ledger, [&op] {
            op.Add("addd", std::int32_t{5});
            return 0;
        });
        ledger.FreeOutstanding();
        EXPECT_EQ((Outcome{kThrown, 1}), outcome);  // the value's block
        EXPECT_EQ(2u, op.get()->properties->size());
    }
}

// A set-up function's requests: the list, then for each property its value and its node.
struct SetupCase {
    Operation::Setup setup;
    std::size_t properties;
};
const SetupCase kSetups[] = {{SetupBrightnessContrastOperation, 2}, {SetupLevelOperation, 5}};

TEST(ToneWorldOutOfMemory, SetupMissesTheValuesThatMallocRefuses) {
    for (const SetupCase& test : kSetups) {
        for (std::size_t failing = 0; failing < test.properties; ++failing) {
            for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
                _SToneOperation op{};
                AllocationLedger ledger;
                Arm(ledger, 'm', mode, failing);
                const Outcome outcome = Attempt(ledger, [&] { return test.setup(&op); });
                const std::size_t there = mode == Mode::kOnly ? test.properties - 1 : failing;
                const std::size_t size = op.properties->size();
                ledger.FreeOutstanding();
                EXPECT_EQ((Outcome{0, 1 + 2 * there}), outcome) << failing;
                EXPECT_EQ(there, size);
                EXPECT_EQ(test.properties, ledger.Mallocs());
            }
        }
    }
}

TEST(ToneWorldOutOfMemory, SetupThrowsWhereAListDoes) {
    for (const SetupCase& test : kSetups) {
        for (std::size_t failing = 0; failing < 1 + test.properties; ++failing) {
            for (const Mode mode : {Mode::kOnly, Mode::kFrom}) {
                _SToneOperation op{};
                AllocationLedger ledger;
                Arm(ledger, 'n', mode, failing);
                const Outcome outcome = Attempt(ledger, [&] { return test.setup(&op); });
                const bool listIsThere = op.properties != nullptr;
                ledger.FreeOutstanding();
                EXPECT_EQ((Outcome{kThrown, 2 * failing}), outcome) << failing;
                EXPECT_EQ(failing != 0, listIsThere);
                EXPECT_NE(0u, op.type);  // stamped before
                EXPECT_NE(nullptr, op.apply);
            }
        }
    }
}

TEST(ToneWorldOutOfMemory, OperationWithoutItsValuesFallsBackToDefaults) {
    for (const SetupCase& test : kSetups) {
        _SToneOperation* op = nullptr;
        ASSERT_EQ(0, NewOperation(&op));
        {
            AllocationLedger ledger;
            ledger.FailFrom(0);
            test.setup(op);
        }
        Curve curve;
        EXPECT_EQ(op->type == Code("BrCn") ? 0 : 3, op->apply(op, &curve));
        EXPECT_TRUE(curve.IsIdentity());
        DisposeOperation(op);
    }
}

// Three operations: brightness, one without a property list, level. The requests of its duplication, operation by
// operation after the new world's own two.
const std::vector<std::string> kDuplicateParts = {"mn",
                                                  "mn"
                                                  "mnmn"
                                                  "n",
                                                  "m"
                                                  "n",
                                                  "mn"
                                                  "mnmnmnmnmn"
                                                  "n"};

struct Source {
    tone_test::World world;
    Operation brightness{SetupBrightnessContrastOperation};
    Operation bare;
    Operation level{SetupLevelOperation};

    Source() {
        world.Add(brightness);
        world.Add(bare);
        world.Add(level);
    }
    std::string Fingerprint() const {
        std::string text;
        for (const Operation* op : {&brightness, &bare, &level}) {
            text += std::to_string(reinterpret_cast<std::uintptr_t>(op->get()->properties)) + ' ';
            if (op->get()->properties != nullptr) {
                text += std::to_string(op->get()->properties->size()) + ' ';
            }
        }
        return text;
    }
};

std::string Join(const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& part : parts) {
        all += part;
    }
    return all;
}

TEST(ToneWorldOutOfMemory, DuplicateTakesWhatTheCopiesNeed) {
    const Source source;
    const std::string requests = Join(kDuplicateParts);
    AllocationLedger ledger;
    __OpaqeToneWorld* copy = nullptr;
    const Outcome outcome = Attempt(ledger, [&] { return DuplicateToneWorld(source.world.get(), &copy); });
    DisposeToneWorld(copy, 1);
    const std::size_t left = ledger.Outstanding();
    EXPECT_EQ((Outcome{0, requests.size()}), outcome);
    EXPECT_EQ(0u, left);
    EXPECT_EQ(requests.size(), ledger.Mallocs() + ledger.News());
}

// What happens when the request at a position of one part fails.
void FailDuplicate(std::size_t part, std::size_t offset, Mode mode) {
    const Source source;
    const std::string before = source.Fingerprint();
    const std::string requests = Join(kDuplicateParts);
    std::size_t partStart = 0;
    for (std::size_t i = 0; i < part; ++i) {
        partStart += kDuplicateParts[i].size();
    }
    const std::size_t position = partStart + offset;
    const bool throws = requests[position] == 'n';
    __OpaqeToneWorld* copy = nullptr;
    AllocationLedger ledger;
    Arm(ledger, requests[position], mode, IndexOf(requests, position));
    const Outcome outcome = Attempt(ledger, [&] { return DuplicateToneWorld(source.world.get(), &copy); });
    std::size_t copied = 0;
    std::size_t left = outcome.outstanding;
    if (copy != nullptr) {
        for (const std::uint32_t type : {Code("BrCn"), Code("LeVe")}) {
            const _SToneOperation* op = GetOperation(copy, type);
            copied += op != nullptr && op->type == type ? 1u : 0u;
        }
        DisposeToneWorld(copy, 1);
        left = ledger.Outstanding();
    }
    ledger.FreeOutstanding();
    ledger.FailNone();
    SCOPED_TRACE(std::to_string(part) + " " + std::to_string(offset));
    EXPECT_EQ((Outcome{throws ? kThrown : 1, position}), outcome);
    EXPECT_EQ(part == 0, copy == nullptr);
    EXPECT_EQ(offset, left);  // all that the unfinished copy had taken, and nothing else
    EXPECT_EQ(part <= 1 ? 0u : 1u, copied);
    EXPECT_EQ(before, source.Fingerprint());
}

TEST(ToneWorldOutOfMemory, DuplicateLeaksTheUnfinishedCopy) {
    for (std::size_t part = 0; part < kDuplicateParts.size(); ++part) {
        for (std::size_t offset = 0; offset < kDuplicateParts[part].size(); ++offset) {
            FailDuplicate(part, offset, Mode::kOnly);
            FailDuplicate(part, offset, Mode::kFrom);
        }
    }
}

TEST(ToneWorldOutOfMemory, DuplicateLeavesTheSourceUsable) {
    const Source source;
    source.brightness.Set("briT", std::int32_t{100});
    for (std::size_t failing = 0; failing < 11; ++failing) {
        AllocationLedger ledger;
        ledger.FailOnly(failing);
        __OpaqeToneWorld* copy = nullptr;
        DuplicateToneWorld(source.world.get(), &copy);
        DisposeToneWorld(copy, 1);
        ledger.FreeOutstanding();
    }
    Curve curve;
    MakeToneCurve(source.world.get(), &curve);
    EXPECT_TRUE(curve.Is([](int i) { return i + 127 < 256 ? i + 127 : 255; }));
}

TEST(ToneWorldOutOfMemory, AllOtherCallsNeedNoMemory) {
    const Source source;
    Curve curve;
    std::int32_t value = 10;
    AllocationLedger ledger;
    ledger.FailFrom(0);
    ledger.FailFromNew(0);
    SetOperationProperty(source.brightness.get(), Code("briT"), 4, &value);
    value = 0;
    GetOperationProperty(source.brightness.get(), Code("briT"), 4, &value);
    const std::int32_t status = MakeToneCurve(source.world.get(), &curve);
    const _SToneOperation* found = GetOperation(source.world.get(), Code("LeVe"));
    ApplyBrightnessContrast(source.brightness.get(), &curve);
    ApplyLevel(source.level.get(), &curve);
    RemoveOperation(source.world.get(), source.level.get());
    const std::size_t requests = ledger.Mallocs() + ledger.News();
    EXPECT_EQ(0u, requests);
    EXPECT_EQ(0, status);
    EXPECT_EQ(10, value);
    EXPECT_EQ(source.level.get(), found);
    EXPECT_EQ(24, curve.redTable[0]);
}

}  // namespace
