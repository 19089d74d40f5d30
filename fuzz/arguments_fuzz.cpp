#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "Producer.h"
#include "programs/base/Error.h"
#include "programs/io/OutputName.h"
#include "programs/page/AutoNumbers.h"
#include "programs/page/CurvePlot.h"
#include "programs/page/PageCounts.h"
#include "programs/page/PagePlan.h"

// Command lines. The first bytes describe a page; the rest is the arguments, one a line. An Error is a right
// answer. Settings that come out must lie within what the library takes, which the plan then relies on. Automatic
// ones find their numbers on a page of the input's own bytes.

namespace {

using namespace platen_tool;

ImageInfo TakePage(platen_fuzz::Producer& producer) {
    static constexpr int kBits[] = {1, 8, 16};
    ImageInfo info;
    info.width = static_cast<std::uint32_t>(producer.Between(1, 5000));
    info.height = static_cast<std::uint32_t>(producer.Between(0, 5000));
    info.bitsPerSample = kBits[producer.Between(0, 2)];
    info.samplesPerPixel = info.bitsPerSample == 1 ? 1 : static_cast<int>(producer.Between(1, 4));
    if (producer.Flip()) {
        const auto x = static_cast<std::uint64_t>(producer.Between(1, 100000));
        const auto y = static_cast<std::uint64_t>(producer.Between(1, 100000));
        info.resolution = Resolution{{x, 1}, {x, y}};
    }
    return info;
}

std::vector<std::string> TakeWords(platen_fuzz::Producer& producer) {
    std::vector<std::string> words(1);
    while (producer.Left() > 0) {
        const char c = static_cast<char>(producer.Take<std::uint8_t>());
        if (c == '\n') {
            words.emplace_back();
        } else if (c != '\0') {  // no argument can hold one
            words.back() += c;
        }
    }
    return words;
}

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void CheckPlan(const PagePlan& plan, const Settings& settings) {
    const ImageInfo& out = plan.output;
    const bool whole = plan.input.height != 0;  // sides that follow from an unknown height are 0
    Require((out.width >= 1 || !whole) && out.samplesPerPixel >= 1 && out.samplesPerPixel <= 4);
    Require(out.bitsPerSample == 1 || out.bitsPerSample == 8 || out.bitsPerSample == 16);
    Require(!settings.size.Any() || (out.width <= settings.read.limits.maxSide && (out.height >= 1 || !whole)));
    Require(!out.resolution || (std::isfinite(out.resolution->x.Value()) && out.resolution->x.Value() >= 0.0));
    Require(ExpectedMemory(plan) > 0);
}

// The numbers are such as might have been typed.
Settings FindAutomatic(const Settings& settings, const std::uint8_t* data, std::size_t size) {
    constexpr std::uint32_t kSide = 12;
    ImageInfo small;
    small.width = kSide;
    small.height = kSide;
    small.samplesPerPixel = size % 2 == 0 ? 1 : 3;
    PageCounts counts(small, settings.automatic.margin);
    std::vector<std::uint8_t> line(small.LineBytes());
    std::size_t at = 0;
    for (std::uint32_t y = 0; y < kSide; ++y) {
        for (std::uint8_t& sample : line) {
            sample = data[at++ * 5 % size];
        }
        counts.Take(line.data());
    }
    const AutoNumbers numbers = FindNumbers(settings, counts);
    std::vector<std::string> typed = NumberOptions(numbers);
    typed.insert(typed.end(), {"in.png", "-o", "out.png"});
    MakeSettings(ParseArguments(kAdjust, typed), {false, false});
    return WithNumbers(settings, numbers);
}

void Try(const std::vector<std::string>& words, const ImageInfo& page, const std::uint8_t* data, std::size_t size) {
    const Settings settings = MakeSettings(ParseArguments(kAdjust, words), {false, false});
    CheckOutputName(OutputName(settings.output), settings.inputs);
    if (settings.plot) {
        const std::string svg = CurveSvg(FoldToneSteps(settings.tone, 24), settings.tone);
        Require(svg.ends_with("</svg>\n"));
    }
    CheckPlan(PlanPage(settings, page), settings);
    const Settings found = FindAutomatic(settings, data, size);
    CheckPlan(PlanPage(found, page), found);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    platen_fuzz::Producer producer(data, size);
    const ImageInfo page = TakePage(producer);
    try {
        Try(TakeWords(producer), page, data, size);
    } catch (const Error& error) {
        Require(error.what()[0] != '\0');
    }
    return 0;
}
