#pragma once

#include <concepts>
#include <limits>

namespace platen {

// Truncates toward zero, saturates at the ends of Integer, and gives 0 for a value that is not a number: the
// one way by which a double becomes an integer here. A bare cast is undefined outside the target's range, and
// processors disagree about it.
//
// The limits are compared as doubles: max + 1 is a power of two and therefore exact for every width, while max
// itself is not for 64 bits.
template <std::integral Integer>
constexpr Integer Truncate(double value) noexcept {
    using Limits = std::numeric_limits<Integer>;
    constexpr double kLowest = static_cast<double>(Limits::min());
    constexpr double kBeyond =
        2.0 * static_cast<double>(Limits::max() / 2 + 1);  // NOLINT(bugprone-integer-division)
    if (value >= kBeyond) {
        return Limits::max();
    }
    if (value <= kLowest - 1.0) {
        return Limits::min();
    }
    // What is left converts exactly, but for a value that is not a number: it fails this comparison too.
    return value == value ? static_cast<Integer>(value) : Integer{0};
}

}  // namespace platen
