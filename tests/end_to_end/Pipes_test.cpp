#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "Spawn.h"

namespace platen_test {
namespace {

Streams Input(const std::string& bytes, std::size_t chunk = 0) {
    Streams streams;
    streams.input = bytes;
    streams.chunk = chunk;
    return streams;
}

std::string Pixels(const std::string& bytes, std::size_t count) {
    return bytes.size() < count ? std::string() : bytes.substr(bytes.size() - count);
}

TEST(Pipes, StandardInputAndOutputStandInForFiles) {
    const std::string page = PnmPage(30, 20, true);
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"-", "-o", "-"}, {"-o", "-"}, {"-"}}) {
        const Outcome outcome = Spawn(words, Input(page));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(Pixels(outcome.out, 1800), Pixels(page, 1800));
    }
}

TEST(Pipes, ShortReadsMakeNoDifference) {
    const std::string page = PnmPage(31, 17, true);
    const Outcome whole = Spawn({"--gamma=2", "--scale=50%", "--sharpness=1"}, Input(page));
    const Outcome pieces = Spawn({"--gamma=2", "--scale=50%", "--sharpness=1"}, Input(page, 7));
    EXPECT_EQ(whole.code, 0) << whole.err;
    EXPECT_EQ(pieces.code, 0) << pieces.err;
    EXPECT_EQ(whole.out, pieces.out);
}

TEST(Pipes, EveryContainerComesOutOfAPipeAndGoesIntoOne) {
    const std::string page = PnmPage(30, 20, true);
    for (const char* format : {"png", "tiff", "pnm"}) {
        const Outcome there = Spawn({std::string("--format=") + format, "--input-resolution=600"}, Input(page));
        ASSERT_EQ(there.code, 0) << format << there.err;
        const Outcome back = Spawn({"--format=pnm"}, Input(there.out, 100));
        ASSERT_EQ(back.code, 0) << format << back.err;
        EXPECT_EQ(Pixels(back.out, 1800), Pixels(page, 1800)) << format;
    }
}

TEST(Pipes, TruncatedInputIsAnError) {
    const std::string page = PnmPage(30, 20, true);
    const std::string png = Spawn({"--format=png"}, Input(page)).out;
    const std::string tiff = Spawn({"--format=tiff"}, Input(page)).out;
    const std::string jpeg = Spawn({"--format=jpeg"}, Input(page)).out;
    Folder folder;
    for (const std::string& bytes : {page, png, tiff, jpeg}) {
        ASSERT_GT(bytes.size(), 100u);
        for (const std::size_t kept : {std::size_t{1}, bytes.size() / 2, bytes.size() - 1}) {
            const Outcome outcome = Spawn({"-o", folder.File("out.ppm")}, Input(bytes.substr(0, kept)));
            EXPECT_EQ(outcome.code, 1) << outcome.err << kept;
            EXPECT_EQ(folder.Listing(), "");
        }
    }
}

TEST(Pipes, AFullDiskIsAnError) {
    Streams streams = Input(PnmPage(300, 200, true));
    streams.outputFile = "/dev/full";
    for (const char* format : {"png", "tiff", "jpeg", "pnm"}) {
        const Outcome outcome = Spawn({std::string("--format=") + format}, streams);
        EXPECT_EQ(outcome.code, 1) << format;
        EXPECT_NE(outcome.err.find("No space left on device"), std::string::npos) << format << outcome.err;
    }
    for (const char* command : {"curve", "--help", "--version"}) {
        const Outcome outcome = Spawn({command}, streams);
        EXPECT_EQ(outcome.code, 1) << command;
        EXPECT_NE(outcome.err.find("No space left on device"), std::string::npos) << command << outcome.err;
    }
}

TEST(Pipes, AClosedPipeIsQuiet) {
    Streams streams = Input(PnmPage(300, 200, true));
    streams.closeOutput = true;
    for (const char* format : {"png", "tiff", "jpeg", "pnm"}) {
        const Outcome outcome = Spawn({std::string("--format=") + format}, streams);
        EXPECT_EQ(outcome.code, 141) << format;
        EXPECT_EQ(outcome.err, "") << format;
    }
    const Outcome curve = Spawn({"curve"}, streams);
    EXPECT_EQ(curve.code, 141);
    EXPECT_EQ(curve.err, "");
}

// The page is large enough for threads of its own, and comes from a file and from a pipe.
TEST(Pipes, AClosedPipeIsQuietWithThreads) {
    Folder folder;
    const std::string page = PnmPage(1000, 700, true);
    WriteFile(folder.File("a.ppm"), page);
    for (const std::string& input : {folder.File("a.ppm"), std::string("-")}) {
        Streams streams = Input(input == "-" ? page : std::string());
        streams.closeOutput = true;
        for (const char* format : {"png", "tiff", "jpeg", "pnm"}) {
            const Outcome outcome = Spawn({input, "--threads=3", std::string("--format=") + format}, streams);
            EXPECT_EQ(outcome.code, 141) << format;
            EXPECT_EQ(outcome.err, "") << format;
        }
    }
}

// Waits until the program has begun its output; false after ten seconds.
bool WaitForFile(const Folder& folder) {
    for (int i = 0; i < 1000; ++i) {
        if (!folder.Listing().empty()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST(Pipes, AnInterruptLeavesNoFile) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        Folder folder;
        RunningProgram program({"-", "--threads=3", "-o", folder.File("out.ppm")});
        program.Write(PnmPage(30, 20, true).substr(0, 1000));  // more lines are to come
        ASSERT_TRUE(WaitForFile(folder));
        program.Signal(number);
        EXPECT_EQ(program.Wait(), 128 + number);
        EXPECT_EQ(folder.Listing(), "");
    }
}

TEST(Pipes, AnInterruptReachesTheWorkers) {
    Folder folder;
    Folder out;
    WriteFile(folder.File("a.ppm"), PnmPage(30, 20, true));
    // The second input is standard input, which never ends.
    RunningProgram program({folder.File("a.ppm"), "-", "-o", out.File("%s.ppm"), "--jobs=2"});
    program.Write(PnmPage(30, 20, true).substr(0, 1000));
    // Under its own name, not the temporary one: the first input is done.
    for (int i = 0; i < 1000 && !std::filesystem::exists(out.File("a.ppm")); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    for (int i = 0; i < 1000 && out.Listing() == "a.ppm"; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_NE(out.Listing(), "a.ppm");
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(), 130);
    for (int i = 0; i < 1000 && out.Listing() != "a.ppm"; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));  // the worker ends after its parent
    }
    EXPECT_EQ(out.Listing(), "a.ppm");
}

}  // namespace
}  // namespace platen_test
