#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Refusals.h"
#include "platen.hpp"
#include "support/AllocationLedger.h"

// platen.hpp's tone world: the same tables as the plain calls, and what it says of settings that are out of range.

namespace {

using platen::Balance;
using platen::BrightnessContrast;
using platen::ColorBalance;
using platen::Curves;
using platen::Depth;
using platen::Level;
using platen::Status;
using platen::ToneOperation;
using platen::ToneTables;
using platen::ToneWorld;
using platen_test::AllocationLedger;
using platen_test::ProblemOf;
using platen_test::Thrown;

constexpr BrightnessContrast kContrast = {.contrast = 30};
constexpr Level kLevel = {
    .inputBlack = 20, .midTone = 1.4, .inputWhite = 230, .outputBlack = 3, .outputWhite = 250};
constexpr ColorBalance kBalance = {
    .shadows = {10, 20, 30}, .midtones = {-40, 50, -60}, .highlights = {70, -80, 90}};
constexpr Curves kGamma = {.kind = Curves::Kind::gamma, .strength = 25};
constexpr Curves kLines = {.kind = Curves::Kind::polyline,
                           .points = {{{20, 40}, {64, 64}, {128, 128}, {192, 192}, {230, 200}}}};

bool operator==(const ToneTables& a, const ToneTables& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

// What the world's own functions fold, from records set by hand.
class PlainWorld {
  public:
    PlainWorld() {
        NewToneWorld(&world_);
    }
    PlainWorld(const PlainWorld&) = delete;
    PlainWorld& operator=(const PlainWorld&) = delete;
    ~PlainWorld() {
        DisposeToneWorld(world_, 1);
    }

    template <class... Values>
    void Add(std::int32_t (*setUp)(_SToneOperation*), Values... values) {
        _SToneOperation* op = nullptr;
        NewOperation(&op);
        setUp(op);
        (SetOperationProperty(op, values.first, sizeof values.second, &values.second), ...);
        AddOperation(world_, op);
    }

    ToneTables Tables(std::int32_t depth) const {
        ToneTables tables;
        _SToneCurve curve = {0, 0, depth, tables.red.data(), tables.green.data(), tables.blue.data(), 0, nullptr};
        MakeToneCurve(world_, &curve);
        return tables;
    }

  private:
    __OpaqeToneWorld* world_ = nullptr;
};

template <class T>
std::pair<std::uint32_t, T> Value(const char (&key)[5], T value) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code * 256 + static_cast<unsigned char>(key[i]);
    }
    return {code, value};
}

TEST(CppTone, AllOperationsFoldAsThePlainCalls) {
    const ToneWorld world(kContrast, kLevel, kBalance, kGamma, kLines);
    PlainWorld plain;
    plain.Add(SetupBrightnessContrastOperation, Value("conT", 30));
    plain.Add(SetupLevelOperation, Value("iMin", 20u), Value("iMid", 1.4), Value("iMax", 230u), Value("oMin", 3u),
              Value("oMax", 250u));
    plain.Add(SetupColorBalanceOperation, Value("cbsR", 10), Value("cbsG", 20), Value("cbsB", 30),
              Value("cbmR", -40), Value("cbmG", 50), Value("cbmB", -60), Value("cbhR", 70), Value("cbhG", -80),
              Value("cbhB", 90));
    plain.Add(SetupCurvesOperation, Value("curV", 25), Value("curS", 2));
    plain.Add(SetupCurvesOperation, Value("curS", 1), Value("cuP1", std::array<float, 2>{20, 40}),
              Value("cuP5", std::array<float, 2>{230, 200}));
    EXPECT_TRUE(world.tables() == plain.Tables(24));
    EXPECT_TRUE(world.tables(Depth::gray) == plain.Tables(8));
    EXPECT_FALSE(world.tables(Depth::gray) == world.tables());
}

TEST(CppTone, BrightnessIsASettingOfItsOwn) {
    const ToneWorld world(BrightnessContrast{.brightness = 100});
    EXPECT_EQ(world.tables().red[0], 127);
    EXPECT_EQ(world.tables().blue[200], 255);
}

TEST(CppTone, EmptyWorldGivesTheIdentity) {
    ToneWorld world;
    EXPECT_EQ(world.handle(), nullptr);
    const ToneTables tables = world.tables();
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(tables.red[i], i);
        EXPECT_EQ(tables.green[i], i);
        EXPECT_EQ(tables.blue[i], i);
    }
    EXPECT_FALSE(world.find<Level>());
    const ToneWorld copy(world);
    EXPECT_EQ(copy.handle(), nullptr);
}

