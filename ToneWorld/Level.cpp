#include "ToneWorld/Level.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Sources/Support/Truncate.h"
#include "ToneWorld/LevelGamma.h"
#include "ToneWorld/Property.h"

namespace {

using platen::Truncate;

constexpr std::uint32_t kType = platen::FourCharacterCode("LeVe");
constexpr std::uint32_t kInputMin = platen::FourCharacterCode("iMin");
constexpr std::uint32_t kMidTone = platen::FourCharacterCode("iMid");
constexpr std::uint32_t kInputMax = platen::FourCharacterCode("iMax");
constexpr std::uint32_t kOutputMin = platen::FourCharacterCode("oMin");
constexpr std::uint32_t kOutputMax = platen::FourCharacterCode("oMax");

using Mapping = std::array<std::uint32_t, 256>;

struct Settings {
    std::uint32_t inputMin;
    double midTone;
    std::uint32_t inputMax;
    std::uint32_t outputMin;
    std::uint32_t outputMax;

    std::uint32_t InputSpan() const {
        return inputMax - inputMin;
    }
    std::uint32_t OutputSpan() const {
        return outputMax - outputMin;
    }
    bool AreNeutral() const {
        return midTone == 1.0 && InputSpan() == 255 && OutputSpan() == 255;
    }
};

Settings ReadSettings(const _SToneOperation* op) {
    Settings s;
    s.inputMin = platen::PropertyOr(op, kInputMin, std::uint32_t{0});
    s.midTone = platen::PropertyOr(op, kMidTone, 0.0);
    s.inputMax = platen::PropertyOr(op, kInputMax, std::uint32_t{0});
    s.outputMin = platen::PropertyOr(op, kOutputMin, std::uint32_t{0});
    s.outputMax = platen::PropertyOr(op, kOutputMax, std::uint32_t{0});
    return s;
}

// More than 7 apart, so that the low end is at most 247 and the high one above 7.
bool RangeIsValid(std::uint32_t low, std::uint32_t high) {
    return high <= 255 && std::int64_t{high} - low > 7;
}

bool IsValid(const Settings& s) {
    const bool midToneIsValid = s.midTone >= 0.1 && s.midTone <= 9.99;  // not so for a value that is not a number
    return midToneIsValid && RangeIsValid(s.inputMin, s.inputMax) && RangeIsValid(s.outputMin, s.outputMax);
}

// Truncated, and 255 from there on.
std::uint32_t Level(double x) {
    return std::min(Truncate<std::uint32_t>(x), 255u);
}

Mapping LinearInput(const Settings& s) {
    const double scale = 255.0 / s.InputSpan();
    Mapping mapping{};
    for (std::uint32_t i = s.inputMin; i < 256; ++i) {
        mapping[i] = Level((i - s.inputMin) * scale);
    }
    return mapping;
}

Mapping GammaInput(const Settings& s) {
    const double gamma = platen::GammaOfEffectiveMidTone(platen::EffectiveMidTone(s.midTone));
    const double exponent = 1.0 / gamma;
    const double span = s.InputSpan();
    Mapping mapping{};
    for (std::uint32_t i = s.inputMin; i < 256; ++i) {
        mapping[i] = Level(std::pow((i - s.inputMin) / span, exponent) * 255.0);
    }
    return mapping;
}

// A neutral part of the settings has the scale 1.0 and gives the identity.
Mapping InputMapping(const Settings& s) {
    return s.midTone == 1.0 ? LinearInput(s) : GammaInput(s);
}

Mapping OutputMapping(const Settings& s) {
    const double scale = s.OutputSpan() / 255.0;
    Mapping mapping;
    for (std::uint32_t i = 0; i < 256; ++i) {
        mapping[i] = Level(i * scale + s.outputMin);
    }
    return mapping;
}

// How the effective value rises from one whole mid-tone to the next, for hundredths of a mid-tone. KEPT: the rate
// halves from each segment to the next but for the eighth, while the offsets go on as if it did there too, so that
// the curve steps back at 9.
struct Segment {
    double rate;
    double offset;
};
constexpr Segment kSegments[] = {
    {0.0044, 0.0},                   // above 1; adding a zero changes nothing
    {0.0022, 0.44},                  // from 2
    {0.0011, 0.66},                  // from 3
    {0.00055, 0.77},                 // from 4
    {0.000275, 0.77 + 0.055},        // from 5; the sum in double is not the double next to 0.825
    {0.0001375, 0.8525},             // from 6
    {0.00006875, 0.8525 + 0.01375},  // from 7; likewise
    {0.00006875, 0.873125},          // from 8
    {0.000034375, 0.8765625},        // from 9
};

}  // namespace

double platen::EffectiveMidTone(double midTone) {
    if (midTone < 1.0) {
        return midTone;
    }
    const int lower = Truncate<int>(midTone);
    const Segment& segment = kSegments[lower - 1];
    return (((midTone - lower) * 100) * segment.rate + 1.0) + segment.offset;
}

double platen::GammaOfEffectiveMidTone(double effective) {
    return std::tan((effective * 127.0 / 256.0) * 3.141592 / 2.0);  // 3.141592 as it stands, not pi
}

std::int32_t SetupLevelOperation(_SToneOperation* op) {
    const std::int32_t status = platen::BeginSetup(op, kType, ApplyLevel);
    if (status != platen::kToneDone) {
        return status;
    }
    platen::AddDefault(op, kInputMin, std::uint32_t{0});
    platen::AddDefault(op, kMidTone, 0.0);
    platen::AddDefault(op, kInputMax, std::uint32_t{0});
    platen::AddDefault(op, kOutputMin, std::uint32_t{0});
    platen::AddDefault(op, kOutputMax, std::uint32_t{0});
    return platen::kToneDone;
}

std::int32_t ApplyLevel(_SToneOperation* op, _SToneCurve* curve) {
    const Settings settings = ReadSettings(op);
    if (curve->depth != 24 && curve->depth != 8) {
        return platen::kToneDone;
    }
    if (!IsValid(settings)) {
        return platen::kToneOutOfRange;
    }
    if (settings.AreNeutral()) {
        return platen::kToneDone;
    }
    const Mapping input = InputMapping(settings);
    const Mapping output = OutputMapping(settings);
    Mapping mapping;
    for (std::size_t i = 0; i < mapping.size(); ++i) {
        mapping[i] = output[input[i]];
    }
    platen::MapTables(curve, mapping);
    return platen::kToneDone;
}
