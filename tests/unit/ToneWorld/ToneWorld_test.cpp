#include "ToneWorld/ToneWorld.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "ToneFixture.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/Level.h"
#include "support/AllocationLedger.h"
#include "support/GuardedBuffer.h"

namespace {

using tone_test::Code;
using tone_test::Curve;
using tone_test::Operation;
using tone_test::World;

// Apply functions of the tests' own, to see who is called, how often and with what.
std::vector<const _SToneOperation*> calls;

std::int32_t Record(_SToneOperation* op, _SToneCurve*) {
    calls.push_back(op);
    return 77;  // a status that nobody may pass on
}

std::int32_t AddOne(_SToneOperation*, _SToneCurve* curve) {
    for (std::uint8_t* table : {curve->redTable, curve->greenTable, curve->blueTable}) {
        for (int i = 0; i < 256; ++i) {
            table[i] = static_cast<std::uint8_t>(table[i] + 1);
        }
    }
    return 0;
}

struct TypedOperation : Operation {
    explicit TypedOperation(const char* type) {
        get()->type = Code(type);
    }
};

TEST(ToneWorld, EmptyWorldGivesTheIdentity) {
    const World world;
    Curve curve;
    for (auto& table : curve.tables) {
        table.fill(0x5A);
    }
    EXPECT_EQ(0, MakeToneCurve(world.get(), &curve));
    EXPECT_TRUE(curve.IsIdentity());
}

TEST(ToneWorld, MakeToneCurveWritesNothingButTheTables) {
    const World world;
    platen_test::GuardedBuffer tables[3] = {platen_test::GuardedBuffer(256), platen_test::GuardedBuffer(256),
                                            platen_test::GuardedBuffer(256)};
    std::uint8_t copy[256] = {9};
    _SToneCurve curve = {-1, 123456, 17, tables[0].data(), tables[1].data(), tables[2].data(), 1, copy};
    const _SToneCurve before = curve;
    EXPECT_EQ(0, MakeToneCurve(world.get(), &curve));
    EXPECT_EQ(0, std::memcmp(&before, &curve, sizeof curve));
    EXPECT_EQ(9, copy[0]);
    EXPECT_EQ(255, tables[2][255]);
}

TEST(ToneWorld, GetOperationOnAnEmptyWorldIsNull) {
    const World world;
    EXPECT_EQ(nullptr, GetOperation(world.get(), Code("BrCn")));
}

TEST(ToneWorld, MissReturnsLastOperation) {
    const World world;
    const TypedOperation first("BrCn");
    const TypedOperation last("LeVe");
    world.Add(first);
    world.Add(last);
    EXPECT_EQ(last.get(), GetOperation(world.get(), Code("CoBa")));
    EXPECT_EQ(first.get(), GetOperation(world.get(), Code("BrCn")));
    EXPECT_EQ(last.get(), GetOperation(world.get(), Code("LeVe")));
}

TEST(ToneWorld, GetOperationReturnsTheFirstOfItsType) {
    const World world;
    const TypedOperation other("LeVe");
    const TypedOperation first("BrCn");
    const TypedOperation second("BrCn");
    world.Add(other);
    world.Add(first);
    world.Add(second);
    EXPECT_EQ(first.get(), GetOperation(world.get(), Code("BrCn")));
}

TEST(ToneWorld, OperationsActInTheOrderOfAdding) {
    const World world;
    Operation ops[3];
    for (const int i : {2, 0, 1}) {
        ops[i].get()->apply = Record;
        world.Add(ops[i]);
    }
    Curve curve;
    calls.clear();
    EXPECT_EQ(0, MakeToneCurve(world.get(), &curve));
    EXPECT_EQ((std::vector<const _SToneOperation*>{ops[2].get(), ops[0].get(), ops[1].get()}), calls);
}

TEST(ToneWorld, OperationAddedTwiceRunsTwiceAndIsRemovedAtOnce) {
    const World world;
    const Operation twice;
    const Operation other;
    twice.get()->apply = AddOne;
    other.get()->apply = Record;
    world.Add(twice);
    world.Add(other);
    world.Add(twice);
    Curve curve;
    MakeToneCurve(world.get(), &curve);
    EXPECT_TRUE(curve.Is([](int i) { return (i + 2) & 255; }));
    RemoveOperation(world.get(), twice.get());
    calls.clear();
    MakeToneCurve(world.get(), &curve);
    EXPECT_TRUE(curve.IsIdentity());
    EXPECT_EQ(1u, calls.size());
}

TEST(ToneWorld, RemoveOperationOfAnAbsentOneChangesNothing) {
    const World world;
    const Operation in;
    const Operation absent;
    in.get()->apply = AddOne;
    world.Add(in);
    RemoveOperation(world.get(), absent.get());
    Curve curve;
    MakeToneCurve(world.get(), &curve);
    EXPECT_TRUE(curve.Is([](int i) { return (i + 1) & 255; }));
}

TEST(ToneWorld, OperationWithoutApplyFunctionIsPassedOver) {
    const World world;
    const Operation bare;
    const Operation acting;
    acting.get()->apply = AddOne;
    world.Add(bare);
    world.Add(acting);
    Curve curve;
    EXPECT_EQ(0, MakeToneCurve(world.get(), &curve));
    EXPECT_TRUE(curve.Is([](int i) { return (i + 1) & 255; }));
}

TEST(ToneWorld, OutOfRangeOperationDropsOut) {
    const World world;
    const Operation before(SetupBrightnessContrastOperation);
    const Operation invalid(SetupBrightnessContrastOperation);
    const Operation alsoInvalid(SetupLevelOperation);
    before.SetAll(plain::BrightnessContrast{10, 0});
    invalid.SetAll(plain::BrightnessContrast{101, 50});
    world.Add(before);
    world.Add(invalid);
    world.Add(alsoInvalid);
    Curve curve;
    EXPECT_EQ(0, MakeToneCurve(world.get(), &curve));
    EXPECT_TRUE(curve.Is([](int i) { return std::min(i + 12, 255); }));
}

TEST(ToneWorld, SettingsMayChangeBetweenCurves) {
    const World world;
    const Operation op(SetupBrightnessContrastOperation);
    world.Add(op);
    Curve curve;
    MakeToneCurve(world.get(), &curve);
    EXPECT_TRUE(curve.IsIdentity());
    op.Set("briT", std::int32_t{100});
    MakeToneCurve(world.get(), &curve);
    EXPECT_TRUE(curve.Is([](int i) { return std::min(i + 127, 255); }));
    op.Set("briT", std::int32_t{0});
    MakeToneCurve(world.get(), &curve);
    EXPECT_TRUE(curve.IsIdentity());
}

TEST(ToneWorld, OneBufferForThreeTablesIsMappedOncePerTable) {
    const World world;
    const Operation op(SetupBrightnessContrastOperation);
    op.SetAll(plain::BrightnessContrast{10, 50});
    world.Add(op);
    Curve curve;
    curve.greenTable = curve.blueTable = curve.redTable;
    MakeToneCurve(world.get(), &curve);
    // Three times the brightness, then three times the contrast.
    plain::Tables expected = plain::Tables::Identity();
    for (int i = 0; i < 3; ++i) {
        plain::Apply(plain::BrightnessContrast{10, 0}, 24, expected);
    }
    for (int i = 0; i < 3; ++i) {
        plain::Apply(plain::BrightnessContrast{0, 50}, 24, expected);
    }
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(expected.t[0][i], curve.tables[0][i]) << i;
    }
}

