#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <tuple>

#include "Spawn.h"

// What is said about files that can't be read or written, and the exit code that goes with it.

namespace platen_test {
namespace {

struct Case {
    std::string input;
    int code;
    std::string message;
};

class Messages : public testing::Test {
  protected:
    Outcome Feed(const std::string& input, const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words = {"-", "-o", "never.png"};
        words.insert(words.end(), options.begin(), options.end());
        Streams streams;
        streams.input = input;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }

    void ExpectAll(const std::vector<Case>& cases) const {
        for (const Case& c : cases) {
            const Outcome outcome = Feed(c.input);
            EXPECT_EQ(outcome.code, c.code) << c.message;
            EXPECT_EQ(outcome.err, "platen: -: " + c.message + "\n");
            EXPECT_EQ(folder.Listing(), "");
        }
    }

    std::string Made(const std::string& format) const {
        Streams streams;
        streams.input = PnmPage(40, 30, true);
        return Spawn({"--format=" + format}, streams).out;
    }

    Folder folder;
};

std::string Big(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) {
        text += static_cast<char>(value >> 8 * i & 255);
    }
    return text;
}

// A TIFF of one uncompressed strip whose directory has these tags in front of, or instead of, the usual ones.
std::string Tiff(const std::vector<std::pair<int, std::uint32_t>>& changes, const std::string& pixels = "pixels") {
    std::vector<std::pair<int, std::uint32_t>> tags = {{256, 3}, {257, 2}, {258, 8}, {259, 1}, {262, 1},
                                                       {273, 8}, {277, 1}, {278, 2}, {279, 6}};
    for (const auto& [tag, value] : changes) {
        bool there = false;
        for (auto& [oldTag, oldValue] : tags) {
            if (oldTag == tag) {
                oldValue = value;
                there = true;
            }
        }
        if (!there) {
            tags.emplace_back(tag, value);
        }
    }
    std::string file = "MM" + Big(42, 2) + Big(static_cast<std::uint32_t>(8 + pixels.size()), 4) + pixels;
    file += Big(static_cast<std::uint32_t>(tags.size()), 2);
    for (const auto& [tag, value] : tags) {
        file += Big(static_cast<std::uint32_t>(tag), 2) + Big(4, 2) + Big(1, 4) + Big(value, 4);
    }
    return file + Big(0, 4);
}

TEST_F(Messages, OfPnmHeaders) {
    const std::string damaged = "the PNM is damaged: ";
    ExpectAll(
        {{"", 1, "the file is empty"},
         {"no image", 1, "not a supported image; PNG, TIFF, JPEG, PBM, PGM, PPM and PAM are"},
         {"P5 9", 1, damaged + "the file ends too early"},
         {"P5 3 3 255\n1234", 1, "the PNM is damaged: the file ends in line 2 of 3"},
         {"P5 0 3 255\n", 1, "the page is empty: 0 x 3 pixels"},
         {"P5 70000 3 255\n", 1, "the page is too large: 70000 x 3 pixels; allowed: 65535 on a side (--max-side)"},
         {"P5 60000 60000 255\n", 1,
          "the page is too large: 60000 x 60000 pixels; allowed: 268435456 pixels in all (--max-pixels)"},
         {"P1 2 2 0 1 2 0", 1, damaged + "a sample of the bitmap is neither 0 nor 1"},
         {"P5 1 1 255\nxjunk", 1, damaged + "the bytes after the last page aren't a page"},
         {"P7 \nWIDTH 1\n", 1, damaged + "P7 must stand alone on its line"},
         {"P7\n" + std::string(5000, 'W') + "\n", 1, damaged + "a line of the header is longer than 4096 bytes"},
         {"P7\nCOLOUR 1\n", 1, damaged + "unknown line in the PAM header: COLOUR"},
         {"P5 1 1 99999\n", 1, damaged + "maxval 99999; 1 to 65535 are allowed"}});
}

TEST_F(Messages, OfPamHeaders) {
    const auto pam = [](const std::string& lines) {
        return "P7\nWIDTH 1\nHEIGHT 1\n" + lines + "ENDHDR\nabcdefgh";
    };
    for (const auto& [lines, part] : std::vector<std::pair<std::string, std::string>>{
             {"MAXVAL 255\n", "the PAM header has no "},
             {"DEPTH 1\nMAXVAL 255\nTUPLTYPE CMYK\n", "PAM tuple type "},
             {"DEPTH 7\nMAXVAL 255\n", "a PAM of "},
             {"DEPTH 2\nMAXVAL 255\nTUPLTYPE RGB\n", " doesn't fit tuple type "},
             {"DEPTH 1\nMAXVAL 255\nTUPLTYPE BLACKANDWHITE\n", "tuple type BLACKANDWHITE needs maxval 1"},
             {"TUPLTYPE A\nTUPLTYPE A\nTUPLTYPE A\nTUPLTYPE A\nTUPLTYPE A\n",
              "TUPLTYPE appears more than four times"},
             {"DEPTH x\n", " is not a whole number below 4294967296: "},
             {"DEPTH 1\nMAXVAL 9\nTUPLTYPE GRAYSCALE\n", " is larger than the maxval "}}) {
        const Outcome outcome = Feed(pam(lines));
        EXPECT_TRUE(outcome.code == 1 || outcome.code == 3) << lines;
        EXPECT_NE(outcome.err.find(part), std::string::npos) << lines << outcome.err;
        EXPECT_EQ(folder.Listing(), "");
    }
}

TEST_F(Messages, OfDamagedFiles) {
    for (const auto& [format, part] : {std::pair{"png", "the PNG is damaged: the file ends too early"},
                                       {"jpeg", "the file ends too early"},
                                       {"tiff", "the TIFF is damaged: "}}) {
        const std::string bytes = Made(format);
        ASSERT_GT(bytes.size(), 200u);
        const Outcome outcome = Feed(bytes.substr(0, bytes.size() / 2));
        EXPECT_EQ(outcome.code, 1) << format;
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
    }
    std::string png = Made("png");
    png[png.size() / 2] = static_cast<char>(png[png.size() / 2] ^ 0x55);
    EXPECT_NE(Feed(png).err.find("the PNG is damaged: "), std::string::npos);
    std::string jpeg = Made("jpeg");
    jpeg[3] = '\x01';  // its first segment is none
    EXPECT_NE(Feed(jpeg).err.find("JPEG"), std::string::npos);
}

TEST_F(Messages, OfTiffDirectories) {
    EXPECT_EQ(Feed(Tiff({}), {"-f"}).code, 0);
    unlink(folder.File("never.png").c_str());
    for (const auto& [changes, code, part] :
         std::vector<std::tuple<std::vector<std::pair<int, std::uint32_t>>, int, std::string>>{
             {{{259, 34712}}, 3, "the TIFF's compression 34712 isn't supported"},
             {{{262, 5}, {277, 4}}, 3, "the TIFF is "},
             {{{262, 2}, {277, 1}}, 1, " samples a pixel where its colours need "},
             {{{258, 7}}, 3, "the TIFF has "},
             {{{258, 16}, {278, 1}, {339, 2}}, 3, "the TIFF has signed or complex samples; "},
             {{{258, 16}, {278, 1}, {32996, 1}}, 3, "the TIFF has signed or complex samples; "},
             {{{32997, 2}}, 3, "the TIFF's page has 2 slices; one is supported"},
             {{{273, 4000}}, 1, "the TIFF is damaged: "},
             {{{259, 6}}, 3, "the TIFF uses old-style JPEG compression, which isn't supported; new-style JPEG is"},
             {{{278, 1}}, 1, "the TIFF is damaged: a strip is shorter than its rows"},
             {{{273, 150}}, 1, "the TIFF is damaged: the file ends too early"},
             {{{258, 1}, {322, 20}, {323, 16}, {324, 8}, {325, 6}},
              3,
              "TIFF tiles whose rows end within a byte aren't supported"},
             {{{322, 65536}, {323, 65536}, {324, 8}, {325, 6}},
              1,
              "a row of the TIFF's tiles takes more than 128 MiB, the most allowed"},
             {{{256, 0}}, 1, "the page is empty: 0 x 2 pixels"}}) {
        const Outcome outcome = Feed(Tiff(changes));
        EXPECT_EQ(outcome.code, code) << part << outcome.err;
        EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
        EXPECT_EQ(folder.Listing(), "");
    }
    EXPECT_NE(Feed(std::string("MM\0*\0\0\0\0", 8)).err.find("the TIFF is damaged: it has no page"),
              std::string::npos);
    EXPECT_NE(Feed(std::string("MM\0*\0\0\x40\0", 8)).err.find("is cut off, loops or is too long"),
              std::string::npos);
}

TEST_F(Messages, OfTiffsWhoseAlphaIsMultipliedIn) {
    const std::pair<int, std::uint32_t> kinds[] = {{338, 1}, {32995, 1}};  // the field's name now and before
    for (const auto& kind : kinds) {
        const Outcome outcome =
            Feed(Tiff({{262, 2}, {277, 4}, {279, 24}, kind}, "four samples, six pixels"), {"-v", "-f"});
        EXPECT_EQ(outcome.err,
                  "platen: -: spooled to a temporary file: a TIFF can't be read from a pipe; the colours are "
                  "stored premultiplied by alpha and are divided by it\n")
            << kind.first;
    }
}

TEST_F(Messages, OfTiffTagsThatWouldFillTheMemory) {
    const auto large = [](std::uint32_t tag) {
        std::string file = Tiff({{static_cast<int>(tag), 8}});
        const std::string entry = Big(tag, 2) + Big(4, 2);
        file.replace(file.find(entry) + entry.size(), 4, Big(0x20000000, 4));
        return file;
    };
    const Outcome outcome = Feed(large(34675));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "platen: -: the TIFF's tag 34675 has 2147483648 bytes; at most 64 MiB are allowed\n");
    // What isn't needed isn't read, but it must be there: the value lies at 8 and after it.
    EXPECT_EQ(Feed(large(700)).err,
              "platen: -: the TIFF is damaged or cut off: the value of its tag 700 lies outside the file\n");
    WriteFile(folder.File("large.tif"), large(700));
    std::filesystem::resize_file(folder.File("large.tif"), 8 + 4 * std::uint64_t{0x20000000});
    EXPECT_EQ(Spawn({folder.File("large.tif"), "-o", folder.File("read.png")}).code, 0);
}

