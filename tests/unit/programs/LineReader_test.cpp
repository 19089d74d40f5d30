#include "programs/LineReader.h"

#include <gtest/gtest.h>

#include <cstring>

#include "programs/ThreadedReader.h"

namespace platen_tool {
namespace {

// Lines of four bytes, each its own number; the height is not told.
class EndlessReader : public LineReader {
  public:
    explicit EndlessReader(std::uint32_t lines) : left_(lines) {
        info_.width = 4;
    }
    Container FileContainer() const override {
        return Container::kTiff;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    void ReadLine(std::uint8_t* line) override {
        std::memset(line, static_cast<int>(number_++), 4);
    }
    bool ReadLineOrEnd(std::uint8_t* line) override {
        if (left_ == 0) {
            return false;
        }
        --left_;
        ReadLine(line);
        return true;
    }
    bool NextPage() override {
        return false;
    }
    std::uint32_t PageCount() const override {
        return 3;
    }

  private:
    ImageInfo info_;
    std::uint32_t left_;
    std::uint32_t number_ = 1;
};

// A reader that knows its height and has no end of its own.
class PlainReader : public EndlessReader {
  public:
    PlainReader() : EndlessReader(0) {}
    bool ReadLineOrEnd(std::uint8_t* line) override {
        return LineReader::ReadLineOrEnd(line);
    }
};

TEST(LineReader, OneThatKnowsItsHeightNeverEndsByItself) {
    PlainReader reader;
    std::uint8_t line[4];
    EXPECT_TRUE(reader.ReadLineOrEnd(line));
    EXPECT_TRUE(reader.ReadLineOrEnd(line));
    EXPECT_EQ(line[0], 2);
    EXPECT_EQ(reader.TiffCompression(), 0);
    EXPECT_EQ(reader.Notice(), "");
}

TEST(ThreadedReader, APageOfUnknownHeightIsReadWhereItIsAskedFor) {
    ThreadedReader reader(std::make_unique<EndlessReader>(2), 0);
    EXPECT_EQ(reader.PageCount(), 3u);
    EXPECT_EQ(reader.FileContainer(), Container::kTiff);
    std::uint8_t line[4];
    EXPECT_TRUE(reader.ReadLineOrEnd(line));
    EXPECT_TRUE(reader.ReadLineOrEnd(line));
    EXPECT_EQ(line[0], 2);
    EXPECT_FALSE(reader.ReadLineOrEnd(line));
    reader.ReadLine(line);  // no thread takes lines that nobody has counted
    EXPECT_EQ(line[0], 3);
}

}  // namespace
}  // namespace platen_tool