TEST(CppTone, DefaultsChangeNothing) {
    const ToneWorld world(BrightnessContrast{}, Level{}, ColorBalance{}, Curves{});
    EXPECT_TRUE(world.tables() == ToneWorld().tables());
}

TEST(CppTone, TablesGiveTheCurvesOwnCurve) {
    ToneWorld world(kContrast);
    std::array<std::uint8_t, 256> curve;
    curve.fill(99);
    const ToneTables without = world.tables(Depth::color, curve);
    EXPECT_TRUE(without == world.tables());
    EXPECT_EQ(curve[7], 99);
    world.add(kLines);
    const ToneTables with = world.tables(Depth::color, curve);
    EXPECT_TRUE(with == world.tables());
    EXPECT_EQ(curve, ToneWorld(kLines).tables().red);
}

TEST(CppTone, TablesMapLines) {
    const ToneTables tables = ToneWorld(ColorBalance{.shadows = {100, 0, -100}}).tables();
    std::vector<std::uint8_t> line = {64, 64, 64, 64, 64};
    tables.mapRgb(line);
    EXPECT_EQ(line, (std::vector<std::uint8_t>{93, 64, 0, 64, 64}));
    tables.mapGray(line);
    EXPECT_EQ(line, (std::vector<std::uint8_t>{tables.red[93], 93, 0, 93, 93}));
}

TEST(CppTone, WhatEndsGivesItsMemoryBack) {
    AllocationLedger ledger;
    std::size_t left[3];
    bool isOne = false;
    {
        ToneWorld world(kLevel);
        left[0] = ledger.Outstanding();
        const ToneOperation op = world.add(kContrast);
        left[1] = ledger.Outstanding();
        isOne = static_cast<bool>(op);
        world.remove(op);
        left[2] = ledger.Outstanding();
        world.add(kContrast);
    }
    const std::size_t ended = ledger.Outstanding();
    EXPECT_TRUE(isOne);
    EXPECT_LT(left[0], left[1]);
    EXPECT_EQ(left[0], left[2]);
    EXPECT_EQ(ended, 0u);
}

TEST(CppTone, EachSampleHasItsTable) {
    const ToneTables tables = ToneWorld(ColorBalance{.shadows = {100, 40, -40}}).tables();
    std::vector<std::uint8_t> line = {50, 60, 70, 80, 90, 100, 110};
    tables.mapRgb(line);
    EXPECT_EQ(line, (std::vector<std::uint8_t>{tables.red[50], tables.green[60], tables.blue[70], tables.red[80],
                                               tables.green[90], tables.blue[100], 110}));
    line = {50, 60, 70};
    tables.mapRgb(line);
    EXPECT_EQ(line, (std::vector<std::uint8_t>{tables.red[50], tables.green[60], tables.blue[70]}));
    for (const std::size_t level : {std::size_t{60}, std::size_t{90}}) {
        EXPECT_NE(tables.red[level], level);
        EXPECT_NE(tables.green[level], level);
        EXPECT_NE(tables.blue[level], level);
    }
    EXPECT_NE(tables.blue[70], tables.blue[80]);
    EXPECT_EQ(platen::Curves().strength, 0);
}

TEST(CppTone, OperationGivesBackItsSetting) {
    ToneWorld world;
    EXPECT_EQ(world.add(kContrast).get<BrightnessContrast>(), kContrast);
    EXPECT_EQ(world.add(kLevel).get<Level>(), kLevel);
    EXPECT_EQ(world.add(kBalance).get<ColorBalance>(), kBalance);
    EXPECT_EQ(world.add(kLines).get<Curves>(), kLines);
    EXPECT_EQ(world.find<Level>().get<Level>(), kLevel);
    EXPECT_FALSE(world.find<Level>().get<Curves>());
    EXPECT_FALSE(ToneOperation().get<Level>());
}

TEST(CppTone, OperationTakesAnotherSetting) {
    ToneWorld world(kContrast);
    ToneOperation op = world.find<BrightnessContrast>();
    op.set(BrightnessContrast{.brightness = 5});
    EXPECT_TRUE(world.tables() == ToneWorld(BrightnessContrast{.brightness = 5}).tables());
    EXPECT_EQ(op.trySet(BrightnessContrast{.brightness = 101}), Status::badArgument);
    EXPECT_EQ(Thrown([&] { op.set(BrightnessContrast{.brightness = 101}); }),
              "BrightnessContrast: brightness is 101; allowed: -100 to 100");
    EXPECT_EQ(Thrown([&] { op.set(kLevel); }),
              "ToneOperation::set: the operation is of another kind: bad argument");
    EXPECT_EQ(op.get<BrightnessContrast>(), BrightnessContrast{.brightness = 5});
}

