#include "programs/threads/SpooledPage.h"

#include "Expect.h"
#include "NumberedLines.h"

namespace platen_tool {
namespace {

TEST(SpooledPage, GivesTheLinesAndTheirCount) {
    NumberedLines lines(5);
    SpooledPage page(lines);
    EXPECT_EQ(page.Height(), 5u);
    std::uint8_t line[4];
    for (std::uint8_t y = 1; y <= 5; ++y) {
        ASSERT_TRUE(page.ReadLine(line));
        EXPECT_EQ(line[0], y);
        EXPECT_EQ(line[3], y);
    }
    EXPECT_FALSE(page.ReadLine(line));
}

TEST(SpooledPage, NeedsALine) {
    NumberedLines none(0);
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { SpooledPage page(none); }), "the page has no lines");
}

}  // namespace
}  // namespace platen_tool
