// Compares every kernel variant with the reference on a machine without an operating system: an emulated processor
// that has what this one lacks. Results go to the serial port; scripts/check/avx512 reads them.
//
// The kernels need nothing from the C library but the memory functions below, which are as plain as they can be.

#include <cstddef>
#include <cstdint>
#include <new>

#include "LineFilters/Sharpness.h"
#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/HorzPass.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/PX_Zoom/VertPass.h"
#include "support/Random.h"

extern "C" {

void* memcpy(void* to, const void* from, std::size_t size) {
    auto* a = static_cast<volatile unsigned char*>(to);
    const auto* b = static_cast<const unsigned char*>(from);
    for (std::size_t i = 0; i < size; ++i) {
        a[i] = b[i];
    }
    return to;
}

void* memset(void* to, int value, std::size_t size) {
    auto* a = static_cast<volatile unsigned char*>(to);
    for (std::size_t i = 0; i < size; ++i) {
        a[i] = static_cast<unsigned char>(value);
    }
    return to;
}

int memcmp(const void* x, const void* y, std::size_t size) {
    const auto* a = static_cast<const volatile unsigned char*>(x);
    const auto* b = static_cast<const volatile unsigned char*>(y);
    for (std::size_t i = 0; i < size; ++i) {
        if (a[i] != b[i]) {
            return a[i] < b[i] ? -1 : 1;
        }
    }
    return 0;
}

// What is freed last in, first out, is had again; the checks below need no more.
alignas(64) static unsigned char heap[64u << 20];
static std::size_t heapUsed = 0;

void* malloc(std::size_t size) {
    const std::size_t begin = heapUsed;
    heapUsed += (size + 63) / 64 * 64;
    return heapUsed <= sizeof heap ? heap + begin : nullptr;
}

void free(void*) {}

int fprintf(void*, const char*, ...) {
    return 0;
}

int fflush(void*) {
    return 0;
}

int __fprintf_chk(void*, int, const char*, ...) {
    return 0;
}

void* stderr = nullptr;

[[noreturn]] void abort() {
    for (;;) {
    }
}

void* __memcpy_chk(void* to, const void* from, std::size_t size, std::size_t) {
    return memcpy(to, from, size);
}

void* __memset_chk(void* to, int value, std::size_t size, std::size_t) {
    return memset(to, value, size);
}

[[noreturn]] void __stack_chk_fail() {
    for (;;) {
    }
}

void Check();
}

