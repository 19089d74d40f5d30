#include "programs/io/OutputName.h"

#include "Expect.h"

namespace platen_tool {
namespace {

TEST(OutputName, PlainNamesStayAsTheyAre) {
    const OutputName name("out/page.png");
    EXPECT_FALSE(name.HasName());
    EXPECT_FALSE(name.HasPage());
    EXPECT_EQ(name.Make("in.tif", 3), "out/page.png");
}

TEST(OutputName, NameIsTheInputWithoutFolderAndEnding) {
    const OutputName name("out/%s.png");
    EXPECT_EQ(name.Make("scans/a.b.tif", 1), "out/a.b.png");
    EXPECT_EQ(name.Make("page", 1), "out/page.png");
    EXPECT_EQ(name.Make(".hidden", 1), "out/.hidden.png");
    EXPECT_EQ(name.Make("-", 1), "out/stdin.png");
}

TEST(OutputName, PageIsFilledWithZeros) {
    EXPECT_EQ(OutputName("p%03d.png").Make("a", 7), "p007.png");
    EXPECT_EQ(OutputName("p%03d.png").Make("a", 1234), "p1234.png");
    EXPECT_EQ(OutputName("p%d.png").Make("a", 7), "p7.png");
    EXPECT_EQ(OutputName("%s-%d-%%.png").Make("a.tif", 7), "a-7-%.png");
}

TEST(OutputName, OtherPercentSignsAreRefused) {
    for (const char* text : {"%", "a%", "%x", "%3d", "%03s", "%00d", "%03", "%0"}) {
        EXPECT_EQ(UsageText([text] { OutputName name(text); }),
                  std::string("-o: '") + text + "' has a '%' that is none of %s, %d, %01d to %09d and %%");
    }
}

TEST(OutputName, SeveralInputsNeedATemplate) {
    EXPECT_EQ(UsageText([] {
                  CheckOutputName(OutputName("a.png"), {"1.png", "2.png"});
              }),
              "-o: several inputs need %s or %d in the output's name");
    CheckOutputName(OutputName("a.png"), {"1.png"});
    CheckOutputName(OutputName("%d.png"), {"1.png", "2.png"});
}

TEST(OutputName, TwoInputsMayNotMeetInOneOutput) {
    EXPECT_EQ(UsageText([] {
                  CheckOutputName(OutputName("%s.png"), {"x/1.png", "y/1.tif"});
              }),
              "-o: 'x/1.png' and 'y/1.tif' would both write '1.png'");
}

}  // namespace
}  // namespace platen_tool
