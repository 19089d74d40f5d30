// Small files that ask for much: the rows of SECURITY.md's table of what an input may cost, but for PNM and
// baseline JPEG, which Memory_test has. The memory may be a few megabytes more than the table says, as how much of
// the libraries is mapped depends on the system; the time has only a wide limit here, past which the system ends
// the run.

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "PeakMemory.h"
#include "Spawn.h"

namespace platen_test {
namespace {

std::string Number(std::uint64_t value, int bytes, bool bigEndian) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> 8 * (bigEndian ? bytes - 1 - i : i) & 255);
    }
    return text;
}

std::string Big(std::uint64_t value, int bytes) {
    return Number(value, bytes, true);
}

std::string Little(std::uint64_t value, int bytes) {
    return Number(value, bytes, false);
}

// So many zeros, packed.
std::string PackedZeros(std::size_t count) {
    z_stream stream{};
    EXPECT_EQ(deflateInit(&stream, 1), Z_OK);
    std::string zeros(1 << 20, '\0');
    std::string part(1 << 16, '\0');
    std::string packed;
    for (bool ended = false; !ended;) {
        const std::size_t now = std::min(count, zeros.size());
        stream.next_in = reinterpret_cast<Bytef*>(zeros.data());
        stream.avail_in = static_cast<uInt>(now);
        count -= now;
        do {
            stream.next_out = reinterpret_cast<Bytef*>(part.data());
            stream.avail_out = static_cast<uInt>(part.size());
            ended = deflate(&stream, count == 0 ? Z_FINISH : Z_NO_FLUSH) == Z_STREAM_END;
            packed.append(part, 0, part.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return packed;
}

// ---- PNG

std::string Chunk(const std::string& name, const std::string& data) {
    const std::string checked = name + data;
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(checked.data()), static_cast<uInt>(checked.size()));
    return Big(data.size(), 4) + checked + Big(sum, 4);
}

std::string Png(std::uint32_t width, std::uint32_t height, bool interlaced, std::size_t bytes,
                const std::string& between = "") {
    const std::string head =
        Big(width, 4) + Big(height, 4) + std::string({8, 0, 0, 0, static_cast<char>(interlaced ? 1 : 0)});
    return "\x89PNG\r\n\x1A\n" + Chunk("IHDR", head) + between + Chunk("IDAT", PackedZeros(bytes)) +
           Chunk("IEND", "");
}

// ---- TIFF

struct Field {
    int tag;
    int type;
    std::uint64_t count;
    std::uint64_t value;
};

std::string Directory(const std::vector<Field>& fields, std::uint64_t next) {
    std::string text = Little(fields.size(), 2);
    for (const Field& field : fields) {
        text += Little(static_cast<std::uint64_t>(field.tag), 2) +
                Little(static_cast<std::uint64_t>(field.type), 2) + Little(field.count, 4) + Little(field.value, 4);
    }
    return text + Little(next, 4);
}

// One strip, or one tile, of grey bytes.
std::string Tiff(std::uint32_t width, std::uint32_t height, int compression, const std::string& data, bool tile) {
    const auto kind = static_cast<std::uint64_t>(compression);
    const std::uint64_t at = 8 + 2 + 12 * 10 + 4;
    std::vector<Field> fields = {{256, 4, 1, width}, {257, 4, 1, height}, {258, 3, 1, 8},
                                 {259, 3, 1, kind},  {262, 3, 1, 1},      {277, 3, 1, 1}};
    if (tile) {
        fields.insert(fields.end(),
                      {{322, 4, 1, width}, {323, 4, 1, height}, {324, 4, 1, at}, {325, 4, 1, data.size()}});
    } else {
        fields.insert(fields.end(),
                      {{273, 4, 1, at}, {278, 4, 1, height}, {279, 4, 1, data.size()}, {284, 3, 1, 1}});
        std::swap(fields[5], fields[6]);  // sorted by their tags
    }
    return "II*" + std::string(1, '\0') + Little(8, 4) + Directory(fields, 0) + data;
}

// So many zeros as Zstandard runs, in a frame that asks for a window of all of them.
std::string ZstdZeros(std::uint64_t count) {
    constexpr std::uint64_t kMostOfABlock = 131072;
    std::string text = Little(0xFD2FB528, 4) + "\xA0" + Little(count, 4);
    while (count != 0) {
        const std::uint64_t now = std::min(count, kMostOfABlock);
        count -= now;
        text += Little((count == 0 ? 1 : 0) | 1 << 1 | now << 3, 3) + std::string(1, '\0');
    }
    return text;
}

// At least so many zeros as LZW codes, each of which stands for one zero more than the code before it.
std::string LzwZeros(std::uint64_t count) {
    constexpr int kClear = 256;
    std::uint32_t bits = 0;
    int filled = 0;
    std::string text;
    const auto put = [&](int code, int width) {
        bits = bits << width | static_cast<std::uint32_t>(code);
        for (filled += width; filled >= 8; filled -= 8) {
            text += static_cast<char>(bits >> (filled - 8) & 255);
        }
    };
    for (std::uint64_t done = 0; done < count;) {
        put(kClear, done == 0 ? 9 : 12);
        put(0, 9);
        done += 1;
        for (int code = 258; code < 4092 && done < count; ++code) {  // the table has them up to code - 1
            put(code, code < 511 ? 9 : code < 1023 ? 10 : code < 2047 ? 11 : 12);
            done += static_cast<std::uint64_t>(code) - 256;
        }
    }
    put(0, 8);  // the last bits
    return text;
}

// ---- JPEG

std::string Segment(int marker, const std::string& data) {
    return "\xFF" + Big(static_cast<std::uint64_t>(marker), 1) + Big(data.size() + 2, 2) + data;
}

// Bits as a scan has them: ones at the end, a zero after each byte of ones.
class Bits {
  public:
    void Put(std::uint32_t value, int count) {
        while (count-- > 0) {
            byte_ = byte_ << 1 | (value >> count & 1);
            if (++filled_ == 8) {
                text_ += static_cast<char>(byte_ & 255);
                text_ += (byte_ & 255) == 255 ? std::string(1, '\0') : "";
                filled_ = 0;
            }
        }
    }
    std::string End() {
        while (filled_ != 0) {
            Put(1, 1);
        }
        return text_;
    }

  private:
    std::uint32_t byte_ = 0;
    int filled_ = 0;
    std::string text_;
};

// A black page, every coefficient of which has `times` scans of its own, as far as `most` scans go. A scan of
// nothing but runs of empty blocks takes some dozen bytes, whatever the page's size.
std::string ProgressiveJpeg(std::uint32_t side, int components, int times, int most) {
    const std::uint64_t blocks = std::uint64_t{side / 8} * (side / 8);
    std::string frame = Big(8, 1) + Big(side, 2) + Big(side, 2) + Big(static_cast<std::uint64_t>(components), 1);
    std::string heads;  // of the first scan: all components
    for (int i = 1; i <= components; ++i) {
        frame += Big(static_cast<std::uint64_t>(i), 1) + "\x11" + std::string(1, '\0');
        heads += Big(static_cast<std::uint64_t>(i), 1) + std::string(1, '\0');
    }
    // One code, of one bit, in each of both tables: a difference of 0, and a run of 2^14 blocks and more.
    const std::string oneCode = "\1" + std::string(15, '\0');
    std::string file = "\xFF\xD8" + Segment(0xDB, std::string(1, '\0') + std::string(64, '\1')) +
                       Segment(0xC2, frame) + Segment(0xC4, std::string(1, '\0') + oneCode + std::string(1, '\0')) +
                       Segment(0xC4, "\x10" + oneCode + "\xE0");
    Bits first;
    for (std::uint64_t i = 0; i < blocks * static_cast<std::uint64_t>(components); ++i) {
        first.Put(0, 1);
    }
    file +=
        Segment(0xDA, Big(static_cast<std::uint64_t>(components), 1) + heads + std::string(3, '\0')) + first.End();
    Bits runs;  // of 2^14 blocks and what the next 14 bits add; the last may be longer than the page
    for (std::uint64_t left = blocks; left != 0;) {
        const std::uint64_t run = std::clamp<std::uint64_t>(left, 0x4000, 0x7FFF);
        runs.Put(0, 1);
        runs.Put(static_cast<std::uint32_t>(run - 0x4000), 14);
        left -= std::min(left, run);
    }
    const std::string empty = runs.End();
    int scans = 1;
    for (int time = times - 1; time >= 0; --time) {
        for (int component = 1; component <= components; ++component) {
            for (int coefficient = 1; coefficient < 64 && scans < most; ++coefficient, ++scans) {
                const int high = time == times - 1 ? 0 : time + 1;
                file += Segment(0xDA, "\1" + Big(static_cast<std::uint64_t>(component), 1) + std::string(1, '\0') +
                                          Big(static_cast<std::uint64_t>(coefficient), 1) +
                                          Big(static_cast<std::uint64_t>(coefficient), 1) +
                                          Big(static_cast<std::uint64_t>(high << 4 | time), 1)) +
                        empty;
            }
        }
    }
    return file + "\xFF\xD9";
}

class Bombs : public testing::Test {
  protected:
    // Runs the tool on a file with these bytes, in a minute of the processor's time at most.
    Outcome Run(const std::string& bytes, const std::string& options = "") const {
        WriteFile(folder.File("page"), bytes);
        Streams streams;
        streams.program = "sh";
        return Spawn({"-c", "ulimit -t 60; exec " PLATEN_PROGRAM " '" + folder.File("page") +
                                "' -o /dev/null --format=pnm --stats " + options},
                     streams);
    }

    void ExpectPage(const std::string& bytes, double megabytes) const {
        const Outcome outcome = Run(bytes);
        ASSERT_EQ(outcome.code, 0) << outcome.err;
        const double peak = PeakMegabytes(outcome);
        EXPECT_TRUE(kInstrumented || peak <= megabytes) << peak << " MB; allowed: " << megabytes;
        RecordProperty("megabytes", std::to_string(peak));
    }

    void ExpectRefused(const std::string& bytes, const std::string& why) const {
        const Outcome outcome = Run(bytes);
        EXPECT_TRUE(outcome.code == 1 || outcome.code == 3) << outcome.code;
        EXPECT_NE(outcome.err.find(why), std::string::npos) << outcome.err;
    }

    Folder folder;
};

TEST_F(Bombs, Png) {
    ExpectPage(Png(65000, 1000, false, 65001u * 1000), 16.0);
}

TEST_F(Bombs, PngInterlaced) {
    constexpr std::size_t kWidth = 8000;
    constexpr std::size_t kHeight = 2000;
    std::size_t bytes = 0;  // of the seven passes, each line with its filter
    constexpr std::array<std::array<std::size_t, 4>, 7> kPasses = {
        {{0, 8, 0, 8}, {4, 8, 0, 8}, {0, 4, 4, 8}, {2, 4, 0, 4}, {0, 2, 2, 4}, {1, 2, 0, 2}, {0, 1, 1, 2}}};
    for (const auto& [x, xStep, y, yStep] : kPasses) {
        bytes += ((kHeight - y + yStep - 1) / yStep) * ((kWidth - x + xStep - 1) / xStep + 1);
    }
    ExpectPage(Png(kWidth, kHeight, true, bytes), 16.0);
}

TEST_F(Bombs, PngWithPackedProfileAndTexts) {
    const std::string packed = PackedZeros(100'000'000);
    const std::string zero(1, '\0');
    for (const std::string& chunk :
         {Chunk("iCCP", "a" + zero + zero + packed), Chunk("zTXt", "Title" + zero + zero + packed),
          Chunk("iTXt", "Title" + zero + "\1" + zero + zero + zero + packed),
          Chunk("iTXt", "XML:com.adobe.xmp" + zero + "\1" + zero + zero + zero + packed)}) {
        ExpectPage(Png(20, 20, false, 21 * 20, chunk), 24.0);
    }
}

TEST_F(Bombs, TiffInOneStrip) {
    ExpectPage(Tiff(65000, 1000, 8, PackedZeros(65'000'000), false), 16.0);
    std::string line;  // 507 runs of 128 and one of 104
    for (int i = 0; i < 507; ++i) {
        line += std::string("\x81\0", 2);
    }
    line += std::string("\x99\0", 2);
    std::string packBits;
    for (int y = 0; y < 1000; ++y) {
        packBits += line;
    }
    ExpectPage(Tiff(65000, 1000, 32773, packBits, false), 16.0);
    ExpectPage(Tiff(65000, 1000, 5, LzwZeros(65'000'000), false), 16.0);
}

// libzstd keeps the window that the file asks for, up to 128 MiB.
TEST_F(Bombs, TiffOfZstandardWithALargeWindow) {
    ExpectPage(Tiff(65000, 1000, 50000, ZstdZeros(65'000'000), false), 16.0 + 65);
    ExpectRefused(Tiff(65000, 2100, 50000, ZstdZeros(136'500'000), false), "requires too much memory");
}

TEST_F(Bombs, TiffInOneTile) {
    ExpectPage(Tiff(65536 - 16, 256, 8, PackedZeros(65520u * 256), true), 24.0 + 65520 * 256 / 1e6);
}

TEST_F(Bombs, TiffWithTooLargeARowOfTiles) {
    ExpectRefused(Tiff(65536 - 16, 3072, 8, PackedZeros(1000), true), "more than 128 MiB, the most allowed");
}

TEST_F(Bombs, TiffOf60000DirectoriesWithoutAPage) {
    std::string file = "II*" + std::string(1, '\0') + Little(8, 4);
    for (int i = 0; i < 60'000; ++i) {
        file += Directory({{254, 4, 1, 1}}, i < 59'999 ? file.size() + 18 : 0);
    }
    const Outcome outcome = Run(file);
    EXPECT_NE(outcome.code, 0);
    EXPECT_TRUE(outcome.err.starts_with("platen: ")) << outcome.err;
}

// The page that takes longest for its size: fifty times as many scans as libjpeg writes. SECURITY.md has its time.
TEST_F(Bombs, ProgressiveJpeg) {
    constexpr std::uint32_t kSide = 2048;
    const double coefficients = 2.0 * 3 * kSide * kSide / 1e6;
    ExpectPage(ProgressiveJpeg(kSide, 3, 3, 500), 16.0 + coefficients);
}

TEST_F(Bombs, ProgressiveJpegOfTooManyScans) {
    ExpectRefused(ProgressiveJpeg(256, 3, 4, 700), "more than 500 scans");
}

TEST_F(Bombs, ProgressiveJpegOfTooManyCoefficients) {
    ExpectRefused(ProgressiveJpeg(6720, 3, 1, 2), "of memory; allowed: 256 MiB");
}

}  // namespace
}  // namespace platen_test
