#include "programs/io/Ratios.h"

#include <algorithm>
#include <numeric>

namespace platen_tool {

namespace {

constexpr std::uint64_t kFitsProducts = 0xFFFFFFFFu;

// ratio * by / over; both small, so no product of reduced 32-bit numbers overflows.
Ratio Times(const Ratio& ratio, std::uint64_t by, std::uint64_t over) {
    const Ratio small = Reduced(ratio, kFitsProducts);
    const Ratio product{small.numerator * by, small.denominator * over};
    const std::uint64_t divisor = std::gcd(product.numerator, product.denominator);
    return {product.numerator / divisor, product.denominator / divisor};
}

}  // namespace

Ratio Reduced(Ratio ratio, std::uint64_t limit) {
    const std::uint64_t divisor = std::gcd(ratio.numerator, ratio.denominator);
    if (divisor == 0) {
        return {0, 1};
    }
    ratio = {ratio.numerator / divisor, ratio.denominator / divisor};
    if (ratio.numerator <= limit && ratio.denominator <= limit) {
        return ratio;
    }
    // h and k are the convergent's numerator and denominator, h0 and k0 the one before.
    std::uint64_t h0 = 0, h = 1, k0 = 1, k = 0;
    std::uint64_t a = ratio.numerator, b = ratio.denominator;
    while (b != 0) {
        const std::uint64_t q = a / b;
        if ((h != 0 && q > (limit - h0) / h) || (k != 0 && q > (limit - k0) / k)) {
            break;
        }
        const std::uint64_t nextH = q * h + h0, nextK = q * k + k0;
        h0 = h, h = nextH, k0 = k, k = nextK;
        const std::uint64_t rest = a % b;
        a = b, b = rest;
    }
    if (k == 0) {
        return {limit, 1};  // larger than the limit itself
    }
    return {h, k};
}

std::optional<Resolution> ResolutionFrom(Ratio x, Ratio y, LengthUnit unit) {
    if (x.numerator == 0 || x.denominator == 0 || y.numerator == 0 || y.denominator == 0) {
        return std::nullopt;
    }
    switch (unit) {
        case LengthUnit::kInch:
            return Resolution{Times(x, 1, 1), Times(y, 1, 1)};
        case LengthUnit::kCentimetre:  // 1 inch = 127/50 cm
            return Resolution{Times(x, 127, 50), Times(y, 127, 50)};
        case LengthUnit::kMetre:  // 1 inch = 127/5000 m
            return Resolution{Times(x, 127, 5000), Times(y, 127, 5000)};
    }
    return std::nullopt;
}

std::uint64_t Rounded(const Ratio& ratio) {
    if (ratio.denominator == 0) {
        return 0;
    }
    const std::uint64_t half = ratio.denominator / 2;
    const std::uint64_t whole = ratio.numerator / ratio.denominator;
    return whole + (ratio.numerator % ratio.denominator >= ratio.denominator - half ? 1 : 0);
}

std::uint16_t JfifDensity(const Ratio& perInch) {
    return static_cast<std::uint16_t>(std::clamp<std::uint64_t>(Rounded(perInch), 1, 65535));
}

std::uint32_t PixelsPerMetre(const Ratio& perInch) {
    const Ratio perMetre = Times(perInch, 5000, 127);
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(Rounded(perMetre), 1, 2147483647));
}

}  // namespace platen_tool
