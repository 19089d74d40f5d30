#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "Spawn.h"

// Devices that break SANE's rules, which its test device never does.

namespace platen_test {
namespace {

class BadSane : public testing::Test {
  protected:
    BadSane() {
        setenv("LD_LIBRARY_PATH", PLATEN_BAD_SANE, 1);
    }
    ~BadSane() override {
        unsetenv("LD_LIBRARY_PATH");
        unsetenv("BAD_SANE");
        unsetenv("BAD_SANE_LOG");
    }

    Outcome Run(const std::vector<std::string>& words, const std::string& program = {}) const {
        Streams streams;
        streams.folder = folder.Path();
        streams.program = program;
        return Spawn(words, streams);
    }

    void Expect(const char* fault, int code, const std::string& message, const std::vector<std::string>& more = {},
                const std::string& files = {}) {
        setenv("BAD_SANE", fault, 1);
        std::vector<std::string> words = {"scan", "-d", "x", "-o", "never.png"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, code) << fault;
        EXPECT_EQ(outcome.err, message.empty() ? "" : "platen: " + message + "\n");
        EXPECT_EQ(folder.Listing(), code == 0 ? "never.png" : files) << fault;
    }

    // A scan with this fault, told about in one message; the files that it leaves, and the sheets that it pulled.
    void ExpectKept(const char* fault, const std::vector<std::string>& words, int code, const std::string& message,
                    const std::string& files, int sheets) {
        setenv("BAD_SANE", fault, 1);
        Folder log;
        setenv("BAD_SANE_LOG", log.File("log").c_str(), 1);
        std::vector<std::string> line = {"scan", "-d", "x"};
        line.insert(line.end(), words.begin(), words.end());
        const Outcome outcome = Run(line);
        EXPECT_EQ(outcome.code, code) << fault;
        EXPECT_EQ(outcome.err, message.empty() ? "" : "platen: x: " + message + "\n") << fault;
        EXPECT_EQ(folder.Listing(), files) << fault;
        const std::string pulled = sheets == 0 ? "" : ReadFile(log.File("log"));
        EXPECT_EQ(std::count(pulled.begin(), pulled.end(), '\n'), sheets) << fault;
    }

    // The numbers of the sheets in a file, which are the levels of their pixels.
    std::string SheetsIn(const std::string& file) const {
        const std::string pages = Run({file, "-o", "-", "--format=pnm"}).out;
        std::string numbers;
        const std::string header = "P5\n20 4\n255\n";
        for (std::size_t at = 0; at < pages.size(); at += header.size() + 80) {
            EXPECT_EQ(pages.substr(at, header.size()), header);
            const std::string pixels = pages.substr(at + header.size(), 80);
            EXPECT_EQ(pixels, std::string(80, pixels[0]));
            numbers += (numbers.empty() ? "" : " ") + std::to_string(static_cast<int>(pixels[0]));
        }
        return numbers;
    }

    void Clear() const {
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
            std::filesystem::remove(entry);
        }
    }