void* operator new(std::size_t size) {
    return malloc(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return malloc(size);
}

const std::nothrow_t std::nothrow{};

void operator delete(void*) noexcept {}

void operator delete(void*, const std::nothrow_t&) noexcept {}

void operator delete(void*, std::size_t) noexcept {}

namespace {

using platen::KernelTable;
using platen_test::Random;

constexpr std::uint16_t kPort = 0x3F8;

void Out(std::uint16_t port, std::uint8_t value) {
    asm volatile("outb %0, %1" : : "a"(value), "Nd"(port));
}

std::uint8_t In(std::uint16_t port) {
    std::uint8_t value = 0;
    asm volatile("inb %1, %0" : "=a"(value) : "Nd"(port));
    return value;
}

void Print(const char* text) {
    for (; *text != '\0'; ++text) {
        while ((In(kPort + 5) & 0x20) == 0) {  // the last byte is still on its way
        }
        Out(kPort, static_cast<std::uint8_t>(*text));
    }
}

void Print(std::uint64_t number) {
    char digits[24];
    char* first = digits + sizeof digits - 1;
    *first = '\0';
    do {
        *--first = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    Print(first);
}

// Compared lines of one kernel and those that differed, of the best variant.
struct Tally {
    const char* kernel;
    std::uint64_t lines = 0;
    std::uint64_t different = 0;

    void Compare(const void* expected, const void* got, std::size_t size) {
        ++lines;
        different += memcmp(expected, got, size) != 0 ? 1u : 0u;
    }
    ~Tally() {
        Print(kernel);
        Print(": ");
        Print(lines);
        Print(" lines, ");
        Print(different);
        Print(" differ\n");
    }
};

constexpr std::size_t kMost = 8192;
alignas(64) std::uint8_t first[kMost], second[kMost], third[kMost];
alignas(64) std::uint8_t expected[8 * kMost], got[8 * kMost];  // a line of doubles, or a small page
alignas(64) std::uint32_t lineA[kMost], lineB[kMost];
alignas(64) double accumulator[kMost];

void Fill(Random& random, std::uint8_t* bytes, std::size_t count) {
    const bool extreme = random.OneIn(3);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = !extreme ? random.Byte() : random.OneIn(2) ? 255 : 0;
    }
}

void FillNumbers(Random& random, std::uint32_t* line, std::size_t count, std::uint32_t largest) {
    const bool anything = random.OneIn(8);
    for (std::size_t i = 0; i < count; ++i) {
        line[i] = static_cast<std::uint32_t>(anything ? random.Next() : random.Next() % (largest + 1u));
    }
}

void CheckSharpness(const KernelTable& variant) {
    Tally tally{"sharpness"};
    Random random(1);
    for (std::size_t width = 3; width < 700; width += width < 150 ? 1 : 37) {
        for (const auto& kernel : sfilterParamTable) {
            for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
                const std::size_t bytes = width * samples;
                Fill(random, first, bytes);
                Fill(random, second, bytes);
                Fill(random, third, bytes);
                const platen::SharpRowArgs row{first, second, third, kernel, width, samples, random.OneIn(4)};
                platen::SharpRow_reference(expected, row);
                variant.sharpRow(got, row);
                tally.Compare(expected, got, bytes);
            }
        }
    }
}

// Ring and finished line one after the other, all compared.
void CheckSharpnessPut(const KernelTable& variant) {
    Tally tally{"sharpness put"};
    Random random(6);
    for (std::size_t width = 3; width < 400; width += width < 150 ? 1 : 37) {
        for (const auto& kernel : sfilterParamTable) {
            for (const std::size_t samples : {std::size_t{1}, std::size_t{3}}) {
                const std::size_t bytes = width * samples + static_cast<std::size_t>(random.Between(0, 70));
                const auto at = static_cast<std::size_t>(random.Between(0, 63));
                const auto put = [&](std::uint8_t* all, platen::SharpPutFn function) {
                    memcpy(all, first, bytes);
                    memcpy(all + bytes, second, bytes);
                    memcpy(all + 2 * bytes, third, bytes);
                    memset(all + 3 * bytes, 0xA5, bytes + at);
                    function(all + 3 * bytes + at,
                             {all, all + bytes, all + 2 * bytes, expected, bytes, kernel, width, samples});
                };
                Fill(random, first, bytes);
                Fill(random, second, bytes);
                Fill(random, third, bytes);
                Fill(random, expected, bytes);
                std::uint8_t* wanted = expected + kMost;
                put(wanted, platen::SharpPut_reference);
                put(got, variant.sharpPut);
                tally.Compare(wanted, got, 4 * bytes + at);
            }
        }
    }
}

void CheckHsv(const KernelTable& variant) {
    Tally tally{"hsv"};
    Random random(2);
    std::uint8_t lightness[256];
    for (int round = 0; round < 900; ++round) {
        const auto hue = random.OneIn(3) ? 0 : static_cast<std::int32_t>(random.Between(-180, 180));
        const auto saturation = random.OneIn(3) ? 0 : static_cast<std::int32_t>(random.Between(-100, 100));
        const bool identity = random.OneIn(2);
        for (int i = 0; i < 256; ++i) {
            lightness[i] = identity ? static_cast<std::uint8_t>(i) : random.Byte();
        }
        const auto width = static_cast<std::size_t>(random.Between(0, 600));
        Fill(random, expected, 3 * width);
        memcpy(got, expected, 3 * width);
        platen::HsvRow_reference(expected, width, hue, saturation, lightness);
        variant.hsvRow(got, width, hue, saturation, lightness);
        tally.Compare(expected, got, 3 * width);
    }
}

// Every vertical pass on one random line.
void CheckVertical(const KernelTable& variant) {
    Tally tally{"vertical passes"};
    Random random(3);
    const platen::VertKernels& fast = *variant.vert;
    const platen::VertKernels& reference = platen::kVert_reference;
    for (int round = 0; round < 600; ++round) {
        const auto count = static_cast<std::size_t>(random.Between(1, 400));
        const bool wide = random.OneIn(2);
        const std::uint32_t largest = wide ? 65535 : 255;
        const auto sum = static_cast<std::int32_t>(random.Between(1, 65535) >> random.Between(0, 12)) | 1;
        const auto part = static_cast<std::int32_t>(random.Between(0, sum));
        const platen::VertWeights weights{part, sum - part, sum};
        FillNumbers(random, lineA, count, largest);
        FillNumbers(random, lineB, count, largest);
        const auto compare = [&](auto apply, std::size_t size) {
            memset(expected, 0, count * 8);
            memset(got, 0, count * 8);
            apply(reference, expected);
            apply(fast, got);
            tally.Compare(expected, got, count * size);
        };
        compare([&](auto& k, void* out) { k.setU32(static_cast<std::uint32_t*>(out), lineA, part, count); }, 4);
        compare(
            [&](auto& k, void* out) {
                memcpy(out, lineB, count * 4);
                k.addU32(static_cast<std::uint32_t*>(out), lineA, part, count);
            },
            4);
        compare([&](auto& k, void* out) { k.setF64(static_cast<double*>(out), lineA, part, count); }, 8);
        compare([&](auto& k, void* out) { k.addF64(static_cast<double*>(out), lineA, part, count); }, 8);
        reference.setF64(accumulator, lineA, part, count);
        compare([&](auto& k, void* out) { k.equalToU8(static_cast<std::uint8_t*>(out), lineA, count); }, 1);
        compare([&](auto& k, void* out) { k.equalToU16(static_cast<std::uint16_t*>(out), lineA, count); }, 2);
        compare(
            [&](auto& k, void* out) { k.reduceMultiplesToU8(static_cast<std::uint8_t*>(out), lineA, sum, count); },
            1);
        compare([&](auto& k,
                    void* out) { k.reduceMultiplesToU16(static_cast<std::uint16_t*>(out), lineA, sum, count); },
                2);
        compare([&](auto& k, void* out) { k.reduceU32ToU8(static_cast<std::uint8_t*>(out), lineA, sum, count); },
                1);
        compare([&](auto& k, void* out) { k.reduceU32ToU16(static_cast<std::uint16_t*>(out), lineA, sum, count); },
                2);
        compare(
            [&](auto& k, void* out) { k.reduceF64ToU8(static_cast<std::uint8_t*>(out), accumulator, sum, count); },
            1);
        compare([&](auto& k,
                    void* out) { k.reduceF64ToU16(static_cast<std::uint16_t*>(out), accumulator, sum, count); },
                2);
        compare([&](auto& k,
                    void* out) { k.expandU32ToU8(static_cast<std::uint8_t*>(out), lineA, lineB, weights, count); },
                1);
        compare(
            [&](auto& k, void* out) {
                k.expandU32ToU16(static_cast<std::uint16_t*>(out), lineA, lineB, weights, count);
            },
            2);
        compare([&](auto& k,
                    void* out) { k.expandF64ToU8(static_cast<std::uint8_t*>(out), lineA, lineB, weights, count); },
                1);
        compare(
            [&](auto& k, void* out) {
                k.expandF64ToU16(static_cast<std::uint16_t*>(out), lineA, lineB, weights, count);
            },
            2);
    }
}

void CheckBilevel(const KernelTable& variant) {
    Tally tally{"bilevel lines"};
    Random random(4);
    for (std::int32_t width = 0; width < 1200; width += width < 300 ? 1 : 97) {
        const auto pixels = static_cast<std::size_t>(width);
        Fill(random, first, pixels);
        platen::UnpackBits_reference(expected, first, width);
        variant.unpackBits(got, first, width);
        tally.Compare(expected, got, pixels);
        platen::PackBits_reference(expected, first, width);
        variant.packBits(got, first, width);
        tally.Compare(expected, got, (pixels + 7) / 8);
    }
}

// A random page through the scaler; the destination lines one after the other.
std::size_t Scale(const KernelTable& variant, const int (&sizes)[4], int format, std::uint8_t* out) {
    platen::UseKernels(variant);
    heapUsed = 0;
    std::size_t written = 0;
    PX_ZoomBilinear zoom;
    if (zoom.Open(sizes[0], sizes[1], sizes[2], sizes[3], format, 2) != 0) {
        return 0;
    }
    const auto lineBytes = (static_cast<std::size_t>(sizes[0]) * static_cast<std::size_t>(format) + 7) / 8;
    Random content(static_cast<std::uint64_t>(sizes[0]) * 1000 + static_cast<std::uint64_t>(format));
    for (int y = 0; y < sizes[3]; ++y) {
        Fill(content, first, kMost);
        zoom.Send(first);
        while (zoom.CheckData() != 0) {
            zoom.Read(out + written);
            written += lineBytes;
        }
    }
    return written;
}

void CheckScaler(const KernelTable& variant) {
    static constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
    Tally tally{"scaled pages"};
    Random random(5);
    for (int round = 0; round < 420; ++round) {
        const int format = kFormats[round % 7];
        int sizes[4];
        for (int& size : sizes) {
            size = static_cast<int>(random.OneIn(4) ? random.Between(1, 20) : random.Between(1, 180));
        }
        sizes[1] = 1 + sizes[1] / 8;
        sizes[3] = 1 + sizes[3] / 8;
        const std::size_t bytes = Scale(*platen::AvailableKernels().front(), sizes, format, expected);
        Scale(variant, sizes, format, got);
        tally.Compare(expected, got, bytes);
    }
}

// The horizontal pass by a plan, wherever the kernel has one: made for the first line, and used for the second.
// Every fifth ratio is a whole number.
void CheckPlans(const KernelTable& variant) {
    static constexpr std::int32_t kSamples[] = {1, 1, 3, 4};
    alignas(64) static std::uint8_t memory[1u << 17];
    static PX_Zoom2_Param columns[2000];
    Tally tally{"planned lines"};
    Random random(6);
    PX_ZoomBilinear tables;
    for (int round = 0; round < 400; ++round) {
        const auto src = static_cast<std::int32_t>(random.Between(2, round % 2 == 0 ? 900 : 100));
        const auto dst = round % 5 == 0 ? src / static_cast<std::int32_t>(random.Between(1, 6)) + 1
                                        : static_cast<std::int32_t>(random.Between((src + 7) / 8, 2 * src));
        const platen::HorzPass pass{columns, dst, round % 5 == 0 ? src / dst * dst : src, kSamples[round % 4],
                                    1 + round / 4 % 2};
        if (dst < pass.srcWidth) {
            tables.Calc_ReducedParam(columns, dst, pass.srcWidth);
        } else {
            tables.Calc_ExpandParam(columns, dst, pass.srcWidth);
        }
        memset(memory, 0, sizeof memory);
        for (int line = 0; line < 2; ++line) {
            Fill(random, first, static_cast<std::size_t>(pass.srcWidth * pass.samples * pass.sampleBytes));
            platen::HorzPlan plan;
            if (!platen::FindPlan(plan, pass, {memory, sizeof memory}, variant.horz->kinds)) {
                continue;
            }
            variant.horz->follow({lineA, nullptr, 0, false}, first, pass, plan);
            if (pass.sampleBytes == 1) {
                platen::reference::ExpandHorz<std::uint32_t>(lineB, first, pass);
            } else {
                platen::reference::ExpandHorz<std::uint32_t>(lineB, reinterpret_cast<std::uint16_t*>(first), pass);
            }
            tally.Compare(lineB, lineA, static_cast<std::size_t>(dst * pass.samples) * sizeof *lineA);
        }
    }
}

}  // namespace

void Check() {
    Out(kPort + 3, 3);  // eight bits
    const auto variants = platen::AvailableKernels();
    const KernelTable& best = *variants.back();
    Print("variant ");
    Print(best.name);
    Print("\n");
    CheckSharpness(best);
    CheckSharpnessPut(best);
    CheckHsv(best);
    CheckVertical(best);
    CheckBilevel(best);
    CheckPlans(best);
    CheckScaler(best);
    Print("end\n  ");
}