TEST(ToneWorld, NewOperationIsAllZero) {
    _SToneOperation* op = nullptr;
    ASSERT_EQ(0, NewOperation(&op));
    const std::array<std::uint8_t, sizeof(_SToneOperation)> zeros{};
    EXPECT_EQ(0, std::memcmp(zeros.data(), op, sizeof *op));
    DisposeOperation(op);
}

TEST(ToneWorld, GetPropertyOfAnAbsentKeyLeavesTheDestination) {
    const Operation op(SetupBrightnessContrastOperation);
    EXPECT_EQ(4711, op.Get("abcd", std::int32_t{4711}));
    EXPECT_EQ(0, op.Get("briT", std::int32_t{4711}));
}

TEST(ToneWorld, LookupsTakeTheFirstOfEqualKeys) {
    const Operation op(SetupBrightnessContrastOperation);
    op.Add("twic", std::int32_t{1});
    op.Add("twic", std::int32_t{2});
    EXPECT_EQ(1, op.Get("twic", std::int32_t{0}));
    op.Set("twic", std::int32_t{3});
    EXPECT_EQ(3, op.Get("twic", std::int32_t{0}));
    EXPECT_EQ(4u, op.get()->properties->size());
    EXPECT_EQ(2, *static_cast<const std::int32_t*>(op.get()->properties->back().data));
}

