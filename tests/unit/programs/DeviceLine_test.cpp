#include "programs/scan/DeviceLine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "programs/base/Error.h"
#include "support/Random.h"

namespace platen_tool {
namespace {

constexpr SANE_Frame kFormats[] = {SANE_FRAME_GRAY, SANE_FRAME_RGB, SANE_FRAME_RED, SANE_FRAME_GREEN,
                                   SANE_FRAME_BLUE};

// A frame whose lines are just as long as their pixels.
SANE_Parameters Frame(SANE_Frame format, SANE_Int depth, SANE_Int width) {
    const SANE_Int samples = format == SANE_FRAME_RGB ? 3 : 1;
    SANE_Parameters p{};
    p.format = format;
    p.depth = depth;
    p.pixels_per_line = width;
    p.lines = 10;
    p.bytes_per_line = depth == 1 ? (width + 7) / 8 * samples : width * samples * depth / 8;
    return p;
}

std::string Refusal(const SANE_Parameters& p, ExitCode code) {
    try {
        PageInfo(p);
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), code);
        return error.what();
    }
    return "taken";
}

TEST(DeviceLine, KnownPagesHoldTheirPixels) {
    for (const SANE_Frame format : kFormats) {
        for (const SANE_Int depth : {1, 8, 16}) {
            for (const SANE_Int width : {1, 7, 8, 9, 16, 17, 1000}) {
                SANE_Parameters p = Frame(format, depth, width);
                EXPECT_TRUE(IsKnownPage(p)) << format << " " << depth << " " << width;
                EXPECT_EQ(Refusal(p, ExitCode::kDone), "taken");
                p.bytes_per_line += 5;  // padding
                EXPECT_TRUE(IsKnownPage(p));
                p.bytes_per_line -= 6;
                EXPECT_FALSE(IsKnownPage(p)) << format << " " << depth << " " << width;
                EXPECT_EQ(Refusal(p, ExitCode::kDevice), "the device announces lines of " + std::to_string(width) +
                                                             " pixels in " + std::to_string(p.bytes_per_line) +
                                                             " bytes");
            }
        }
    }
}

TEST(DeviceLine, LinesWithoutPixelsAreNone) {
    SANE_Parameters p = Frame(SANE_FRAME_GRAY, 8, 10);
    p.pixels_per_line = 0;
    EXPECT_FALSE(IsKnownPage(p));
    EXPECT_EQ(Refusal(p, ExitCode::kDevice), "the device announces lines of 0 pixels in 10 bytes");
    p.pixels_per_line = -1;
    EXPECT_FALSE(IsKnownPage(p));
    p.pixels_per_line = 10;
    for (const SANE_Int bytes : {0, -1, -10}) {
        p.bytes_per_line = bytes;
        EXPECT_FALSE(IsKnownPage(p)) << bytes;
    }
}

TEST(DeviceLine, OtherFormatsAndDepthsAreUnknown) {
    for (const int format : {-1, 5, 6, 0x0B}) {
        SANE_Parameters p = Frame(SANE_FRAME_GRAY, 8, 10);
        std::memcpy(&p.format, &format, sizeof format);
        EXPECT_FALSE(IsKnownPage(p)) << format;
        EXPECT_EQ(Refusal(p, ExitCode::kUnsupported),
                  "the device sends frames that are neither grey nor red, green and blue");
    }
    for (const SANE_Int depth : {-8, 0, 2, 4, 7, 9, 12, 15, 17, 24, 32}) {
        SANE_Parameters p = Frame(SANE_FRAME_GRAY, 16, 10);
        p.depth = depth;
        EXPECT_FALSE(IsKnownPage(p)) << depth;
        EXPECT_EQ(Refusal(p, ExitCode::kUnsupported),
                  "the device sends " + std::to_string(depth) + " bits a sample; 1, 8 and 16 are supported");
    }
}

TEST(DeviceLine, PassesHaveTheirChannels) {
    for (const SANE_Frame format : kFormats) {
        EXPECT_EQ(IsOnePass(Frame(format, 8, 1)), format != SANE_FRAME_GRAY && format != SANE_FRAME_RGB) << format;
    }
    EXPECT_EQ(ChannelOf(SANE_FRAME_RED), 0u);
    EXPECT_EQ(ChannelOf(SANE_FRAME_GREEN), 1u);
    EXPECT_EQ(ChannelOf(SANE_FRAME_BLUE), 2u);
}

TEST(DeviceLine, APageIsGreyOrColour) {
    for (const SANE_Frame format : kFormats) {
        for (const SANE_Int depth : {1, 8, 16}) {
            SANE_Parameters p = Frame(format, depth, 33);
            const bool colour = format != SANE_FRAME_GRAY;
            const ImageInfo info = PageInfo(p);
            EXPECT_EQ(info.width, 33u);
            EXPECT_EQ(info.height, 10u);
            EXPECT_EQ(info.samplesPerPixel, colour ? 3 : 1);
            EXPECT_EQ(info.bitsPerSample, colour && depth == 1 ? 8 : depth) << format;
            for (const SANE_Int lines : {0, -1, 1}) {
                p.lines = lines;
                EXPECT_EQ(PageInfo(p).height, lines == 1 ? 1u : 0u);
            }
        }
    }
}

