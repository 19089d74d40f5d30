#include "Pages.h"

namespace {

using namespace platen_test;

Page Read(const std::string& text) {
    const Scratch scratch;
    PutFile(scratch / "page.pnm", text);
    return ReadPages(scratch / "page.pnm").at(0);
}

void ExpectRefused(const std::string& text, const std::string& part, ExitCode code = ExitCode::kFailed) {
    SCOPED_TRACE(text);
    ExpectError([&] { Read(text); }, code, part);
}

std::uint16_t Sample16(const Page& page, std::size_t index) {
    std::uint16_t sample;
    std::memcpy(&sample, page.lines.data() + 2 * index, 2);
    return sample;
}

TEST(PnmReader, TextFormats) {
    EXPECT_EQ(Read("P1\n# comment\n3 2\n1 0 1\n010").lines, (Bytes{0xA0, 0x40}));
    EXPECT_EQ(Read("P2 3 1 255 0 128 255\n").lines, (Bytes{0, 128, 255}));
    EXPECT_EQ(Read("P3\n1 2 # size\n255#most\n1 2 3\n4 5\n6").lines, (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(PnmReader, RawFormats) {
    EXPECT_EQ(Read("P4\n10 1\n\xFF\xFF").lines, (Bytes{0xFF, 0xC0}));
    EXPECT_EQ(Read("P5 2 1 255\n\x01\n").lines, (Bytes{1, 10}));  // one white space, then samples
    EXPECT_EQ(Read("P6\n1 1\n255\nabc").lines, (Bytes{'a', 'b', 'c'}));
    EXPECT_EQ(Sample16(Read("P5 1 1 65535\n\x12\x34"), 0), 0x1234);
}

TEST(PnmReader, OtherMaxvalsAreScaledToNearest) {
    EXPECT_EQ(Read("P2 4 1 3 0 1 2 3").lines, (Bytes{0, 85, 170, 255}));
    EXPECT_EQ(Read("P2 2 1 1 0 1").lines, (Bytes{0, 255}));
    EXPECT_EQ(Read("P2 3 1 100 1 50 99").lines, (Bytes{3, 128, 252}));  // 2.55, 127.5, 252.45
    const Page page = Read("P2 3 1 1023 1 512 1023");
    EXPECT_EQ(page.info.bitsPerSample, 16);
    EXPECT_EQ(Sample16(page, 0), 64);     // 64.06
    EXPECT_EQ(Sample16(page, 1), 32800);  // 32799.53
    EXPECT_EQ(Sample16(page, 2), 65535);
}

TEST(PnmReader, EveryMaxvalMapsItsEndsAndKeepsOrder) {
    for (unsigned maxval : {2u, 7u, 254u, 256u, 4095u, 65534u}) {
        const Page page = Read("P2 3 1 " + std::to_string(maxval) + " 0 " + std::to_string(maxval - 1) + " " +
                               std::to_string(maxval));
        const bool deep = maxval > 255;
        EXPECT_EQ(deep ? Sample16(page, 0) : page.lines[0], 0);
        EXPECT_EQ(deep ? Sample16(page, 2) : page.lines[2], deep ? 65535 : 255);
        EXPECT_LT(deep ? Sample16(page, 1) : page.lines[1], deep ? 65535 : 255);
    }
}

TEST(PnmReader, PamTupleTypes) {
    const auto header = [](int depth, int maxval, const std::string& type) {
        return "P7\n# made by hand\nWIDTH 2\nHEIGHT 1\nDEPTH " + std::to_string(depth) + "\nMAXVAL " +
               std::to_string(maxval) + "\n" + (type.empty() ? "" : "TUPLTYPE " + type + "\n") + "ENDHDR\n";
    };
    const Page bilevel = Read(header(1, 1, "BLACKANDWHITE") + std::string("\0\1", 2));
    EXPECT_EQ(bilevel.info.bitsPerSample, 1);
    EXPECT_EQ(bilevel.lines, (Bytes{0x80}));
    EXPECT_EQ(Read(header(2, 1, "BLACKANDWHITE_ALPHA") + std::string("\0\1\1\0", 4)).lines,
              (Bytes{0, 255, 255, 0}));
    EXPECT_EQ(Read(header(1, 255, "GRAYSCALE") + "ab").lines, (Bytes{'a', 'b'}));
    EXPECT_TRUE(Read(header(2, 255, "GRAYSCALE_ALPHA") + "abcd").info.HasAlpha());
    EXPECT_EQ(Read(header(3, 255, "RGB") + "abcdef").info.samplesPerPixel, 3);
    EXPECT_EQ(Read(header(4, 255, "") + "abcdefgh").info.samplesPerPixel, 4);
    ExpectRefused(header(3, 255, "GRAYSCALE") + "abcdef", "tuple type");
    ExpectRefused(
        header(1, 255, "HEAT") + "ab",
        "PAM tuple type HEAT isn't supported; BLACKANDWHITE, GRAYSCALE and RGB are, each with _ALPHA or without",
        ExitCode::kUnsupported);
    ExpectRefused(header(5, 255, "") + "abcdefghij", "a PAM of 5 samples a pixel isn't supported; 1 to 4 are",
                  ExitCode::kUnsupported);
    ExpectRefused(header(1, 255, "BLACKANDWHITE") + "ab", "maxval 1");
    ExpectRefused("P7\nWIDTH 2\nHEIGHT 1\nMAXVAL 255\nENDHDR\nab", "DEPTH");
    ExpectRefused("P7\nWIDTH 2\nCOLOUR red\nENDHDR\nab", "COLOUR");
    ExpectRefused("P7\nWIDTH two\nENDHDR\nab", "WIDTH");
}

TEST(PnmReader, NumbersOutOfRangeAreRefused) {
    ExpectRefused("P5 99999999999999999999 1 255\na", "width");
    ExpectRefused("P5 4294967295 4294967295 255\na", "too large");
    ExpectRefused("P5 4294967296 1 255\na", "width");
    ExpectRefused("P5 0 1 255\na", "empty");
    ExpectRefused("P5 1 0 255\na", "empty");
    ExpectRefused("P5 1 1 0\na", "maxval");
    ExpectRefused("P5 1 1 65536\na", "maxval");
    ExpectRefused("P5 -1 1 255\na", "width");
    ExpectRefused("P5 1x 1 255\na", "width");
    ExpectRefused("P2 1 1 100 101", "larger than 100");
    ExpectRefused("P5 1 1 100\ne", "the PNM is damaged: sample 101 is larger than the maxval 100");
    ExpectRefused("P1 1 1 2", "neither 0 nor 1");
    ExpectRefused("P2 1 1 255 x", "not a number");
    ExpectRefused("P2 2 1 255 7", "too early");
}

TEST(PnmReader, PagesFollowOneAnother) {
    const Scratch scratch;
    PutFile(scratch / "pages.pnm", "P5 1 1 255\naP4 8 1\nbP6 1 1 255\ncde\nP2 1 1 255 7\nP1 1 1 1");
    const auto pages = ReadPages(scratch / "pages.pnm");
    ASSERT_EQ(pages.size(), 5u);
    EXPECT_EQ(pages[1].lines, (Bytes{'b'}));
    EXPECT_EQ(pages[2].lines, (Bytes{'c', 'd', 'e'}));
    EXPECT_EQ(pages[4].lines, (Bytes{0x80}));
}

TEST(PnmReader, OtherBytesBehindAPageAreAnError) {
    ExpectRefused("P5 1 1 255\nab", "after the last page");
    EXPECT_NO_THROW(Read("P5 1 1 255\na\n\n"));
    EXPECT_NO_THROW(Read("P2 1 1 255 7 # the end"));
}

}  // namespace
