#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "Spawn.h"

// What a run may never do: take away a page that it has not written elsewhere.

namespace platen_test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

class DataLoss : public testing::Test {
  protected:
    // Two pages that differ, as TIFFs.
    DataLoss() {
        for (int seed : {1, 2}) {
            const std::string name = std::to_string(seed);
            WriteFile(folder.File("page.pgm"), PnmPage(40, 30, false, seed));
            EXPECT_EQ(Run({"page.pgm", "-o", name + ".tif"}).code, 0);
            pages[seed - 1] = ReadFile(folder.File(name + ".tif"));
        }
        fs::remove(folder.File("page.pgm"));
    }

    Outcome Run(const Words& words) const {
        Streams streams;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }

    // Expects the run to be refused for this reason, before it has changed anything.
    void ExpectRefused(const Words& words, int code, const std::string& message) const {
        const std::string before = folder.Listing();
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, code) << outcome.err;
        EXPECT_EQ(outcome.err, "platen: " + message + "\n");
        EXPECT_EQ(folder.Listing(), before);
        ExpectInputs();
    }

    void ExpectInputs() const {
        for (int seed : {1, 2}) {
            EXPECT_TRUE(ReadFile(folder.File(std::to_string(seed) + ".tif")) == pages[seed - 1]) << seed;
        }
    }

    std::string Pixels(const std::string& name) const {
        return Run({name, "-o", "-", "--format=pnm"}).out;
    }

    void Link(const std::string& target, const std::string& name) const {
        fs::create_symlink(target, folder.File(name));
    }

    Folder folder;
    std::string pages[2];
};

const std::string kInput = " is an input of this run; only its own page may replace it";
const std::string kTwice = " is already an output of this run; each output needs a file of its own";

TEST_F(DataLoss, AnInputIsReplacedByNoOtherPage) {
    ExpectRefused({"-f", "2.tif", "1.tif", "-o", "%d.tif"}, 2, "2.tif: -o: 1.tif" + kInput);
    ExpectRefused({"-f", "2.tif", "1.tif", "-o", "./%d.tif"}, 2, "2.tif: -o: ./1.tif" + kInput);
    ExpectRefused({"-n", "-f", "2.tif", "1.tif", "-o", "%d.tif"}, 2, "2.tif: -o: 1.tif" + kInput);
    ExpectRefused({"2.tif", "1.tif", "-o", "%d.tif"}, 2, "2.tif: -o: 1.tif" + kInput);
    fs::create_hard_link(folder.File("1.tif"), folder.File("hard.tif"));
    ExpectRefused({"-f", "1.tif", "2.tif", "-o", "hard%d.tif", "--first-page-number=1", "--plot=hard.tif"}, 2,
                  "--plot: hard.tif is an input of this run");
}

TEST_F(DataLoss, AnInputThatIsDoneIsReplacedByNoOtherPageEither) {
    Link("1.tif", "x-2.tif");
    ExpectRefused({"-f", "1.tif", "2.tif", "-o", "x-%s.tif"}, 2, "-o: x-2.tif" + kInput);
}