// Records that a host has edited are answered, not overrun.
TEST(CppTone, OperationWithEditedPropertiesIsRefused) {
    ToneWorld world(kContrast);
    const ToneOperation op = world.find<BrightnessContrast>();
    ToneOperation edited = op;
    op.handle()->properties->front().size = 2;
    EXPECT_FALSE(op.get<BrightnessContrast>());
    EXPECT_EQ(edited.trySet(kContrast), Status::badArgument);
    op.handle()->properties->front().size = 4;
    op.handle()->properties->back().key = 1;
    EXPECT_FALSE(op.get<BrightnessContrast>());
    std::list<_SPropertyData>* const list = std::exchange(op.handle()->properties, nullptr);
    EXPECT_FALSE(op.get<BrightnessContrast>());
    op.handle()->properties = list;
}

TEST(CppTone, RemoveEndsAnOperation) {
    ToneWorld world(kContrast, kLevel);
    world.remove(world.find<Level>());
    EXPECT_FALSE(world.find<Level>());
    EXPECT_TRUE(world.tables() == ToneWorld(kContrast).tables());
}

TEST(CppTone, CopiesAreDeepAndMovesLeaveAnEmptyWorld) {
    ToneWorld world(kContrast);
    ToneWorld copy(world);
    world.find<BrightnessContrast>().set(BrightnessContrast{});
    EXPECT_TRUE(copy.tables() == ToneWorld(kContrast).tables());
    EXPECT_TRUE(world.tables() == ToneWorld().tables());
    ToneWorld assigned;
    assigned = copy;
    EXPECT_NE(assigned.handle(), copy.handle());
    EXPECT_TRUE(assigned.tables() == copy.tables());
    const ToneWorld moved(std::move(copy));
    EXPECT_EQ(copy.handle(), nullptr);  // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(moved.tables() == assigned.tables());
    world = std::move(assigned);
    EXPECT_TRUE(world.tables() == moved.tables());
}

TEST(CppTone, SettingsOutOfRangeSayWhatIsAllowed) {
    EXPECT_EQ(ProblemOf(kContrast), "");
    EXPECT_EQ(ProblemOf(BrightnessContrast{.contrast = -101}),
              "BrightnessContrast: contrast is -101; allowed: -100 to 100");
    EXPECT_EQ(ProblemOf(Level{.inputBlack = 300}), "Level: inputBlack is 300; allowed: 0 to 247");
    EXPECT_EQ(ProblemOf(Level{.midTone = 10}), "Level: midTone is 10; allowed: 0.1 to 9.99");
    EXPECT_EQ(ProblemOf(Level{.midTone = 0.05}), "Level: midTone is 0.05; allowed: 0.1 to 9.99");
    EXPECT_EQ(ProblemOf(Level{.midTone = std::numeric_limits<double>::quiet_NaN()}),
              "Level: midTone is nan; allowed: 0.1 to 9.99");
    EXPECT_EQ(ProblemOf(Level{.inputWhite = 256}), "Level: inputWhite is 256; allowed: 8 to 255");
    EXPECT_EQ(ProblemOf(Level{.outputBlack = 248}), "Level: outputBlack is 248; allowed: 0 to 247");
    EXPECT_EQ(ProblemOf(Level{.outputWhite = 7}), "Level: outputWhite is 7; allowed: 8 to 255");
    EXPECT_EQ(ProblemOf(Level{.inputBlack = 10, .inputWhite = 17}),
              "Level: inputWhite - inputBlack is 7; allowed: 8 to 255");
    EXPECT_EQ(ProblemOf(Level{.inputBlack = 10, .inputWhite = 18}), "");
    EXPECT_EQ(ProblemOf(Level{.outputBlack = 100, .outputWhite = 90}),
              "Level: outputWhite - outputBlack is -10; allowed: 8 to 255");
    EXPECT_EQ(ProblemOf(Curves{.strength = 101}), "Curves: strength is 101; allowed: -100 to 100");
    EXPECT_EQ(ProblemOf(Curves{.kind = static_cast<Curves::Kind>(4)}), "Curves: kind is 4; allowed: 1 to 3");
}

