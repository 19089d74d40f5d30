#pragma once

#include <cstdint>

#include "Sources/Support/Truncate.h"

// The reference passes' quotients. Not installed.

namespace platen::reference {

inline std::uint32_t Divided(std::uint32_t sum, std::int32_t weightSum) {
    return weightSum != 0 ? sum / static_cast<std::uint32_t>(weightSum) : 0;
}

inline double Divided(double sum, std::int32_t weightSum) {
    return sum / weightSum;
}

// The whole part of a quotient. The horizontal pass stores it, the vertical one its low bits.
inline std::uint32_t WholePart(std::uint32_t quotient) {
    return quotient;
}

inline std::uint32_t WholePart(double quotient) {
    return Truncate<std::uint32_t>(quotient);
}

}  // namespace platen::reference