TEST_F(DataLoss, WithJobsToo) {
    Link("1.tif", "x-2.tif");
    ExpectRefused({"-f", "--jobs=2", "1.tif", "2.tif", "-o", "x-%s.tif"}, 2, "-o: x-2.tif" + kInput);
    Link("2.tif", "y1-1.tif");
    const Outcome outcome = Run({"-f", "--jobs=2", "1.tif", "2.tif", "-o", "y%s-%d.tif"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err, "platen: 1.tif: -o: y1-1.tif" + kInput + "\n");
    ExpectInputs();
}

TEST_F(DataLoss, ALinkToAnInputIsThatInput) {
    WriteFile(folder.File("a.tif"), pages[0]);
    Link("a.tif", "b.tif");
    ExpectRefused({"-f", "--scale=50%", "a.tif", "b.tif", "-o", "%s.tif"}, 2, "-o: a.tif" + kInput);
    EXPECT_TRUE(ReadFile(folder.File("a.tif")) == pages[0]);
    // Through a folder that is a link.
    fs::create_directory_symlink(".", folder.File("there"));
    ExpectRefused({"-f", "1.tif", "2.tif", "-o", "there/%d.tif", "--plot=there/2.tif"}, 2,
                  "--plot: there/2.tif is an input of this run");
}

TEST_F(DataLoss, PlotsPresetsAndTablesReplaceNoInput) {
    const std::string input = " is an input of this run";
    ExpectRefused({"--plot=1.tif", "-f", "1.tif"}, 2, "--plot: 1.tif" + input);
    ExpectRefused({"--plot=1.tif", "-f", "1.tif", "-o", "x.tif"}, 2, "--plot: 1.tif" + input);
    ExpectRefused({"-n", "--plot=1.tif", "-f", "1.tif", "-o", "x.tif"}, 2, "--plot: 1.tif" + input);
    ExpectRefused({"--save-preset=1.tif", "-f", "1.tif", "-o", "x.tif"}, 2, "--save-preset: 1.tif" + input);
    Link("2.tif", "plot.svg");
    ExpectRefused({"--plot=plot.svg", "-f", "1.tif", "2.tif", "-o", "x%s.tif"}, 2, "--plot: plot.svg" + input);
}

TEST_F(DataLoss, TwoOutputsAreNotOneFile) {
    ExpectRefused({"--plot=x.png", "1.tif", "-o", "x.png"}, 2, "-o: x.png" + kTwice);
    ExpectRefused({"--plot=x.png", "-f", "1.tif", "-o", "./x.png"}, 2, "-o: ./x.png" + kTwice);
    ExpectRefused({"--save-preset=x.toml", "--plot=x.toml", "1.tif", "-o", "x.png"}, 2, "--plot: x.toml" + kTwice);
    ExpectRefused({"curve", "--save-preset=x", "--svg=x"}, 2, "--svg: x" + kTwice);
    WriteFile(folder.File("old.tif"), pages[0]);
    Link("old.tif", "x1.tif");
    Link("old.tif", "x2.tif");
    ExpectRefused({"-f", "1.tif", "2.tif", "-o", "x%s.tif"}, 2, "-o: x2.tif" + kTwice);
    EXPECT_TRUE(ReadFile(folder.File("old.tif")) == pages[0]);
}

// "a1" and "1" make one name of "a" and "11".
TEST_F(DataLoss, NamesThatNumbersMakeEqualAreNoticed) {
    WriteFile(folder.File("a.tif"), pages[0]);
    WriteFile(folder.File("a1.pgm"), PnmPage(4, 4, false, 3));
    std::string many;
    for (int page = 0; page < 11; ++page) {
        many += PnmPage(4, 4, false, page);
    }
    WriteFile(folder.File("a.pgm"), many);
    for (const Words& more : {Words{}, Words{"-f", "--jobs=2"}}) {
        Words words = {"a1.pgm", "a.pgm", "-o", "%s%d.png"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_NE(outcome.err.find("-o: a11.png" + kTwice), std::string::npos) << outcome.err;
        for (int page = 1; page < 20; ++page) {
            fs::remove(folder.File("a" + std::to_string(page) + ".png"));
        }
    }
}

TEST_F(DataLoss, AnInputMayBeReplacedByItsOwnPage) {
    EXPECT_EQ(Run({"-f", "--negative", "1.tif", "2.tif", "-o", "%s.tif"}).code, 0);
    EXPECT_EQ(Run({"--negative", "1.tif", "-o", "back.tif"}).code, 0);
    EXPECT_TRUE(ReadFile(folder.File("back.tif")) == pages[0]);
    const Outcome unforced = Run({"1.tif", "-o", "1.tif"});
    EXPECT_EQ(unforced.code, 1);
    EXPECT_EQ(unforced.err, "platen: 1.tif: 1.tif: exists already; --force overwrites it\n");
}

// Its first page has its input's name, and that may go only when the last page has been read.
TEST_F(DataLoss, APageTakesItsInputsPlaceAfterTheLastPage) {
    std::string damaged = PnmPage(40, 30, false, 1) + PnmPage(40, 30, false, 2);
    damaged.pop_back();
    WriteFile(folder.File("p1.pgm"), damaged);
    const Outcome outcome = Run({"-f", "p1.pgm", "-o", "p%d.pgm"});
    EXPECT_EQ(outcome.code, 1) << outcome.err;
    EXPECT_TRUE(ReadFile(folder.File("p1.pgm")) == damaged);
    EXPECT_EQ(folder.Listing(), "1.tif 2.tif p1.pgm");
    WriteFile(folder.File("p1.pgm"), PnmPage(40, 30, false, 1) + PnmPage(40, 30, false, 2));
    EXPECT_EQ(Run({"-f", "p1.pgm", "-o", "p%d.pgm"}).code, 0);
    EXPECT_EQ(Pixels("p1.pgm"), Pixels("1.tif"));
    EXPECT_EQ(Pixels("p2.pgm"), Pixels("2.tif"));
}

TEST_F(DataLoss, StandardOutputIsNoInput) {
    Streams streams;
    streams.folder = folder.Path();
    streams.program = "sh";
    const Outcome outcome = Spawn({"-c", PLATEN_PROGRAM " --format=tiff 1.tif -o - >>1.tif"}, streams);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err, "platen: -o: standard output is an input of this run\n");
    ExpectInputs();
    const Outcome input = Spawn({"-c", PLATEN_PROGRAM " -f - 2.tif -o 1%s.tif <1.tif --plot=1.tif"}, streams);
    EXPECT_EQ(input.code, 2);
    EXPECT_EQ(input.err, "platen: --plot: 1.tif is an input of this run\n");
    ExpectInputs();
}

TEST_F(DataLoss, ATiffWithAnEntryOutsideIsAnError) {
    WriteFile(folder.File("page.pgm"), PnmPage(40, 30, false, 1));
    EXPECT_EQ(Run({"page.pgm", "--set-resolution=300", "-o", "whole.tif"}).code, 0);
    const std::string whole = ReadFile(folder.File("whole.tif"));
    std::string moved = whole;
    // The directory entry of the resolution: tag 282, type RATIONAL, count 1, then its offset.
    const std::size_t entry = moved.find(std::string("\x1A\x01\x05\0\x01\0\0\0", 8));
    ASSERT_NE(entry, std::string::npos);
    const std::size_t end = moved.size() - 7;  // its last byte lies outside
    for (std::size_t i = 0; i < 4; ++i) {
        moved[entry + 8 + i] = static_cast<char>(end >> (8 * i));
    }
    WriteFile(folder.File("moved.tif"), moved);
    for (const Words& words : {Words{"moved.tif", "-o", "never.png"}, Words{"info", "moved.tif"}}) {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.err,
                  "platen: moved.tif: the TIFF is damaged or cut off: the value of its tag 282 lies outside the "
                  "file\n");
    }
    EXPECT_EQ(folder.Listing(), "1.tif 2.tif moved.tif page.pgm whole.tif");
}

