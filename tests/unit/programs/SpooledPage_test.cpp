#include "programs/SpooledPage.h"

#include "Expect.h"

namespace platen_tool {
namespace {

// Gives lines of four bytes, each filled with its number; the height is not known before the last one.
class Lines : public LineReader {
  public:
    explicit Lines(std::uint8_t count) : count_(count) {
        info_.width = 4;
    }
    Container FileContainer() const override {
        return Container::kPnm;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    void ReadLine(std::uint8_t* line) override {
        std::fill_n(line, 4, next_++);
    }
    bool ReadLineOrEnd(std::uint8_t* line) override {
        if (next_ == count_) {
            return false;
        }
        ReadLine(line);
        return true;
    }
    bool NextPage() override {
        return false;
    }
    std::uint32_t PageCount() const override {
        return 1;
    }

  private:
    ImageInfo info_;
    std::uint8_t count_;
    std::uint8_t next_ = 0;
};

TEST(SpooledPage, GivesTheLinesAndTheirCount) {
    Lines lines(5);
    SpooledPage page(lines, false);
    EXPECT_EQ(page.Height(), 5u);
    std::uint8_t line[4];
    for (std::uint8_t y = 0; y < 5; ++y) {
        ASSERT_TRUE(page.ReadLine(line));
        EXPECT_EQ(line[0], y);
        EXPECT_EQ(line[3], y);
    }
    EXPECT_FALSE(page.ReadLine(line));
}

TEST(SpooledPage, NeedsALine) {
    Lines none(0);
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { SpooledPage(none, false); }), "the page has no lines");
}

TEST(SpooledPage, IsRefusedWhereStreamingIsStrict) {
    Lines lines(5);
    EXPECT_EQ(ErrorText(ExitCode::kUnsupported, [&] { SpooledPage(lines, true); }),
              "the page's height isn't known, and scaling and sharpness need it; --strict-stream forbids spooling");
}

}  // namespace
}  // namespace platen_tool
