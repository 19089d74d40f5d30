#pragma once

#include <concepts>
#include <limits>

// The results are those of plain IEEE arithmetic: every operation rounded once, to its own type, in the order
// written.
#if defined(__FAST_MATH__) || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || \
    (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__ != 0)
#error "platen: -ffast-math and its parts change results"
#endif
#if !defined(__FLT_EVAL_METHOD__) || __FLT_EVAL_METHOD__ != 0
#error "platen: float and double must be computed in their own precision; on 32-bit x86: -msse2 -mfpmath=sse"
#endif

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
