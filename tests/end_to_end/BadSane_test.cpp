#include <gtest/gtest.h>

#include <cstdlib>

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
    }

    Outcome Run(const std::vector<std::string>& words, const std::string& program = {}) const {
        Streams streams;
        streams.folder = folder.Path();
        streams.program = program;
        return Spawn(words, streams);
    }

    void Expect(const char* fault, int code, const std::string& message,
                const std::vector<std::string>& more = {}) {
        setenv("BAD_SANE", fault, 1);
        std::vector<std::string> words = {"scan", "-d", "x", "-o", "never.png"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, code) << fault;
        EXPECT_EQ(outcome.err, message.empty() ? "" : "platen: " + message + "\n");
        EXPECT_EQ(folder.Listing(), code == 0 ? "never.png" : "") << fault;
    }

    Folder folder;
};

TEST_F(BadSane, FaultsBeforeTheScan) {
    Expect("init", 4, "x: SANE can't be started: denied");
    Expect("parameters", 4, "x: the page's size can't be had: input");
    Expect("frame", 3, "x: the device sends frames that are neither grey nor red, green and blue");
    Expect("depth", 3, "x: the device sends 12 bits a sample; 1, 8 and 16 can be worked on");
    Expect("short line", 4, "x: the device announces lines of 20 pixels in 19 bytes");
    Expect("", 4, "x: --set stubborn: the device refused '1': busy", {"--set", "stubborn=1"});
    const Outcome list = Spawn({"scan", "-L"});
    EXPECT_EQ(list.code, 4);
    EXPECT_EQ(list.err, "platen: the devices can't be listed: memory\n");
}

TEST_F(BadSane, FaultsWithinTheScan) {
    Expect("empty", 5, "x: empty");
    Expect("empty read", 5, "x: empty");
    Expect("jam", 4, "x: the scan can't be started: jam");
    Expect("second jam", 4, "x: the scan can't be started: jam", {"--pages=all", "-o", "never.tif"});
    Expect("later parameters", 4, "x: the page's size can't be had: input");
    Expect("half line", 4, "x: the device ended the page within line 2 of 4");
    Expect("no lines", 4, "x: the device sent a page without lines", {"-o", "never.tif"});
    Expect("no lines", 4, "x: the device sent a page without lines", {"--scale=50%"});
    Expect("pass", 4, "x: the next pass can't be started: jam");
    Expect("grey pass", 4, "x: the device sends a whole page where one of three passes was due");
    Expect("same pass", 4, "x: the device sends the same colour twice");
    Expect("pass size", 4, "x: the device's three passes differ in size");
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
    Expect("interrupt at start", 130, "", {"--pages=all", "-o", "never.tif"});
    // With the page's last byte read: there is no room in the pipe for the notice of that, until the interrupt
    // came.
    setenv("BAD_SANE", "interrupt after", 1);
    const std::string full = "dd if=/dev/zero of=/dev/stdout bs=4096 oflag=nonblock 2>/dev/null; ";
    const std::string scan = PLATEN_PROGRAM " scan -d x -v --scale=2 -o never.png 2>&1; echo $? >code; ";
    const std::string late = "while [ ! -e interrupted ]; do sleep 0.01; done; cat >/dev/null; ";
    EXPECT_EQ(Run({"-c", "{ " + full + scan + "} | { " + late + "}"}, "sh").code, 0);
    EXPECT_EQ(ReadFile(folder.File("code")), "130\n");
    EXPECT_EQ(folder.Listing(), "code interrupted");
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
           "--input-resolution says what the pages have",
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
