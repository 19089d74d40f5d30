#include <gtest/gtest.h>

#include "Spawn.h"

// What the program says and answers where the command line or a file is wrong. Details of each option's parsing
// are tested with the parts; here it is what reaches standard error and the exit code.

namespace platen_test {
namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kUnsupported = 3;

class Usage : public testing::Test {
  protected:
    Usage() {
        WriteFile(folder.File("grey.pgm"), PnmPage(8, 8, false));
        WriteFile(folder.File("colour.ppm"), PnmPage(8, 8, true));
        WriteFile(folder.File("bilevel.pbm"), std::string("P4 8 2\n\xF0\x0F", 9));
        before = folder.Listing();
    }

    // Runs in the test's folder and expects one line of complaint, the exit code, and no new file.
    void Expect(const std::vector<std::string>& words, int code, const std::string& message) const {
        Streams streams;
        streams.folder = folder.Path();
        const Outcome outcome = Spawn(words, streams);
        EXPECT_EQ(outcome.err, "platen: " + message + "\n");
        EXPECT_EQ(outcome.code, code) << message;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(folder.Listing(), before) << message;
    }

    Folder folder;
    std::string before;
};

TEST_F(Usage, WrongCommandLinesEndWith2) {
    Expect({"grey.pgm", "-o", "x.png", "--brightness=101"}, kUsage,
           "--brightness: '101' is out of range; allowed: -100 to 100");
    Expect({"grey.pgm", "-o", "x.png", "--curve=0,0"}, kUsage,
           "--curve: '0,0' has 1 points; five are needed: x,y:x,y:x,y:x,y:x,y");
    Expect({"--nonsense"}, kUsage, "unknown option '--nonsense'; see platen --help");
    Expect({"-o"}, kUsage, "--output: needs a value");
    Expect({"-f", "--output=", "grey.pgm"}, kUsage, "--output: needs a value");
    Expect({"grey.pgm", "colour.ppm", "-o", "x.png"}, kUsage,
           "-o: several inputs need %s or %d in the output's name");
    Expect({"grey.pgm", "colour.ppm", "-o", "%d.png", "--jobs=2"}, kUsage,
           "--jobs: several inputs at a time need %s in the output's name");
    Expect({"curve", "--svg=-", "--table=c"}, kUsage, "--svg=-: the table goes to standard output; name a file");
    Expect({"curve", "file"}, kUsage, "curve: takes no input file, but 'file' is there");
    Expect({"curve", "--table=xml"}, kUsage, "--table: 'xml' is not one of plain, c, csv, sane");
    Expect({"info"}, kUsage, "info: no file; see platen --help");
}

TEST_F(Usage, LayoutsThatAnOptionCannotWorkOnEndWith3) {
    Expect({"bilevel.pbm", "-o", "x.pbm", "--gamma=2"}, kUnsupported,
           "bilevel.pbm: --gamma needs a page with tones; this one is bilevel, and --mode=gray makes it grey");
    Expect({"grey.pgm", "-o", "x.pgm", "--hue=2"}, kUnsupported,
           "grey.pgm: --hue needs a colour page; this one is grey");
    Expect({"grey.pgm", "-o", "x.pgm", "--balance-shadows=1,2,3"}, kUnsupported,
           "grey.pgm: --balance-shadows needs a colour page; this one is grey");
    Expect({"colour.ppm", "-o", "x.pgm", "--mode=lineart", "--saturation=9"}, kUnsupported,
           "colour.ppm: --saturation needs colours, which --mode=lineart removes first");
    Expect({"colour.ppm", "-o", "x.pgm", "--depth=1", "--hue=9", "--balance-midtones=1,2,3",
            "--balance-midtones=3,2,1"},
           kUnsupported, "colour.ppm: --balance-midtones and --hue need colours, which --depth=1 removes first");
    Expect({"grey.pgm", "-o", "x.pgm", "--size=99999x9"}, kUnsupported,
           "grey.pgm: the result would have 99999 x 9 pixels; allowed: 65535 a side and 268435456 in all "
           "(--max-side, --max-pixels)");
}

TEST_F(Usage, ColoursToFlattenOverAreNamesOrNumbers) {
    for (const std::string colour : {"red", "#12345", "#12345g", "#1234567", "123456"}) {
        Expect({"grey.pgm", "-o", "x.pgm", "--flatten=" + colour}, kUsage,
               "--flatten: '" + colour + "' is not white, black or #RRGGBB");
    }
    WriteFile(folder.File("alpha.pam"),
              "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\nab");
    before = folder.Listing();
    Expect({"alpha.pam", "-o", "x.jpg"}, kUnsupported,
           "alpha.pam: JPEG has no alpha channel; --flatten blends the page with white, and PNG, TIFF and PAM keep "
           "alpha");
    EXPECT_EQ(Spawn({folder.File("alpha.pam"), "--flatten", "-o", folder.File("f.jpg")}).code, 0);
}

TEST_F(Usage, InputsThatFailEndWith1) {
    Expect({"grey.pgm", "-o", "x.pgm", "--resolution=300"}, kFailed,
           "grey.pgm: --resolution: the file doesn't state its resolution; give --input-resolution");
    Expect({"grey.pgm", "-o", "x.pgm", "--page=2"}, kFailed, "grey.pgm: --page: there is only 1 page");
    WriteFile(folder.File("two.pgm"), PnmPage(8, 8, false) + PnmPage(8, 8, false));
    before = folder.Listing();
    Expect({"two.pgm", "-o", "x.pgm", "--page=3-4"}, kFailed, "two.pgm: --page: there are only 2 pages");
    Expect({"two.pgm", "-n", "--page=3-4"}, kFailed, "two.pgm: --page: there are only 2 pages");
    WriteFile(folder.File("short.pgm"), PnmPage(8, 8, false).substr(0, 40));
    before = folder.Listing();
    Streams streams;
    streams.folder = folder.Path();
    for (const char* input : {"short.pgm", "absent.png", "."}) {
        const Outcome outcome = Spawn({input, "-o", "x.pgm"}, streams);
        EXPECT_EQ(outcome.code, kFailed) << input;
        EXPECT_EQ(outcome.err.find(std::string("platen: ") + input + ": "), 0u) << outcome.err;
        EXPECT_EQ(folder.Listing(), before) << input;
    }
}

TEST_F(Usage, ExistingFilesAreKeptWithoutForce) {
    Streams streams;
    streams.folder = folder.Path();
    EXPECT_EQ(Spawn({"grey.pgm", "-o", "colour.ppm"}, streams).code, kFailed);
    EXPECT_EQ(ReadFile(folder.File("colour.ppm")), PnmPage(8, 8, true));
    EXPECT_EQ(Spawn({"grey.pgm", "-f", "-o", "colour.ppm"}, streams).code, 0);
    EXPECT_NE(ReadFile(folder.File("colour.ppm")), PnmPage(8, 8, true));
}

TEST_F(Usage, InputMayBeTheOutputWithForce) {
    Streams streams;
    streams.folder = folder.Path();
    EXPECT_EQ(Spawn({"grey.pgm", "--negative", "-f", "-o", "grey.pgm"}, streams).code, 0);
    EXPECT_EQ(Spawn({"grey.pgm", "--negative", "-f", "-o", "grey.pgm"}, streams).code, 0);
    const std::string pixels = PnmPage(8, 8, false).substr(11);
    EXPECT_EQ(ReadFile(folder.File("grey.pgm")).substr(ReadFile(folder.File("grey.pgm")).size() - 64), pixels);
    EXPECT_EQ(folder.Listing(), before);
}

TEST_F(Usage, HelpAndVersionGoToStandardOutput) {
    for (const char* command : {"--help", "-h", "--version"}) {
        const Outcome outcome = Spawn({command});
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.out.find("platen "), 0u);
        EXPECT_EQ(outcome.err, "");
    }
    EXPECT_EQ(Spawn({"--help"}).out.find("--max-side"), std::string::npos);
    EXPECT_NE(Spawn({"--help=all"}).out.find("--max-side"), std::string::npos);
    EXPECT_EQ(Spawn({"--help=some"}).err, "platen: --help: 'some' is not all, the only value allowed\n");
    EXPECT_NE(Spawn({"curve", "--help"}).out.find("--svg"), std::string::npos);
    EXPECT_NE(Spawn({"info", "--help"}).out.find("--json"), std::string::npos);
}

}  // namespace
}  // namespace platen_test
