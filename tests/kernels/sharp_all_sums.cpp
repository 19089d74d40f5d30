// Runs every sum that a 3x3 kernel can have through the sharpness row of every variant that this processor has and
// compares with the sum's own quotient.
//
//   sharp_all_sums            the five kernels of the table
//   sharp_all_sums --all      those at every place in a vector, and every other cross that may have a path
//                             of its own
//
// The sums are all pairs of a centre (0 to 255) and what lies around it: a cross' arms (0 to 1020) or the box's
// eight (0 to 2040); with and without a row above; and all pairs at the left and right edge. The reference is held
// against the pairs, the variants against the reference in every byte, alone and by the public calls. Exit: 0
// equal, 1 different, 2 wrong arguments.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "LineFilters/SharpContext.h"
#include "LineFilters/SharpRow.h"
#include "LineFilters/Sharpness.h"
#include "Sources/Dispatch/Kernels.h"

namespace {

constexpr std::size_t kSlots = 1000;  // neighbourhoods in a row, 3 pixels each

struct Kernel {
    std::int32_t words[10];

    bool Box() const {
        return words[0] != 0;
    }
    int Most() const {
        return Box() ? 2040 : 1020;
    }
    // |S / divisor|, at most 255, for a centre and the sum of what counts around it.
    std::uint8_t Result(int around, int centre) const {
        const std::int64_t sum = std::int64_t{words[1]} * around + std::int64_t{words[4]} * centre;
        return static_cast<std::uint8_t>(std::min<std::int64_t>(std::llabs(sum / words[9]), 255));
    }
};

struct Totals {
    std::uint64_t sums = 0;
    std::uint64_t different = 0;
};

// Three rows, zero unless written.
struct Rows {
    std::size_t width;
    std::vector<std::uint8_t> top, middle, bottom, out;

    explicit Rows(std::size_t pixels) : width(pixels), top(pixels), middle(pixels), bottom(pixels), out(pixels) {}
    platen::SharpRowArgs Args(const Kernel& kernel, bool topEdge) const {
        return {topEdge ? nullptr : top.data(), middle.data(), bottom.data(), kernel.words, width, 1, topEdge};
    }
};

// `count` samples that add up to `sum`: as equal as can be, or the first ones full.
void Share(int sum, int count, bool even, std::uint8_t* const* to) {
    for (int i = 0; i < count; ++i) {
        const int part = even ? sum / (count - i) : std::min(sum, 255);
        *to[i] = static_cast<std::uint8_t>(part);
        sum -= part;
    }
}

// The neighbourhood of pixel x, such that what lies around counts `around`. Without a row above, the row below
// counts twice.
void Fill(Rows& rows, std::size_t x, const Kernel& kernel, int around, int centre, bool topEdge, bool even) {
    std::uint8_t* const t = &rows.top[x];
    std::uint8_t* const m = &rows.middle[x];
    std::uint8_t* const b = &rows.bottom[x];
    *m = static_cast<std::uint8_t>(centre);
    if (!topEdge) {
        std::uint8_t* const box[] = {t - 1, t, t + 1, m - 1, m + 1, b - 1, b, b + 1};
        std::uint8_t* const arms[] = {t, m - 1, m + 1, b};
        Share(around, kernel.Box() ? 8 : 4, even, kernel.Box() ? box : arms);
        return;
    }
    const int below = kernel.Box() ? 3 : 1;
    const int least = std::max(0, (around - 510 + 1) / 2);  // the two at the sides hold 510
    const int twice = even ? std::max(least, around * below / (2 * below + 2)) : least;
    std::uint8_t* const under[] = {kernel.Box() ? b - 1 : b, b, b + 1};
    Share(twice, below, even, under);
    std::uint8_t* const sides[] = {m - 1, m + 1};
    Share(around - 2 * twice, 2, even, sides);
}

void CompareVariants(Rows& rows, const Kernel& kernel, bool topEdge, const std::vector<std::uint8_t>& expected,
                     Totals& totals) {
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        variant->sharpRow(rows.out.data(), rows.Args(kernel, topEdge));
        if (rows.out != expected) {
            std::printf("%s differs from the reference\n", variant->name);
            ++totals.different;
        }
    }
}

// The same line through the public calls.
void CompareStream(Rows& rows, const Kernel& kernel, bool topEdge, const std::vector<std::uint8_t>& expected,
                   Totals& totals) {
    _SSharpParam param{1, 8, static_cast<std::uint32_t>(rows.width), 9, static_cast<std::uint32_t>(rows.width)};
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        void* handle = nullptr;
        if (SetupSharp(&param, &handle) != 0) {
            std::printf("the filter wasn't set up\n");
            ++totals.different;
            return;
        }
        std::memcpy(static_cast<platen::SharpContext*>(handle)->kernel, kernel.words, sizeof kernel.words);
        if (!topEdge) {
            ApplySharpFilterPutLine(&handle, rows.top.data());
        }
        ApplySharpFilterPutLine(&handle, rows.middle.data());
        ApplySharpFilterPutLine(&handle, rows.bottom.data());
        ApplySharpFilterGetLine(&handle, rows.out.data());
        DisposeSharpness(handle);
        if (rows.out != expected) {
            std::printf("%s differs from the reference in a stream\n", variant->name);
            ++totals.different;
        }
    }
}

