#include "programs/scan/OptionValue.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>

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

// A file of a test's own.
class ListFile {
  public:
    explicit ListFile(const std::string& text) {
        const int descriptor = mkstemp(path_);
        EXPECT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        close(descriptor);
    }
    ~ListFile() {
        std::remove(path_);
    }
    ListFile(const ListFile&) = delete;
    ListFile& operator=(const ListFile&) = delete;
    std::string Value() const {
        return std::string("@") + path_;
    }

  private:
    char path_[32] = "/tmp/platen-list-XXXXXX";
};

TEST(OptionValue, UnitsAreNamed) {
    const std::pair<SANE_Unit, const char*> units[] = {{SANE_UNIT_NONE, ""},
                                                       {SANE_UNIT_PIXEL, " pixels"},
                                                       {SANE_UNIT_BIT, " bits"},
                                                       {SANE_UNIT_MM, " mm"},
                                                       {SANE_UNIT_DPI, " dpi"},
                                                       {SANE_UNIT_PERCENT, " %"},
                                                       {SANE_UNIT_MICROSECOND, " microseconds"}};
    const SANE_Word list[] = {2, 3, 4};
    const SANE_Range range{3, 9, 0};
    for (const auto& [unit, words] : units) {
        auto option = Option(SANE_TYPE_INT);
        option.unit = unit;
        EXPECT_EQ(AllowedText(option), std::string("whole numbers") + words);
        option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
        option.constraint.word_list = list;
        EXPECT_EQ(AllowedText(option), std::string("3, 4") + words);
        option.constraint_type = SANE_CONSTRAINT_RANGE;
        option.constraint.range = &range;
        EXPECT_EQ(AllowedText(option), std::string("3 to 9") + words);
        auto fixed = Option(SANE_TYPE_FIXED);
        fixed.unit = unit;
        EXPECT_EQ(AllowedText(fixed), std::string("numbers") + words);
    }
    EXPECT_EQ(AllowedText(Option(SANE_TYPE_STRING)), "any text");
    EXPECT_EQ(AllowedText(Option(SANE_TYPE_BUTTON)), "any text");
}

TEST(OptionValue, RangesSayTheirSteps) {
    const auto text = [](SANE_Value_Type type, const SANE_Range& range) {
        auto option = Option(type);
        option.constraint_type = SANE_CONSTRAINT_RANGE;
        option.constraint.range = &range;
        return AllowedText(option);
    };
    EXPECT_EQ(text(SANE_TYPE_INT, {0, 10, 0}), "0 to 10");
    EXPECT_EQ(text(SANE_TYPE_INT, {0, 10, 1}), "0 to 10");
    EXPECT_EQ(text(SANE_TYPE_INT, {0, 10, 2}), "0 to 10 in steps of 2");
    EXPECT_EQ(text(SANE_TYPE_FIXED, {SANE_FIX(0.5), SANE_FIX(10), 0}), "0.5 to 10");
    EXPECT_EQ(text(SANE_TYPE_FIXED, {SANE_FIX(0.5), SANE_FIX(10), SANE_FIX(0.1)}), "0.5 to 10 in steps of 0.1");
    EXPECT_EQ(text(SANE_TYPE_FIXED, {0, SANE_FIX(10), 1}), "0 to 10 in steps of 0");
    // Four digits after the point.
    EXPECT_EQ(text(SANE_TYPE_FIXED, {7, SANE_FIX(1.23456), 0}), "0.0001 to 1.2346");
}

TEST(OptionValue, EmptyListsAllowNothing) {
    for (const SANE_Word count : {0, -3}) {
        const SANE_Word list[] = {count, 1, 1};
        auto option = Option(SANE_TYPE_INT);
        option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
        option.constraint.word_list = list;
        for (const std::string word : {"1", "0", "2"}) {
            EXPECT_EQ(Refusal(option, word), "--set thing: '" + word + "' is out of range; allowed: ");
        }
    }
    const SANE_String_Const names[] = {nullptr};
    auto option = Option(SANE_TYPE_STRING);
    option.size = 10;
    option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
    option.constraint.string_list = names;
    EXPECT_EQ(Refusal(option, "a"), "--set thing: 'a' is not one of ");
}