TEST_F(Messages, OfTiffsThatComeThroughAPipe) {
    EXPECT_EQ(Feed(Tiff({}), {"-v"}).err,
              "platen: -: spooled to a temporary file: a TIFF can't be read from a pipe\n");
}

TEST_F(Messages, OfInputsThatAreNoFiles) {
    Streams streams;
    streams.folder = folder.Path();
    EXPECT_EQ(Spawn({".", "-o", "x.png"}, streams).err, "platen: .: is a folder, not an image file\n");
    EXPECT_EQ(Spawn({"none.png", "-o", "x.png"}, streams).err,
              "platen: none.png: can't be opened: No such file or directory\n");
}

TEST_F(Messages, OfOutputsThatCannotBe) {
    WriteFile(folder.File("a.ppm"), PnmPage(9, 9, true));
    mkdir(folder.File("sub.png").c_str(), 0700);
    const std::string before = folder.Listing();
    const auto say = [&](const std::string& output, const std::vector<std::string>& options = {}) {
        std::vector<std::string> words = {"a.ppm", "-o", output};
        words.insert(words.end(), options.begin(), options.end());
        Streams streams;
        streams.folder = folder.Path();
        const Outcome outcome = Spawn(words, streams);
        EXPECT_EQ(folder.Listing(), before) << output;
        return std::to_string(outcome.code) + " " + outcome.err;
    };
    EXPECT_EQ(say("sub.png"), "1 platen: a.ppm: sub.png: is a folder; the output must be a file\n");
    EXPECT_EQ(say("none/x.png"), "1 platen: a.ppm: none/x.png: can't be created: No such file or directory\n");
    const std::string tooLong = std::string(260, 'x') + ".png";
    EXPECT_EQ(say(tooLong), "1 platen: a.ppm: " + tooLong + ": can't be renamed: File name too long\n");
    EXPECT_EQ(say("a.ppm"), "1 platen: a.ppm: a.ppm: exists already; --force overwrites it\n");
    EXPECT_EQ(say("b.png", {"--gamma=2", "--plot=a.ppm"}), "2 platen: --plot: a.ppm is an input of this run\n");
    EXPECT_EQ(say("b.png", {"--gamma=2", "--save-preset=none/x.toml"}),
              "1 platen: none/x.toml: can't be created: No such file or directory\n");
    EXPECT_EQ(say("x"),
              "2 platen: a.ppm: -o: 'x' has no ending that names a format; .png, .tif, .jpg, .pdf, .pbm, .pgm, "
              ".ppm, .pnm "
              "and .pam do, "
              "or --format\n");
    EXPECT_EQ(say("x.jpg", {"--depth=16"}).substr(0, 35), "3 platen: a.ppm: JPEG can't hold 16");
}

