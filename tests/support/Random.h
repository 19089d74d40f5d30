#pragma once

#include <cstdint>

namespace platen_test {

// SplitMix64 (Steele, Lea, Flood 2014): the same numbers from the same seed on every platform, which the standard
// library's distributions don't promise.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t Next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    // A whole number between low and high, both included.
    std::int64_t Between(std::int64_t low, std::int64_t high) {
        const auto span = static_cast<std::uint64_t>(high - low) + 1;
        const std::uint64_t raw = Next();
        return low + static_cast<std::int64_t>(span == 0 ? raw : raw % span);
    }

    std::uint8_t Byte() {
        return static_cast<std::uint8_t>(Next() >> 56);
    }

    // True once in `n` times.
    bool OneIn(std::uint64_t n) {
        return Next() % n == 0;
    }

    // At least 0, below 1.
    double Fraction() {
        return static_cast<double>(Next() >> 11) * 0x1p-53;
    }

  private:
    std::uint64_t state_;
};

}  // namespace platen_test
