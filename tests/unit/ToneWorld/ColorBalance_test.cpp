#include "ToneWorld/ColorBalance.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "oracles/ColorBalanceOracle.h"
#include "support/AllocationLedger.h"
#include "support/OverwrittenList.h"
#include "support/Random.h"
#include "support/ToneTables.h"

namespace {

using platen_test::ColorBalanceSetting;
using platen_test::IdentityTable;
using platen_test::OperationPtr;
using platen_test::Tables;
using platen_test::ToneTable;

constexpr std::array<std::array<const char*, 3>, 3> kKeys = {
    {{"cbsR", "cbsG", "cbsB"}, {"cbmR", "cbmG", "cbmB"}, {"cbhR", "cbhG", "cbhB"}}};

OperationPtr MakeBalance(const ColorBalanceSetting& setting = {}) {
    OperationPtr op = platen_test::MakeOperation(SetupColorBalanceOperation);
    for (std::size_t group = 0; group < 3; ++group) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            platen_test::SetProperty(op, kKeys[group][channel], setting.amounts[group][channel]);
        }
    }
    return op;
}

// The red table that one property gives; green and blue have to stay the identity.
ToneTable RedWith(const char* key, std::int32_t amount) {
    const OperationPtr op = platen_test::MakeOperation(SetupColorBalanceOperation);
    platen_test::SetProperty(op, key, amount);
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0);
    EXPECT_EQ(tables.green, IdentityTable());
    EXPECT_EQ(tables.blue, IdentityTable());
    return tables.red;
}

std::vector<int> Entries(const ToneTable& table, std::size_t first, std::size_t count) {
    return std::vector<int>(table.data() + first, table.data() + first + count);
}

// The oracle with the splines of a run kept: there are only 603 of them.
const std::vector<std::int64_t>& BalanceSpline(std::size_t group, std::int32_t amount) {
    static std::map<std::pair<std::size_t, std::int32_t>, std::vector<std::int64_t>> known;
    std::vector<std::int64_t>& table = known[{group, amount}];
    if (table.empty()) {
        table = platen_test::OracleBalanceSpline(static_cast<int>(group), amount);
    }
    return table;
}

std::int32_t OracleWithKeptSplines(const ColorBalanceSetting& setting, std::int32_t depth, Tables& tables) {
    if (depth != 24) {
        return 0;
    }
    if (!setting.Valid()) {
        return 3;
    }
    for (std::size_t group = 0; group < 3; ++group) {
        const auto& amounts = setting.amounts[group];
        if (amounts == std::array<std::int32_t, 3>{0, 0, 0}) {
            continue;
        }
        const std::array<ToneTable*, 3> channels = {&tables.red, &tables.green, &tables.blue};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (std::uint8_t& entry : *channels[channel]) {
                entry = static_cast<std::uint8_t>(BalanceSpline(group, amounts[channel])[entry]);
            }
        }
    }
    return 0;
}

void Fill(platen_test::Random& random, ToneTable& table) {
    for (std::uint8_t& entry : table) {
        entry = random.Byte();
    }
}

TEST(ColorBalance, SetupRefusesANullOperation) {
    EXPECT_EQ(SetupColorBalanceOperation(nullptr), 2);
}

TEST(ColorBalance, SetupOverwritesTheList) {
    const OperationPtr op = platen_test::MakeOperation(SetupColorBalanceOperation);
    platen_test::ExpectSetupOverwritesTheList(op.get(), SetupColorBalanceOperation, 10);
}

TEST(ColorBalance, SetupStampsTypeApplyAndDefaults) {
    _SToneOperation* op = nullptr;
    ASSERT_EQ(NewOperation(&op), 0);
    const OperationPtr owner(op);
    EXPECT_EQ(SetupColorBalanceOperation(op), 0);
    EXPECT_EQ(op->type, 0x436F4261u);  // "CoBa"
    EXPECT_EQ(op->apply, &ApplyColorBalance);
    const std::vector<std::string> keys = {"cbsR", "cbsG", "cbsB", "cbmR", "cbmG",
                                           "cbmB", "cbhR", "cbhG", "cbhB", "cbsT"};
    ASSERT_EQ(op->properties->size(), keys.size());
    std::size_t i = 0;
    for (const _SPropertyData& property : *op->properties) {
        EXPECT_EQ(property.key, platen_test::Code(keys[i].c_str())) << i;
        EXPECT_EQ(property.size, 4u);
        EXPECT_EQ(*static_cast<std::int32_t*>(property.data), 0);
        ++i;
    }
}

TEST(ColorBalance, DefaultsLeaveTheTables) {
    const OperationPtr op = platen_test::MakeOperation(SetupColorBalanceOperation);
    platen_test::Random random(1);
    Tables tables;
    Fill(random, tables.red);
    Fill(random, tables.green);
    Fill(random, tables.blue);
    const Tables before = tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0);
    EXPECT_EQ(tables, before);
}

