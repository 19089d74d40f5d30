#include "demo/Landscape.h"

#include <algorithm>
#include <cmath>

#include "demo/Noise.h"

namespace platen_demo {

Colour Mix(const Colour& a, const Colour& b, double t) {
    return {Mix(a.r, b.r, t), Mix(a.g, b.g, t), Mix(a.b, b.b, t)};
}

namespace {

constexpr double kWaterLine = 0.665;
constexpr double kSunX = 1.06;
constexpr double kSunY = 0.30;
constexpr Colour kHaze{0.90, 0.80, 0.70};

Colour Scale(const Colour& c, double factor) {
    return {c.r * factor, c.g * factor, c.b * factor};
}

double SunGlow(double x, double y, double width) {
    const double dx = x - kSunX;
    const double dy = y - kSunY;
    return std::exp(-(dx * dx + dy * dy) / (width * width));
}

Colour Sky(double x, double y) {
    const double height = Clamp01(y / kWaterLine);
    Colour sky = Mix({0.30, 0.47, 0.68}, {0.93, 0.83, 0.70}, std::pow(height, 1.15));
    const double bend = Fractal(x * 2.2, y * 5, 3, 11) * 0.35;
    const double cloud = SmoothStep(0.50, 0.74, Fractal(x * 2.4 + bend, y * 8.5 + bend, 6, 21));
    const double body = Fractal(x * 2.4 + bend + 0.05, y * 8.5 + bend - 0.16, 5, 21);
    const Colour lit = Mix({1.0, 0.95, 0.87}, {0.66, 0.64, 0.69}, SmoothStep(0.40, 0.78, body));
    sky = Mix(sky, lit, cloud * (0.9 - 0.45 * height));
    sky = Mix(sky, {1.0, 0.92, 0.74}, 0.75 * SunGlow(x, y, 0.33));
    return Mix(sky, {1.0, 0.99, 0.93}, SmoothStep(0.05, 0.95, SunGlow(x, y, 0.055)));
}

// One chain of mountains, the farthest first.
struct Ridge {
    double base, height, frequency;
    double haze;
    Colour rock;
    std::uint32_t seed;
};

constexpr Ridge kRidges[] = {
    {0.700, 0.98, 1.9, 0.28, {0.33, 0.38, 0.50}, 101},
    {0.640, 0.46, 2.7, 0.30, {0.30, 0.37, 0.44}, 131},
    {0.640, 0.27, 3.4, 0.16, {0.21, 0.29, 0.28}, 151},
};

double Crest(const Ridge& ridge, double x) {
    double folded = 0;
    double weight = 0.55;
    double frequency = ridge.frequency;
    for (std::uint32_t octave = 0; octave < 7; ++octave) {
        const double n = ValueNoise(x * frequency + octave * 3.7, 0.5, ridge.seed + octave);
        folded += weight * (octave < 3 ? 1 - std::fabs(2 * n - 1) : n);
        weight *= 0.47;
        frequency *= 2.05;
    }
    return ridge.base + 0.10 - ridge.height * folded * 0.62;
}

Colour Mountain(const Ridge& ridge, double x, double y, double crest) {
    // Light comes from the right: the difference of two heights beside each other is the slope's shade.
    const double frequency = ridge.frequency * 4;
    const double warp = Fractal(x * frequency, y * frequency, 3, ridge.seed + 40) * 0.45;
    const auto relief = [&](double at) {
        const double n = Fractal(at * frequency + warp, y * frequency * 0.55 + warp, 7, ridge.seed + 50);
        return 1 - std::fabs(2 * n - 1);  // folded: sharp ribs, wide gullies
    };
    const double here = relief(x + (y - crest) * 0.35);
    const double beside = relief(x + (y - crest) * 0.35 + 0.012);
    const double light = Clamp01(0.45 + (here - beside) * 4.5);
    Colour c = Scale(ridge.rock, 0.35 + 1.0 * light);
    const double snow = SmoothStep(0.16, 0.10, y - crest + 0.55 * (here - 0.72)) * SmoothStep(0.46, 0.36, crest);
    c = Mix(c, Scale({0.97, 0.96, 0.98}, 0.55 + 0.50 * light), snow);
    const double mist = ridge.haze + (1 - ridge.haze) * 0.60 * SmoothStep(crest + 0.05, kWaterLine, y);
    const double glow = SunGlow(x, y, 0.45);
    return Mix(c, Mix(kHaze, {1.0, 0.88, 0.70}, glow), Clamp01(mist));
}

// The tops of the spruces on the far shore, as a height above the water.
double TreeTops(double x, double scale, std::uint32_t seed) {
    double top = 0;
    for (int layer = 0; layer < 3; ++layer) {
        const double at = x * scale * (1 + 0.37 * layer) + layer * 0.41;
        const int tree = static_cast<int>(std::floor(at));
        for (int neighbour = tree - 1; neighbour <= tree + 1; ++neighbour) {
            const std::uint32_t layerSeed = seed + static_cast<std::uint32_t>(layer);
            const double centre = neighbour + 0.5 + 0.5 * (Random(neighbour, 1, layerSeed) - 0.5);
            const double tall = 0.45 + 0.55 * Random(neighbour, 2, layerSeed);
            const double off = std::fabs(at - centre);
            const double boughs = 0.10 * (ValueNoise(at * 9, neighbour, layerSeed + 9) - 0.5);
            top = std::max(top, tall * (1 - off * (1.25 + boughs * 6)) + boughs * 0.4);
        }
    }
    return top;
}

// What stands above the water, also for the mirror image.
Colour Scenery(double x, double y) {
    Colour c = Sky(x, y);
    for (const Ridge& ridge : kRidges) {
        const double crest = Crest(ridge, x);
        const double cover = SmoothStep(crest - 0.0012, crest + 0.0012, y);
        if (cover > 0) {
            c = Mix(c, Mountain(ridge, x, y, crest), cover);
        }
    }
    // A wooded shore, higher towards the left.
    const double land = 0.018 + 0.10 * SmoothStep(0.85, 0.05, x) + 0.035 * Fractal(x * 5, 0.3, 4, 301);
    const double trees = land + 0.034 * TreeTops(x, 46, 311);
    const double above = kWaterLine - y;
    const double cover = SmoothStep(trees + 0.0012, trees - 0.0012, above);
    if (cover > 0) {
        const double clump = Fractal(x * 60, y * 42, 4, 321);
        const double lit = SmoothStep(0.35, 0.75, clump) * SmoothStep(0, trees, above);
        Colour wood = Mix({0.055, 0.085, 0.065}, {0.30, 0.30, 0.13}, lit * (0.55 + 0.45 * SunGlow(x, y, 0.8)));
        wood = Mix(wood, kHaze, 0.10 + 0.16 * SmoothStep(0.4, 1.1, x) + 0.10 * SmoothStep(0.03, 0, above));
        c = Mix(c, wood, cover);
    }
    return c;
}

Colour Water(double x, double y) {
    const double depth = (y - kWaterLine) / (1 - kWaterLine);
    const double distance = 1 / (0.055 + depth);
    const double wave = Fractal(x * distance * 3.5, distance * 46, 4, 401) - 0.5;
    const double ripple = Fractal(x * distance * 16, distance * 160, 2, 421) - 0.5;
    const double calm = SmoothStep(0.42, 0.62, Fractal(x * 3, depth * 9, 3, 431));
    const double move = (0.05 * wave + 0.022 * ripple) * (0.15 + depth) * (0.6 + 0.8 * calm);
    const double mirrored = kWaterLine - (y - kWaterLine) * 0.86 - std::fabs(move) - 0.001;
    Colour c = Scenery(x + move * 0.35, std::max(0.01, mirrored));
    c = Mix(Scale(c, 0.86), {0.10, 0.17, 0.21}, 0.12 + 0.34 * depth);
    const double path = std::exp(-std::pow((x - kSunX + 0.02 * wave) / (0.035 + 0.12 * depth), 2.0));
    const double sparkle = path * SmoothStep(0.03, 0.20, ripple + 0.5 * wave);
    return Mix(c, {1.0, 0.94, 0.80}, 0.85 * sparkle);
}

// Reeds at the near shore, dark against the water.
double Reeds(double x, double y) {
    double cover = 0;
    for (int layer = 0; layer < 4; ++layer) {
        const double at = x * (95 + 31 * layer);
        const int blade = static_cast<int>(std::floor(at));
        for (int i = blade - 2; i <= blade + 2; ++i) {
            const std::uint32_t seed = 501 + static_cast<std::uint32_t>(layer);
            const double shore = SmoothStep(0.10, 0.0, std::fabs(i / (95.0 + 31 * layer) - 0.13) - 0.10);
            const double tall = (0.05 + 0.17 * Random(i, 1, seed)) * shore;
            const double up = 1.0 - y;
            if (up >= tall || tall <= 0) {
                continue;
            }
            const double lean = (Random(i, 2, seed) - 0.4) * 2.6 * up * up / (tall + 0.05) * 10;
            const double half = 0.17 * (1 - up / tall) + 0.03;
            const double off = std::fabs(at - (i + Random(i, 3, seed)) - lean);
            cover = std::max(cover, SmoothStep(half + 0.06, half - 0.03, off));
        }
    }
    return cover;
}

}  // namespace

Colour Landscape(double x, double y) {
    Colour c;
    const double edge = SmoothStep(kWaterLine - 0.0008, kWaterLine + 0.0008, y);
    if (edge < 1) {
        c = Scenery(x, y);
    }
    if (edge > 0) {
        c = Mix(c, Water(x, y), edge);
    }
    const double bank = 1.0 - y - 0.02 - 0.05 * SmoothStep(0.45, 0.0, x) + 0.02 * Fractal(x * 14, 1, 4, 541);
    const Colour grass = Mix({0.06, 0.075, 0.04}, {0.33, 0.31, 0.13}, 0.5 * Fractal(x * 90, y * 60, 3, 551));
    c = Mix(c, grass, SmoothStep(0.004, -0.004, bank));
    c = Mix(c, Mix({0.05, 0.065, 0.035}, {0.40, 0.36, 0.15}, 0.55 * Random(static_cast<int>(x * 230), 4, 561)),
            Reeds(x, y));
    return c;
}

}  // namespace platen_demo
