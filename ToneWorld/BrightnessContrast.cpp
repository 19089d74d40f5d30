#include "ToneWorld/BrightnessContrast.h"

#include <algorithm>
#include <array>

#include "Sources/Support/Truncate.h"
#include "ToneWorld/Property.h"

namespace {

using platen::Truncate;

constexpr std::uint32_t kType = platen::FourCharacterCode("BrCn");
constexpr std::uint32_t kBrightness = platen::FourCharacterCode("briT");
constexpr std::uint32_t kContrast = platen::FourCharacterCode("conT");

using Mapping = std::array<std::int32_t, 256>;

// An amount in table steps: 100 is 127, -100 is -127.
std::int32_t Steps(std::int32_t amount) {
    return Truncate<std::int32_t>(amount * 1.27);
}

Mapping BrightnessMapping(std::int32_t brightness) {
    const std::int32_t shift = Steps(brightness);
    Mapping mapping;
    for (std::int32_t i = 0; i < 256; ++i) {
        mapping[static_cast<std::size_t>(i)] = std::clamp(i + shift, 0, 255);
    }
    return mapping;
}

// What lies from k to 255 - k spread over the whole range.
Mapping SpreadMapping(std::int32_t k) {
    const double scale = 255.0 / (255.0 - 2 * k);
    Mapping mapping;
    for (std::int32_t i = 0; i < 256; ++i) {
        mapping[static_cast<std::size_t>(i)] = std::clamp(Truncate<std::int32_t>((i - k) * scale), 0, 255);
    }
    return mapping;
}

// The other way: every result lies from k to 255 - k.
Mapping SqueezeMapping(std::int32_t k) {
    const double scale = (255.0 - 2 * k) / 255.0;
    Mapping mapping;
    for (std::int32_t i = 0; i < 256; ++i) {
        mapping[static_cast<std::size_t>(i)] = Truncate<std::int32_t>(i * scale + k);
    }
    return mapping;
}

bool InRange(std::int32_t amount) {
    return amount >= -100 && amount <= 100;
}

}  // namespace

std::int32_t SetupBrightnessContrastOperation(_SToneOperation* op) {
    const std::int32_t status = platen::BeginSetup(op, kType, ApplyBrightnessContrast);
    if (status != platen::kToneDone) {
        return status;
    }
    platen::AddDefault(op, kBrightness, std::int32_t{0});
    platen::AddDefault(op, kContrast, std::int32_t{0});
    return platen::kToneDone;
}

std::int32_t ApplyBrightnessContrast(_SToneOperation* op, _SToneCurve* curve) {
    const auto brightness = platen::PropertyOr(op, kBrightness, std::int32_t{0});
    const auto contrast = platen::PropertyOr(op, kContrast, std::int32_t{0});
    if (!InRange(brightness) || !InRange(contrast)) {
        return platen::kToneOutOfRange;
    }
    if (brightness != 0) {
        platen::MapTables(curve, BrightnessMapping(brightness));
    }
    if (curve->depth != 24 && curve->depth != 8) {
        return platen::kToneDone;
    }
    if (contrast > 0) {
        platen::MapTables(curve, SpreadMapping(Steps(contrast)));
    } else if (contrast < 0) {
        platen::MapTables(curve, SqueezeMapping(Steps(-contrast)));
    }
    return platen::kToneDone;
}