TEST_F(DataLoss, ALinkToNothingIsNotReplaced) {
    Link("nowhere.tif", "link.tif");
    ExpectRefused({"1.tif", "-o", "link.tif"}, 1,
                  "1.tif: link.tif: is a link to a file that doesn't exist; --force creates the file");
    ExpectRefused({"-n", "1.tif", "-o", "link.tif"}, 1,
                  "1.tif: link.tif: is a link to a file that doesn't exist; --force creates the file");
    EXPECT_EQ(Run({"-f", "1.tif", "-o", "link.tif"}).code, 0);
    EXPECT_TRUE(fs::is_symlink(folder.File("link.tif")));
    EXPECT_FALSE(fs::is_symlink(folder.File("nowhere.tif")));
    EXPECT_EQ(Pixels("nowhere.tif"), Pixels("1.tif"));
    Link("circle.tif", "circle.tif");
    EXPECT_EQ(Run({"-f", "1.tif", "-o", "circle.tif"}).code, 1);
    EXPECT_TRUE(fs::is_symlink(folder.File("circle.tif")));
    Link("nowhere/at/all.tif", "deep.tif");
    EXPECT_EQ(Run({"-f", "1.tif", "-o", "deep.tif"}).code, 1);
    EXPECT_TRUE(fs::is_symlink(folder.File("deep.tif")));
}

// Between the look at the name and the renaming somebody may take the name.
TEST_F(DataLoss, AFileThatAppearsMeanwhileIsNotReplaced) {
    const RunningProgram running({"-", "-o", folder.File("new.pgm")});
    const std::string page = PnmPage(40, 3000, false);
    running.Write(page.substr(0, 60000));
    for (int tries = 0; tries < 500 && folder.Listing() == "1.tif 2.tif"; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    WriteFile(folder.File("new.pgm"), "somebody else's");
    running.Write(page.substr(60000));
    RunningProgram& ending = const_cast<RunningProgram&>(running);
    ending.CloseInput();
    EXPECT_EQ(ending.Wait(), 1);
    EXPECT_EQ(ReadFile(folder.File("new.pgm")), "somebody else's");
    EXPECT_EQ(folder.Listing(), "1.tif 2.tif new.pgm");
}

TEST_F(DataLoss, EverySignalThatEndsTheRunRemovesTheHiddenFile) {
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        RunningProgram running({"-", "-o", folder.File("new.pgm")});
        running.Write(PnmPage(40, 3000, false).substr(0, 60000));
        for (int tries = 0; tries < 500 && folder.Listing() == "1.tif 2.tif"; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        running.Signal(number);
        EXPECT_EQ(running.Wait(), 128 + number);
        EXPECT_EQ(folder.Listing(), "1.tif 2.tif") << number;
    }
}

}  // namespace
}  // namespace platen_test