TEST(ColorBalance, BrighterShadows) {
    const ToneTable red = RedWith("cbsR", 100);
    EXPECT_EQ(Entries(red, 0, 6), (std::vector<int>{0, 1, 2, 4, 5, 7}));
    EXPECT_EQ(red[64], 93);
    EXPECT_EQ(red[127], 169);
    EXPECT_EQ(red[128], 170);
    EXPECT_EQ(red[192], 220);
    EXPECT_EQ(Entries(red, 250, 6), (std::vector<int>{252, 252, 253, 253, 254, 255}));
}

TEST(ColorBalance, DarkerShadows) {
    const ToneTable red = RedWith("cbsR", -100);
    EXPECT_EQ(Entries(red, 0, 128), std::vector<int>(128, 0));
    EXPECT_EQ(red[128], 1);
    EXPECT_EQ(red[192], 105);
    EXPECT_EQ(red[255], 255);
}

TEST(ColorBalance, BrighterMidtones) {
    const ToneTable red = RedWith("cbmR", 100);
    EXPECT_EQ(red[64], 122);
    EXPECT_EQ(red[127], 211);
    EXPECT_EQ(red[192], 249);
}

TEST(ColorBalance, BrighterHighlights) {
    const ToneTable red = RedWith("cbhR", 100);
    EXPECT_EQ(Entries(red, 129, 127), std::vector<int>(127, 255));
    EXPECT_EQ(red[64], 151);
}

TEST(ColorBalance, DarkerHighlights) {
    EXPECT_EQ(RedWith("cbhR", -100)[127], 84);
}

TEST(ColorBalance, OppositeDirectionsActAtAThird) {
    EXPECT_EQ(RedWith("cbsR", -50)[127], 127 - 63);
    EXPECT_EQ(RedWith("cbsR", 50)[127], 127 + 21);
    EXPECT_EQ(RedWith("cbhR", 50)[127], 127 + 63);
    EXPECT_EQ(RedWith("cbhR", -50)[127], 127 - 21);
    EXPECT_EQ(RedWith("cbmR", 50)[127], 127 + 42);
    EXPECT_EQ(RedWith("cbmR", -50)[127], 127 - 42);
}

TEST(ColorBalance, OneOutOfRangeRefusesAll) {
    for (const auto& group : kKeys) {
        for (const char* key : group) {
            for (const std::int32_t amount :
                 {101, -101, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()}) {
                ColorBalanceSetting setting;
                for (auto& amounts : setting.amounts) {
                    amounts = {10, 20, 30};
                }
                const OperationPtr op = MakeBalance(setting);
                platen_test::SetProperty(op, key, amount);
                Tables tables;
                _SToneCurve curve = tables.Curve(24);
                EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 3) << key << " " << amount;
                EXPECT_EQ(tables, Tables()) << key << " " << amount;
            }
        }
    }
}

TEST(ColorBalance, HostFlagHasNoEffect) {
    for (const std::int32_t flag : {1, -1, 101, std::numeric_limits<std::int32_t>::min()}) {
        const OperationPtr op = MakeBalance({{{{10, 0, -10}, {0, 0, 0}, {100, 50, 1}}}});
        Tables without;
        _SToneCurve curve = without.Curve(24);
        EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0);
        platen_test::SetProperty(op, "cbsT", flag);
        Tables with;
        curve = with.Curve(24);
        EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0);
        EXPECT_EQ(with, without);
        EXPECT_NE(with, Tables());
        EXPECT_EQ(platen_test::GetProperty<std::int32_t>(op, "cbsT"), flag);
    }
}

TEST(ColorBalance, NeedsDepth24) {
    for (const std::int32_t depth : {8, 16, 0, -24, 32}) {
        for (const std::int32_t amount : {100, 101}) {
            const OperationPtr op = MakeBalance({{{{amount, 0, 0}, {0, 0, 0}, {0, 0, 0}}}});
            Tables tables;
            _SToneCurve curve = tables.Curve(depth);
            EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0) << depth;
            EXPECT_EQ(tables, Tables()) << depth;
        }
    }
}

TEST(ColorBalance, EverySingleAmountEqualsTheOracle) {
    for (std::size_t group = 0; group < 3; ++group) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (std::int32_t amount = -100; amount <= 100; ++amount) {
                ColorBalanceSetting setting;
                setting.amounts[group][channel] = amount;
                const OperationPtr op = MakeBalance(setting);
                Tables tables;
                _SToneCurve curve = tables.Curve(24);
                ASSERT_EQ(ApplyColorBalance(op.get(), &curve), 0);
                Tables expected;
                platen_test::OracleColorBalance(setting, 24, expected.red, expected.green, expected.blue);
                ASSERT_EQ(tables, expected) << kKeys[group][channel] << " " << amount;
            }
        }
    }
}

