#include "programs/io/LineReader.h"

#include <gtest/gtest.h>

#include "NumberedLines.h"
#include "programs/io/OpenReader.h"
#include "programs/threads/ThreadedReader.h"

namespace platen_tool {
namespace {

// A reader that knows its height and has no end of its own.
class PlainReader : public NumberedLines {
  public:
    explicit PlainReader(std::uint32_t height = 0) : NumberedLines(0) {
        info_.height = height;
    }
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

TEST(LineReader, APageIsSkippedToItsEnd) {
    PlainReader reader(7);
    SkipLines(reader);
    std::uint8_t line[4];
    reader.ReadLine(line);
    EXPECT_EQ(line[0], 8);
}

TEST(ThreadedReader, APageOfUnknownHeightIsReadWhereItIsAskedFor) {
    ThreadedReader reader(std::make_unique<NumberedLines>(2), 0);
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