// What a device lists may be a neighbour of the number's own 65536th.
TEST(OptionValue, FixedNumbersTakeTheNeighbourThatIsAllowed) {
    constexpr SANE_Word kOne = 65536;
    auto option = Option(SANE_TYPE_FIXED);
    for (const SANE_Word off : {-3, -2, -1, 0, 1, 2, 3}) {
        const bool taken = std::abs(off) <= 2;
        const SANE_Word list[] = {3, 5 * kOne, kOne + off, 3 * kOne};
        option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
        option.constraint.word_list = list;
        EXPECT_EQ(Refusal(option, "1") == "taken", taken) << off;
        if (taken) {
            EXPECT_EQ(ParseOptionValue("", option, "1").words[0], kOne + off);
        }
        const SANE_Word last[] = {1, kOne + off};
        option.constraint.word_list = last;
        EXPECT_EQ(Refusal(option, "1") == "taken", taken) << off;
        const SANE_Range low{kOne + off, 10 * kOne, 0};
        option.constraint_type = SANE_CONSTRAINT_RANGE;
        option.constraint.range = &low;
        EXPECT_EQ(Refusal(option, "1") == "taken", off <= 2) << off;
        if (off <= 2) {
            EXPECT_EQ(ParseOptionValue("", option, "1").words[0], taken ? kOne + off : kOne);
        }
        const SANE_Range high{-10 * kOne, kOne + off, 0};
        option.constraint.range = &high;
        EXPECT_EQ(Refusal(option, "1") == "taken", off >= -2) << off;
        if (off >= -2) {
            EXPECT_EQ(ParseOptionValue("", option, "1").words[0], taken ? kOne + off : kOne);
        }
    }
    // Whole numbers have no neighbours.
    auto whole = Option(SANE_TYPE_INT);
    const SANE_Range range{5, 9, 0};
    whole.constraint_type = SANE_CONSTRAINT_RANGE;
    whole.constraint.range = &range;
    for (const char* bad : {"3", "4", "10", "11"}) {
        EXPECT_NE(Refusal(whole, bad), "taken") << bad;
    }
    // Two that are as far from each other as can be.
    const SANE_Range all{INT32_MIN, INT32_MAX, 0};
    option.constraint.range = &all;
    EXPECT_EQ(ParseOptionValue("", option, "32767.9999").words[0], INT32_MAX - 6);
    EXPECT_EQ(ParseOptionValue("", option, "-32767.9999").words[0], -(INT32_MAX - 6));
    EXPECT_EQ(Refusal(option, "-32768.001"),
              "--set thing: '-32768.001' is not a number that the device takes; allowed: "
              "-32768 to 32768");
}

TEST(OptionValue, ListsComeFromFiles) {
    const auto three = Option(SANE_TYPE_INT, 3);
    const std::vector<SANE_Word> expected = {1, 22, 333};
    for (const char* text : {"1,22,333", "1 22 333\n", "\n\n 1,\t22 ,\r\n333,,", ",1\v22\f333", "1, 22, 333 , "}) {
        EXPECT_EQ(ParseOptionValue("", three, ListFile(text).Value()).words, expected) << text;
    }
    EXPECT_NE(Refusal(three, ListFile("1\b22 333").Value()), "taken");
    EXPECT_NE(Refusal(three, ListFile("1\x0E"
                                      "22 333 4")
                                 .Value()),
              "taken");
    EXPECT_EQ(Refusal(three, ListFile("12").Value()),
              "--set thing: has 1 value; the device wants 3, each whole numbers");
    EXPECT_EQ(Refusal(three, ListFile(" ,\n").Value()),
              "--set thing: has 0 values; the device wants 3, each whole numbers");
    EXPECT_EQ(Refusal(three, ""), "--set thing: has 0 values; the device wants 3, each whole numbers");
    EXPECT_NE(Refusal(three, ListFile(std::string("1 22 333\0", 9)).Value()), "taken");
    for (const char* unreadable : {"@/tmp", "@/proc/self/mem"}) {  // a folder, and what fails when it is read
        try {
            ParseOptionValue("", three, unreadable);
            ADD_FAILURE() << unreadable;
        } catch (const Error& error) {
            EXPECT_EQ(error.Code(), ExitCode::kFailed) << unreadable << error.what();
        }
    }
}

TEST(OptionValue, ListsEndSomewhere) {
    const auto option = Option(SANE_TYPE_INT, 3);
    const ListFile most(std::string(4000000, '1'));
    EXPECT_EQ(Refusal(option, most.Value()), "--set thing: has 1 value; the device wants 3, each whole numbers");
    const ListFile more(std::string(4000001, '1'));
    EXPECT_EQ(Refusal(option, more.Value()),
              "--set thing: '" + more.Value().substr(1) + "' is too long for a list of numbers");
}

