#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>

#include "Scans.h"
#include "Spawn.h"

// --rotate, --crop and --dither: against oracles of the rules, and other programs' readings.

namespace platen_test {
namespace {

using Words = std::vector<std::string>;

constexpr const char* kAbsent = "no sample scans at " PLATEN_TEST_DATA " (PLATEN_TEST_DATA)";

// A whole page; a pixel is `bytes` of it, or a character '0' or '1' of a bilevel one.
struct Page {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytes = 1;
    std::string pixels;

    std::string At(std::size_t x, std::size_t y) const {
        return pixels.substr((y * width + x) * bytes, bytes);
    }
    bool operator==(const Page&) const = default;
};

Page Made(std::size_t width, std::size_t height,
          const std::function<std::pair<std::size_t, std::size_t>(std::size_t, std::size_t)>& from,
          const Page& page) {
    Page made{width, height, page.bytes, {}};
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const auto [column, line] = from(x, y);
            made.pixels += page.At(column, line);
        }
    }
    return made;
}

Page QuarterTurned(const Page& p) {
    return Made(
        p.height, p.width, [&p](std::size_t x, std::size_t y) { return std::pair(y, p.height - 1 - x); }, p);
}

Page Mirrored(const Page& p) {
    return Made(
        p.width, p.height, [&p](std::size_t x, std::size_t y) { return std::pair(p.width - 1 - x, y); }, p);
}

Page Cut(const Page& p, std::size_t x0, std::size_t y0, std::size_t width, std::size_t height) {
    return Made(
        width, height, [=](std::size_t x, std::size_t y) { return std::pair(x0 + x, y0 + y); }, p);
}

Page Turned(Page page, int quarters) {
    for (int i = 0; i < quarters; ++i) {
        page = QuarterTurned(page);
    }
    return page;
}

// As EXIF's table of orientations says where the page's top and left edges are.
Page AsSeen(const Page& page, int orientation) {
    static constexpr int kQuarters[] = {0, 0, 0, 2, 2, 1, 1, 3, 3};
    static constexpr bool kMirrored[] = {false, false, true, false, true, true, false, true, false};
    const Page turned = Turned(page, kQuarters[orientation]);
    return kMirrored[orientation] ? Mirrored(turned) : turned;
}

// Of a PNM without comments, or a PAM.
Page Parse(const std::string& file) {
    Page page;
    std::istringstream stream(file);
    std::string kind;
    std::size_t most = 1;
    stream >> kind;
    if (kind == "P7") {
        std::size_t depth = 0;
        for (std::string word; stream >> word && word != "ENDHDR";) {
            (word == "WIDTH" ? page.width : word == "HEIGHT" ? page.height : word == "DEPTH" ? depth : most) = 0;
            std::string value;
            stream >> value;
            if (word != "TUPLTYPE") {
                (word == "WIDTH"    ? page.width
                 : word == "HEIGHT" ? page.height
                 : word == "DEPTH"  ? depth
                                    : most) = std::stoul(value);
            }
        }
        page.bytes = depth * (most > 255 ? 2 : 1);
    } else {
        stream >> page.width >> page.height;
        if (kind != "P4") {
            stream >> most;
        }
        page.bytes = (kind == "P6" ? 3u : 1u) * (most > 255 ? 2u : 1u);
    }
    std::string data = file.substr(static_cast<std::size_t>(stream.tellg()) + 1);
    if (kind == "P4") {
        const std::size_t line = (page.width + 7) / 8;
        for (std::size_t y = 0; y < page.height; ++y) {
            for (std::size_t x = 0; x < page.width; ++x) {
                page.pixels += (data[y * line + x / 8] >> (7 - x % 8) & 1) != 0 ? '1' : '0';
            }
        }
        return page;
    }
    page.pixels = data;
    EXPECT_EQ(data.size(), page.width * page.height * page.bytes);
    return page;
}

std::string Noise(std::size_t bytes, std::uint32_t seed) {
    std::string noise;
    for (std::size_t i = 0; i < bytes; ++i) {
        seed = seed * 1664525 + 1013904223;
        noise += static_cast<char>(seed >> 24);
    }
    return noise;
}