    Folder folder;
};

TEST_F(BadSane, FaultsBeforeTheScan) {
    Expect("init", 4, "x: SANE can't be started: denied");
    Expect("parameters", 4, "x: the page's size is not available: input");
    Expect("frame", 3, "x: the device sends frames that are neither grey nor red, green and blue");
    Expect("depth", 3, "x: the device sends 12 bits a sample; 1, 8 and 16 are supported");
    Expect("short line", 4, "x: the device announces lines of 20 pixels in 19 bytes");
    Expect("", 4, "x: --set stubborn: the device refused '1': busy", {"--set", "stubborn=1"});
    const Outcome list = Spawn({"scan", "-L"});
    EXPECT_EQ(list.code, 4);
    EXPECT_EQ(list.err, "platen: the devices can't be listed: memory\n");
}

TEST_F(BadSane, FaultsWithinTheScan) {
    Expect("empty", 5, "x: empty");
    Expect("empty read", 5, "x: empty");
    Expect("jam", 4, "x: jam");
    Expect("later parameters", 4, "x: the page's size is not available: input");
    Expect("half line", 4, "x: the device ended the page within line 2 of 4");
    Expect("no lines", 4, "x: the device sent a page without lines", {"-o", "never.tif"});
    Expect("no lines", 4, "x: the device sent a page without lines", {"--scale=50%"});
    Expect("pass", 4, "x: the next pass can't be started: input");
    Expect("start", 4, "x: the scan can't be started: input");
    Expect("grey pass", 4, "x: the device sends a whole page where one of three passes was expected");
    Expect("same pass", 4, "x: the device sends the same colour twice");
    Expect("pass size", 4, "x: the device's three passes differ in size");
}

const std::string kSeven = "p1.png p2.png p3.png p4.png p5.png p6.png p7.png";

TEST_F(BadSane, AJamKeepsThePagesBeforeItInOneFile) {
    for (const char* fault : {"jam at sheet 8", "jam within sheet 8"}) {
        for (const std::string name : {"all.tif", "all.pgm", "all.pam"}) {
            for (const char* threads : {"--strip", "--scale=1"}) {
                ExpectKept(fault, {"--pages=all", threads, "-o", name}, 4, "7 pages kept, page 8 failed: jam", name,
                           8);
                EXPECT_EQ(SheetsIn(name), "1 2 3 4 5 6 7") << fault << name;
                EXPECT_EQ(Run({"info", name}).code, 0);
                Clear();
            }
        }
    }
}

TEST_F(BadSane, AnInterruptKeepsThePagesBeforeItInOneFile) {
    for (const char* fault : {"interrupt at sheet 8", "interrupt within sheet 8"}) {
        for (const std::string name : {"all.tif", "all.pgm"}) {
            ExpectKept(fault, {"--pages=all", "-o", name}, 130, "7 pages kept, page 8 was interrupted", name, 8);
            EXPECT_EQ(SheetsIn(name), "1 2 3 4 5 6 7") << fault << name;
            Clear();
        }
    }
}

TEST_F(BadSane, ARerunGoesOnAtThePageThatFailed) {
    ExpectKept("jam at sheet 8", {"--pages=all", "-o", "p%d.png"}, 4,
               "7 pages kept, page 8 failed: jam; --first-page-number=8 continues there", kSeven, 8);
    ExpectKept("empty after 10", {"--pages=all", "--first-page-number=8", "-o", "p%d.png"}, 0, "",
               "p1.png p10.png p11.png p12.png p13.png p14.png p15.png p16.png p17.png " + kSeven.substr(7) +
                   " p8.png p9.png",
               11);
    EXPECT_EQ(SheetsIn("p7.png"), "7");
    EXPECT_EQ(SheetsIn("p8.png"), "1");
    Clear();
    ExpectKept("interrupt within sheet 8", {"--pages=12", "-o", "p%d.png"}, 130,
               "7 pages kept, page 8 was interrupted; --first-page-number=8 continues there", kSeven, 8);
    ExpectKept("empty after 10", {"--pages=1", "--first-page-number=8", "-o", "p%d.png"}, 0, "", kSeven + " p8.png",
               1);
    ExpectKept("jam at sheet 8", {"--pages=12", "--first-page-number=21", "-o", "q%d.png"}, 4,
               "7 pages kept, page 28 failed: jam; --first-page-number=28 continues there",
               kSeven + " p8.png q21.png q22.png q23.png q24.png q25.png q26.png q27.png", 8);
}

TEST_F(BadSane, NoSheetIsPulledForANameThatIsTaken) {
    WriteFile(folder.File("p5.png"), "older");
    const std::string exists = "p5.png: exists already; --force overwrites it";
    ExpectKept("empty after 10", {"--pages=6", "-o", "p%d.png"}, 1, exists, "p5.png", 0);
    ExpectKept("empty after 10", {"--pages=2", "--first-page-number=4", "-o", "p%d.png"}, 1, exists, "p5.png", 0);
    ExpectKept("empty after 10", {"--pages=all", "-o", "p%d.png"}, 1,
               "4 pages kept, page 5 failed: " + exists + "; --first-page-number=5 continues there",
               "p1.png p2.png p3.png p4.png p5.png", 4);
    EXPECT_EQ(ReadFile(folder.File("p5.png")), "older");
    ExpectKept("empty after 10", {"--pages=2", "-o", "no/folder/p%d.png"}, 1,
               "no/folder/p1.png: can't be created: No such file or directory",
               "p1.png p2.png p3.png p4.png p5.png", 0);
}

TEST_F(BadSane, APageThatFindsNoRoomDoesNotCount) {
    ExpectKept("jam at sheet 8", {"--pages=all", "--format=pnm", "-o", "/dev/full"}, 1,
               "/dev/full: can't be written: No space left on device", "", 1);
}

// The directory of the page that finds no room has been linked to the one before it by then.
TEST_F(BadSane, AFullDiskLeavesAFileThatCanBeRead) {
    for (const std::string name : {"all.tif", "all.pgm"}) {
        setenv("BAD_SANE", "empty after 10", 1);
        bool kept = false;
        for (int blocks = 1; blocks < 9; ++blocks) {
            const Outcome outcome = Run({"-c", "ulimit -f " + std::to_string(blocks) +
                                                   "; " PLATEN_PROGRAM " scan -d x --pages=all -o " + name},
                                        "sh");
            const std::size_t at = outcome.err.find(" kept, page ");
            if (outcome.code != 0 && at != std::string::npos) {
                kept = true;
                const std::string pages = SheetsIn(name);
                EXPECT_EQ("platen: x: " + std::to_string(std::count(pages.begin(), pages.end(), ' ') + 1),
                          outcome.err.substr(0, outcome.err.find(" page")))
                    << outcome.err << pages;
            }
            Clear();
        }
        EXPECT_TRUE(kept) << name;
    }
}

TEST_F(BadSane, TheFirstPageThatFailsLeavesNothing) {
    ExpectKept("second jam", {"--pages=all", "-o", "all.tif"}, 4, "1 page kept, page 2 failed: jam", "all.tif", 2);
    Clear();
    ExpectKept("jam", {"--pages=all", "-o", "all.tif"}, 4, "jam", "", 1);
}

// Devices tell it when they start or when they are first read.
TEST_F(BadSane, AFeederThatIsEmptyEndsWell) {
    for (const char* fault : {"then empty", "then empty read"}) {
        setenv("BAD_SANE", fault, 1);
        const Outcome outcome = Run({"scan", "-d", "x", "--pages=all", "-f", "-o", "all.tif"});
        EXPECT_EQ(outcome.code, 0) << fault;
        EXPECT_EQ(outcome.err, "") << fault;
        const std::string info = Run({"info", "all.tif"}).out;
        EXPECT_NE(info.find("page 2: 20 x 4"), std::string::npos) << info;
        EXPECT_EQ(info.find("page 3"), std::string::npos) << info;
    }
}

TEST_F(BadSane, InterruptsCountWhereverTheyCome) {
    Expect("interrupt before", 130, "", {"--dry-run"});
    Expect("interrupt before", 130, "");
    Expect("interrupt at start", 130, "x: 1 page kept, page 2 was interrupted", {"--pages=all", "-o", "kept.tif"},
           "kept.tif");
    std::filesystem::remove(folder.File("kept.tif"));
    // With the page's last byte read: there is no room in the pipe for the notice of that, until the interrupt
    // came.
    setenv("BAD_SANE", "interrupt after", 1);
    const std::string full = "dd if=/dev/zero of=/dev/stdout bs=4096 oflag=nonblock 2>/dev/null; ";
    const std::string scan = PLATEN_PROGRAM " scan -d x -v --scale=2 -o never.png 2>&1; echo $? >code; ";
    const std::string late = "while [ ! -e interrupted ]; do sleep 0.01; done; cat >/dev/null; ";
    EXPECT_EQ(Run({"-c", "{ " + full + scan + "} | { " + late + "}"}, "sh").code, 0);
    EXPECT_EQ(ReadFile(folder.File("code")), "130\n");
    EXPECT_EQ(folder.Listing(), "code interrupted never.png");  // the page came in whole
}

TEST_F(BadSane, AModeOfExactlyThatNameIsChosen) {
    Expect("modes", 4, "x: --mode: the device refused 'Color': busy", {"--mode=color"});
    Expect("modes", 4, "x: --mode: the device refused 'Gray': busy", {"--mode=gray"});
    Expect("modes", 4, "x: --mode: the device refused 'Color Lineart': busy", {"--mode=lineart"});
}

TEST_F(BadSane, ADeviceWithTwoResolutionsIsAskedForBoth) {
    Expect("", 0, "", {"--resolution=300x150"});
    EXPECT_NE(Spawn({"info", folder.File("never.png")}).out.find("299.999 x 150.012 dpi"), std::string::npos)
        << Spawn({"info", folder.File("never.png")}).out;
}

TEST_F(BadSane, ADeviceWithoutAResolutionIsNotAskedForOne) {
    Expect("no resolution", 2,
           "--resolution: the device has no such option; --scale changes the size afterwards, and "
           "--input-resolution states the pages' resolution",
           {"--resolution=300"});
}

TEST_F(BadSane, ALibraryThatLacksAFunctionIsNamed) {
    setenv("LD_LIBRARY_PATH", PLATEN_LACKING_SANE, 1);
    const Outcome outcome = Spawn({"scan", "-L"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_EQ(outcome.err.find("platen: SANE's library lacks sane_"), 0u) << outcome.err;
}

TEST_F(BadSane, ALibraryThatIsNoneIsNamed) {
    Folder libraries;
    WriteFile(libraries.File("libsane.so.1"), "no library");
    setenv("LD_LIBRARY_PATH", libraries.Path().c_str(), 1);
    const Outcome outcome = Spawn({"scan", "-L"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_EQ(outcome.err.find("platen: SANE's library can't be loaded: "), 0u) << outcome.err;
}

}  // namespace
}  // namespace platen_test