TEST(CppTone, BalanceNamesTheChannelThatIsOutOfRange) {
    constexpr Balance kRed = {.red = 101};
    constexpr Balance kGreen = {.green = 101};
    constexpr Balance kBlue = {.blue = -101};
    EXPECT_EQ(ProblemOf(ColorBalance{.shadows = kRed}), "ColorBalance: shadows.red is 101; allowed: -100 to 100");
    EXPECT_EQ(ProblemOf(ColorBalance{.shadows = kGreen}).find("ColorBalance: shadows.green is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.shadows = kBlue}).find("ColorBalance: shadows.blue is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.midtones = kRed}).find("ColorBalance: midtones.red is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.midtones = kGreen}).find("ColorBalance: midtones.green is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.midtones = kBlue}).find("ColorBalance: midtones.blue is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.highlights = kRed}).find("ColorBalance: highlights.red is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.highlights = kGreen}).find("ColorBalance: highlights.green is"), 0u);
    EXPECT_EQ(ProblemOf(ColorBalance{.highlights = kBlue}).find("ColorBalance: highlights.blue is"), 0u);
}

TEST(CppTone, PointsHaveRangesAndRise) {
    for (std::size_t i = 0; i < 5; ++i) {
        const auto lowest = static_cast<float>(4 * i);
        const std::string name = "Curves: points[" + std::to_string(i) + "].";
        Curves curves;
        curves.points[i].x = lowest + 239.5f;
        EXPECT_EQ(ProblemOf(curves).find(name + "x is"), 0u);
        curves.points[i].x = lowest - 0.5f;
        EXPECT_EQ(ProblemOf(curves).find(name + "x is"), 0u);
        curves = Curves();
        curves.points[i].y = 255.5f;
        EXPECT_EQ(ProblemOf(curves), name + "y is 255.5; allowed: 0 to 255");
        curves.points[i].y = -1;
        EXPECT_EQ(ProblemOf(curves), name + "y is -1; allowed: 0 to 255");
    }
    Curves curves;
    curves.points[2].x = 64;
    EXPECT_EQ(ProblemOf(curves), "Curves: points[].x must rise from point to point");
}

// A setting is accepted if and only if the library's apply function accepts it.
TEST(CppTone, RangesAreTheLibrarysOwn) {
    const auto applies = [](const auto& setting) {
        ToneWorld world;
        ToneOperation op = world.add(std::decay_t<decltype(setting)>());
        platen::detail::Tone<std::decay_t<decltype(setting)>>::each(
            setting, [&](std::uint32_t key, const auto& member) {
                SetOperationProperty(op.handle(), key, sizeof member, &member);
            });
        ToneTables tables = ToneWorld().tables();
        _SToneCurve curve = {0, 0, 24, tables.red.data(), tables.green.data(), tables.blue.data(), 0, nullptr};
        const bool accepted = op.handle()->apply(op.handle(), &curve) == 0;
        EXPECT_EQ(accepted, !setting.problem());
        EXPECT_EQ(world.tryAdd(setting), accepted ? Status::done : Status::badArgument);
    };
    for (const std::int32_t value : {-101, -100, 0, 100, 101}) {
        applies(BrightnessContrast{.brightness = value});
        applies(BrightnessContrast{.contrast = value});
        applies(ColorBalance{.midtones = {.green = value}});
        applies(Curves{.strength = value});
    }
    for (const std::uint32_t value : {0u, 7u, 8u, 240u, 247u, 248u, 255u, 256u, 0xFFFFFFFFu}) {
        applies(Level{.inputBlack = value});
        applies(Level{.inputWhite = value});
        applies(Level{.outputBlack = value});
        applies(Level{.outputWhite = value});
    }
    for (const double value : {0.09, 0.1, 1.0, 9.99, 10.0}) {
        applies(Level{.midTone = value});
    }
}

TEST(CppTone, SettingsOutOfRangeAreNotAdded) {
    ToneWorld world;
    EXPECT_EQ(Thrown([&] { world.add(Level{.inputBlack = 300}); }), "Level: inputBlack is 300; allowed: 0 to 247");
    EXPECT_EQ(Thrown([] { ToneWorld(kContrast, Level{.inputBlack = 300}); }),
              "Level: inputBlack is 300; allowed: 0 to 247");
    EXPECT_EQ(world.tryAdd(Level{.inputBlack = 300}), Status::badArgument);
    EXPECT_EQ(world.handle(), nullptr);
}