// All pairs in rows of many, the first neighbourhood `shift` pixels from the left.
void Interior(const Kernel& kernel, bool topEdge, bool even, std::size_t shift, Totals& totals) {
    const int pairs = (kernel.Most() + 1) * 256;
    Rows rows(shift + 3 * kSlots);
    std::vector<std::uint8_t> expected(rows.width);
    for (int first = 0; first < pairs; first += static_cast<int>(kSlots)) {
        const int end = std::min(pairs, first + static_cast<int>(kSlots));
        const auto place = [&](int pair) { return shift + 3 * static_cast<std::size_t>(pair - first) + 1; };
        for (int pair = first; pair < end; ++pair) {
            Fill(rows, place(pair), kernel, pair / 256, pair % 256, topEdge, even);
        }
        platen::SharpRow_reference(expected.data(), rows.Args(kernel, topEdge));
        for (int pair = first; pair < end; ++pair) {
            const bool right = expected[place(pair)] == kernel.Result(pair / 256, pair % 256);
            totals.different += right ? 0 : 1;
        }
        totals.sums += static_cast<std::uint64_t>(end - first);
        CompareVariants(rows, kernel, topEdge, expected, totals);
        CompareStream(rows, kernel, topEdge, expected, totals);
    }
}

// Three pixels: at the left edge the first column counts for the missing one, at the right the middle one twice.
// The outer columns are alike; `sides` is what the two rows beside the middle one hold together.
void Edges(const Kernel& kernel, Totals& totals) {
    Rows rows(3);
    std::vector<std::uint8_t> expected(3);
    for (int sides = 0; sides <= 510; ++sides) {
        std::uint8_t* const outer[] = {&rows.top[0], &rows.bottom[0]};
        Share(sides, 2, sides % 2 == 0, outer);
        rows.top[2] = rows.top[0];
        rows.bottom[2] = rows.bottom[0];
        for (int inner = 0; inner <= 255; ++inner) {
            rows.middle[1] = static_cast<std::uint8_t>(inner);
            for (int centre = 0; centre <= 255; ++centre) {
                rows.middle[0] = rows.middle[2] = static_cast<std::uint8_t>(centre);
                platen::SharpRow_reference(expected.data(), rows.Args(kernel, false));
                const int left = kernel.Box() ? 2 * sides + centre + inner : sides + centre + inner;
                const int right = sides + 2 * inner;
                totals.different += expected[0] == kernel.Result(left, centre) ? 0 : 1;
                totals.different += expected[2] == kernel.Result(right, centre) ? 0 : 1;
                totals.sums += 2;
                CompareVariants(rows, kernel, false, expected, totals);
            }
        }
    }
}

Totals Everything(const Kernel& kernel, std::size_t shifts, bool edges) {
    Totals totals;
    for (std::size_t shift = 0; shift < shifts; ++shift) {
        for (const bool topEdge : {false, true}) {
            Interior(kernel, topEdge, shift % 2 == 0, shift, totals);
        }
    }
    if (edges) {
        Edges(kernel, totals);
    }
    return totals;
}

void Add(Totals& to, const Totals& more) {
    to.sums += more.sums;
    to.different += more.different;
}

}  // namespace

int main(int argc, char** argv) {
    const bool all = argc == 2 && std::strcmp(argv[1], "--all") == 0;
    if (argc != (all ? 2 : 1)) {
        std::fprintf(stderr, "usage: sharp_all_sums [--all]\n");
        return 2;
    }
    Totals totals;
    int kernels = 0;
    for (const auto& row : sfilterParamTable) {
        Kernel kernel{};
        std::memcpy(kernel.words, row, sizeof kernel.words);
        Add(totals, Everything(kernel, all ? 64 : 2, all));
        ++kernels;
    }
    for (std::int32_t arm = -3; all && arm <= 3; ++arm) {
        for (std::int32_t centre = -20; centre <= 20; ++centre) {
            for (const std::int32_t divisor : {4, 8}) {
                Add(totals, Everything({{0, arm, 0, arm, centre, arm, 0, arm, 0, divisor}}, 1, false));
                ++kernels;
            }
        }
    }
    std::printf("%d kernels, %llu sums, every variant: %llu differences\n", kernels,
                static_cast<unsigned long long>(totals.sums), static_cast<unsigned long long>(totals.different));
    return totals.different == 0 ? 0 : 1;
}
