// Runs colours through the HSV row of every variant that this processor has, through ApplyOneLineHsv, and through
// an oracle, and compares every byte.
//
//   hsv_all_colours HUE SATURATION LIGHTNESS [...]     all 2^24 colours for each setting given
//   hsv_all_colours --settings N [--stride S]          N settings spread over the ranges; S > 1 takes every S-th
//                                                      plane of equal red, in turn with the settings' numbers
//   hsv_all_colours --every-hue | --every-saturation   all 360 of the one, or all 200 of the other, alone
//   hsv_all_colours --part K/N ...                     of the settings the K-th, the K+N-th and so on, K from 1
//   hsv_all_colours --variant NAME ...                 that variant only
//
// Work is shared out to as many threads as there are processors. Exit: 0 equal, 1 different, 2 wrong arguments.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#if !defined(__wasm__)
#include <thread>
#endif
#include <vector>

#include "LineFilters/Hsv.h"
#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Kernels.h"
#include "tests/oracles/HsvOracle.h"
#include "tests/support/Random.h"

namespace {

constexpr int kPlanePixels = 256 * 256;

struct Setting {
    int hue;
    int saturation;
    int lightness;
};

struct Options {
    std::vector<Setting> settings;
    std::size_t part = 1;
    std::size_t parts = 1;
    int stride = 1;
    std::vector<const platen::KernelTable*> variants;
};

// The ends, the steps at the sectors' borders and the middle first, then whatever comes.
Setting SettingNumber(int number) {
    static constexpr Setting kFirst[] = {
        {0, 100, 0},  {0, -100, 0}, {0, 1, 0},     {0, -1, 0},    {0, 50, 0},   {0, -50, 0},   {1, 0, 0},
        {-1, 0, 0},   {59, 0, 0},   {60, 0, 0},    {-60, 0, 0},   {61, 0, 0},   {120, 0, 0},   {-120, 0, 0},
        {180, 0, 0},  {-180, 0, 0}, {0, 0, 100},   {0, 0, -100},  {0, 0, 1},    {30, 20, -10}, {180, 100, 100},
        {-7, -33, 5}, {90, 10, 0},  {-179, 99, 0}, {179, -99, 0}, {0, 33, -50}, {45, 0, 40},
    };
    if (static_cast<std::size_t>(number) < std::size(kFirst)) {
        return kFirst[number];
    }
    platen_test::Random random(static_cast<std::uint64_t>(number));
    const auto hue = random.OneIn(4) ? 0 : random.Between(-180, 180);
    const auto saturation = random.OneIn(4) ? 0 : random.Between(-100, 100);
    const auto lightness = hue == 0 && saturation == 0 ? random.Between(1, 100) : random.Between(-100, 100);
    return {static_cast<int>(hue), static_cast<int>(saturation), static_cast<int>(lightness)};
}

// Every colour of one red, green slowest.
void FillPlane(int red, std::vector<std::uint8_t>& line) {
    std::uint8_t* byte = line.data();
    for (int greenBlue = 0; greenBlue < kPlanePixels; ++greenBlue) {
        *byte++ = static_cast<std::uint8_t>(red);
        *byte++ = static_cast<std::uint8_t>(greenBlue >> 8);
        *byte++ = static_cast<std::uint8_t>(greenBlue);
    }
}

struct Job {
    Setting setting;
    void* handle;
    std::vector<const platen::KernelTable*> variants;
    std::uint8_t lightness[256];
    platen_test::HsvOracle oracle;
};

// Differing pixels of a plane; the first of all threads is printed.
std::uint64_t CountDifferences(const char* variant, const std::vector<std::uint8_t>& source,
                               const std::vector<std::uint8_t>& expected, const std::vector<std::uint8_t>& line,
                               std::atomic<bool>& printed) {
    if (line == expected) {
        return 0;
    }
    std::uint64_t different = 0;
    for (std::size_t i = 0; i < source.size(); i += 3) {
        if (std::memcmp(&expected[i], &line[i], 3) != 0) {
            ++different;
            if (!printed.exchange(true)) {
                std::printf("  %s: (%d, %d, %d) gives (%d, %d, %d), expected (%d, %d, %d)\n", variant, source[i],
                            source[i + 1], source[i + 2], line[i], line[i + 1], line[i + 2], expected[i],
                            expected[i + 1], expected[i + 2]);
            }
        }
    }
    return different;
}

std::uint64_t ComparePlane(const Job& job, int red, std::atomic<bool>& printed) {
    std::vector<std::uint8_t> source(3 * kPlanePixels);
    FillPlane(red, source);
    std::vector<std::uint8_t> expected = source;
    for (std::size_t i = 0; i < source.size(); i += 3) {
        job.oracle.Apply(&source[i], &expected[i]);
    }
    std::vector<std::uint8_t> line = source;
    if (ApplyOneLineHsv(job.handle, line.data()) != 0) {
        return kPlanePixels;
    }
    std::uint64_t different = CountDifferences("ApplyOneLineHsv", source, expected, line, printed);
    for (const platen::KernelTable* variant : job.variants) {
        std::memcpy(line.data(), source.data(), source.size());
        variant->hsvRow(line.data(), kPlanePixels, job.setting.hue, job.setting.saturation, job.lightness);
        different += CountDifferences(variant->name, source, expected, line, printed);
    }
    return different;
}

std::uint64_t CompareAll(const Job& job, int stride, int firstPlane) {
    std::atomic<int> next{firstPlane % stride};
    std::atomic<std::size_t> different{0};  // of 64 bits, it would need a library on some processors
    std::atomic<bool> printed{false};
    const auto work = [&] {
        for (int red = next.fetch_add(stride); red < 256; red = next.fetch_add(stride)) {
            different += static_cast<std::size_t>(ComparePlane(job, red, printed));
        }
    };
#if defined(__wasm__)
    work();
#else
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) {
        threads.emplace_back(work);
    }
    work();
    for (std::thread& thread : threads) {
        thread.join();
    }
#endif
    return different;
}