// Bytes with others on either side that nothing may change.
class Guarded {
  public:
    explicit Guarded(std::size_t count) : bytes_(count + 2 * kGuard, 0xA5) {}
    std::uint8_t* Data() {
        return bytes_.data() + kGuard;
    }
    bool Intact() const {
        for (std::size_t i = 0; i < kGuard; ++i) {
            if (bytes_[i] != 0xA5 || bytes_[bytes_.size() - 1 - i] != 0xA5) {
                return false;
            }
        }
        return true;
    }

  private:
    static constexpr std::size_t kGuard = 16;
    std::vector<std::uint8_t> bytes_;
};

// The bit of a pixel, the first one highest; `apart` as many bytes from one group of eight to the next.
bool BitOf(const std::uint8_t* bytes, std::size_t x, std::size_t apart) {
    return (bytes[x / 8 * apart] & 0x80 >> x % 8) != 0;
}

std::vector<std::uint8_t> RandomBytes(std::size_t count, std::uint64_t seed) {
    platen_test::Random random(seed);
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random.Next());
    }
    return bytes;
}

TEST(DeviceLine, BitsOfColoursBecomeBytes) {
    for (SANE_Int width = 1; width <= 40; ++width) {
        const auto pixels = static_cast<std::size_t>(width);
        const SANE_Parameters rgb = Frame(SANE_FRAME_RGB, 1, width);
        const auto raw = RandomBytes(static_cast<std::size_t>(rgb.bytes_per_line), pixels);
        Guarded line(3 * pixels);
        TakeDeviceLine(rgb, raw.data(), line.Data());
        EXPECT_TRUE(line.Intact()) << width;
        for (std::size_t i = 0; i < 3 * pixels; ++i) {
            EXPECT_EQ(line.Data()[i], BitOf(raw.data() + i % 3, i / 3, 3) ? 255 : 0) << width << " " << i;
        }
        for (const SANE_Frame format : {SANE_FRAME_RED, SANE_FRAME_GREEN, SANE_FRAME_BLUE}) {
            Guarded one(pixels);
            TakeDeviceLine(Frame(format, 1, width), raw.data(), one.Data());
            EXPECT_TRUE(one.Intact()) << width;
            for (std::size_t x = 0; x < pixels; ++x) {
                EXPECT_EQ(one.Data()[x], BitOf(raw.data(), x, 1) ? 255 : 0) << width << " " << x;
            }
        }
    }
}

TEST(DeviceLine, OtherLinesStayAsTheyAre) {
    for (SANE_Int width = 1; width <= 40; ++width) {
        for (const SANE_Frame format : kFormats) {
            for (const SANE_Int depth : {1, 8, 16}) {
                if (depth == 1 && format != SANE_FRAME_GRAY) {
                    continue;
                }
                SANE_Parameters p = Frame(format, depth, width);
                const auto count = static_cast<std::size_t>(p.bytes_per_line);
                p.bytes_per_line += 7;  // padding, which nothing reads
                std::vector<std::uint8_t> expected = RandomBytes(count + 7, count);
                Guarded line(count);
                TakeDeviceLine(p, expected.data(), line.Data());
                if (depth == 1 && width % 8 != 0) {  // the bits after the last pixel
                    expected[count - 1] = static_cast<std::uint8_t>(expected[count - 1] & 0xFF00 >> width % 8);
                }
                EXPECT_EQ(std::memcmp(line.Data(), expected.data(), count), 0) << format << depth << width;
                EXPECT_TRUE(line.Intact()) << format << depth << width;
            }
        }
    }
}

// Three passes in any order, put together line by line.
TEST(DeviceLine, PlanesMakeColours) {
    constexpr std::uint32_t kLines = 3;
    for (const SANE_Int width : {1, 2, 7, 8, 9, 16, 33}) {
        for (const SANE_Int depth : {1, 8, 16}) {
            const auto pixels = static_cast<std::size_t>(width);
            const std::size_t sample = depth == 16 ? 2 : 1;
            std::vector<std::uint8_t> lines[3][kLines];
            Planes planes;
            for (const SANE_Frame format : {SANE_FRAME_BLUE, SANE_FRAME_RED, SANE_FRAME_GREEN}) {
                const SANE_Parameters p = Frame(format, depth, width);
                for (std::uint32_t y = 0; y < kLines; ++y) {
                    const auto bytes = static_cast<std::size_t>(p.bytes_per_line);
                    lines[ChannelOf(format)][y] = RandomBytes(bytes, 100 * y + ChannelOf(format));
                    planes.Put(p, y, lines[ChannelOf(format)][y].data());
                }
            }
            for (const std::uint32_t y : {2u, 0u, 1u}) {
                Guarded line(3 * pixels * sample);
                planes.ReadLine(Frame(SANE_FRAME_RED, depth, width), y, line.Data());
                EXPECT_TRUE(line.Intact());
                for (std::size_t i = 0; i < 3 * pixels; ++i) {
                    const std::vector<std::uint8_t>& plane = lines[i % 3][y];
                    const std::size_t x = i / 3;
                    std::uint8_t expected[2] = {};
                    if (depth == 1) {
                        expected[0] = BitOf(plane.data(), x, 1) ? 255 : 0;
                    } else {
                        std::memcpy(expected, &plane[x * sample], sample);
                    }
                    EXPECT_EQ(std::memcmp(line.Data() + i * sample, expected, sample), 0)
                        << width << " " << depth << " " << y << " " << i;
                }
            }
        }
    }
}

}  // namespace
}  // namespace platen_tool
