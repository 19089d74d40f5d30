#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "Spawn.h"

// Calls of the system that fail where no file or argument can make them.

namespace platen_test {
namespace {

class Faults : public testing::Test {
  protected:
    Faults() {
        setenv("LD_PRELOAD", PLATEN_FAULTS, 1);
        for (const char* name : {"a.ppm", "b.ppm"}) {
            WriteFile(folder.File(name), PnmPage(40, 3000, true));
        }
    }
    ~Faults() override {
        unsetenv("LD_PRELOAD");
    }

    Outcome Run(const char* fault, const std::string& value, const std::vector<std::string>& words,
                const std::string& input = "") const {
        setenv(fault, value.c_str(), 1);
        Streams streams;
        streams.folder = folder.Path();
        streams.input = input;
        const Outcome outcome = Spawn(words, streams);
        unsetenv(fault);
        return outcome;
    }

    Folder folder;
};

TEST_F(Faults, AProcessThatCannotBeStarted) {
    const Outcome outcome =
        Run("FAULT_FORK", std::to_string(EAGAIN), {"a.ppm", "b.ppm", "--jobs=2", "-o", "%s.png"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err,
              "platen: a.ppm: a process cannot be started: Resource temporarily unavailable\n"
              "platen: b.ppm: a process cannot be started: Resource temporarily unavailable\n");
    EXPECT_EQ(folder.Listing(), "a.ppm b.ppm");
}

TEST_F(Faults, AProcessThatIsKilled) {
    const Outcome outcome = Run("FAULT_FORK", "kill", {"a.ppm", "b.ppm", "--jobs=2", "-k", "-o", "%s.png"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err,
              "platen: a worker process was killed by signal 9\n"
              "platen: a worker process was killed by signal 9\n");
    EXPECT_EQ(folder.Listing(), "a.ppm b.ppm");
}

TEST_F(Faults, ADiskThatCannotBeRead) {
    const std::string error = std::to_string(EIO);
    for (const char* format : {"png", "jpg", "ppm"}) {
        const std::string name = std::string("in.") + format;
        EXPECT_EQ(Run("FAULT_NONE", "", {"a.ppm", "-o", name, "-f"}).code, 0);
        const Outcome outcome = Run("FAULT_READ", error, {name, "--threads=1", "-o", "never.png"});
        EXPECT_EQ(outcome.code, 1) << name;
        EXPECT_EQ(outcome.err, "platen: " + name + ": can't be read: Input/output error\n");
    }
    EXPECT_EQ(folder.Listing(), "a.ppm b.ppm in.jpg in.png in.ppm");
}

TEST_F(Faults, ATemporaryFileThatCannotBeReadBack) {
    EXPECT_EQ(Run("FAULT_NONE", "", {"a.ppm", "-o", "in.tif"}).code, 0);
    const std::string tiff = ReadFile(folder.File("in.tif"));
    const Outcome directory = Run("FAULT_PREAD", "1", {"-", "-o", "never.png"}, tiff);
    EXPECT_EQ(directory.code, 1);
    EXPECT_EQ(directory.err, "platen: -: the TIFF is damaged: it has no page\n");
    const Outcome written = Run("FAULT_PREAD", "1", {"a.ppm", "-o", "never.tif"});
    EXPECT_EQ(written.code, 1);
    EXPECT_EQ(written.err, "platen: a.ppm: the TIFF can't be written: its directory can't be read back\n");
    EXPECT_EQ(folder.Listing(), "a.ppm b.ppm in.tif");
}

// A page of one pixel is its own first pass, so the word in its header is all that interlacing changes.
std::string Interlaced(std::string png) {
    constexpr std::size_t kHeader = 8 + 4;  // its name, 13 bytes, their check sum
    png[kHeader + 4 + 12] = 1;
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = kHeader; i < kHeader + 17; ++i) {
        crc ^= static_cast<unsigned char>(png[i]);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
        }
    }
    for (std::size_t i = 0; i < 4; ++i) {
        png[kHeader + 17 + i] = static_cast<char>(~crc >> (24 - 8 * i));
    }
    return png;
}

TEST_F(Faults, APassThatCannotBeReadBack) {
    WriteFile(folder.File("dot.pgm"), "P5 1 1 255\nx");
    EXPECT_EQ(Run("FAULT_NONE", "", {"dot.pgm", "-o", "dot.png"}).code, 0);
    WriteFile(folder.File("laced.png"), Interlaced(ReadFile(folder.File("dot.png"))));
    EXPECT_EQ(Run("FAULT_NONE", "", {"laced.png", "-o", "whole.pgm"}).code, 0);
    EXPECT_EQ(ReadFile(folder.File("whole.pgm")), "P5\n1 1\n255\nx");
    const Outcome outcome = Run("FAULT_PREAD", "1", {"laced.png", "-o", "never.pgm"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "platen: laced.png: the temporary file can't be read back\n");
}

TEST_F(Faults, WithoutThreadsTheWorkIsDoneAllTheSame) {
    EXPECT_EQ(Run("FAULT_NONE", "", {"a.ppm", "--gamma=2", "--threads=3", "-o", "three.ppm"}).code, 0);
    const Outcome alone = Run("FAULT_THREAD", "1", {"a.ppm", "--gamma=2", "--threads=3", "-o", "one.ppm"});
    EXPECT_EQ(alone.code, 0);
    EXPECT_EQ(alone.err, "");
    EXPECT_TRUE(ReadFile(folder.File("one.ppm")) == ReadFile(folder.File("three.ppm")));
}

}  // namespace
}  // namespace platen_test