// `kind` is P4, P5, P6, or one of them with "w" for 16 bits.
std::string PageFile(const std::string& kind, std::size_t width, std::size_t height) {
    const std::string size = kind.substr(0, 2) + "\n" + std::to_string(width) + " " + std::to_string(height) + "\n";
    if (kind == "P4") {
        return size + Noise((width + 7) / 8 * height, 5);
    }
    const bool wide = kind.size() > 2;
    return size + (wide ? "65535\n" : "255\n") +
           Noise(width * height * (kind[1] == '6' ? 3 : 1) * (wide ? 2 : 1), 7);
}

class Place : public testing::Test {
  protected:
    Outcome Run(Words words, const std::string& input = "") const {
        Streams streams;
        streams.folder = folder.Path();
        streams.input = input;
        return Spawn(words, streams);
    }

    Page Result(Words words, const std::string& input = "") const {
        words.insert(words.end(), {"--format=pnm", "-o", "-"});
        const Outcome outcome = Run(words, input);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.code == 0 ? Parse(outcome.out) : Page{};
    }

    Folder folder;
};

TEST_F(Place, EveryTurnOfEveryLayout) {
    const std::pair<std::size_t, std::size_t> sizes[] = {{1, 1},   {7, 1},   {1, 9},   {8, 8},
                                                         {21, 13}, {16, 33}, {640, 75}};
    for (const char* kind : {"P4", "P5", "P6", "P5w", "P6w"}) {
        for (const auto& [width, height] : sizes) {
            const std::string file = PageFile(kind, width, height);
            WriteFile(folder.File("page.pnm"), file);
            const Page page = Parse(file);
            EXPECT_TRUE(Result({"--rotate=90", "page.pnm"}) == Turned(page, 1)) << kind << width;
            EXPECT_TRUE(Result({"--rotate=180", "page.pnm"}) == Turned(page, 2)) << kind << width;
            EXPECT_TRUE(Result({"--rotate=270", "page.pnm"}) == Turned(page, 3)) << kind << width;
            EXPECT_TRUE(Result({"--rotate=auto", "page.pnm"}) == page) << kind << width;
            EXPECT_TRUE(Result({"--rotate=90", "-"}, file) == Turned(page, 1)) << kind << width;
        }
    }
}

// More than one band goes into the file, and more than one block comes out of it.
TEST_F(Place, LargePagesAreTurnedInBands) {
    for (const char* kind : {"P4", "P6"}) {
        const bool bits = kind[1] == '4';
        const std::string file = PageFile(kind, bits ? 9001 : 1501, bits ? 7003 : 2003);
        WriteFile(folder.File("page.pnm"), file);
        ASSERT_EQ(Run({"--rotate=90", "page.pnm", "-f", "-o", "once.pnm"}).code, 0);
        ASSERT_EQ(Run({"--rotate=270", "once.pnm", "-f", "-o", "back.pnm"}).code, 0);
        EXPECT_TRUE(Parse(ReadFile(folder.File("back.pnm"))) == Parse(file));
        ASSERT_EQ(Run({"--rotate=90", "once.pnm", "-f", "-o", "twice.pnm"}).code, 0);
        ASSERT_EQ(Run({"--rotate=180", "page.pnm", "-f", "-o", "half.pnm"}).code, 0);
        EXPECT_TRUE(ReadFile(folder.File("twice.pnm")) == ReadFile(folder.File("half.pnm")));
        const Page once = Parse(ReadFile(folder.File("once.pnm")));
        const Page page = Parse(file);
        ASSERT_EQ(once.width, page.height);
        for (std::size_t i = 0; i < 5000; ++i) {
            const std::size_t x = i * 7919 % once.width;
            const std::size_t y = i * 104729 % once.height;
            ASSERT_EQ(once.At(x, y), page.At(y, page.height - 1 - x)) << x << " " << y;
        }
    }
}