TEST_F(Messages, OfOutputsThatCannotBeOpened) {
    WriteFile(folder.File("a.ppm"), PnmPage(9, 9, true));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder.File("socket.png");
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const Outcome outcome = Spawn({folder.File("a.ppm"), "-o", path});
    close(listener);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "platen: " + folder.File("a.ppm") + ": " + path +
                               ": can't be opened for writing: No such device or address\n");
}

// The owner of all files may write to every one of them, so the program runs as somebody else.
TEST_F(Messages, OfOutputsThatBelongToOthers) {
    WriteFile(folder.File("a.ppm"), PnmPage(9, 9, true));
    WriteFile(folder.File("mine.png"), "kept");
    chmod(folder.Path().c_str(), 0777);
    chmod(folder.File("a.ppm").c_str(), 0644);
    chmod(folder.File("mine.png").c_str(), 0444);
    Streams streams;
    streams.folder = folder.Path();
    std::vector<std::string> words = {"a.ppm", "--force", "-o", "mine.png"};
    if (getuid() == 0) {
        streams.program = "setpriv";
        words.insert(words.begin(), {"--reuid=65534", "--clear-groups", PLATEN_PROGRAM});
        const Outcome there = Spawn({"--reuid=65534", "--clear-groups", PLATEN_PROGRAM, "--version"}, streams);
        if (there.code != 0) {
            GTEST_SKIP() << "nobody else can run the program here: " << there.err;
        }
    }
    const Outcome outcome = Spawn(words, streams);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "platen: a.ppm: mine.png: can't be overwritten: Permission denied\n");
    EXPECT_EQ(ReadFile(folder.File("mine.png")), "kept");
    EXPECT_EQ(folder.Listing(), "a.ppm mine.png");
}

