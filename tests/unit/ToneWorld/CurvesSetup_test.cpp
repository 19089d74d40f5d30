#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>
#include <string>

#include "ToneWorld/Curves.h"
#include "support/AllocationLedger.h"
#include "support/OverwrittenList.h"
#include "support/ToneTables.h"

// The set-up of the curves operation, and what it allocates.

namespace {

using platen_test::OperationPtr;
using platen_test::Tables;

TEST(Curves, SetupRefusesANullOperation) {
    EXPECT_EQ(SetupCurvesOperation(nullptr), 2);
}

TEST(Curves, SetupStampsTypeApplyAndDefaults) {
    _SToneOperation* op = nullptr;
    ASSERT_EQ(NewOperation(&op), 0);
    const OperationPtr owner(op);
    EXPECT_EQ(SetupCurvesOperation(op), 0);
    EXPECT_EQ(op->type, 0x43755276u);  // "CuRv"
    EXPECT_EQ(op->apply, &ApplyCurves);
    const std::array<std::string, 7> keys = {"curV", "curS", "cuP1", "cuP2", "cuP3", "cuP4", "cuP5"};
    const std::array<std::int32_t, 2> numbers = {0, 3};
    const std::array<float, 5> levels = {0, 64, 128, 192, 255};
    ASSERT_EQ(op->properties->size(), keys.size());
    std::size_t i = 0;
    for (const _SPropertyData& property : *op->properties) {
        EXPECT_EQ(property.key, platen_test::Code(keys[i].c_str())) << i;
        if (i < 2) {
            ASSERT_EQ(property.size, 4u);
            EXPECT_EQ(std::memcmp(property.data, &numbers[i], 4), 0) << i;
        } else {
            const std::array<float, 2> point = {levels[i - 2], levels[i - 2]};
            ASSERT_EQ(property.size, 8u);
            EXPECT_EQ(std::memcmp(property.data, point.data(), 8), 0) << i;
        }
        ++i;
    }
}

TEST(Curves, SetupOverwritesTheList) {
    const OperationPtr op = platen_test::MakeOperation(SetupCurvesOperation);
    platen_test::ExpectSetupOverwritesTheList(op.get(), SetupCurvesOperation, 7);
}

TEST(Curves, MissingPropertiesCountAsTheirDefaults) {
    _SToneOperation bare = {0, nullptr, ApplyCurves};
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyCurves(&bare, &curve), 0);
    EXPECT_EQ(tables, Tables());
}

TEST(Curves, ApplyingTakesNoMemory) {
    for (const std::int32_t kind : {0, 1, 2, 3}) {
        const OperationPtr op = platen_test::MakeOperation(SetupCurvesOperation);
        platen_test::SetProperty(op, "curS", kind);
        platen_test::SetProperty(op, "curV", std::int32_t{30});
        Tables tables;
        _SToneCurve curve = tables.Curve(24);
        const platen_test::AllocationLedger ledger;
        EXPECT_EQ(ApplyCurves(op.get(), &curve), 0);
        EXPECT_EQ(ledger.Mallocs() + ledger.News(), 0u) << kind;
    }
}

TEST(CurvesOutOfMemory, SetupTakesSevenBlocksAndEightNodes) {
    platen_test::AllocationLedger ledger;
    _SToneOperation op = {};
    EXPECT_EQ(SetupCurvesOperation(&op), 0);
    EXPECT_EQ(ledger.Mallocs(), 7u);
    EXPECT_EQ(ledger.News(), 8u);  // the list, and a node for each property
    EXPECT_EQ(ledger.Outstanding(), 15u);
    ledger.FreeOutstanding();
}

TEST(CurvesOutOfMemory, AFailedValueIsAMissingPropertyAndNoError) {
    for (std::size_t failing = 0; failing < 7; ++failing) {
        platen_test::AllocationLedger ledger;
        ledger.FailOnly(failing);
        _SToneOperation op = {};
        EXPECT_EQ(SetupCurvesOperation(&op), 0);
        EXPECT_EQ(op.properties->size(), 6u) << failing;
        EXPECT_EQ(ledger.Mallocs(), 7u);
        EXPECT_EQ(ledger.OutstandingMallocs(), 6u);
        EXPECT_EQ(ledger.Outstanding(), 6u + 7u);
        Tables tables;
        _SToneCurve curve = tables.Curve(24);
        EXPECT_EQ(ApplyCurves(&op, &curve), 0);
        EXPECT_EQ(tables, Tables()) << failing;
        ledger.FreeOutstanding();
    }
    for (std::size_t failing = 0; failing <= 7; ++failing) {
        platen_test::AllocationLedger ledger;
        ledger.FailFrom(failing);
        _SToneOperation op = {};
        EXPECT_EQ(SetupCurvesOperation(&op), 0);
        EXPECT_EQ(op.properties->size(), failing);
        EXPECT_EQ(ledger.OutstandingMallocs(), failing);
        EXPECT_EQ(ledger.Outstanding(), 2 * failing + 1);
        ledger.FreeOutstanding();
    }
}

TEST(CurvesOutOfMemory, AFailedListThrowsFromNew) {
    platen_test::AllocationLedger ledger;
    ledger.FailFromNew(0);
    _SToneOperation op = {};
    EXPECT_THROW(SetupCurvesOperation(&op), std::bad_alloc);
    EXPECT_EQ(op.properties, nullptr);
    EXPECT_EQ(ledger.Mallocs(), 0u);
    EXPECT_EQ(ledger.Outstanding(), 0u);
}

}  // namespace
