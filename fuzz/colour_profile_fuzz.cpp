// ICC profiles of CMYK pages, which anyone may have put into a file. The first byte says how the samples lie. An
// Error is a right answer; where colours come out, as many as went in, and the same ones for the same pixels.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "OutputFolder.h"
#include "programs/base/Error.h"
#include "programs/io/ColourTransform.h"

using namespace platen_tool;
using platen_fuzz::Require;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most)
    __attribute__((weak));

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    constexpr std::size_t kProfile = 1;  // after the byte that chooses
    constexpr std::size_t kTable = kProfile + 132;
    static constexpr const char* kWords[] = {"mft1", "mft2", "mAB ", "mBA ", "curv", "para", "XYZ ",
                                             "desc", "mluc", "mpet", "CMYK", "Lab ", "RGB ", "GRAY",
                                             "6CLR", "prtr", "link", "nmcl", "A2B0", "A2B1", "B2A0",
                                             "D2B0", "gamt", "clro", "text", "cvst", "clut"};
    static constexpr std::uint32_t kNumbers[] = {0,  1,   2,   3,    4,     5,          15,         16,
                                                 17, 255, 256, 4096, 65535, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    std::uint32_t state = seed;
    const auto next = [&state](std::size_t count) {
        state = state * 1664525u + 1013904223u;
        return static_cast<std::size_t>(state >> 8) % count;
    };
    const auto put = [data, size](std::size_t at, std::uint32_t value, std::size_t bytes) {
        for (std::size_t i = 0; i < bytes && at < size && i < size - at; ++i) {
            data[at + i] = static_cast<std::uint8_t>(value >> 8 * (bytes - 1 - i));
        }
    };
    const auto get = [data](std::size_t at) {
        return static_cast<std::uint32_t>(data[at]) << 24 | static_cast<std::uint32_t>(data[at + 1]) << 16 |
               static_cast<std::uint32_t>(data[at + 2]) << 8 | data[at + 3];
    };
    const auto word = [&next]() {
        const char* text = kWords[next(std::size(kWords))];
        return static_cast<std::uint32_t>(text[0]) << 24 | static_cast<std::uint32_t>(text[1]) << 16 |
               static_cast<std::uint32_t>(text[2]) << 8 | static_cast<std::uint32_t>(text[3]);
    };
    if (size < kTable + 12 || next(2) == 0) {
        return LLVMFuzzerMutate != nullptr ? LLVMFuzzerMutate(data, size, most) : size;
    }
    const std::size_t tags = std::min<std::size_t>((size - kTable) / 12, get(kTable - 4) % 64 + 1);
    for (std::size_t changes = 1 + next(3); changes != 0; --changes) {
        const std::size_t entry = kTable + 12 * next(tags);
        const std::size_t tag = kProfile + get(entry + 4);
        const std::uint32_t number = next(2) == 0 ? kNumbers[next(std::size(kNumbers))] : get(entry + 8) + 1;
        switch (next(7)) {
            case 0:
                put(kProfile + std::array<std::size_t, 4>{12, 16, 20, 8}[next(4)], word(), 4);
                break;
            case 1:
                put(entry, word(), 4);
                break;
            case 2:
                put(entry + 4, static_cast<std::uint32_t>(next(size + 8)), 4);
                break;
            case 3:
                put(entry + 8, number, 4);
                break;
            case 4:
                put(tag, word(), 4);
                break;
            case 5:
                put(tag + 8 + next(4), number, 1);  // channels in and out, points of the grid
                break;
            default:
                put(tag + 4 * next(16), number, next(2) == 0 ? 2 : 4);
                break;
        }
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const auto from = static_cast<ColourTransform::From>(data[0] % 3);  // Lab looks at no profile
    const std::vector<std::uint8_t> profile(data + 1, data + size);
    try {
        ColourTransform transform(from, profile, "the file");
        Require(transform.Samples() == 4 && !transform.Notice().empty());
        constexpr std::size_t kPixels = 9;
        const std::size_t sampleBytes = transform.SampleBytes();
        std::vector<std::uint8_t> in(kPixels * 4 * sampleBytes);
        for (std::size_t i = 0; i < in.size(); ++i) {
            in[i] = i < in.size() / 3 ? 0 : i < in.size() / 2 ? 255 : data[i * 7 % size];
        }
        std::vector<std::uint8_t> again = in;
        std::vector<std::uint8_t> out(kPixels * 3 * sampleBytes, 1);
        std::vector<std::uint8_t> outAgain(kPixels * 3 * sampleBytes, 2);
        transform.Apply(in.data(), out.data(), kPixels);
        transform.Apply(again.data(), outAgain.data(), kPixels);
        Require(out == outAgain);
    } catch (const Error& error) {
        Require(error.what()[0] != '\0');
    }
    return 0;
}