TEST(OptionValue, SeparatorsThatAreLeftOutDoNotCount) {
    const auto option = Option(SANE_TYPE_INT, 3);
    const ListFile blanks(std::string(4000100, ' ') + "1 2 3");
    EXPECT_EQ(ParseOptionValue("", option, blanks.Value()).words, (std::vector<SANE_Word>{1, 2, 3}));
}

// The nearest whole number to where the line from one level to the next is.
std::vector<SANE_Word> Stretched(const std::vector<int>& levels, std::size_t count, const SANE_Range& range) {
    std::vector<SANE_Word> words;
    for (std::size_t i = 0; i < count; ++i) {
        const auto steps = static_cast<long double>(count - 1);
        const long double place = static_cast<long double>(i * 255) / steps;
        const std::size_t at = i * 255 / (count - 1);
        const std::size_t next = std::min<std::size_t>(at + 1, 255);
        const long double level = levels[at] + (place - static_cast<long double>(at)) *
                                                   static_cast<long double>(levels[next] - levels[at]);
        const long double span = static_cast<long double>(range.max) - range.min;
        words.push_back(static_cast<SANE_Word>(
            range.min + static_cast<long double>(std::floor(level * span / 255 + 0.5L + 1e-9L))));
    }
    return words;
}

TEST(OptionValue, ATableIsDrawnOutToEverySizeAndRange) {
    const SANE_Range ranges[] = {{0, 255, 1}, {0, 65535, 1}, {-100, 100, 0}, {16, 17, 0}, {0, 1023, 0}, {7, 7, 0}};
    std::vector<int> levels;
    std::string text;
    for (int i = 0; i < 256; ++i) {
        levels.push_back(i * i * 7 % 256);
        text += (i > 0 ? "," : "") + std::to_string(levels.back());
    }
    for (const SANE_Range& range : ranges) {
        for (const std::size_t count : std::initializer_list<std::size_t>{2, 3, 16, 255, 257, 511, 1024}) {
            auto option = Option(SANE_TYPE_INT, count);
            option.name = "gamma-table";
            option.constraint_type = SANE_CONSTRAINT_RANGE;
            option.constraint.range = &range;
            EXPECT_EQ(ParseOptionValue("", option, text).words, Stretched(levels, count, range))
                << count << " " << range.max;
        }
    }
    // A range that ends before it begins has its beginning only.
    const SANE_Range reversed{9, 3, 0};
    auto option = Option(SANE_TYPE_INT, 16);
    option.name = "gamma-table";
    option.constraint_type = SANE_CONSTRAINT_RANGE;
    option.constraint.range = &reversed;
    EXPECT_EQ(ParseOptionValue("", option, text).words, std::vector<SANE_Word>(16, 9));
    // Levels are from 0 to 255.
    const SANE_Range range{0, 65535, 1};
    option.constraint.range = &range;
    const std::string rest = text.substr(text.find(','));
    EXPECT_NE(Refusal(option, "256" + rest), "taken");
    EXPECT_NE(Refusal(option, "-1" + rest), "taken");
    EXPECT_EQ(Refusal(option, "255" + rest), "taken");
}

TEST(OptionValue, OtherTablesAreTakenAsTheyAre) {
    std::string text = "0";
    for (int i = 1; i < 256; ++i) {
        text += "," + std::to_string(i);
    }
    const SANE_Range range{0, 65535, 1};
    auto table = Option(SANE_TYPE_INT, 256);
    table.name = "gamma-table";
    table.constraint_type = SANE_CONSTRAINT_RANGE;
    table.constraint.range = &range;
    // As many as the device has: its own numbers.
    EXPECT_EQ(ParseOptionValue("", table, "65535" + text.substr(1)).words[0], 65535);
    EXPECT_EQ(ParseOptionValue("", table, text).words[255], 255);
    table.size = 512 * sizeof(SANE_Word);
    EXPECT_EQ(ParseOptionValue("", table, text).words.size(), 512u);
    const std::string refused = "--set thing: has 256 values; the device wants ";
    auto other = table;
    other.name = nullptr;
    EXPECT_EQ(Refusal(other, text).find(refused), 0u);
    other = table;
    other.name = "gamma-tables";
    EXPECT_EQ(Refusal(other, text).find(refused), 0u);
    other = table;
    other.type = SANE_TYPE_FIXED;
    EXPECT_EQ(Refusal(other, text).find(refused), 0u);
    other = table;
    other.constraint_type = SANE_CONSTRAINT_NONE;
    EXPECT_EQ(Refusal(other, text).find(refused), 0u);
    other = table;
    other.size = sizeof(SANE_Word);
    EXPECT_EQ(Refusal(other, text).find(refused + "1, each"), 0u);
    // 255 or 257 values are no such table.
    EXPECT_NE(Refusal(table, text.substr(2)), "taken");
    EXPECT_NE(Refusal(table, "0," + text), "taken");
}

