#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

// The tone operations once more, written straight from their rules and sharing no code with the library: what the
// tests and fuzzers hold the library to. Each function maps the tables and returns the operation's status.

namespace plain {

struct Tables {
    std::array<std::array<int, 256>, 3> t;
    std::array<std::size_t, 3> at = {0, 1, 2};  // which of them are red, green and blue; one may be several

    static Tables Identity() {
        Tables tables;
        for (auto& table : tables.t) {
            for (int i = 0; i < 256; ++i) {
                table[static_cast<std::size_t>(i)] = i;
            }
        }
        return tables;
    }
};

template <class Function>
void Replace(Tables& tables, Function f) {
    for (const std::size_t table : tables.at) {
        for (int& entry : tables.t[table]) {
            entry = f(entry);
        }
    }
}

struct BrightnessContrast {
    std::int32_t brightness = 0;
    std::int32_t contrast = 0;
};

// An amount in steps; whole numbers only, so that no rounding of a product has a part in it.
inline int Steps(int amount) {
    return 127 * amount / 100;
}

inline int Apply(const BrightnessContrast& s, int depth, Tables& tables) {
    if (s.brightness < -100 || s.brightness > 100 || s.contrast < -100 || s.contrast > 100) {
        return 3;
    }
    if (s.brightness > 0) {
        const int d = Steps(s.brightness);
        Replace(tables, [d](int t) { return t + d < 256 ? t + d : 255; });
    }
    if (s.brightness < 0) {
        const int d = Steps(-s.brightness);
        Replace(tables, [d](int t) { return t - d < 0 ? 0 : t - d; });
    }
    if (depth != 24 && depth != 8) {
        return 0;
    }
    if (s.contrast > 0) {
        const int k = Steps(s.contrast);
        const double spread = 255.0 / (255.0 - 2.0 * static_cast<double>(k));
        Replace(tables, [k, spread](int t) {
            if (t <= k) {
                return 0;
            }
            const double x = static_cast<double>(t - k) * spread;
            return x >= 255.0 ? 255 : static_cast<int>(x);
        });
    }
    if (s.contrast < 0) {
        const int k = Steps(-s.contrast);
        const double squeeze = (255.0 - 2.0 * static_cast<double>(k)) / 255.0;
        Replace(tables, [k, squeeze](int t) {
            const int x = static_cast<int>(static_cast<double>(t) * squeeze + static_cast<double>(k));
            return x < 0 ? 0 : x > 255 ? 255 : x;
        });
    }
    return 0;
}

struct Level {
    std::uint32_t iMin = 0;
    double iMid = 0.0;
    std::uint32_t iMax = 0;
    std::uint32_t oMin = 0;
    std::uint32_t oMax = 0;
};

inline double EffectiveMidTone(double m) {
    if (m < 1.0)
        return m;
    if (m < 2.0)
        return ((m - 1.0) * 100.0) * 0.0044 + 1.0;
    if (m < 3.0)
        return (((m - 2.0) * 100.0) * 0.0022 + 1.0) + 0.44;
    if (m < 4.0)
        return (((m - 3.0) * 100.0) * 0.0011 + 1.0) + 0.66;
    if (m < 5.0)
        return (((m - 4.0) * 100.0) * 0.00055 + 1.0) + 0.77;
    if (m < 6.0)
        return (((m - 5.0) * 100.0) * 0.000275 + 1.0) + 0.8250000000000001;
    if (m < 7.0)
        return (((m - 6.0) * 100.0) * 0.0001375 + 1.0) + 0.8525;
    if (m < 8.0)
        return (((m - 7.0) * 100.0) * 0.00006875 + 1.0) + 0.8662500000000001;
    if (m < 9.0)
        return (((m - 8.0) * 100.0) * 0.00006875 + 1.0) + 0.873125;
    return (((m - 9.0) * 100.0) * 0.000034375 + 1.0) + 0.8765625;
}

inline double Gamma(double effective) {
    double x = effective * 127.0;
    x = x / 256.0;
    x = x * 3.141592;
    x = x / 2.0;
    return std::tan(x);
}

inline bool IsOutOfRange(const Level& s) {
    const std::int64_t inputSpan = std::int64_t{s.iMax} - std::int64_t{s.iMin};
    const std::int64_t outputSpan = std::int64_t{s.oMax} - std::int64_t{s.oMin};
    return s.iMin > 247 || std::isnan(s.iMid) || s.iMid < 0.1 || s.iMid > 9.99 || s.iMax < 8 || s.iMax > 255 ||
           s.oMin > 247 || s.oMax < 8 || s.oMax > 255 || inputSpan < 8 || outputSpan < 8;
}

inline int Cap(double x) {
    return x > 255.0 ? 255 : static_cast<int>(x);
}

inline std::array<int, 256> InputMap(const Level& s) {
    const int low = static_cast<int>(s.iMin);
    const double span = static_cast<double>(static_cast<int>(s.iMax) - low);
    std::array<int, 256> map;
    std::array<int, 256> power;
    if (s.iMid != 1.0) {
        const double gamma = Gamma(EffectiveMidTone(s.iMid));
        for (std::size_t i = 0; i < 256; ++i) {
            power[i] = Cap(std::pow(static_cast<double>(i) / span, 1.0 / gamma) * 255.0);
        }
    }
    for (int i = 0; i < 256; ++i) {
        int& entry = map[static_cast<std::size_t>(i)];
        if (s.iMid == 1.0) {
            entry = i < low ? 0 : Cap(static_cast<double>(i - low) * (255.0 / span));
        } else {
            entry = i > low ? power[static_cast<std::size_t>(i - low)] : 0;
        }
    }
    return map;
}

inline int Apply(const Level& s, int depth, Tables& tables) {
    if (depth != 24 && depth != 8) {
        return 0;
    }
    if (IsOutOfRange(s)) {
        return 3;
    }
    const bool inputActs = s.iMin != 0 || s.iMid != 1.0 || s.iMax != 255;
    const bool outputActs = s.oMin != 0 || s.oMax != 255;
    const std::array<int, 256> map = InputMap(s);
    const double scale = static_cast<double>(s.oMax - s.oMin) / 255.0;
    Replace(tables, [&](int t) {
        const int in = inputActs ? map[static_cast<std::size_t>(t)] : t;
        return outputActs ? Cap(static_cast<double>(in) * scale + static_cast<double>(s.oMin)) : in;
    });
    return 0;
}

}  // namespace plain
