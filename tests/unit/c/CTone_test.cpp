#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "ToneWorld/Spline.h"
#include "c/platen.h"
#include "support/AllocationLedger.h"

// The companion library's tone functions and splines: the results of the plain calls, exact statuses, and no
// exception wherever memory runs out.

namespace {

using platen_test::AllocationLedger;

constexpr std::uint32_t kTypes[] = {PLATEN_TYPE_BRIGHTNESS_CONTRAST, PLATEN_TYPE_LEVEL, PLATEN_TYPE_COLOR_BALANCE,
                                    PLATEN_TYPE_CURVES};

// An operation from the companion, which nothing else owns.
class Operation {
  public:
    explicit Operation(std::uint32_t type) {
        EXPECT_EQ(platen_operation_new(type, &op_), PLATEN_DONE);
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    ~Operation() {
        DisposeOperation(op_);
    }

    operator _SToneOperation*() const {
        return op_;
    }  // NOLINT(google-explicit-constructor)

  private:
    _SToneOperation* op_ = nullptr;
};

struct Property {
    std::uint32_t key;
    std::string value;
};

bool operator==(const Property& a, const Property& b) {
    return a.key == b.key && a.value == b.value;
}

std::vector<Property> PropertiesOf(const _SToneOperation* op) {
    std::vector<Property> properties;
    for (std::size_t i = 0; i < platen_operation_count(op); ++i) {
        const _SPropertyData* const property = platen_operation_at(op, i);
        properties.push_back({property->key, {static_cast<const char*>(property->data), property->size}});
    }
    return properties;
}

TEST(CTone, NewOperationsAreWhatTheSetUpFunctionsMake) {
    std::int32_t (*const setUps[])(_SToneOperation*) = {SetupBrightnessContrastOperation, SetupLevelOperation,
                                                        SetupColorBalanceOperation, SetupCurvesOperation};
    for (std::size_t i = 0; i < 4; ++i) {
        const Operation op(kTypes[i]);
        _SToneOperation* plain = nullptr;
        ASSERT_EQ(NewOperation(&plain), 0);
        ASSERT_EQ(setUps[i](plain), 0);
        EXPECT_EQ(static_cast<_SToneOperation*>(op)->type, plain->type);
        EXPECT_EQ(static_cast<_SToneOperation*>(op)->apply, plain->apply);
        EXPECT_EQ(PropertiesOf(op), PropertiesOf(plain));
        EXPECT_EQ(platen_operation_count(op), plain->properties->size());
        DisposeOperation(plain);
    }
}

TEST(CTone, UnknownTypesAndNullPointersAreBadArguments) {
    auto* op = reinterpret_cast<_SToneOperation*>(std::uintptr_t{0x1000});
    EXPECT_EQ(platen_operation_new(PLATEN_CODE('B', 'r', 'C', 'm'), &op), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(op, nullptr);
    EXPECT_EQ(platen_operation_new(PLATEN_TYPE_LEVEL, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_operation_new_custom(1, nullptr, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_world_new(nullptr), PLATEN_BAD_ARGUMENT);
    auto* world = reinterpret_cast<__OpaqeToneWorld*>(std::uintptr_t{0x1000});
    EXPECT_EQ(platen_world_copy(nullptr, &world), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(world, nullptr);
    ASSERT_EQ(platen_world_new(&world), PLATEN_DONE);
    EXPECT_EQ(platen_world_copy(world, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_world_add(world, nullptr), PLATEN_BAD_ARGUMENT);
    const Operation level(PLATEN_TYPE_LEVEL);
    EXPECT_EQ(platen_world_add(nullptr, level), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_world_count(world), 0u);
    EXPECT_EQ(platen_world_count(nullptr), 0u);
    EXPECT_EQ(platen_world_at(nullptr, 0), nullptr);
    EXPECT_EQ(platen_world_at(world, 0), nullptr);
    EXPECT_EQ(platen_operation_count(nullptr), 0u);
    EXPECT_EQ(platen_operation_at(nullptr, 0), nullptr);
    EXPECT_EQ(platen_operation_at(level, 5), nullptr);
    DisposeToneWorld(world, 0);
}

TEST(CTone, WorldsListTheirOperations) {
    __OpaqeToneWorld* world = nullptr;
    ASSERT_EQ(platen_world_new(&world), PLATEN_DONE);
    const Operation first(PLATEN_TYPE_LEVEL);
    const Operation second(PLATEN_TYPE_CURVES);
    for (_SToneOperation* op : {static_cast<_SToneOperation*>(first), static_cast<_SToneOperation*>(second),
                                static_cast<_SToneOperation*>(first)}) {
        EXPECT_EQ(platen_world_add(world, op), PLATEN_DONE);
    }
    EXPECT_EQ(platen_world_count(world), 3u);
    EXPECT_EQ(platen_world_at(world, 0), first);
    EXPECT_EQ(platen_world_at(world, 1), second);
    EXPECT_EQ(platen_world_at(world, 2), first);
    EXPECT_EQ(platen_world_at(world, 3), nullptr);
    EXPECT_EQ(GetOperation(world, PLATEN_TYPE_CURVES), second);
    RemoveOperation(world, first);
    EXPECT_EQ(platen_world_count(world), 1u);
    DisposeToneWorld(world, 0);
}

std::int32_t Invert(_SToneOperation* op, _SToneCurve* curve) {
    std::int32_t amount = 0;
    EXPECT_EQ(platen_get_int32(op, PLATEN_CODE('h', 'o', 's', 't'), &amount), PLATEN_DONE);
    for (int i = 0; i < 256; ++i) {
        curve->redTable[i] = static_cast<std::uint8_t>(amount - curve->redTable[i]);
    }
    return 0;
}

TEST(CTone, HostsMakeOperationsOfTheirOwn) {
    _SToneOperation* op = nullptr;
    ASSERT_EQ(platen_operation_new_custom(PLATEN_CODE('I', 'n', 'v', 't'), Invert, &op), PLATEN_DONE);
    EXPECT_EQ(platen_operation_count(op), 0u);
    const std::int32_t amount = 255;
    EXPECT_EQ(platen_operation_add_property(op, PLATEN_CODE('h', 'o', 's', 't'), 4, &amount), PLATEN_DONE);
    EXPECT_EQ(platen_operation_add_property(op, PLATEN_CODE('n', 'o', 'n', 'e'), 0, &amount), PLATEN_DONE);
    EXPECT_EQ(platen_operation_count(op), 2u);
    EXPECT_EQ(platen_operation_at(op, 1)->size, 0u);
    __OpaqeToneWorld* world = nullptr;
    ASSERT_EQ(platen_world_new(&world), PLATEN_DONE);
    ASSERT_EQ(platen_world_add(world, op), PLATEN_DONE);
    std::array<std::uint8_t, 256> table;
    _SToneCurve curve = {0, 0, 24, table.data(), table.data(), table.data(), 0, nullptr};
    MakeToneCurve(world, &curve);
    EXPECT_EQ(table[0], 255);
    EXPECT_EQ(table[200], 55);
    DisposeToneWorld(world, 1);
}

TEST(CTone, PropertiesTakeBlocksOfTheirSizeAndEmptyOnesAByte) {
    const std::uint8_t value[12] = {};
    for (const std::uint32_t size : {0u, 1u, 12u}) {
        const Operation op(PLATEN_TYPE_LEVEL);
        AllocationLedger ledger;
        EXPECT_EQ(platen_operation_add_property(op, 1, size, value), PLATEN_DONE);
        ASSERT_EQ(ledger.Outstanding(), 2u);
        EXPECT_EQ(ledger.OutstandingSizes()[0], size != 0 ? size : 1);  // the other is the list's node
    }
}

TEST(CTone, PropertiesNeedASetUpOperationAndAValue) {
    const std::int32_t value = 1;
    _SToneOperation* raw = nullptr;
    ASSERT_EQ(NewOperation(&raw), 0);
    EXPECT_EQ(platen_operation_add_property(raw, 1, 4, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_operation_add_property(nullptr, 1, 4, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_set_int32(raw, PLATEN_KEY_CONTRAST, 1), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_operation_count(raw), 0u);
    EXPECT_EQ(platen_operation_at(raw, 0), nullptr);
    EXPECT_EQ(platen_set_brightness_contrast(raw, 1, 1), PLATEN_BAD_ARGUMENT);
    DisposeOperation(raw);
    const Operation op(PLATEN_TYPE_LEVEL);
    EXPECT_EQ(platen_operation_add_property(op, 1, 4, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_operation_count(op), 5u);
}

TEST(CTone, ValuesAreSetAndReadByTheirTypes) {
    const Operation curves(PLATEN_TYPE_CURVES);
    const Operation level(PLATEN_TYPE_LEVEL);
    EXPECT_EQ(platen_set_int32(curves, PLATEN_KEY_CURVE_STRENGTH, -7), PLATEN_DONE);
    EXPECT_EQ(platen_set_point(curves, PLATEN_KEY_CURVE_POINT_2, 60.5f, 70.25f), PLATEN_DONE);
    EXPECT_EQ(platen_set_uint32(level, PLATEN_KEY_INPUT_WHITE, 4000000000u), PLATEN_DONE);
    EXPECT_EQ(platen_set_double(level, PLATEN_KEY_MID_TONE, 1.25), PLATEN_DONE);
    std::int32_t whole = 0;
    EXPECT_EQ(platen_get_int32(curves, PLATEN_KEY_CURVE_STRENGTH, &whole), PLATEN_DONE);
    EXPECT_EQ(whole, -7);
    float x = 0;
    float y = 0;
    EXPECT_EQ(platen_get_point(curves, PLATEN_KEY_CURVE_POINT_2, &x, &y), PLATEN_DONE);
    EXPECT_EQ(x, 60.5f);
    EXPECT_EQ(y, 70.25f);
    std::uint32_t positive = 0;
    EXPECT_EQ(platen_get_uint32(level, PLATEN_KEY_INPUT_WHITE, &positive), PLATEN_DONE);
    EXPECT_EQ(positive, 4000000000u);
    double number = 0;
    EXPECT_EQ(platen_get_double(level, PLATEN_KEY_MID_TONE, &number), PLATEN_DONE);
    EXPECT_EQ(number, 1.25);
}

TEST(CTone, ValuesOfAnotherSizeAreRefusedUntouched) {
    const Operation level(PLATEN_TYPE_LEVEL);
    const auto before = PropertiesOf(level);
    EXPECT_EQ(platen_set_int32(level, PLATEN_KEY_MID_TONE, 1), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_set_uint32(level, PLATEN_KEY_CONTRAST, 1), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_set_double(level, PLATEN_KEY_INPUT_BLACK, 1), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_set_point(level, PLATEN_KEY_INPUT_BLACK, 1, 1), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_set_int32(nullptr, PLATEN_KEY_INPUT_BLACK, 1), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(PropertiesOf(level), before);
    std::int32_t whole = 4711;
    EXPECT_EQ(platen_get_int32(level, PLATEN_KEY_MID_TONE, &whole), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_int32(level, PLATEN_KEY_INPUT_BLACK, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(whole, 4711);
    float x = 5;
    float y = 6;
    EXPECT_EQ(platen_get_point(level, PLATEN_KEY_INPUT_BLACK, &x, &y), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_point(level, PLATEN_KEY_MID_TONE, nullptr, &y), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_point(level, PLATEN_KEY_MID_TONE, &x, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(x, 5);
    EXPECT_EQ(y, 6);
}

TEST(CTone, WholeSettingsAreCheckedAndSet) {
    const Operation contrast(PLATEN_TYPE_BRIGHTNESS_CONTRAST);
    EXPECT_EQ(platen_set_brightness_contrast(contrast, 5, -100), PLATEN_DONE);
    EXPECT_EQ(platen_set_brightness_contrast(contrast, 5, -101), PLATEN_OUT_OF_RANGE);
    std::int32_t whole = 0;
    EXPECT_EQ(platen_get_int32(contrast, PLATEN_KEY_CONTRAST, &whole), PLATEN_DONE);
    EXPECT_EQ(whole, -100);
    EXPECT_EQ(platen_get_int32(contrast, PLATEN_KEY_BRIGHTNESS, &whole), PLATEN_DONE);
    EXPECT_EQ(whole, 5);

    const Operation level(PLATEN_TYPE_LEVEL);
    EXPECT_EQ(platen_set_level(level, 20, 1.5, 230, 1, 254), PLATEN_DONE);
    EXPECT_EQ(platen_set_level(level, 20, 1.5, 27, 1, 254), PLATEN_OUT_OF_RANGE);
    const std::uint32_t keys[] = {PLATEN_KEY_INPUT_BLACK, PLATEN_KEY_INPUT_WHITE, PLATEN_KEY_OUTPUT_BLACK,
                                  PLATEN_KEY_OUTPUT_WHITE};
    const std::uint32_t values[] = {20, 230, 1, 254};
    for (std::size_t i = 0; i < 4; ++i) {
        std::uint32_t value = 0;
        EXPECT_EQ(platen_get_uint32(level, keys[i], &value), PLATEN_DONE);
        EXPECT_EQ(value, values[i]);
    }
    EXPECT_EQ(platen_set_level(contrast, 20, 1.5, 230, 1, 254), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_set_level(nullptr, 20, 1.5, 230, 1, 254), PLATEN_BAD_ARGUMENT);
}

TEST(CTone, BalanceTakesItsNineAmountsInOrder) {
    const Operation balance(PLATEN_TYPE_COLOR_BALANCE);
    std::int32_t amounts[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(platen_set_color_balance(balance, amounts), PLATEN_DONE);
    for (std::size_t i = 0; i < 9; ++i) {
        std::int32_t value = 0;
        std::memcpy(&value, platen_operation_at(balance, i)->data, 4);
        EXPECT_EQ(value, amounts[i]);
    }
    amounts[8] = 101;
    EXPECT_EQ(platen_set_color_balance(balance, amounts), PLATEN_OUT_OF_RANGE);
    EXPECT_EQ(platen_set_color_balance(balance, nullptr), PLATEN_BAD_ARGUMENT);
    platen_operation_at(balance, 3)->key = 1;  // a host's edit: a property is missing
    amounts[8] = 9;
    EXPECT_EQ(platen_set_color_balance(balance, amounts), PLATEN_BAD_ARGUMENT);
}

TEST(CTone, CurvesAreAGammaOrGoThroughPoints) {
    const Operation curves(PLATEN_TYPE_CURVES);
    std::int32_t kind = 0;
    EXPECT_EQ(platen_set_gamma(curves, 30), PLATEN_DONE);
    EXPECT_EQ(platen_get_int32(curves, PLATEN_KEY_CURVE_KIND, &kind), PLATEN_DONE);
    EXPECT_EQ(kind, PLATEN_CURVE_GAMMA);
    EXPECT_EQ(platen_set_gamma(curves, 101), PLATEN_OUT_OF_RANGE);
    const float points[10] = {0, 1, 64, 65, 128, 129, 192, 193, 255, 254};
    for (const std::int32_t allowed : {PLATEN_CURVE_SPLINE, PLATEN_CURVE_POLYLINE}) {
        EXPECT_EQ(platen_set_curve(curves, allowed, points), PLATEN_DONE);
        EXPECT_EQ(platen_get_int32(curves, PLATEN_KEY_CURVE_KIND, &kind), PLATEN_DONE);
        EXPECT_EQ(kind, allowed);
    }
    const std::uint32_t keys[] = {PLATEN_KEY_CURVE_POINT_1, PLATEN_KEY_CURVE_POINT_2, PLATEN_KEY_CURVE_POINT_3,
                                  PLATEN_KEY_CURVE_POINT_4, PLATEN_KEY_CURVE_POINT_5};
    for (std::size_t i = 0; i < 5; ++i) {
        float x = -1;
        float y = -1;
        EXPECT_EQ(platen_get_point(curves, keys[i], &x, &y), PLATEN_DONE);
        EXPECT_EQ(x, points[2 * i]);
        EXPECT_EQ(y, points[2 * i + 1]);
    }
    EXPECT_EQ(platen_set_curve(curves, PLATEN_CURVE_GAMMA, points), PLATEN_OUT_OF_RANGE);
    EXPECT_EQ(platen_set_curve(curves, PLATEN_CURVE_SPLINE_ONCE, points), PLATEN_OUT_OF_RANGE);
    EXPECT_EQ(platen_set_curve(curves, PLATEN_CURVE_SPLINE, nullptr), PLATEN_BAD_ARGUMENT);
    const float falling[10] = {0, 1, 64, 65, 60, 129, 192, 193, 255, 254};
    EXPECT_EQ(platen_set_curve(curves, PLATEN_CURVE_SPLINE, falling), PLATEN_OUT_OF_RANGE);
}

// A world with an operation of each type, one of the host's and one that was never set up.
class World {
  public:
    World() {
        platen_world_new(&world);
        _SToneOperation* op = nullptr;
        for (const std::uint32_t type : kTypes) {
            platen_operation_new(type, &op);
            platen_world_add(world, op);
        }
        platen_operation_new_custom(1, nullptr, &op);
        platen_world_add(world, op);
        NewOperation(&op);
        platen_world_add(world, op);
        platen_set_brightness_contrast(platen_world_at(world, 0), 10, 20);
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World() {
        DisposeToneWorld(world, 1);
    }

    __OpaqeToneWorld* world = nullptr;
};

TEST(CTone, CopiesAreDeep) {
    const World source;
    __OpaqeToneWorld* copy = nullptr;
    ASSERT_EQ(platen_world_copy(source.world, &copy), PLATEN_DONE);
    ASSERT_EQ(platen_world_count(copy), 6u);
    for (std::size_t i = 0; i < 6; ++i) {
        const _SToneOperation* const from = platen_world_at(source.world, i);
        const _SToneOperation* const to = platen_world_at(copy, i);
        EXPECT_NE(from, to);
        EXPECT_EQ(from->type, to->type);
        EXPECT_EQ(from->apply, to->apply);
        EXPECT_EQ(from->properties == nullptr, to->properties == nullptr);
        EXPECT_EQ(PropertiesOf(from), PropertiesOf(to));
        for (std::size_t p = 0; p < platen_operation_count(from); ++p) {
            EXPECT_NE(platen_operation_at(from, p)->data, platen_operation_at(to, p)->data);
        }
    }
    DisposeToneWorld(copy, 1);
}

// Lets every request for memory of a call fail, once alone and once with all that follow: the status is 1, nothing
// comes out of it and nothing stays. Gives how many requests there were.
template <class Call>
std::size_t FailEveryRequest(Call call) {
    std::size_t failures = 0;
    for (const bool isNew : {false, true}) {
        for (const bool only : {true, false}) {
            for (std::size_t index = 0;; ++index) {
                AllocationLedger ledger;
                if (isNew) {
                    only ? ledger.FailOnlyNew(index) : ledger.FailFromNew(index);
                } else {
                    only ? ledger.FailOnly(index) : ledger.FailFrom(index);
                }
                const std::int32_t status = call();
                const std::size_t left = ledger.Outstanding();
                ledger.FailNone();
                if (status == PLATEN_DONE) {
                    break;
                }
                ledger.FreeOutstanding();
                EXPECT_EQ(status, PLATEN_OUT_OF_MEMORY);
                EXPECT_EQ(left, 0u);
                failures += only ? 1 : 0;
            }
        }
    }
    return failures;
}

TEST(CTone, EveryFailingRequestOfANewWorldGivesAStatus) {
    EXPECT_EQ(FailEveryRequest([] {
                  auto* world = reinterpret_cast<__OpaqeToneWorld*>(std::uintptr_t{0x1000});
                  const std::int32_t status = platen_world_new(&world);
                  if (status != PLATEN_DONE) {
                      return world == nullptr ? status : -1;
                  }
                  DisposeToneWorld(world, 0);
                  return status;
              }),
              2u);
}

TEST(CTone, EveryFailingRequestOfANewOperationGivesAStatus) {
    const std::size_t properties[] = {2, 5, 10, 7};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(FailEveryRequest([i] {
                      auto* op = reinterpret_cast<_SToneOperation*>(std::uintptr_t{0x1000});
                      const std::int32_t status = platen_operation_new(kTypes[i], &op);
                      if (status != PLATEN_DONE) {
                          return op == nullptr ? status : -1;
                      }
                      DisposeOperation(op);
                      return status;
                  }),
                  2 + 2 * properties[i]);
    }
}

TEST(CTone, EveryFailingRequestOfAnAdditionGivesAStatus) {
    const World world;
    const Operation op(PLATEN_TYPE_LEVEL);
    EXPECT_EQ(FailEveryRequest([&] {
                  const std::int32_t status = platen_world_add(world.world, op);
                  EXPECT_EQ(platen_world_count(world.world), status == PLATEN_DONE ? 7u : 6u);
                  RemoveOperation(world.world, op);
                  return status;
              }),
              1u);
    const std::int32_t value = 1;
    std::size_t expected = 5;
    EXPECT_EQ(FailEveryRequest([&] {
                  const std::int32_t status = platen_operation_add_property(op, 1, 4, &value);
                  expected += status == PLATEN_DONE ? 1 : 0;
                  EXPECT_EQ(platen_operation_count(op), expected);
                  return status;
              }),
              2u);
}

TEST(CTone, EveryFailingRequestOfACopyGivesAStatus) {
    const World source;
    // The world, its list, and for each operation its record, its list, its node; for each property a value and a
    // node.
    EXPECT_EQ(FailEveryRequest([&] {
                  auto* world = reinterpret_cast<__OpaqeToneWorld*>(std::uintptr_t{0x1000});
                  const std::int32_t status = platen_world_copy(source.world, &world);
                  if (status != PLATEN_DONE) {
                      return world == nullptr ? status : -1;
                  }
                  DisposeToneWorld(world, 1);
                  return status;
              }),
              2 + 6 * 3 + 2 * (2u + 5 + 10 + 7));
}

TEST(CStatus, EveryStatusHasAText) {
    EXPECT_STREQ(platen_status_text(PLATEN_DONE), "done");
    EXPECT_STREQ(platen_status_text(PLATEN_OUT_OF_MEMORY), "out of memory");
    EXPECT_STREQ(platen_status_text(PLATEN_BAD_ARGUMENT), "bad argument");
    EXPECT_STREQ(platen_status_text(PLATEN_OUT_OF_RANGE), "value out of range, or call out of order");
    EXPECT_STREQ(platen_status_text(4), "unknown status");
    EXPECT_STREQ(platen_status_text(-1), "unknown status");
}

TEST(CSpline, TablesAndValuesAreThoseOfThePlainFunctions) {
    double x[] = {0, 127, 255};
    double y[] = {0, 254, 255};
    double z[3];
    double plainZ[3];
    std::uint32_t table[256];
    unsigned long plain[256];
    EXPECT_EQ(platen_spline_creation(x, y, z, 3, table), PLATEN_DONE);
    splineCreation(x, y, plainZ, 3, plain);
    EXPECT_TRUE(std::equal(std::begin(z), std::end(z), plainZ));
    EXPECT_TRUE(std::equal(std::begin(table), std::end(table), plain));
    for (const double t : {-10.0, 0.0, 63.9, 127.0, 300.0}) {
        std::int32_t value = -1;
        EXPECT_EQ(platen_get_spline(3, t, x, y, z, &value), PLATEN_DONE);
        EXPECT_EQ(value, GetSpline(3, t, x, y, z));
        value = -1;
        EXPECT_EQ(platen_get_spline_curves(3, t, x, y, z, &value), PLATEN_DONE);
        EXPECT_EQ(value, GetSplineCurves(3, t, x, y, z));
    }
}

TEST(CSpline, BadArgumentsWriteNothing) {
    double x[65] = {};
    double y[65] = {};
    double z[65] = {};
    for (int i = 0; i < 65; ++i) {
        x[i] = i;
    }
    z[0] = 77;
    std::uint32_t table[256] = {88};
    for (const std::int32_t n : {-1, 2, 65}) {
        EXPECT_EQ(platen_spline_creation(x, y, z, n, table), PLATEN_BAD_ARGUMENT);
    }
    EXPECT_EQ(platen_spline_creation(nullptr, y, z, 3, table), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_spline_creation(x, nullptr, z, 3, table), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_spline_creation(x, y, nullptr, 3, table), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_spline_creation(x, y, z, 3, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(z[0], 77);
    EXPECT_EQ(table[0], 88u);
    EXPECT_EQ(platen_spline_creation(x, y, z, 3, table), PLATEN_DONE);
    EXPECT_EQ(platen_spline_creation(x, y, z, 64, table), PLATEN_DONE);
    std::int32_t value = 99;
    EXPECT_EQ(platen_get_spline(1, 0, x, y, z, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_spline(3, 0, nullptr, y, z, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_spline(3, 0, x, nullptr, z, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_spline(3, 0, x, y, nullptr, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_spline(3, 0, x, y, z, nullptr), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(platen_get_spline_curves(1, 0, x, y, z, &value), PLATEN_BAD_ARGUMENT);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(platen_get_spline(2, 0, x, y, z, &value), PLATEN_DONE);
}

}  // namespace
