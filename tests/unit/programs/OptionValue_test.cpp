#include "programs/scan/OptionValue.h"

#include <gtest/gtest.h>

#include <array>

#include "programs/base/Error.h"
#include "programs/commands/CurveCommand.h"

namespace platen_tool {
namespace {

SANE_Option_Descriptor Option(SANE_Value_Type type, std::size_t words = 1) {
    SANE_Option_Descriptor option{};
    option.name = "thing";
    option.type = type;
    option.size = static_cast<SANE_Int>(words * sizeof(SANE_Word));
    option.cap = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
    return option;
}

std::string Refusal(const SANE_Option_Descriptor& option, const std::string& value) {
    try {
        ParseOptionValue("--set thing", option, value);
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), ExitCode::kUsage);
        return error.what();
    }
    return "taken";
}

TEST(OptionValue, WholeNumbers) {
    const auto option = Option(SANE_TYPE_INT);
    EXPECT_EQ(ParseOptionValue("", option, "-2147483648").words, std::vector<SANE_Word>{INT32_MIN});
    EXPECT_EQ(ParseOptionValue("", option, "2147483647").words, std::vector<SANE_Word>{INT32_MAX});
    for (const char* bad : {"2147483648", "1.5", "", "x", "1 ", "0x10"}) {
        EXPECT_NE(Refusal(option, bad), "taken") << bad;
    }
    EXPECT_EQ(Refusal(option, "1,2"), "--set thing: has 2 values; the device wants 1, each whole numbers");
}

TEST(OptionValue, FixedNumbersAreRounded) {
    const auto option = Option(SANE_TYPE_FIXED);
    EXPECT_EQ(ParseOptionValue("", option, "1.5").words[0], 0x18000);
    EXPECT_EQ(ParseOptionValue("", option, "-32768").words[0], INT32_MIN);
    EXPECT_EQ(ParseOptionValue("", option, "0.1").words[0], 6554);
    EXPECT_EQ(Refusal(option, "32768"),
              "--set thing: '32768' is not a number that the device takes; allowed: numbers");
    EXPECT_NE(Refusal(option, "nan"), "taken");
}

TEST(OptionValue, RangesAndLists) {
    auto option = Option(SANE_TYPE_INT);
    const SANE_Range range{-5, 50, 5};
    option.constraint_type = SANE_CONSTRAINT_RANGE;
    option.constraint.range = &range;
    option.unit = SANE_UNIT_DPI;
    EXPECT_EQ(Refusal(option, "-5"), "taken");
    EXPECT_EQ(Refusal(option, "50"), "taken");
    EXPECT_EQ(Refusal(option, "51"), "--set thing: '51' is out of range; allowed: -5 to 50 dpi in steps of 5");
    EXPECT_NE(Refusal(option, "-6"), "taken");

    const SANE_Word list[] = {3, 1, 8, 16};
    option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
    option.constraint.word_list = list;
    option.unit = SANE_UNIT_BIT;
    EXPECT_EQ(Refusal(option, "8"), "taken");
    EXPECT_EQ(Refusal(option, "3"), "--set thing: '3' is out of range; allowed: 1, 8, 16 bits");

    auto fixed = Option(SANE_TYPE_FIXED);
    const SANE_Word fixedList[] = {2, SANE_FIX(12.1), SANE_FIX(-32.7)};
    fixed.constraint_type = SANE_CONSTRAINT_WORD_LIST;
    fixed.constraint.word_list = fixedList;
    EXPECT_EQ(ParseOptionValue("", fixed, "12.1").words[0], SANE_FIX(12.1));
    EXPECT_EQ(ParseOptionValue("", fixed, "-32.7").words[0], SANE_FIX(-32.7));
    EXPECT_EQ(Refusal(fixed, "12.2"), "--set thing: '12.2' is out of range; allowed: 12.1, -32.7");
}

TEST(OptionValue, StringsFitTheDevicesBuffer) {
    auto option = Option(SANE_TYPE_STRING);
    option.size = 5;
    const OptionValue value = ParseOptionValue("", option, "four");
    EXPECT_EQ(value.text, (std::vector<char>{'f', 'o', 'u', 'r', '\0'}));
    EXPECT_EQ(Refusal(option, "fives"), "--set thing: 'fives' is too long; the device takes at most 4 bytes");
    EXPECT_EQ(ParseOptionValue("", option, "").text, std::vector<char>(5));
    const SANE_String_Const names[] = {"Gray", "auto", nullptr};
    option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
    option.constraint.string_list = names;
    option.cap |= SANE_CAP_AUTOMATIC;
    EXPECT_EQ(Refusal(option, "gray"), "--set thing: 'gray' is not one of Gray, auto");
    EXPECT_EQ(ParseOptionValue("", option, "auto").action, SANE_ACTION_SET_VALUE);  // its own word comes first
}

TEST(OptionValue, SwitchesButtonsAndHeadings) {
    const auto yes = Option(SANE_TYPE_BOOL);
    EXPECT_EQ(ParseOptionValue("", yes, "on").words[0], SANE_TRUE);
    EXPECT_EQ(ParseOptionValue("", yes, "no").words[0], SANE_FALSE);
    EXPECT_EQ(AllowedText(yes), "yes or no");
    EXPECT_EQ(Refusal(yes, "1"), "--set thing: '1' is neither yes nor no");
    EXPECT_EQ(Refusal(yes, "auto"), "--set thing: 'auto' is neither yes nor no");
    auto automatic = yes;
    automatic.cap |= SANE_CAP_AUTOMATIC;
    EXPECT_EQ(ParseOptionValue("", automatic, "auto").action, SANE_ACTION_SET_AUTO);
    EXPECT_EQ(Refusal(Option(SANE_TYPE_BUTTON), ""), "taken");
    EXPECT_EQ(Refusal(Option(SANE_TYPE_BUTTON), "1"), "--set thing: is a button and takes no value");
    EXPECT_EQ(Refusal(Option(SANE_TYPE_GROUP), "1"), "--set thing: is a heading, not an option");
}

TEST(OptionValue, ACurvesTableIsDrawnOutToTheDevicesSize) {
    auto option = Option(SANE_TYPE_INT, 4096);
    const SANE_Range range{0, 65535, 1};
    option.name = "red-gamma-table";
    option.constraint_type = SANE_CONSTRAINT_RANGE;
    option.constraint.range = &range;
    const std::string table = TableText(FoldToneSteps({}, 24), TableForm::kSane);
    const OptionValue value = ParseOptionValue("", option, table.substr(0, table.size() - 1));
    ASSERT_EQ(value.words.size(), 4096u);
    for (std::size_t i = 0; i < 4096; ++i) {
        // An identity stays one: i / 4095 of the way is i / 4095 of the range.
        EXPECT_NEAR(value.words[i], static_cast<double>(i) * 65535.0 / 4095.0, 0.51) << i;
    }
    // Only such a table, and only of 256: everything else is counted.
    EXPECT_NE(Refusal(option, "1,2,3"), "taken");
    option.name = "thing";
    EXPECT_NE(Refusal(option, table.substr(0, table.size() - 1)), "taken");
}

TEST(OptionValue, FilesThatAreMissingOrEmptyAreErrors) {
    const auto option = Option(SANE_TYPE_INT, 3);
    EXPECT_THROW(ParseOptionValue("", option, "@/nowhere/list"), Error);
    EXPECT_EQ(Refusal(option, "@/dev/null"), "--set thing: has 0 values; the device wants 3, each whole numbers");
}

}  // namespace
}  // namespace platen_tool