// A limit on the size of files stands for a disk that fills up.
TEST_F(Messages, OfDisksThatFillUp) {
    WriteFile(folder.File("a.ppm"), PnmPage(100, 400, true));
    const auto limited = [&](const std::string& words) {
        Streams streams;
        streams.folder = folder.Path();
        streams.program = "sh";
        const Outcome outcome =
            Spawn({"-c", std::string("cat a.ppm > /dev/null; ulimit -f 20; exec ") + PLATEN_PROGRAM + " " + words},
                  streams);
        return std::to_string(outcome.code) + " " + outcome.err;
    };
    for (const char* name : {"out.png", "out.tif", "out.jpg", "out.ppm"}) {
        EXPECT_EQ(limited(std::string("a.ppm --quality=100 -o ") + name),
                  std::string("1 platen: a.ppm: ") + name + ": can't be written: File too large\n");
    }
    const std::string spooled = "the temporary file can't be written: File too large\n";
    Streams streams;
    streams.folder = folder.Path();
    ASSERT_EQ(Spawn({"a.ppm", "-o", "in.tif"}, streams).code, 0);
    Streams shell = streams;
    shell.program = "sh";
    const std::string command = "cat in.tif | (ulimit -f 20; " + std::string(PLATEN_PROGRAM) + " - -o out.png)";
    EXPECT_EQ(Spawn({"-c", command}, shell).err, "platen: -: " + spooled);
    EXPECT_EQ(folder.Listing(), "a.ppm in.tif");
}

TEST_F(Messages, OfTemporaryFilesThatCannotBe) {
    setenv("TMPDIR", "/nowhere", 1);
    const Outcome outcome = Feed(std::string("II*\0....", 8));
    unsetenv("TMPDIR");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "platen: -: can't create a temporary file: No such file or directory\n");
}

}  // namespace
}  // namespace platen_test