TEST_F(Place, PartsAreThoseOfThePageAsItIsSeen) {
    for (const char* kind : {"P4", "P5", "P6", "P5w"}) {
        const std::string file = PageFile(kind, 37, 23);
        WriteFile(folder.File("page.pnm"), file);
        const Page page = Parse(file);
        EXPECT_TRUE(Result({"--crop=10x7+3+11", "page.pnm"}) == Cut(page, 3, 11, 10, 7)) << kind;
        EXPECT_TRUE(Result({"--crop=10x7", "page.pnm"}) == Cut(page, 0, 0, 10, 7)) << kind;
        EXPECT_TRUE(Result({"--crop=1x1+36+22px", "page.pnm"}) == Cut(page, 36, 22, 1, 1)) << kind;
        EXPECT_TRUE(Result({"--crop=99x99+5+6", "page.pnm"}) == Cut(page, 5, 6, 32, 17)) << kind;
        EXPECT_TRUE(Result({"--crop=37x23+0+0", "page.pnm"}) == page) << kind;
        for (int quarters = 1; quarters < 4; ++quarters) {
            const std::string rotate = "--rotate=" + std::to_string(90 * quarters);
            EXPECT_TRUE(Result({rotate, "--crop=5x9+8+2", "page.pnm"}) == Cut(Turned(page, quarters), 8, 2, 5, 9))
                << kind << quarters;
        }
    }
}

TEST_F(Place, AnOrientationTagIsAppliedAndReset) {
    const std::string file = PageFile("P6", 24, 16);
    const Page page = Parse(file);
    WriteFile(folder.File("page.ppm"), file);
    ASSERT_EQ(Run({"page.ppm", "--set-resolution=300x150", "-o", "page.tif"}).code, 0);
    const std::string tiff = ReadFile(folder.File("page.tif"));
    // The tag's entry: number 274, a short, one of them.
    const std::string entry("\x12\x01\x03\0\x01\0\0\0", 8);
    const std::size_t at = tiff.find(entry);
    if (at == std::string::npos) {
        GTEST_SKIP() << "the TIFF has no such entry in this byte order";
    }
    for (int orientation = 1; orientation <= 8; ++orientation) {
        std::string tagged = tiff;
        tagged[at + 8] = static_cast<char>(orientation);
        WriteFile(folder.File("tagged.tif"), tagged);
        const Page seen = AsSeen(page, orientation);
        static constexpr const char* kTold[] = {"",
                                                "",
                                                "mirrored left to right",
                                                "180 degrees",
                                                "mirrored top to bottom",
                                                "90 degrees, mirrored left to right",
                                                "90 degrees",
                                                "270 degrees, mirrored left to right",
                                                "270 degrees"};
        const std::string plan = Run({"-n", "--rotate=auto", "tagged.tif"}).out;
        EXPECT_EQ(plan.find("  rotate    " + std::string(kTold[orientation]) + "\n") != std::string::npos,
                  orientation > 1)
            << plan;
        EXPECT_TRUE(Result({"--rotate=auto", "tagged.tif"}) == seen) << orientation;
        EXPECT_TRUE(Result({"--rotate=90", "tagged.tif"}) == Turned(seen, 1)) << orientation;
        EXPECT_TRUE(Result({"--rotate=auto", "--crop=5x4+9+3", "tagged.tif"}) == Cut(seen, 9, 3, 5, 4))
            << orientation;
        EXPECT_TRUE(Result({"tagged.tif"}) == page) << "a tag that is kept turns nothing";
        ASSERT_EQ(Run({"--rotate=auto", "tagged.tif", "-f", "-o", "reset.tif"}).code, 0);
        Streams streams;
        streams.folder = folder.Path();
        streams.program = "identify";
        const Outcome identified = Spawn({"-format", "%[orientation] %w %h %x %y", "reset.tif"}, streams);
        if (identified.code == 0) {
            EXPECT_EQ(identified.out, orientation < 5 ? "TopLeft 24 16 300 150" : "TopLeft 16 24 150 300")
                << orientation;
        }
        streams.program = "exiftool";
        const Outcome read = Spawn({"-n", "-s3", "-Orientation", "reset.tif"}, streams);
        if (read.code == 0) {
            EXPECT_TRUE(read.out == "1\n" || read.out.empty()) << read.out;
        }
    }
    std::string tagged = tiff;
    tagged[at + 8] = 6;
    WriteFile(folder.File("tagged.tif"), tagged);
    EXPECT_EQ(Run({"--crop=5x4", "-v", "tagged.tif", "-o", "c.tif"}).err,
              "platen: tagged.tif: --crop counts the pixels as they are stored; --rotate=auto would apply the "
              "orientation tag first\n");
}