TEST(ColorBalance, RandomSettingsEqualTheOracle) {
    platen_test::Random random(14);
    const OperationPtr op = MakeBalance();
    int refused = 0;
    for (int round = 0; round < 100000; ++round) {
        ColorBalanceSetting setting;
        for (std::size_t group = 0; group < 3; ++group) {
            const bool idle = random.OneIn(3);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                std::int32_t& amount = setting.amounts[group][channel];
                amount = idle ? 0 : static_cast<std::int32_t>(random.Between(-100, 100));
                if (random.OneIn(90)) {
                    amount = static_cast<std::int32_t>(random.OneIn(2) ? random.Between(100, 103)
                                                                       : random.Between(-2147483647, -100));
                }
                platen_test::SetProperty(op, kKeys[group][channel], amount);
            }
        }
        const std::int32_t depth = random.OneIn(8) ? 8 : 24;
        Tables tables;
        Fill(random, tables.red);
        Fill(random, tables.green);
        Fill(random, tables.blue);
        Tables expected = tables;
        _SToneCurve curve = tables.Curve(depth);
        const std::int32_t status = ApplyColorBalance(op.get(), &curve);
        ASSERT_EQ(status, OracleWithKeptSplines(setting, depth, expected)) << round;
        ASSERT_EQ(tables, expected) << round;
        refused += status == 3 ? 1 : 0;
    }
    EXPECT_GT(refused, 5000);
    EXPECT_LT(refused, 50000);
    RecordProperty("refused", refused);
}

TEST(ColorBalance, OneBufferAsThreeTablesIsMappedThreeTimesARange) {
    const ColorBalanceSetting setting{{{{60, -30, 90}, {0, 40, 0}, {-70, 0, 20}}}};
    const OperationPtr op = MakeBalance(setting);
    ToneTable shared = IdentityTable();
    _SToneCurve curve = {0, 0, 24, shared.data(), shared.data(), shared.data(), 0, nullptr};
    EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0);
    ToneTable expected = IdentityTable();
    for (std::size_t group = 0; group < 3; ++group) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (std::uint8_t& entry : expected) {
                entry = static_cast<std::uint8_t>(BalanceSpline(group, setting.amounts[group][channel])[entry]);
            }
        }
    }
    EXPECT_EQ(shared, expected);
}

TEST(ColorBalance, MissingPropertiesCountAs0) {
    _SToneOperation bare = {0, nullptr, ApplyColorBalance};
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    EXPECT_EQ(ApplyColorBalance(&bare, &curve), 0);
    EXPECT_EQ(tables, Tables());
}

TEST(ColorBalance, ApplyingTakesNoMemory) {
    const OperationPtr op = MakeBalance({{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}}});
    Tables tables;
    _SToneCurve curve = tables.Curve(24);
    const platen_test::AllocationLedger ledger;
    EXPECT_EQ(ApplyColorBalance(op.get(), &curve), 0);
    EXPECT_EQ(ledger.Mallocs() + ledger.News(), 0u);
}

TEST(ColorBalanceOutOfMemory, SetupTakesTenBlocksAndElevenNodes) {
    platen_test::AllocationLedger ledger;
    _SToneOperation op = {};
    EXPECT_EQ(SetupColorBalanceOperation(&op), 0);
    EXPECT_EQ(ledger.Mallocs(), 10u);
    EXPECT_EQ(ledger.News(), 11u);  // the list, and a node for each property
    EXPECT_EQ(ledger.Outstanding(), 21u);
    ledger.FreeOutstanding();
}

TEST(ColorBalanceOutOfMemory, AFailedValueIsAMissingPropertyAndNoError) {
    for (std::size_t failing = 0; failing < 10; ++failing) {
        platen_test::AllocationLedger ledger;
        ledger.FailOnly(failing);
        _SToneOperation op = {};
        EXPECT_EQ(SetupColorBalanceOperation(&op), 0);
        EXPECT_EQ(op.properties->size(), 9u) << failing;
        EXPECT_EQ(ledger.Mallocs(), 10u);
        EXPECT_EQ(ledger.OutstandingMallocs(), 9u);
        EXPECT_EQ(ledger.Outstanding(), 9u + 10u);
        ledger.FreeOutstanding();
    }
    for (std::size_t failing = 0; failing <= 10; ++failing) {
        platen_test::AllocationLedger ledger;
        ledger.FailFrom(failing);
        _SToneOperation op = {};
        EXPECT_EQ(SetupColorBalanceOperation(&op), 0);
        EXPECT_EQ(op.properties->size(), failing);
        EXPECT_EQ(ledger.OutstandingMallocs(), failing);
        EXPECT_EQ(ledger.Outstanding(), 2 * failing + 1);
        ledger.FreeOutstanding();
    }
}

TEST(ColorBalanceOutOfMemory, AFailedListThrowsFromNew) {
    platen_test::AllocationLedger ledger;
    ledger.FailFromNew(0);
    _SToneOperation op = {};
    EXPECT_THROW(SetupColorBalanceOperation(&op), std::bad_alloc);
    EXPECT_EQ(op.properties, nullptr);
    EXPECT_EQ(ledger.Mallocs(), 0u);
    EXPECT_EQ(ledger.Outstanding(), 0u);
}

}  // namespace