TEST(ToneWorld, GetPropertyCopiesTheStoredSize) {
    const Operation op(SetupBrightnessContrastOperation);
    op.Add("eigh", std::uint64_t{0x1122334455667788});
    for (const std::uint32_t size : {0u, 1u, 100u}) {
        std::uint64_t value[2] = {0, 5};
        GetOperationProperty(op.get(), Code("eigh"), size, value);
        EXPECT_EQ(0x1122334455667788u, value[0]) << size;
        EXPECT_EQ(5u, value[1]) << size;
    }
}

TEST(ToneWorld, SetPropertyCopiesTheGivenSize) {
    const Operation op(SetupBrightnessContrastOperation);
    const std::array<std::uint8_t, 8> first = {1, 2, 3, 4, 5, 6, 7, 8};
    const std::array<std::uint8_t, 8> second = {11, 12, 13, 14, 15, 16, 17, 18};
    op.Add("eigh", first);
    SetOperationProperty(op.get(), Code("eigh"), 3, second.data());
    EXPECT_EQ((std::array<std::uint8_t, 8>{11, 12, 13, 4, 5, 6, 7, 8}), op.Get("eigh", first));
    SetOperationProperty(op.get(), Code("eigh"), 8, second.data());
    EXPECT_EQ(second, op.Get("eigh", first));
    EXPECT_EQ(8u, op.get()->properties->back().size);
}

TEST(ToneWorld, SetPropertyOfAnAbsentKeyChangesNothing) {
    const Operation op(SetupBrightnessContrastOperation);
    op.Set("abcd", std::int32_t{9});
    EXPECT_EQ(2u, op.get()->properties->size());
    EXPECT_EQ(0, op.Get("briT", std::int32_t{1}));
    EXPECT_EQ(0, op.Get("conT", std::int32_t{1}));
}

TEST(ToneWorld, PropertyCallsWithoutAListDoNothing) {
    const Operation op;
    op.Add("briT", std::int32_t{5});
    op.Set("briT", std::int32_t{6});
    EXPECT_EQ(7, op.Get("briT", std::int32_t{7}));
    EXPECT_EQ(nullptr, op.get()->properties);
}

TEST(ToneWorld, PropertyBlocksAreExactlyAsLargeAsTheValue) {
    const Operation op(SetupBrightnessContrastOperation);
    const std::array<std::uint8_t, 259> value{};
    platen_test::AllocationLedger ledger;
    op.Add("larg", value);
    const std::vector<std::size_t> sizes = ledger.OutstandingSizes();
    ASSERT_EQ(2u, sizes.size());
    EXPECT_EQ(259u, sizes[0]);
}

