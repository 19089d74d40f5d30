#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "SaneTest.h"
#include "Sources/PX_Zoom/PX_Zoom.h"

namespace platen_test {
namespace {

using Words = std::vector<std::string>;

Words Set(const Words& values) {
    Words words;
    for (const std::string& value : values) {
        words.insert(words.end(), {"--set", value});
    }
    return words;
}

// scanimage passes on what the device has in the bits after a line's last pixel.
std::string WithoutPadding(std::string bits, std::size_t width) {
    const std::size_t lineBytes = (width + 7) / 8;
    for (std::size_t at = lineBytes - 1; at < bits.size(); at += lineBytes) {
        bits[at] = static_cast<char>(bits[at] & (0xFF00 >> width % 8));
    }
    return bits;
}

class ScanDevice : public SaneTest {
  protected:
    // The samples that a scan to standard output gives.
    std::string ScanPixels(const Words& arguments) const {
        const Outcome outcome = RunScan(kPattern + arguments + Words{"-o", "-"});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return PnmPixels(outcome.out);
    }

    void ExpectError(const Words& arguments, int code, const std::string& message) const {
        const std::string before = folder.Listing();
        const Outcome outcome = RunScan(arguments + Words{"-o", "never.png"});
        EXPECT_EQ(outcome.code, code) << outcome.err;
        EXPECT_EQ(outcome.err, "platen: " + message + "\n");
        EXPECT_EQ(folder.Listing(), before);
    }
};

TEST_F(ScanDevice, ListsTheDevices) {
    const Outcome outcome = Run({"scan", "-L"});
    EXPECT_EQ(outcome.out,
              "test:0  Noname frontend-tester (virtual device)\ntest:1  Noname frontend-tester (virtual device)\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST_F(ScanDevice, ListsItsOptionsAsTheyAreSet) {
    const Outcome plain = RunScan({"--list-options"});
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_NE(plain.out.find("Scan Mode:\n  mode=Gray, Color [Gray]\n        Selects the scan mode"),
              std::string::npos)
        << plain.out;
    EXPECT_NE(plain.out.find("  resolution=1 to 1200 dpi in steps of 1 [50]\n"), std::string::npos);
    EXPECT_NE(plain.out.find("  three-pass=yes or no [inactive]\n"), std::string::npos);
    EXPECT_NE(plain.out.find("  br-x=0 to 200 mm in steps of 1 [80]\n"), std::string::npos);
    const Outcome set = RunScan(Words{"--list-options"} + Set({"mode=Color", "enable-test-options=yes"}));
    EXPECT_NE(set.out.find("  mode=Gray, Color [Color]\n"), std::string::npos);
    EXPECT_NE(set.out.find("  three-pass=yes or no [no]\n"), std::string::npos);
    EXPECT_NE(set.out.find(" (6 values)"), std::string::npos);
    EXPECT_NE(set.out.find(" [read only]\n"), std::string::npos);
    // Each option that another program lists is there.
    const std::string listed = RunScanImage({"-d", "test", "-A"}).out;
    for (std::size_t at = listed.find("    --"); at != std::string::npos; at = listed.find("    --", at + 1)) {
        const std::size_t end = listed.find_first_of(" =[\n", at + 6);
        const std::string name = listed.substr(at + 6, end - at - 6);
        EXPECT_NE(plain.out.find("\n  " + name), std::string::npos) << name;
    }
}

TEST_F(ScanDevice, AreasAreMillimetres) {
    DoScan({"--resolution=254", "-l", "10", "-t", "20", "-x", "50", "-y", "30", "-o", "part.png"});
    EXPECT_NE(Info("part.png").find("500 x 300"), std::string::npos) << Info("part.png");
    // The part of the whole picture that lies there.
    DoScan(kPattern + Words{"--resolution=254", "-l", "0", "-t", "0", "-x", "60", "-y", "50", "-o", "whole.pgm"});
    DoScan(kPattern + Words{"--resolution=254", "-x", "60", "-o", "wide.pgm"});  // its top and height as they are
    EXPECT_NE(Info("whole.pgm").find("600 x 500"), std::string::npos);
    EXPECT_NE(Info("wide.pgm").find("600 x 1000"), std::string::npos) << Info("wide.pgm");
    ExpectError({"-x", "500"}, 2, "--area-width: '500' is out of range; allowed: 0 to 200 mm in steps of 1");
    ExpectError({"-x", "wide"}, 2, "--area-width: 'wide' is not a number from 0 to 10000");
}

TEST_F(ScanDevice, PromptFillsAPdfFromAFlatbed) {
    Streams streams;
    streams.folder = folder.Path();
    streams.input = "\n\nand on\n";
    const Outcome outcome = Run({"scan", "-d", "test", "--prompt", "--pages=all", "-o", "pages.pdf"}, streams);
    EXPECT_EQ(outcome.code, 0);
    const std::string prompt = ": lay it on the glass and press Enter; Ctrl-D ends the scan\n";
    EXPECT_EQ(outcome.err, "platen: page 1" + prompt + "platen: page 2" + prompt + "platen: page 3" + prompt +
                               "platen: page 4" + prompt);
    Streams qpdf = streams;
    qpdf.program = "qpdf";
    qpdf.input = "";
    const Outcome pages = Spawn({"--show-npages", "pages.pdf"}, qpdf);
    if (pages.code != 127) {
        EXPECT_EQ(pages.out, "3\n");
        EXPECT_EQ(Spawn({"--check", "pages.pdf"}, qpdf).code, 0);
    }
    // The message has the number that the page's file gets.
    const Words numbered = {"scan", "-d",     "test", "--prompt", "--pages=3", "--first-page-number=7",
                            "-o",   "p%d.png"};
    streams.input = "\n";
    const Outcome ended = Run(numbered, streams);
    EXPECT_EQ(ended.code, 0);
    EXPECT_EQ(ended.err, "platen: page 7" + prompt + "platen: page 8" + prompt +
                             "platen: test: the scan was ended after 1 of 3 pages\n");
    EXPECT_EQ(folder.Listing(), "p7.png pages.pdf");
    streams.input = "";
    const Outcome none = Run(numbered + Words{"-f"}, streams);
    EXPECT_EQ(none.code, 5);
    EXPECT_EQ(none.err, "platen: page 7" + prompt +
                            "platen: test: --prompt: ended before the first page; nothing was scanned\n");
    EXPECT_EQ(folder.Listing(), "p7.png pages.pdf");
}

TEST_F(ScanDevice, ListingNoneSaysSo) {
    WriteFile(configuration.File("dll.conf"), "");
    const Outcome outcome = Run({"scan", "-L"});
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "platen: scan: SANE found no scanner; see sane-find-scanner(1)\n");
    EXPECT_EQ(outcome.code, 0);
}

TEST_F(ScanDevice, PagesEqualThoseOfAnotherProgram) {
    if (ScanImage({}).empty()) {
        GTEST_SKIP() << "no scanimage here";
    }
    for (const char* mode : {"Gray", "Color"}) {
        for (const char* depth : {"1", "8", "16"}) {
            if (mode == std::string("Color") && depth == std::string("1")) {
                continue;  // scanimage gives up on it
            }
            const std::string theirs =
                ScanImage({"--mode", mode, "--depth", depth, "--test-picture", "Color pattern"});
            ASSERT_FALSE(theirs.empty()) << mode << depth;
            const std::string ours = ScanPixels(Set({std::string("mode=") + mode, std::string("depth=") + depth}));
            EXPECT_TRUE(ours == (depth == std::string("1") ? WithoutPadding(theirs, 157) : theirs))
                << mode << depth;
        }
    }
}

TEST_F(ScanDevice, ColourAtOneBitBecomesBytes) {
    for (const auto& [picture, level] : {std::pair{"Solid black", 0}, {"Solid white", 255}}) {
        const Words options = Set({"mode=Color", "depth=1", std::string("test-picture=") + picture});
        const std::string pixels = PnmPixels(RunScan(options + Words{"-o", "-"}).out);
        EXPECT_TRUE(Same(pixels, std::string(157 * 196 * 3, static_cast<char>(level)))) << picture;
    }
    const std::string pattern = ScanPixels(Set({"mode=Color", "depth=1"}));
    EXPECT_EQ(pattern.size(), std::size_t{157 * 196 * 3});
    EXPECT_TRUE(Same(ScanPixels(Set({"mode=Color", "depth=1", "three-pass=yes"})), pattern));
    const auto black = std::count(pattern.begin(), pattern.end(), '\0');
    EXPECT_GT(black, 1000);
    EXPECT_EQ(std::count(pattern.begin(), pattern.end(), '\xFF') + black, 157 * 196 * 3);
}

TEST_F(ScanDevice, ThreePassesMakeOnePage) {
    for (const char* depth : {"depth=8", "depth=16"}) {
        const std::string whole = ScanPixels(Set({"mode=Color", depth}));
        ASSERT_FALSE(whole.empty());
        for (const char* order : {"RGB", "RBG", "GBR", "GRB", "BRG", "BGR"}) {
            EXPECT_EQ(
                ScanPixels(Set({"mode=Color", depth, "three-pass=yes", std::string("three-pass-order=") + order,
                                "read-limit=yes", "read-limit-size=1000"})),
                whole)
                << depth << order;
        }
    }
    EXPECT_EQ(RunScan(Set({"mode=Color", "three-pass=yes"}) + Words{"-v", "-f", "-o", "x.png"}).err,
              "platen: test: spooled to temporary files: the device makes three passes\n");
    unlink(folder.File("x.png").c_str());
    ExpectError(Set({"mode=Color", "three-pass=yes"}) + Words{"--strict-stream"}, 3,
                "test: the device makes three passes over a page; --strict-stream forbids spooling");
}

TEST_F(ScanDevice, ShortReadsLostPixelsAndFuzzyParametersMakeNoDifference) {
    const std::string whole = ScanPixels(Set({"mode=Color"}));
    for (const char* size : {"1", "7", "470", "65536"}) {
        EXPECT_TRUE(
            Same(ScanPixels(Set({"mode=Color", "read-limit=yes", std::string("read-limit-size=") + size})), whole));
    }
    EXPECT_TRUE(
        Same(ScanPixels(Set({"mode=Color", "fuzzy-parameters=yes", "non-blocking=yes", "select-fd=yes"})), whole));
    EXPECT_TRUE(Same(ScanPixels(Set({"mode=Color", "read-delay=yes", "read-delay-duration=1000"})), whole));
    // Lines are padded with what the device lost: of it nothing may come out.
    DoScan(kPattern + Set({"mode=Color", "ppl-loss=3"}) + Words{"-o", "lost.ppm"});
    EXPECT_EQ(Info("lost.ppm"), "lost.ppm: PNM\n  page 1: 154 x 196, 8-bit RGB, no resolution\n");
}

TEST_F(ScanDevice, UnknownHeightsGoIntoEveryFormat) {
    const Words hand = kPattern + Set({"hand-scanner=yes"});
    for (const char* name : {"hand.pgm", "hand.png", "hand.tif"}) {
        DoScan(hand + Words{"-o", name});
        EXPECT_NE(Info(name).find("page 1: 216 x 334, 8-bit grey"), std::string::npos) << Info(name);
    }
    EXPECT_EQ(Run({"hand.png", "-o", "png.pgm"}).code, 0);
    EXPECT_EQ(Run({"hand.tif", "-o", "tif.pgm"}).code, 0);
    EXPECT_TRUE(Same(PnmPixels(ReadFile(folder.File("png.pgm"))), PnmPixels(ReadFile(folder.File("hand.pgm")))));
    EXPECT_TRUE(Same(PnmPixels(ReadFile(folder.File("tif.pgm"))), PnmPixels(ReadFile(folder.File("hand.pgm")))));
    DoScan(hand + Words{"-o", "strict.tif", "--strict-stream"});
    ExpectError(hand + Words{"--strict-stream"}, 3,
                "test: this format needs the page's height first, and it isn't known; --strict-stream forbids "
                "spooling (a TIFF written to a file needs none)");
    const std::string before = folder.Listing();
    EXPECT_EQ(RunScan(hand + Words{"--strict-stream", "--scale=50%", "-o", "never.tif"}).code, 3);
    EXPECT_EQ(folder.Listing(), before);
}

TEST_F(ScanDevice, UnknownHeightsAreScaledAndSharpened) {
    const Words hand = kPattern + Set({"hand-scanner=yes"});
    DoScan(hand + Words{"-o", "plain.pgm"});
    for (const Words& options : {Words{"--scale=50%"}, Words{"--sharpness=2"}, Words{"--width=500", "--gamma=2"}}) {
        EXPECT_EQ(Run(Words{"plain.pgm", "-f", "-o", "later.pgm"} + options).code, 0);
        DoScan(hand + Words{"-f", "-o", "at-once.pgm"} + options);
        EXPECT_TRUE(Same(ReadFile(folder.File("at-once.pgm")), ReadFile(folder.File("later.pgm"))))
            << options.front();
    }
    const Outcome told = RunScan(hand + Words{"-v", "--scale=50%", "-o", "told.pgm"});
    EXPECT_EQ(told.err,
              "platen: test: spooled to a temporary file: the page's height wasn't known at first\n"
              "platen: test: the resolution: left out, PNM can't hold it\n");
}

const char* const kFeeder = "source=Automatic Document Feeder";

TEST_F(ScanDevice, TheFeederGivesNumberedFilesUntilItIsEmpty) {
    DoScan(Set({kFeeder}) + Words{"--pages=all", "-o", "p%03d.pgm"});
    EXPECT_EQ(folder.Listing(),
              "p001.pgm p002.pgm p003.pgm p004.pgm p005.pgm p006.pgm p007.pgm p008.pgm p009.pgm p010.pgm");
    EXPECT_EQ(PnmPixels(ReadFile(folder.File("p010.pgm"))).size(), std::size_t{157 * 196});
}

TEST_F(ScanDevice, TheFeederFillsOneTiff) {
    DoScan(Set({kFeeder}) + Words{"--pages=3", "-o", "three.tif", "--scale=50%"});
    const std::string info = Info("three.tif");
    EXPECT_NE(info.find("page 3: 79 x 98"), std::string::npos) << info;
    EXPECT_EQ(info.find("page 4"), std::string::npos);
    const Outcome twelve = RunScan(Set({kFeeder}) + Words{"--pages=12", "-o", "ten.tif"});
    EXPECT_EQ(twelve.code, 0);
    EXPECT_EQ(twelve.err, "platen: test: the feeder was empty after 10 of 12 pages\n");
    EXPECT_EQ(RunScan({"--pages=2", "-o", "flat%d.pgm"}).code, 0);  // the same page twice
    // No page is scanned for it.
    for (const char* pages : {"--pages=2", "--pages=all"}) {
        ExpectError(Set({"read-return-value=SANE_STATUS_IO_ERROR"}) + Words{pages}, 3,
                    "a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name writes each "
                    "page to its own file");
    }
    ExpectError({"--pages=all", "--format=tiff"}, 2,
                "--pages=all: the source is 'Flatbed', which is never empty; --set source=NAME chooses the feeder, "
                "and --prompt waits for each page");
}

TEST_F(ScanDevice, EveryStatusHasItsCodeAndSanesWords) {
    const std::pair<const char*, const char*> statuses[] = {
        {"UNSUPPORTED", "Operation not supported"},
        {"CANCELLED", "Operation was canceled"},
        {"DEVICE_BUSY", "Device busy"},
        {"INVAL", "Invalid argument"},
        {"IO_ERROR", "Error during device I/O"},
        {"NO_MEM", "Out of memory"},
        {"ACCESS_DENIED", "Access to resource has been denied"}};
    for (const auto& [status, words] : statuses) {
        ExpectError(Set({std::string("read-return-value=SANE_STATUS_") + status}), 4,
                    std::string("test: the scan failed: ") + words);
    }
    ExpectError(Set({"read-return-value=SANE_STATUS_JAMMED"}), 4, "test: Document feeder jammed");
    ExpectError(Set({"read-return-value=SANE_STATUS_COVER_OPEN"}), 4, "test: Scanner cover is open");
    ExpectError(Set({"read-return-value=SANE_STATUS_NO_DOCS"}), 5, "test: Document feeder out of documents");
    ExpectError(Set({"read-return-value=SANE_STATUS_EOF"}), 4,
                "test: the device ended the page within line 1 of 196");
    const Outcome absent = Run({"scan", "-d", "nowhere:7", "-o", "never.png"});
    EXPECT_EQ(absent.code, 4);
    EXPECT_EQ(absent.err, "platen: nowhere:7: can't be opened: Invalid argument\n");
}

TEST_F(ScanDevice, AnInterruptCancelsTheDeviceAndLeavesNoFile) {
    const auto written = [&] {
        std::uintmax_t bytes = 0;
        for (const auto& file : std::filesystem::directory_iterator(folder.Path())) {
            bytes += file.file_size();
        }
        return bytes;
    };
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        RunningProgram program({"scan", "-d", "test", "--set", "read-delay=yes", "--set",
                                "read-delay-duration=200000", "--resolution=600", "-o", folder.File("out.pgm")});
        // The device may set a signal's handler back until it has sent its first bytes.
        for (int i = 0; i < 1000 && written() == 0; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_NE(written(), 0u);
        program.Signal(number);
        EXPECT_EQ(program.Wait(), 128 + number);
        EXPECT_EQ(folder.Listing(), "");
    }
}

TEST_F(ScanDevice, WrongOptionsNameWhatIsAllowed) {
    ExpectError(Set({"depth=7"}), 2, "--set depth: '7' is out of range; allowed: 1, 8, 16");
    ExpectError(Set({"depth=x"}), 2, "--set depth: 'x' is not a number that the device takes; allowed: 1, 8, 16");
    ExpectError(Set({"resolution=5000"}), 2,
                "--set resolution: '5000' is out of range; allowed: 1 to 1200 dpi in steps of 1");
    ExpectError({"--resolution=5000"}, 2,
                "--resolution: '5000' is out of range; allowed: 1 to 1200 dpi in steps of 1");
    ExpectError({"--resolution=100x200"}, 2,
                "--resolution: '100x200': the device has one resolution for both axes");
    ExpectError(Set({"mode=Sepia"}), 2, "--set mode: 'Sepia' is not one of Gray, Color");
    ExpectError(Set({"read-limit=maybe"}), 2, "--set read-limit: 'maybe' is neither yes nor no");
    ExpectError(Set({"three-pass=yes"}), 2,
                "--set three-pass: is inactive with the device's current settings; set another option first that "
                "enables it");
    ExpectError(Set({"=1"}), 2, "--set: '=1' is not NAME=VALUE");
    ExpectError({"--pages=0"}, 2, "--pages: '0' is out of range; allowed: 1 to 1000000");
    ExpectError({"--pages=some"}, 2, "--pages: 'some' is not a whole number from 1 to 1000000");
    ExpectError({"--resolution=1x2x3"}, 2, "--resolution: '1x2x3' is not DPI or XxY");
    ExpectError({"file.png"}, 2, "scan: takes no input file, but 'file.png' was given; -d names the scanner");
    const Outcome unknown = RunScan(Set({"speed=1"}) + Words{"-o", "x.png"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.err.find("platen: --set speed: the device has no such option; it has mode, depth, "), 0u);
    EXPECT_EQ(Run({"scan", "-o", "x.png"}).err,
              "platen: scan: no device; give -d NAME (platen scan -L lists the devices)\n");
    EXPECT_EQ(RunScan({"-o", "%s.png"}).err,
              "platen: -o: %s is an input file's name, and a scan has none; %d and %03d number the pages\n");
    const Outcome format = RunScan({"-o", "page"});
    EXPECT_EQ(format.code, 2);
    EXPECT_EQ(format.err,
              "platen: -o: 'page' has no ending that names a format; .png, .tif, .jpg, .pdf, .pbm, .pgm, .ppm, "
              ".pnm and .pam "
              "do, or "
              "--format\n");
    WriteFile(configuration.File("long.txt"), std::string(4'000'010, '1'));
    const std::string file = configuration.File("long.txt");
    EXPECT_EQ(RunScan(Set({"gamma-table=@" + file}) + Words{"-o", "x.png"}).err,
              "platen: --set gamma-table: '" + file + "' is too long for a list of numbers\n");
    EXPECT_EQ(folder.Listing(), "");
}

TEST_F(ScanDevice, ReadOnlyOptionsStayAsTheyAre) {
    const Outcome outcome =
        RunScan(Set({"enable-test-options=yes", "bool-soft-detect=yes"}) + Words{"-o", "x.png"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.err, "platen: --set bool-soft-detect: is read-only\n");
}

TEST_F(ScanDevice, OptionsOfEveryTypeAreTaken) {
    const Words all =
        Set({"enable-test-options=yes", "bool-soft-select-soft-detect-auto=auto", "int=-5",
             "int-constraint-range=6", "int-constraint-word-list=17", "int-constraint-array=1,2,3,4,5,6",
             "fixed=-1.25", "fixed-constraint-word-list=12.1", "fixed-constraint-range=-42.17", "string=anything",
             "string-constraint-string-list=Second entry"});
    DoScan(all + Words{"-o", "x.png"});
    const Outcome inexact = RunScan(Set({"enable-test-options=yes", "int-inexact=7"}) + Words{"-o", "y.png"});
    EXPECT_EQ(inexact.err, "platen: --set int-inexact: the device uses 8 instead of 7\n");
    ExpectError(Set({"enable-test-options=yes", "int-constraint-array=1,2"}), 2,
                "--set int-constraint-array: has 2 values; the device wants 6, each whole numbers mm");
    ExpectError(Set({"enable-test-options=yes", "button=1"}), 2, "--set button: is a button and takes no value");
}

TEST_F(ScanDevice, StepsActAsOnAFile) {
    DoScan(kPattern + Words{"--mode=color", "-o", "plain.ppm"});
    const Words steps = {"--brightness=10", "--curve-gamma=20", "--saturation=30",
                         "--scale=50%",     "--sharpness=1",    "--negative"};
    DoScan(kPattern + Words{"--mode=color", "-o", "at-once.ppm"} + steps);
    EXPECT_EQ(Run(Words{"plain.ppm", "-o", "later.ppm"} + steps).code, 0);
    EXPECT_TRUE(Same(ReadFile(folder.File("at-once.ppm")), ReadFile(folder.File("later.ppm"))));
    EXPECT_NE(ReadFile(folder.File("at-once.ppm")), ReadFile(folder.File("plain.ppm")));
}

// Lines of known and unknown number, in one pass and in three.
TEST_F(ScanDevice, PagesAreTurnedCroppedAndDitheredAsFilesAre) {
    const Words devices[] = {{}, Set({"hand-scanner=yes"}), Set({"three-pass=yes"})};
    const Words places[] = {{"--rotate=90"},
                            {"--rotate=180", "--scale=50%"},
                            {"--crop=60x50+20+10", "--sharpness=1"},
                            {"--rotate=270", "--crop=20x30+5+8mm", "--gamma=2"},
                            {"--mode=lineart", "--dither", "--crop=77x90+1+2"}};
    for (const Words& device : devices) {
        const Words words = kPattern + Set({"mode=Color"}) + device;
        DoScan(words + Words{"-f", "-o", "plain.tif"});
        for (const Words& place : places) {
            EXPECT_EQ(Run(Words{"plain.tif", "-f", "-o", "later.pam"} + place).code, 0);
            // Lineart would be asked of the device, and greys with it: here they are made of its colours.
            const Words last = place.front() == "--mode=lineart" ? Set({"mode=Color"}) : Words{};
            DoScan(words + place + last + Words{"-f", "-o", "at-once.pam"});
            const std::string later = ReadFile(folder.File("later.pam"));
            EXPECT_TRUE(Same(ReadFile(folder.File("at-once.pam")), later)) << place.front();
            EXPECT_NE(PnmPixels(later), PnmPixels(ReadFile(folder.File("plain.tif"))));
        }
    }
    EXPECT_EQ(Info("at-once.pam").find("at-once.pam: PNM\n  page 1: 77 x 90, bilevel"), 0u) << Info("at-once.pam");
    DoScan({"--resolution=100", "--rotate=90", "--crop=50x25+10+0mm", "-o", "part.png"});
    EXPECT_NE(Info("part.png").find("page 1: 197 x 98, 8-bit grey, 100"), std::string::npos) << Info("part.png");
    ExpectError({"--crop=10x10+900+0"}, 1, "test: --crop: 900,0 lies outside the page of 157 x 196");
    ExpectError({"--rotate=90", "--strict-stream"}, 3,
                "test: --rotate: turning a page needs a temporary file; --strict-stream forbids it");
}

TEST_F(ScanDevice, AutomaticSettingsFindInAScanWhatTheyFindInItsFile) {
    const Words devices[] = {{}, Set({"hand-scanner=yes"}), Set({"three-pass=yes"})};
    const Words settings[] = {{"--auto-levels"},
                              {"--auto-white", "--auto-levels=2,2", "--auto-margin=5"},
                              {"--auto-levels=5,5", "--crop=90x80+30+20", "--rotate=90"},
                              {"--auto-levels=5,5", "--scale=50%", "--order=scale,tone"},
                              {"--mode=gray", "--auto-levels=10,10"}};
    for (const Words& device : devices) {
        const Words words = kPattern + Set({"mode=Color"}) + device;
        DoScan(words + Words{"-f", "-o", "plain.tif"});
        for (const Words& automatic : settings) {
            const Words mode = automatic.front() == "--mode=gray" ? Set({"mode=Color"}) : Words{};
            const Outcome later = Run(Words{"plain.tif", "-v", "-f", "-o", "later.ppm"} + automatic);
            const Outcome atOnce = RunScan(words + automatic + mode + Words{"-v", "-f", "-o", "at-once.ppm"});
            EXPECT_EQ(later.code, 0) << later.err;
            EXPECT_EQ(atOnce.code, 0) << atOnce.err;
            EXPECT_TRUE(Same(ReadFile(folder.File("at-once.ppm")), ReadFile(folder.File("later.ppm"))))
                << automatic.front();
            const std::size_t found = later.err.find("page 1: found --");
            ASSERT_NE(found, std::string::npos) << later.err;
            const std::string numbers = later.err.substr(found, later.err.find('\n', found) + 1 - found);
            EXPECT_NE(atOnce.err.find("platen: test: " + numbers), std::string::npos) << numbers << atOnce.err;
            EXPECT_NE(atOnce.err.find("platen: test: spooled to a temporary file: "), std::string::npos)
                << atOnce.err;
        }
    }
    // The threshold needs the device's greys.
    DoScan(kPattern + Words{"-o", "grey.pgm"});
    EXPECT_EQ(Run({"grey.pgm", "--mode=lineart", "--auto-threshold", "-o", "later.pbm"}).code, 0);
    DoScan(kPattern + Words{"--mode=lineart", "--auto-threshold", "-o", "at-once.pbm"});
    EXPECT_TRUE(Same(ReadFile(folder.File("at-once.pbm")), ReadFile(folder.File("later.pbm"))));
    EXPECT_FALSE(Same(PnmPixels(ReadFile(folder.File("later.pbm"))), ScanPixels(Set({"depth=1"}))));
    ExpectError({"--auto-levels", "--strict-stream"}, 3,
                "test: automatic settings need the whole page first; --strict-stream forbids spooling an input "
                "that can't be read twice");
}

// The feeder's pages, each with numbers of its own; those of the first for all.
TEST_F(ScanDevice, AutomaticSettingsOfSeveralPages) {
    const Words feeder = kPattern + Set({"source=Automatic Document Feeder"}) + Words{"--pages=3"};
    const Outcome own = RunScan(feeder + Words{"--auto-levels=3,3", "-v", "-o", "own.tif"});
    EXPECT_EQ(own.code, 0) << own.err;
    for (const char* page : {"page 1: found --levels=", "page 2: found --levels=", "page 3: found --levels="}) {
        EXPECT_NE(own.err.find(page), std::string::npos) << own.err;
    }
    const Outcome same = RunScan(feeder + Words{"--auto-levels=3,3", "--same-for-all", "-v", "-o", "same.tif"});
    EXPECT_EQ(same.code, 0) << same.err;
    EXPECT_EQ(same.err.find("spooled"), same.err.rfind("spooled")) << "only the first page has to be kept\n"
                                                                   << same.err;
}

TEST_F(ScanDevice, AWhitePageSaysThatNothingIsFound) {
    const Outcome outcome = RunScan({"--set", "test-picture=Solid white", "--auto-levels", "-o", "white.pgm"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(outcome.err.starts_with("platen: test: page 1: --auto-levels left out: ")) << outcome.err;
}

TEST_F(ScanDevice, ModeDepthAndResolutionAreTheDevices) {
    const auto page = [&](const Words& options) {
        DoScan(kPattern + options + Words{"-f", "-o", "x.tif"});
        return Info("x.tif");
    };
    EXPECT_NE(page({"--mode=color", "--resolution=100"}).find("314 x 393, 8-bit RGB, 100 dpi"), std::string::npos);
    EXPECT_NE(page({"--mode=gray", "--depth=16"}).find("16-bit grey, 50 dpi"), std::string::npos);
    EXPECT_NE(page({"--resolution=100", "--scale=50%"}).find("157 x 197, 8-bit grey, "), std::string::npos);
    // Black and white is the device's own, unless greys are needed for what is to be done.
    EXPECT_NE(page({"--mode=lineart"}).find("bilevel, 50 dpi, CCITT G4"), std::string::npos);
    DoScan(kPattern + Words{"-f", "--mode=lineart", "-o", "own.pbm"});
    EXPECT_TRUE(Same(PnmPixels(ReadFile(folder.File("own.pbm"))), ScanPixels(Set({"depth=1"}))));
    DoScan(kPattern + Words{"-f", "--depth=1", "--threshold=20", "--gamma=2", "-o", "ours.pbm"});
    DoScan(kPattern + Words{"-f", "-o", "grey.pgm"});
    EXPECT_EQ(Run({"grey.pgm", "--depth=1", "--threshold=20", "--gamma=2", "-o", "later.pbm"}).code, 0);
    EXPECT_TRUE(Same(ReadFile(folder.File("ours.pbm")), ReadFile(folder.File("later.pbm"))));
}

TEST_F(ScanDevice, WhatWouldFailAfterwardsFailsBefore) {
    WriteFile(folder.File("there.png"), "kept");
    const Outcome there = RunScan({"-o", "there.png"});
    EXPECT_EQ(there.code, 1);
    EXPECT_EQ(there.err, "platen: test: there.png: exists already; --force overwrites it\n");
    EXPECT_EQ(ReadFile(folder.File("there.png")), "kept");
    EXPECT_EQ(RunScan({"-n", "-o", "there.png"}).err, there.err);
    const Outcome layout = RunScan({"--depth=16", "-o", "deep.jpg"});
    EXPECT_EQ(layout.code, 3);
    EXPECT_EQ(layout.err,
              "platen: test: JPEG can't hold 16-bit grey; --depth=8 converts the page, and PNG, TIFF and PNM hold "
              "it as it is\n");
    ExpectError({"--hue=10"}, 3, "test: --hue needs a colour page; this one is grey");
    // A scan of unknown height too, which would have come to this error.
    const Words hand = Set({"hand-scanner=yes", "read-return-value=SANE_STATUS_IO_ERROR"}) + Words{"--scale=50%"};
    ExpectError(hand, 4, "test: the scan failed: Error during device I/O");
    ExpectError(hand + Words{"--hue=10"}, 3, "test: --hue needs a colour page; this one is grey");
    ExpectError(
        hand + Words{"--strict-stream"}, 3,
        "test: the page's height isn't known, and scaling, turning and sharpness need it; --strict-stream forbids "
        "spooling");
    ExpectError({"--max-side=100"}, 1,
                "test: the page is too large: 157 x 196 pixels; allowed: 100 on a side (--max-side)");
}

TEST_F(ScanDevice, PagesOfUnknownHeightEndAtTheLimit) {
    const Words hand = Set({"mode=Color", "hand-scanner=yes"}) + Words{"--max-side=300"};
    const std::string message =
        "test: the page is too large: 216 x 301 pixels; allowed: 300 on a side (--max-side)";
    ExpectError(hand, 1, message);
    ExpectError(hand + Set({"three-pass=yes"}), 1, message);
}

TEST_F(ScanDevice, DryRunsScanNothing) {
    const Outcome outcome = RunScan(
        {"-n", "--resolution=300", "--gamma=2", "--set", "read-return-value=SANE_STATUS_IO_ERROR", "-o", "x.png"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find("test, page 1, to x.png\n  input     944 x 1181, 8-bit grey, 300 dpi\n"), 0u)
        << outcome.out;
    EXPECT_EQ(folder.Listing(), "");
}

TEST_F(ScanDevice, DryRunsTellWhatIsKnownOfAnUnknownHeight) {
    const Words hand = Set({"hand-scanner=yes"}) + Words{"-n", "-o", "x.png"};
    const Outcome plain = RunScan(hand);
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_NE(plain.out.find("  output    216 x ?, 8-bit grey, "), std::string::npos) << plain.out;
    const Outcome scaled = RunScan(hand + Words{"--scale=50%", "--sharpness=1"});
    EXPECT_EQ(scaled.code, 0) << scaled.err;
    for (const char* part :
         {"  input     216 x ?, 8-bit grey, ", "  scale     216 x ? to 108 x ?\n", "  sharpen   1\n",
          "  note      the page's height isn't known before its last line: the page will be spooled to a temporary "
          "file\n",
          "  output    108 x ?, 8-bit grey, ", "  memory    about "}) {
        EXPECT_NE(scaled.out.find(part), std::string::npos) << part << scaled.out;
    }
    // As the scan itself would answer.
    const Outcome strict = RunScan(hand + Words{"--scale=50%", "--strict-stream"});
    EXPECT_EQ(strict.code, 3);
    EXPECT_EQ(
        strict.err,
        "platen: test: the page's height isn't known, and scaling, turning and sharpness need it; --strict-stream "
        "forbids spooling\n");
    EXPECT_EQ(folder.Listing(), "");
}

TEST_F(ScanDevice, PresetsActAsTheirOptions) {
    WriteFile(folder.File("own.toml"), "sharpness = 1\n\n[[tone]]\nlevels = [20, 230]\n");
    for (const auto& [preset, options] :
         {std::pair<const char*, Words>{"own.toml", {"--levels=20,230", "--sharpness=1"}},
          {"text-clean", {"--mode=gray", "--sharpness=1", "--levels=45,225,0.75"}},
          {"fax-200", {"--mode=lineart", "--resolution=200", "--threshold=62", "--sharpness=1"}},
          {"archive-150", {"--resolution=150", "--sharpness=1"}}}) {
        DoScan(kPattern + Words{std::string("--preset=") + preset, "-f", "-o", "preset.tif"});
        DoScan(kPattern + options + Words{"-f", "-o", "options.tif"});
        EXPECT_TRUE(Same(ReadFile(folder.File("preset.tif")), ReadFile(folder.File("options.tif")))) << preset;
        DoScan(kPattern + Words{"-f", "-o", "plain.tif"});
        EXPECT_FALSE(Same(ReadFile(folder.File("preset.tif")), ReadFile(folder.File("plain.tif")))) << preset;
    }
    ExpectError({"--preset=nothing.toml"}, 1, "nothing.toml: No such file or directory");
    WriteFile(folder.File("wrong.toml"), "sharpness = 1\nlevel = 3\n");
    const Outcome wrong = RunScan({"--preset=wrong.toml", "-o", "x.png"});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_EQ(wrong.err.find("platen: wrong.toml:2: "), 0u) << wrong.err;
}

TEST_F(ScanDevice, FullDisksAndClosedPipesEndIt) {
    Streams full;
    full.outputFile = "/dev/full";
    const Words words = {"scan", "-d", "test", "--resolution=600", "-o", "-"};
    const Outcome refused = Run(words, full);
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.err, "platen: test: standard output: can't be written: No space left on device\n");
    Streams closed;
    closed.closeOutput = true;
    const Outcome quiet = Run(words, closed);
    EXPECT_EQ(quiet.code, 141);
    EXPECT_EQ(quiet.err, "");
}

std::vector<std::uint16_t> Samples16(const std::string& bytes) {
    std::vector<std::uint16_t> samples(bytes.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto high = static_cast<unsigned char>(bytes[2 * i]);
        const auto low = static_cast<unsigned char>(bytes[2 * i + 1]);
        samples[i] = static_cast<std::uint16_t>(high << 8 | low);
    }
    return samples;
}

// The library's scaler alone, on a whole page.
std::vector<std::uint16_t> Scaled(std::vector<std::uint16_t> page, int width, int height, int toWidth, int toHeight,
                                  int samples) {
    PX_Zoom zoom;
    EXPECT_EQ(zoom.Open(toWidth, toHeight, width, height, samples * 16, 2), 0);
    std::vector<std::uint16_t> result;
    std::vector<std::uint16_t> line(static_cast<std::size_t>(toWidth * samples));
    for (int y = 0; y < height; ++y) {
        EXPECT_EQ(zoom.Send(&page[static_cast<std::size_t>(y * width * samples)]), 0);
        while (zoom.CheckData() > 0) {
            EXPECT_EQ(zoom.Read(line.data()), 0);
            result.insert(result.end(), line.begin(), line.end());
        }
    }
    return result;
}

TEST_F(ScanDevice, SixteenBitPagesAreScaledAtSixteenBits) {
    for (const auto& [mode, samples] : {std::pair{"mode=Gray", 1}, {"mode=Color", 3}}) {
        const Words device = Set({mode, "depth=16"});
        const auto page = Samples16(ScanPixels(device));
        ASSERT_EQ(page.size(), static_cast<std::size_t>(157 * 196 * samples));
        // There must be something in the low bytes that 8 bits would lose.
        EXPECT_GT(std::count_if(page.begin(), page.end(), [](std::uint16_t v) { return v % 257 != 0; }), 1000);
        for (const auto& [width, height] : {std::pair{79, 98}, {300, 200}, {40, 500}}) {
            const std::string size = "--size=" + std::to_string(width) + "x" + std::to_string(height);
            const auto scaled = Samples16(ScanPixels(device + Words{size}));
            EXPECT_TRUE(Same(scaled, Scaled(page, 157, 196, width, height, samples))) << mode << size;
        }
    }
}

}  // namespace
}  // namespace platen_test