TEST_F(Place, LengthsFollowTheResolution) {
    WriteFile(folder.File("page.pgm"), PageFile("P5", 300, 400));
    const Page page = Parse(ReadFile(folder.File("page.pgm")));
    EXPECT_TRUE(Result({"--input-resolution=100", "--crop=1x0.5+0.5+2in", "page.pgm"}) ==
                Cut(page, 50, 200, 100, 50));
    EXPECT_TRUE(Result({"--input-resolution=254", "--crop=10x5+1+20mm", "page.pgm"}) ==
                Cut(page, 10, 200, 100, 50));
    // The axes' resolutions change places too.
    EXPECT_TRUE(Result({"--input-resolution=100x200", "--rotate=90", "--crop=1x1+0+0in", "page.pgm"}) ==
                Cut(Turned(page, 1), 0, 0, 200, 100));
    EXPECT_EQ(Run({"--crop=10x5mm", "page.pgm", "-o", "x.pgm"}).err,
              "platen: page.pgm: --crop: the file doesn't state its resolution; give --input-resolution\n");
}

TEST_F(Place, SizesAreThoseOfThePageAsItIsSeen) {
    WriteFile(folder.File("page.ppm"), PageFile("P6", 60, 40));
    ASSERT_EQ(Run({"--rotate=90", "page.ppm", "-o", "turned.ppm"}).code, 0);
    EXPECT_TRUE(Result({"--rotate=90", "--width=20", "page.ppm"}) == Result({"--width=20", "turned.ppm"}));
    EXPECT_EQ(Result({"--crop=30x10", "--width=15", "page.ppm"}).height, 5u);
    const std::string plan =
        Run({"-n", "--rotate=90", "--crop=30x50+5+6", "--gamma=2", "--width=15", "--sharpness=1", "page.ppm"}).out;
    const char* const order[] = {"  input     60 x 40",
                                 "\n  crop      30 x 50 from 5,6\n",
                                 "\n  rotate    90 degrees\n",
                                 "\n  tone ",
                                 "\n  scale     30 x 50 to 15 x 25\n",
                                 "\n  sharpen ",
                                 "\n  note      turned through a temporary file\n",
                                 "\n  output    15 x 25"};
    std::size_t last = 0;
    for (const char* part : order) {
        const std::size_t at = plan.find(part);
        ASSERT_NE(at, std::string::npos) << part << "\n" << plan;
        EXPECT_GE(at, last) << plan;
        last = at;
    }
}

TEST_F(Place, WhatCannotBeIsRefused) {
    WriteFile(folder.File("page.pgm"), PageFile("P5", 30, 20));
    EXPECT_EQ(Run({"--rotate=90", "--strict-stream", "page.pgm", "-o", "x.pgm"}).err,
              "platen: page.pgm: --rotate: turning a page needs a temporary file; --strict-stream forbids it\n");
    EXPECT_EQ(Run({"--rotate=45", "page.pgm", "-o", "x.pgm"}).err,
              "platen: --rotate: '45' is not one of 90, 180, 270, auto\n");
    for (const char* crop :
         {"10", "10x", "x10", "10x10+1", "10x10+1+2+3", "10x10-1-2", "10.5x10", "0x10", "10x10cm", "nanxnanin"}) {
        const Outcome outcome = Run({std::string("--crop=") + crop, "page.pgm", "-o", "x.pgm"});
        EXPECT_EQ(outcome.code, 2) << crop;
        EXPECT_TRUE(outcome.err.starts_with("platen: --crop: ")) << outcome.err;
    }
    EXPECT_EQ(Run({"--crop=10x10+1", "page.pgm", "-o", "x.pgm"}).err,
              "platen: --crop: '10x10+1' is not WxH+X+Y, optionally followed by mm or in\n");
    EXPECT_EQ(Run({"--crop=10x10+30+0", "page.pgm", "-o", "x.pgm"}).err,
              "platen: page.pgm: --crop: 30,0 lies outside the page of 30 x 20\n");
    EXPECT_EQ(Run({"--crop=2147483647x2147483647+2+2", "-v", "page.pgm", "-o", "x.pgm"}).err,
              "platen: page.pgm: --crop: the page ends before it; 28 x 18 of 2147483647 x 2147483647 are left\n");
    EXPECT_EQ(Run({"--dither", "page.pgm", "-o", "x.pgm"}).err, "platen: --dither: needs --mode=lineart\n");
    // A damaged page leaves nothing, whichever line is missing.
    const std::string whole = ReadFile(folder.File("page.pgm"));
    WriteFile(folder.File("cut.pgm"), whole.substr(0, whole.size() - 40));
    EXPECT_EQ(Run({"--crop=10x10", "cut.pgm", "-o", "y.pgm"}).code, 1);
    EXPECT_EQ(Run({"--rotate=90", "cut.pgm", "-o", "y.pgm"}).code, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.File("y.pgm")));
}