TEST(CppTone, SettingsCompare) {
    const auto differ = [](const auto& a, const auto& b) { return a == a && !(a == b) && a != b; };
    EXPECT_TRUE(differ(kContrast, BrightnessContrast{}));
    EXPECT_TRUE(differ(kLevel, Level{}));
    EXPECT_TRUE(differ(Balance{1, 2, 3}, Balance{1, 2, 4}));
    EXPECT_TRUE(differ(kBalance, ColorBalance{}));
    EXPECT_TRUE(differ(platen::Point{1, 2}, platen::Point{1, 3}));
    EXPECT_TRUE(differ(kGamma, kLines));
}

TEST(CppTone, StatusesHaveTexts) {
    EXPECT_STREQ(platen::text(Status::done), "done");
    EXPECT_STREQ(platen::text(Status::outOfMemory), "out of memory");
    EXPECT_STREQ(platen::text(Status::badArgument), "bad argument");
    EXPECT_STREQ(platen::text(Status::outOfOrder),
                 "out of order: closed, or finished lines wait to be read, or no more are to come");
    EXPECT_STREQ(platen::text(static_cast<Status>(9)), platen::text(Status::outOfOrder));
    const platen::Problem none;
    EXPECT_EQ(none.text(), "");
    EXPECT_EQ(none.value, 0.0);
    EXPECT_EQ(none.lowest, 0.0);
    EXPECT_EQ(none.highest, 0.0);
}

// Every request for memory fails once: the status says so, and the world is as it was.
template <class S>
void FailEveryRequest(const S& setting) {
    ToneWorld whole(kContrast);
    AllocationLedger all;
    const Status whenNoneFails = whole.tryAdd(setting);
    const std::size_t requests[] = {all.Mallocs(), all.News()};
    EXPECT_EQ(whenNoneFails, Status::done);
    for (const bool isNew : {false, true}) {
        for (std::size_t index = 0;; ++index) {
            ToneWorld world(kContrast);
            ToneOperation op;
            AllocationLedger ledger;
            isNew ? ledger.FailOnlyNew(index) : ledger.FailOnly(index);
            const Status status = world.tryAdd(setting, &op);
            ledger.FailNone();
            const std::size_t left = ledger.Outstanding();
            if (status == Status::done) {
                EXPECT_EQ(index, requests[isNew ? 1 : 0]);  // none failed
                break;
            }
            ledger.FreeOutstanding();
            EXPECT_EQ(status, Status::outOfMemory);
            EXPECT_LE(left, isNew ? 1u : 0u);  // what the library had not attached when its list threw
            EXPECT_FALSE(op);
            EXPECT_TRUE(world.tables() == ToneWorld(kContrast).tables());
            ASSERT_LT(index, 40u);
        }
    }
}

TEST(CppTone, EveryFailingRequestOfAnAdditionGivesAStatus) {
    FailEveryRequest(kContrast);
    FailEveryRequest(kLevel);
    FailEveryRequest(kBalance);
    FailEveryRequest(kLines);
}

TEST(CppTone, WithoutMemoryForAWorldNothingIsAdded) {
    for (const bool isNew : {false, true}) {
        ToneWorld world;
        AllocationLedger ledger;
        isNew ? ledger.FailOnlyNew(0) : ledger.FailOnly(0);
        const Status status = world.tryAdd(kContrast);
        ledger.FreeOutstanding();
        EXPECT_EQ(status, Status::outOfMemory);
        EXPECT_EQ(world.handle(), nullptr);
    }
    AllocationLedger ledger;
    ledger.FailOnly(0);
    bool thrown = false;
    try {
        const ToneWorld world(kContrast);
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    EXPECT_TRUE(thrown);
}

TEST(CppTone, EveryFailingRequestOfACopyGivesAStatus) {
    const ToneWorld source(kContrast, kLines);
    std::size_t failures = 0;
    for (const bool isNew : {false, true}) {
        for (std::size_t index = 0;; ++index) {
            ToneWorld world;
            AllocationLedger ledger;
            isNew ? ledger.FailOnlyNew(index) : ledger.FailOnly(index);
            const Status status = world.tryCopy(source);
            ledger.FailNone();
            if (status == Status::done) {
                break;
            }
            ledger.FreeOutstanding();
            ++failures;
            EXPECT_EQ(status, Status::outOfMemory);
            EXPECT_EQ(world.handle(), nullptr);
        }
    }
    EXPECT_GT(failures, 20u);
}

}  // namespace
