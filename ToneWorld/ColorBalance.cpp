#include "ToneWorld/ColorBalance.h"

#include <algorithm>
#include <array>

#include "Sources/Support/Truncate.h"
#include "ToneWorld/Property.h"
#include "ToneWorld/Spline.h"

namespace {

using platen::FourCharacterCode;

constexpr std::uint32_t kType = FourCharacterCode("CoBa");
constexpr std::uint32_t kHostFlag = FourCharacterCode("cbsT");

enum Range { kShadows, kMidtones, kHighlights };

// The amounts of one range: red, green, blue.
using Amounts = std::array<std::int32_t, 3>;

constexpr std::array<std::array<std::uint32_t, 3>, 3> kAmountKeys = {{
    {FourCharacterCode("cbsR"), FourCharacterCode("cbsG"), FourCharacterCode("cbsB")},
    {FourCharacterCode("cbmR"), FourCharacterCode("cbmG"), FourCharacterCode("cbmB")},
    {FourCharacterCode("cbhR"), FourCharacterCode("cbhG"), FourCharacterCode("cbhB")},
}};

bool InRange(std::int32_t amount) {
    return amount >= -100 && amount <= 100;
}

bool AllInRange(const Amounts& amounts) {
    return std::all_of(amounts.begin(), amounts.end(), InRange);
}

// How far the middle of a channel moves. Darkening the shadows and brightening the highlights act at full strength,
// the opposite directions at a third.
double Shift(Range range, std::int32_t amount) {
    const double steps = platen::Truncate<std::int32_t>(amount * 1.27);
    const double third = steps / 3.0;
    if (range == kShadows) {
        return std::min(steps, third);
    }
    if (range == kMidtones) {
        return third + third;
    }
    return std::max(steps, third);
}

// Without a shift the knots lie on the line y = x: both slopes are 1 and all second derivatives 0, without
// rounding, so every entry is its own index and the table stays.
void MapThroughSpline(std::uint8_t* table, double shift) {
    if (shift == 0.0) {
        return;
    }
    const float middle = static_cast<float>(shift) + 127.0f;
    std::array<double, 3> x = {0.0, 127.0, 255.0};
    std::array<double, 3> y = {0.0, static_cast<double>(middle), 255.0};
    std::array<double, 3> z;
    std::array<unsigned long, 256> mapping;
    splineCreation(x.data(), y.data(), z.data(), 3, mapping.data());
    platen::MapTable(table, mapping);
}

}  // namespace

std::int32_t SetupColorBalanceOperation(_SToneOperation* op) {
    const std::int32_t status = platen::BeginSetup(op, kType, ApplyColorBalance);
    if (status != platen::kToneDone) {
        return status;
    }
    for (const auto& keys : kAmountKeys) {
        for (const std::uint32_t key : keys) {
            platen::AddDefault(op, key, std::int32_t{0});
        }
    }
    platen::AddDefault(op, kHostFlag, std::int32_t{0});
    return platen::kToneDone;
}

std::int32_t ApplyColorBalance(_SToneOperation* op, _SToneCurve* curve) {
    std::array<Amounts, 3> amounts;
    for (std::size_t range = 0; range < 3; ++range) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            amounts[range][channel] = platen::PropertyOr(op, kAmountKeys[range][channel], std::int32_t{0});
        }
    }
    if (curve->depth != 24) {
        return platen::kToneDone;
    }
    if (!std::all_of(amounts.begin(), amounts.end(), AllInRange)) {
        return platen::kToneOutOfRange;
    }
    for (const Range range : {kShadows, kMidtones, kHighlights}) {
        MapThroughSpline(curve->redTable, Shift(range, amounts[range][0]));
        MapThroughSpline(curve->greenTable, Shift(range, amounts[range][1]));
        MapThroughSpline(curve->blueTable, Shift(range, amounts[range][2]));
    }
    return platen::kToneDone;
}
