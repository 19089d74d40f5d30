#pragma once

#include <cmath>
#include <cstdint>

// Noise that is a pure function of its coordinates, so that the page is the same on every run.
namespace platen_demo {

inline std::uint32_t Hash(std::uint32_t x, std::uint32_t y, std::uint32_t seed) {
    std::uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    h *= 0x297A2D39u;
    return h ^ (h >> 15);
}

// 0 to 1.
inline double Random(int x, int y, std::uint32_t seed) {
    return Hash(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), seed) * (1.0 / 4294967295.0);
}

// About normal, mean 0, deviation 1: the sum of four even distributions.
inline double Grain(int x, int y, std::uint32_t seed) {
    const std::uint32_t h = Hash(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), seed);
    const std::uint32_t sum = (h & 255u) + (h >> 8 & 255u) + (h >> 16 & 255u) + (h >> 24);
    return (sum - 510.0) / 147.8;
}

inline double Mix(double a, double b, double t) {
    return a + (b - a) * t;
}

inline double Clamp01(double v) {
    return v < 0 ? 0 : v > 1 ? 1 : v;
}

inline double SmoothStep(double low, double high, double v) {
    const double t = Clamp01((v - low) / (high - low));
    return t * t * (3 - 2 * t);
}

// Random values at the whole coordinates, smoothly joined; 0 to 1.
inline double ValueNoise(double x, double y, std::uint32_t seed) {
    const double fx = std::floor(x);
    const double fy = std::floor(y);
    const int ix = static_cast<int>(fx);
    const int iy = static_cast<int>(fy);
    const double u = SmoothStep(0, 1, x - fx);
    const double v = SmoothStep(0, 1, y - fy);
    return Mix(Mix(Random(ix, iy, seed), Random(ix + 1, iy, seed), u),
               Mix(Random(ix, iy + 1, seed), Random(ix + 1, iy + 1, seed), u), v);
}

// Octaves of value noise, each twice as fine and half as strong; 0 to 1, mean 0.5.
inline double Fractal(double x, double y, int octaves, std::uint32_t seed) {
    double sum = 0;
    double total = 0;
    double weight = 1;
    for (int i = 0; i < octaves; ++i) {
        sum += weight * ValueNoise(x, y, seed + static_cast<std::uint32_t>(i));
        total += weight;
        weight *= 0.5;
        x = x * 2.03 + 17.1;
        y = y * 2.03 + 5.3;
    }
    return sum / total;
}

}  // namespace platen_demo
