#include "programs/commands/CurveCommand.h"

#include "Expect.h"
#include "io/Pages.h"
#include "programs/page/CurvePlot.h"

namespace platen_tool {
namespace {

std::string Curve(const std::vector<std::string>& words) {
    testing::internal::CaptureStdout();
    try {
        RunCurve(ParseArguments(kCurve, words));
    } catch (...) {
        testing::internal::GetCapturedStdout();
        throw;
    }
    return testing::internal::GetCapturedStdout();
}

ToneTables TablesOf(const std::vector<ToneStep>& steps) {
    return FoldToneSteps(steps, 24);
}

TEST(CurveCommand, EveryFormPrintsTheFoldedTable) {
    const ToneTables tables = TablesOf({BrightnessContrastStep{30, {}}});
    const std::pair<const char*, TableForm> forms[] = {
        {"plain", TableForm::kPlain}, {"c", TableForm::kC}, {"csv", TableForm::kCsv}, {"sane", TableForm::kSane}};
    for (const auto& [name, form] : forms) {
        EXPECT_EQ(Curve({"--brightness=30", std::string("--table=") + name}), TableText(tables, form)) << name;
    }
    EXPECT_EQ(Curve({"--brightness=30"}), TableText(tables, TableForm::kPlain));
    EXPECT_EQ(UsageText([] { Curve({"--table=xml"}); }), "--table: 'xml' is not one of plain, c, csv, sane");
}

TEST(CurveCommand, AListForAScannerNeedsEqualChannels) {
    for (const char* shift : {"0,0,50", "0,50,0", "50,0,0"}) {
        EXPECT_EQ(UsageText([&] {
                      Curve({"--table=sane", std::string("--balance-midtones=") + shift});
                  }),
                  "--table=sane: holds one table, but colour balance makes the channels differ")
            << shift;
    }
    EXPECT_EQ(Curve({"--table=sane", "--balance-midtones=0,0,0"}).substr(0, 8), "0,1,2,3,");
}

TEST(CurveCommand, DrawsOneCurveOrThree) {
    const struct {
        std::array<int, 3> shift;
        std::size_t curves;
    } cases[] = {{{0, 0, 0}, 1}, {{0, 0, 50}, 3}, {{0, 50, 0}, 3}, {{50, 50, 0}, 3}};
    for (const auto& test : cases) {
        const std::vector<ToneStep> steps = {BalanceStep{BalanceGroup::kMidtones, test.shift}};
        const std::string svg = CurveSvg(TablesOf(steps), steps);
        std::size_t curves = 0;
        for (std::size_t at = 0; (at = svg.find("<polyline", at)) != std::string::npos; ++at) {
            ++curves;
        }
        EXPECT_EQ(curves, test.curves);
        EXPECT_EQ(svg.find("red, green and blue") != std::string::npos, test.curves == 1);
    }
}

TEST(CurveCommand, WritesThePictureAndTheTable) {
    const platen_test::Scratch scratch;
    const std::string svg = scratch / "a.svg";
    EXPECT_EQ(Curve({"--gamma=2", "--svg=" + svg}), "");
    EXPECT_EQ(Curve({"--gamma=2", "--svg=" + svg, "--force", "--table=csv"}).substr(0, 22),
              "input,red,green,blue\n0");
    const platen_test::Bytes bytes = platen_test::FileBytes(svg);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "<svg");
}

TEST(CurveCommand, TakesNoFileAndOneThingForStandardOutput) {
    EXPECT_EQ(UsageText([] {
                  Curve({"--svg=-", "--table=plain"});
              }),
              "--svg=-: the table goes to standard output; name a file");
    EXPECT_EQ(UsageText([] { Curve({"a.png"}); }), "curve: takes no input file, but 'a.png' is there");
}

}  // namespace
}  // namespace platen_tool