TEST(ToneWorld, DuplicateIsDeep) {
    const World source(1);
    Operation brightness(SetupBrightnessContrastOperation);
    Operation level(SetupLevelOperation);
    brightness.Set("briT", std::int32_t{42});
    level.SetAll(plain::Level{5, 2.5, 250, 1, 254});
    level.Add("iMid", 9.0);  // a second one must keep its place
    source.Add(brightness);
    source.Add(level);
    __OpaqeToneWorld* copy = nullptr;
    ASSERT_EQ(0, DuplicateToneWorld(source.get(), &copy));
    for (const Operation* op : {&brightness, &level}) {
        _SToneOperation* twin = GetOperation(copy, op->get()->type);
        ASSERT_NE(op->get(), twin);
        EXPECT_EQ(op->get()->type, twin->type);
        EXPECT_EQ(op->get()->apply, twin->apply);
        ASSERT_NE(op->get()->properties, twin->properties);
        ASSERT_EQ(op->get()->properties->size(), twin->properties->size());
        auto theirs = twin->properties->begin();
        for (const _SPropertyData& ours : *op->get()->properties) {
            EXPECT_EQ(ours.key, theirs->key);
            ASSERT_EQ(ours.size, theirs->size);
            EXPECT_NE(ours.data, theirs->data);
            EXPECT_EQ(0, std::memcmp(ours.data, theirs->data, ours.size));
            ++theirs;
        }
    }
    const std::int32_t changed = -7;
    SetOperationProperty(GetOperation(copy, Code("BrCn")), Code("briT"), 4, &changed);
    EXPECT_EQ(42, brightness.Get("briT", std::int32_t{0}));
    DisposeToneWorld(copy, 1);
    EXPECT_EQ(42, brightness.Get("briT", std::int32_t{0}));
    brightness.release();  // the source's world disposes of both
    level.release();
}

TEST(ToneWorld, DuplicateKeepsTheOrderAndRepetitions) {
    const World source;
    const TypedOperation a("BrCn");
    const TypedOperation b("LeVe");
    a.get()->apply = Record;
    b.get()->apply = Record;
    for (const TypedOperation* op : {&a, &b, &a}) {
        source.Add(*op);
    }
    __OpaqeToneWorld* copy = nullptr;
    ASSERT_EQ(0, DuplicateToneWorld(source.get(), &copy));
    Curve curve;
    calls.clear();
    MakeToneCurve(copy, &curve);
    ASSERT_EQ(3u, calls.size());
    EXPECT_EQ(a.get()->type, calls[0]->type);
    EXPECT_EQ(b.get()->type, calls[1]->type);
    EXPECT_EQ(a.get()->type, calls[2]->type);
    EXPECT_NE(calls[0], calls[2]);
    EXPECT_NE(a.get(), calls[0]);
    EXPECT_EQ(nullptr, calls[0]->properties);  // a source without a list gives a copy without one
    DisposeToneWorld(copy, 1);
}

TEST(ToneWorld, DuplicateOfAnEmptyWorldIsEmpty) {
    const World source;
    __OpaqeToneWorld* copy = nullptr;
    ASSERT_EQ(0, DuplicateToneWorld(source.get(), &copy));
    ASSERT_NE(source.get(), copy);
    EXPECT_EQ(nullptr, GetOperation(copy, Code("BrCn")));
    DisposeToneWorld(copy, 1);
}

TEST(ToneWorld, DisposeWithoutFlagLeavesOperations) {
    const Operation op(SetupBrightnessContrastOperation);
    {
        const World world(0);
        world.Add(op);
        world.Add(op);
    }
    op.Set("briT", std::int32_t{100});
    Curve curve;
    EXPECT_EQ(0, op.Apply(&curve));
    EXPECT_TRUE(curve.Is([](int i) { return std::min(i + 127, 255); }));
}

TEST(ToneWorld, DisposeOfANullWorldDoesNothing) {
    platen_test::AllocationLedger ledger;
    DisposeToneWorld(nullptr, 0);
    DisposeToneWorld(nullptr, 1);
    EXPECT_EQ(0u, ledger.Mallocs() + ledger.News());
}