TEST_F(Place, AutomaticSettingsSeeThePartOnly) {
    std::string page = "P5\n100 100\n255\n";
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 100; ++x) {
            page += static_cast<char>(x < 50 ? 10 : 80 + (x * 7 + y) % 100);
        }
    }
    WriteFile(folder.File("page.pgm"), page);
    const std::string found =
        Run({"--crop=50x100+50+0", "--rotate=auto", "--auto-levels=0,0", "--stats", "page.pgm"}).out;
    EXPECT_NE(found.find("found        page 1: --levels=80,179\n"), std::string::npos) << found;
    const std::string turned =
        Run({"--rotate=90", "--crop=100x50+0+50", "--auto-levels=0,0", "--stats", "page.pgm"}).out;
    EXPECT_NE(turned.find("found        page 1: --levels=80,179\n"), std::string::npos) << turned;
}

// The page isn't turned to be counted: what counts, margins included, has to be the same as of a turned one.
TEST_F(Place, AutomaticSettingsFindOnATurnedPageWhatTheyFindInItsFile) {
    WriteFile(folder.File("page.ppm"), PageFile("P6", 131, 97));
    const Words settings[] = {{"--auto-levels=1,1"},
                              {"--auto-levels=1,1", "--auto-margin=13"},
                              {"--auto-levels=1,1", "--auto-margin=13", "--mode=gray"},
                              {"--auto-levels=0,4", "--auto-margin=9", "--crop=40x50+17+23"},
                              {"--auto-levels=2,2", "--auto-margin=7", "--scale=0.37", "--order=scale,tone"},
                              {"--auto-levels=1,1", "--auto-margin=7", "--sharpness=2", "--order=sharpen,tone"},
                              {"--mode=lineart", "--auto-threshold", "--auto-margin=13"}};
    for (const char* rotate : {"--rotate=90", "--rotate=180", "--rotate=270"}) {
        ASSERT_EQ(Run({rotate, "page.ppm", "-f", "-o", "turned.ppm"}).code, 0);
        for (const Words& automatic : settings) {
            Words atOnce = {rotate, "--stats", "page.ppm", "-f", "-o", "at-once.pam"};
            Words later = {"--stats", "turned.ppm", "-f", "-o", "later.pam"};
            atOnce.insert(atOnce.end(), automatic.begin(), automatic.end());
            later.insert(later.end(), automatic.begin(), automatic.end());
            const std::string found = Run(atOnce).err;
            const std::string expected = Run(later).err;
            const auto numbers = [](const std::string& text) {
                const std::size_t at = text.find("  found        page 1: --");
                return at == std::string::npos ? "nothing in " + text : text.substr(at, text.find('\n', at) - at);
            };
            EXPECT_EQ(numbers(found), numbers(expected)) << rotate;
            EXPECT_TRUE(ReadFile(folder.File("at-once.pam")) == ReadFile(folder.File("later.pam")))
                << rotate << automatic.back();
        }
    }
}

// The rule on the whole page at once.
Page Diffused(const Page& page, int threshold) {
    Page result{page.width, page.height, 1, std::string(page.width * page.height, '0')};
    std::vector<std::vector<int>> sums(page.height + 1, std::vector<int>(page.width, 0));
    const auto give = [&](long x, std::size_t y, int amount) {
        if (x >= 0 && x < static_cast<long>(page.width)) {
            sums[y][static_cast<std::size_t>(x)] += amount;
        }
    };
    for (std::size_t y = 0; y < page.height; ++y) {
        for (std::size_t i = 0; i < page.width; ++i) {
            const long step = y % 2 == 0 ? 1 : -1;
            const std::size_t x = y % 2 == 0 ? i : page.width - 1 - i;
            const int sum = sums[y][x] + 8;
            const int whole = sum >= 0 ? sum / 16 : -((-sum + 15) / 16);
            const int value = static_cast<unsigned char>(page.pixels[y * page.width + x]) + whole;
            const int rest = value < threshold ? value : value - 255;
            EXPECT_LE(std::abs(rest), 255);
            result.pixels[y * page.width + x] = value < threshold ? '1' : '0';
            give(static_cast<long>(x) + step, y, 7 * rest);
            give(static_cast<long>(x) - step, y + 1, 3 * rest);
            give(static_cast<long>(x), y + 1, 5 * rest);
            give(static_cast<long>(x) + step, y + 1, rest);
        }
    }
    return result;
}