bool RunSetting(const Setting& setting, const Options& options, int number) {
    _SHsvParam param{setting.hue, setting.saturation, setting.lightness, 24, kPlanePixels, 1, 3 * kPlanePixels};
    void* handle = nullptr;
    if (SetupHsv(&param, &handle) != 0) {
        std::printf("%d %d %d: refused\n", setting.hue, setting.saturation, setting.lightness);
        return false;
    }
    Job job{setting,
            handle,
            options.variants,
            {},
            platen_test::HsvOracle(setting.hue, setting.saturation, setting.lightness)};
    for (int i = 0; i < 256; ++i) {
        job.lightness[i] = static_cast<std::uint8_t>(gStorage[i]);
    }
    const auto begin = std::chrono::steady_clock::now();
    const std::uint64_t different = CompareAll(job, options.stride, number);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    Disposehsv(handle);
    std::printf("%4d %4d %4d: %llu differences (%.2f s)\n", setting.hue, setting.saturation, setting.lightness,
                static_cast<unsigned long long>(different), seconds.count());
    return different == 0;
}

bool ParseNumber(const char* text, int& number) {
    char* end = nullptr;
    number = static_cast<int>(std::strtol(text, &end, 10));
    return end != text && *end == '\0';
}

bool AddVariant(const std::string& name, Options& options) {
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        if (variant->name == name) {
            options.variants.push_back(variant);
            return true;
        }
    }
    return false;
}

bool AddEvery(const std::string& argument, Options& options) {
    const bool hue = argument == "--every-hue";
    if (!hue && argument != "--every-saturation") {
        return false;
    }
    const int most = hue ? 180 : 100;
    for (int value = -most; value <= most; ++value) {
        if (value != 0) {
            options.settings.push_back(hue ? Setting{value, 0, 0} : Setting{0, value, 0});
        }
    }
    return true;
}

bool ParsePart(const char* text, Options& options) {
    char end = 0;
    return std::sscanf(text, "%zu/%zu%c", &options.part, &options.parts, &end) == 2 && options.part >= 1 &&
           options.part <= options.parts;
}

bool ParseOptions(int argc, char** argv, Options& options) {
    int wanted = 0;
    std::vector<int> numbers;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        int number = 0;
        if (argument == "--variant") {
            if (++i == argc || !AddVariant(argv[i], options)) {
                return false;
            }
        } else if (argument == "--settings" || argument == "--stride") {
            if (++i == argc || !ParseNumber(argv[i], number) || number < 1) {
                return false;
            }
            (argument == "--stride" ? options.stride : wanted) = number;
        } else if (argument == "--part") {
            if (++i == argc || !ParsePart(argv[i], options)) {
                return false;
            }
        } else if (AddEvery(argument, options)) {
            continue;
        } else if (ParseNumber(argv[i], number)) {
            numbers.push_back(number);
        } else {
            return false;
        }
    }
    for (std::size_t i = 0; i + 2 < numbers.size(); i += 3) {
        options.settings.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
    }
    for (int i = 0; i < wanted; ++i) {
        options.settings.push_back(SettingNumber(i));
    }
    if (options.variants.empty()) {
        const auto all = platen::AvailableKernels();
        options.variants.assign(all.begin(), all.end());
    }
    return numbers.size() % 3 == 0 && options.stride <= 256 && !options.settings.empty();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: hsv_all_colours [--variant NAME] [--settings N] [--stride S] [--every-hue] "
                     "[--every-saturation] [--part K/N] [HUE SATURATION LIGHTNESS]...\n");
        return 2;
    }
    for (const platen::KernelTable* variant : options.variants) {
        std::printf("%s%s", variant->name, variant == options.variants.back() ? "\n" : ", ");
    }
    bool equal = true;
    std::size_t settings = 0;
    for (std::size_t i = options.part - 1; i < options.settings.size(); i += options.parts) {
        equal = RunSetting(options.settings[i], options, static_cast<int>(i)) && equal;
        std::fflush(stdout);
        ++settings;
    }
    std::printf("%zu settings: %s\n", settings, equal ? "no difference" : "DIFFERENT");
    return equal ? 0 : 1;
}