TEST(ToneWorld, DisposeWithAnyFlagFreesEverything) {
    for (const std::int32_t flag : {1, -1, 256, INT32_MIN}) {
        platen_test::AllocationLedger ledger;
        __OpaqeToneWorld* world = nullptr;
        NewToneWorld(&world);
        for (int i = 0; i < 3; ++i) {
            _SToneOperation* op = nullptr;
            NewOperation(&op);
            if (i != 0) {  // the first stays without a property list
                SetupLevelOperation(op);
            }
            AddOperation(world, op);
        }
        const std::size_t mallocs = ledger.Mallocs();
        const std::size_t news = ledger.News();
        DisposeToneWorld(world, flag);
        const std::size_t outstanding = ledger.Outstanding();
        EXPECT_EQ(0u, outstanding) << flag;
        EXPECT_EQ(1u + 3u + 2 * 5u, mallocs);      // handle, records, values
        EXPECT_EQ(1u + 3u + 2 * (1u + 5u), news);  // list and nodes, property lists and nodes
    }
}

TEST(ToneWorld, FourCharacterCodesAreNumbers) {
    const Operation op(SetupBrightnessContrastOperation);
    EXPECT_EQ(0x4272436Eu, op.get()->type);
    EXPECT_EQ(0x62726954u, op.get()->properties->front().key);
    EXPECT_EQ(0x636F6E54u, op.get()->properties->back().key);
    const Operation level(SetupLevelOperation);
    EXPECT_EQ(0x4C655665u, level.get()->type);
}

TEST(ToneWorld, RecordsHaveTheStatedFields) {
    static_assert(std::is_same_v<decltype(_SToneOperation::type), std::uint32_t>);
    static_assert(std::is_same_v<decltype(_SToneOperation::properties), std::list<_SPropertyData>*>);
    static_assert(
        std::is_same_v<decltype(_SToneOperation::apply), std::int32_t (*)(_SToneOperation*, _SToneCurve*)>);
    static_assert(std::is_same_v<decltype(_SPropertyData::key), std::uint32_t>);
    static_assert(std::is_same_v<decltype(_SPropertyData::size), std::uint32_t>);
    static_assert(std::is_same_v<decltype(_SToneCurve::depth), std::int32_t>);
    static_assert(sizeof(_SToneCurve::reserved0) == 4 && sizeof(_SToneCurve::reserved1) == 4);
    static_assert(std::is_same_v<decltype(_SToneCurve::copyCurve), std::uint8_t>);
    static_assert(std::is_trivially_copyable_v<_SToneCurve> && std::is_standard_layout_v<_SToneCurve>);
    static_assert(std::is_trivially_copyable_v<_SToneOperation> && std::is_standard_layout_v<_SToneOperation>);
    static_assert(std::is_trivially_copyable_v<_SPropertyData> && std::is_standard_layout_v<_SPropertyData>);
    constexpr std::size_t kWord = sizeof(void*);
    EXPECT_EQ(0u, offsetof(_SToneOperation, type));
    EXPECT_EQ(kWord, offsetof(_SToneOperation, properties));
    EXPECT_EQ(2 * kWord, offsetof(_SToneOperation, apply));
    EXPECT_EQ(3 * kWord, sizeof(_SToneOperation));
    EXPECT_EQ(8u, offsetof(_SPropertyData, data));
    EXPECT_EQ(8 + kWord, sizeof(_SPropertyData));
    const std::size_t tables = kWord == 8 ? 16 : 12;
    EXPECT_EQ(8u, offsetof(_SToneCurve, depth));
    EXPECT_EQ(tables, offsetof(_SToneCurve, redTable));
    EXPECT_EQ(tables + kWord, offsetof(_SToneCurve, greenTable));
    EXPECT_EQ(tables + 2 * kWord, offsetof(_SToneCurve, blueTable));
    EXPECT_EQ(tables + 3 * kWord, offsetof(_SToneCurve, copyCurve));
    EXPECT_EQ(tables + 4 * kWord, offsetof(_SToneCurve, curveCopy));
    EXPECT_EQ(tables + 5 * kWord, sizeof(_SToneCurve));
}

}  // namespace