TEST_F(Place, ErrorsAreDiffusedAsTheRuleSays) {
    const std::pair<std::size_t, std::size_t> sizes[] = {{1, 1}, {1, 7}, {9, 1}, {40, 31}, {101, 64}};
    for (const auto& [width, height] : sizes) {
        WriteFile(folder.File("page.pgm"), PageFile("P5", width, height));
        const Page page = Parse(ReadFile(folder.File("page.pgm")));
        for (const auto& [percent, level] : {std::pair("0", 0), {"20", 51}, {"50", 128}, {"100", 255}}) {
            EXPECT_TRUE(Result({"--mode=lineart", "--dither", std::string("--threshold=") + percent, "page.pgm"}) ==
                        Diffused(page, level))
                << width << " " << percent;
        }
    }
}

// As many black pixels as the greys have darkness.
TEST_F(Place, DitheredGreysKeepTheirMean) {
    for (const int level : {0, 1, 30, 127, 200, 254, 255}) {
        WriteFile(folder.File("page.pgm"), "P5\n200 200\n255\n" + std::string(40000, static_cast<char>(level)));
        const Page page = Result({"--mode=lineart", "--dither", "page.pgm"});
        const auto black = std::count(page.pixels.begin(), page.pixels.end(), '1');
        EXPECT_NEAR(static_cast<double>(black) / 40000.0, 1.0 - level / 255.0, 0.004) << level;
    }
}

TEST_F(Place, RealScansAsOtherProgramsSeeThem) {
    if (!std::filesystem::exists(Scan("README.md"))) {
        GTEST_SKIP() << kAbsent;
    }
    Streams convert;
    convert.program = "convert";
    convert.folder = folder.Path();
    Streams compare = convert;
    compare.program = "compare";
    for (const Streams& program : {convert, compare}) {
        if (Spawn({"-version"}, program).out.find("ImageMagick") == std::string::npos) {
            GTEST_SKIP() << "no ImageMagick";
        }
    }
    const std::pair<const char*, const char*> scans[] = {{"map-detail-rgb16-300dpi.tif", "-depth 16"},
                                                         {"postcard-back-rgba8-325dpi.png", ""},
                                                         {"title-page-1699-bilevel-g4-300dpi.tif", ""},
                                                         {"newspaper-1898-gray8.tif", ""}};
    for (const auto& [name, depth] : scans) {
        ASSERT_EQ(Run({"--rotate=90", "--crop=80x60+20+30", Scan(name), "-f", "-o", "ours.png"}).code, 0);
        ASSERT_EQ(Spawn({Scan(name), "-rotate", "90", "+repage", "-crop", "80x60+20+30", "+repage", "theirs.png"},
                        convert)
                      .code,
                  0);
        const Outcome same = Spawn({"-metric", "AE", "ours.png", "theirs.png", "null:"}, compare);
        EXPECT_EQ(same.err, "0") << name;
    }
    ASSERT_EQ(
        Run({"--mode=lineart", "--dither", Scan("watercolour-plate-rgb8-189dpi.jpg"), "-o", "dither.tif"}).code, 0);
    Streams tiffinfo = convert;
    tiffinfo.program = "tiffinfo";
    const Outcome info = Spawn({"dither.tif"}, tiffinfo);
    if (info.code == 0) {
        EXPECT_NE(info.out.find("Bits/Sample: 1"), std::string::npos) << info.out;
        EXPECT_NE(info.out.find("Image Width: 1170 Image Length: 1916"), std::string::npos) << info.out;
    }
}

}  // namespace
}  // namespace platen_test
