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

TEST(OutputName, AFolderTakesTheInputsNameAndEnding) {
    const OutputName name("out/");
    EXPECT_TRUE(name.HasName());
    EXPECT_FALSE(name.HasPage());
    EXPECT_EQ(name.Make("scans/a.b.tif", 1), "out/a.b.tif");
    EXPECT_EQ(name.Make("scans.d/page", 1), "out/page");
    EXPECT_EQ(name.Make("a/.hidden", 1), "out/.hidden");
    EXPECT_EQ(name.Make("-", 1), "out/stdin");
    EXPECT_EQ(name.Make("page.", 1), "out/page.");
}

TEST(OutputName, AFolderTakesTheEndingOfTheFormatThatWasAskedFor) {
    EXPECT_EQ(OutputName("out/", "png").Make("a.tif", 1), "out/a.png");
    EXPECT_EQ(OutputName("out/", "tiff").Make("a.png", 1), "out/a.tif");
    EXPECT_EQ(OutputName("out/", "jpeg").Make("a", 1), "out/a.jpg");
    EXPECT_EQ(OutputName("%d/", "pdf").Make("a.tif", 2), "2/a.pdf");
    EXPECT_EQ(OutputName("out/%s.x", "png").Make("a.tif", 1), "out/a.x");  // no folder: the name as it is
}

TEST(OutputName, PageIsFilledWithZeros) {
    EXPECT_EQ(OutputName("p%03d.png").Make("a", 7), "p007.png");
    EXPECT_EQ(OutputName("p%03d.png").Make("a", 1234), "p1234.png");
    EXPECT_EQ(OutputName("p%d.png").Make("a", 7), "p7.png");
    EXPECT_EQ(OutputName("%s-%d-%%.png").Make("a.tif", 7), "a-7-%.png");
    EXPECT_EQ(OutputName("%01d").Make("a", 7), "7");
    EXPECT_EQ(OutputName("%09d").Make("a", 7), "000000007");
    EXPECT_EQ(OutputName("%02d%03d").Make("a", 12), "12012");
    EXPECT_TRUE(OutputName("p%d.png").HasPage());
    EXPECT_FALSE(OutputName("p%d.png").HasName());
    EXPECT_TRUE(OutputName("p%s.png").HasName());
}

TEST(OutputName, OtherPercentSignsAreRefused) {
    for (const char* text :
         {"%", "a%", "%x", "%3d", "%03s", "%00d", "%03", "%0", "%03%", "%:d", "%0:d", "%1d", "a%0/d"}) {
        EXPECT_EQ(UsageText([text] { OutputName name(text); }),
                  std::string("-o: '") + text + "' has a '%' that is not the start of %s, %d, %01d to %09d or %%");
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
    EXPECT_EQ(UsageText([] {
                  CheckOutputName(OutputName("%s-%d.png"), {"1.png", "2.png", "y/1.tif"});
              }),
              "-o: '1.png' and 'y/1.tif' would both write '1-1.png'");
    EXPECT_EQ(UsageText([] {
                  CheckOutputName(OutputName("out/"), {"x/1.png", "y/1.png"});
              }),
              "-o: 'x/1.png' and 'y/1.png' would both write 'out/1.png'");
    CheckOutputName(OutputName("out/"), {"x/1.png", "y/1.tif"});
}

}  // namespace
}  // namespace platen_tool