TEST(OptionValue, WordsForYesAndNo) {
    const auto option = Option(SANE_TYPE_BOOL);
    for (const char* yes : {"yes", "true", "on"}) {
        EXPECT_EQ(ParseOptionValue("", option, yes).words, std::vector<SANE_Word>{SANE_TRUE}) << yes;
        EXPECT_EQ(ParseOptionValue("", option, yes).action, SANE_ACTION_SET_VALUE);
    }
    for (const char* no : {"no", "false", "off"}) {
        EXPECT_EQ(ParseOptionValue("", option, no).words, std::vector<SANE_Word>{SANE_FALSE}) << no;
        EXPECT_EQ(ParseOptionValue("", option, no).action, SANE_ACTION_SET_VALUE);
    }
}

TEST(OptionValue, TextsNeedRoomForTheirEnd) {
    auto option = Option(SANE_TYPE_STRING);
    for (const SANE_Int size : {0, -7}) {
        option.size = size;
        EXPECT_EQ(Refusal(option, ""), "--set thing: '' is too long; the device takes at most 0 bytes");
    }
    option.size = 1;
    EXPECT_EQ(ParseOptionValue("", option, "").text, std::vector<char>{'\0'});
    EXPECT_EQ(Refusal(option, "a"), "--set thing: 'a' is too long; the device takes at most 0 bytes");
    option.size = 2;
    EXPECT_EQ(ParseOptionValue("", option, "a").text, (std::vector<char>{'a', '\0'}));
    // "auto" is a word like others where the device can't choose, and where it lists its words.
    option.size = 8;
    EXPECT_EQ(ParseOptionValue("", option, "auto").action, SANE_ACTION_SET_VALUE);
    option.cap |= SANE_CAP_AUTOMATIC;
    EXPECT_EQ(ParseOptionValue("", option, "auto").action, SANE_ACTION_SET_AUTO);
    EXPECT_EQ(ParseOptionValue("", option, "more").action, SANE_ACTION_SET_VALUE);
    const SANE_String_Const names[] = {"Gray", nullptr};
    option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
    option.constraint.string_list = names;
    EXPECT_EQ(Refusal(option, "auto"), "--set thing: 'auto' is not one of Gray");
    auto number = Option(SANE_TYPE_INT);
    number.cap |= SANE_CAP_AUTOMATIC;
    EXPECT_EQ(ParseOptionValue("", number, "auto").action, SANE_ACTION_SET_AUTO);
    EXPECT_EQ(ParseOptionValue("", number, "7").action, SANE_ACTION_SET_VALUE);
    EXPECT_EQ(ParseOptionValue("", Option(SANE_TYPE_BUTTON), "").words.size(), 1u);
    EXPECT_EQ(ParseOptionValue("", Option(SANE_TYPE_BUTTON), "").action, SANE_ACTION_SET_VALUE);
}

TEST(OptionValue, WordsAreCountedInNumbersOnly) {
    for (const SANE_Value_Type type : {SANE_TYPE_INT, SANE_TYPE_FIXED}) {
        auto option = Option(type, 3);
        EXPECT_EQ(WordCount(option), 3u);
        option.size = 7;
        EXPECT_EQ(WordCount(option), 1u);
        for (const SANE_Int size : {0, -1, -8, 1, 3}) {
            option.size = size;
            EXPECT_EQ(WordCount(option), 0u) << size;
        }
    }
    for (const SANE_Value_Type type : {SANE_TYPE_BOOL, SANE_TYPE_STRING, SANE_TYPE_BUTTON, SANE_TYPE_GROUP}) {
        EXPECT_EQ(WordCount(Option(type)), 0u);
    }
    EXPECT_EQ(WordNumber(Option(SANE_TYPE_INT), 65536), 65536.0);
    EXPECT_EQ(WordNumber(Option(SANE_TYPE_FIXED), 98304), 1.5);
}

}  // namespace
}  // namespace platen_tool
