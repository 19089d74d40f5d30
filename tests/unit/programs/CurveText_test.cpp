#include <algorithm>
#include <sstream>

#include "Expect.h"
#include "programs/commands/CurveCommand.h"
#include "programs/page/CurvePlot.h"

namespace platen_tool {
namespace {

// Three curves that differ in every entry.
ToneTables SomeTables() {
    ToneTables tables;
    for (std::size_t i = 0; i < 256; ++i) {
        tables.red[i] = static_cast<std::uint8_t>(i);
        tables.green[i] = static_cast<std::uint8_t>(255 - i);
        tables.blue[i] = static_cast<std::uint8_t>(i * 7 + 3);
    }
    return tables;
}

ToneTables GreyTables() {
    ToneTables tables = SomeTables();
    tables.green = tables.blue = tables.red;
    return tables;
}

// All runs of digits in a text.
std::vector<int> NumbersIn(const std::string& text) {
    std::string blanked = text;
    std::replace_if(
        blanked.begin(), blanked.end(), [](char c) { return c < '0' || c > '9'; }, ' ');
    std::istringstream stream(blanked);
    std::vector<int> numbers;
    for (int number = 0; stream >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

TEST(CurveText, PlainAndCsvHoldEveryEntry) {
    const ToneTables tables = SomeTables();
    const std::string csv = TableText(tables, TableForm::kCsv);
    EXPECT_EQ(csv.substr(0, csv.find('\n')), "input,red,green,blue");
    for (const TableForm form : {TableForm::kPlain, TableForm::kCsv}) {
        const std::vector<int> numbers = NumbersIn(TableText(tables, form));
        ASSERT_EQ(numbers.size(), 4u * 256u);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_EQ(numbers[4 * i], static_cast<int>(i));
            EXPECT_EQ(numbers[4 * i + 1], tables.red[i]);
            EXPECT_EQ(numbers[4 * i + 2], tables.green[i]);
            EXPECT_EQ(numbers[4 * i + 3], tables.blue[i]);
        }
    }
}

TEST(CurveText, CHoldsThreeArrays) {
    const ToneTables tables = SomeTables();
    std::vector<int> numbers = NumbersIn(TableText(tables, TableForm::kC));
    EXPECT_EQ(TableText(tables, TableForm::kC).find("static const unsigned char "), 0u);
    ASSERT_EQ(numbers.size(), 3u * 257u);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const ToneTable& table = channel == 0 ? tables.red : channel == 1 ? tables.green : tables.blue;
        EXPECT_EQ(numbers[channel * 257], 256);
        EXPECT_TRUE(std::equal(table.begin(), table.end(), numbers.begin() + static_cast<long>(channel) * 257 + 1));
    }
}

TEST(CurveText, SaneIsOneListAndNeedsEqualChannels) {
    const ToneTables tables = GreyTables();
    const std::string text = TableText(tables, TableForm::kSane);
    EXPECT_EQ(std::count(text.begin(), text.end(), ','), 255);
    EXPECT_EQ(text.back(), '\n');
    const std::vector<int> numbers = NumbersIn(text);
    EXPECT_TRUE(std::equal(numbers.begin(), numbers.end(), tables.red.begin(), tables.red.end()));
    EXPECT_EQ(UsageText([] { TableText(SomeTables(), TableForm::kSane); }),
              "--table=sane: holds one table, but colour balance makes the channels differ");
}

TEST(CurvePlot, DrawsOneLineWhereTheChannelsAgreeElseThree) {
    const auto lines = [](const std::string& svg) {
        std::size_t count = 0;
        for (std::size_t at = svg.find("<polyline"); at != std::string::npos; at = svg.find("<polyline", at + 1)) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(lines(CurveSvg(GreyTables(), {})), 1u);
    EXPECT_EQ(lines(CurveSvg(SomeTables(), {})), 3u);
}

TEST(CurvePlot, SaysTheSettingsInOrderAndBreaksLongOnes) {
    CurveStep curve;
    curve.points = {
        {{0.125F, 1.125F}, {64.125F, 70.125F}, {128.125F, 140.125F}, {192.125F, 200.125F}, {250.125F, 251.125F}}};
    const std::vector<ToneStep> steps = {BrightnessContrastStep{5, {}}, curve};
    const std::string svg = CurveSvg(GreyTables(), steps);
    const std::size_t first = svg.find(">1. brightness 5<");
    const std::size_t second = svg.find(">2. spline 0.125,1.125");
    ASSERT_NE(first, std::string::npos);
    ASSERT_NE(second, std::string::npos);
    EXPECT_LT(first, second);
    EXPECT_NE(svg.find(">    250.125,251.125<"), std::string::npos);
    EXPECT_NE(CurveSvg(GreyTables(), {}).find("no tone step"), std::string::npos);
}

}  // namespace
}  // namespace platen_tool
