#pragma once

#include <array>
#include <cstdint>

// The curves operation's three kinds of curve, as 256-entry mappings. Not installed.

namespace platen {

// A control point: input level and output level. This is also the layout of a "cuP1".."cuP5" value.
struct ControlPoint {
    float x;
    float y;
};
static_assert(sizeof(ControlPoint) == 8);

using ControlPoints = std::array<ControlPoint, 5>;
using MasterCurve = std::array<std::uint8_t, 256>;

// The points that a curve starts with: the identity.
inline constexpr ControlPoints kDefaultPoints = {{{0, 0}, {64, 64}, {128, 128}, {192, 192}, {255, 255}}};

// All of these take points whose levels lie in the ranges that Curves.h names, in any order of x.

// The natural spline through the points; flat outside of them unless they span the whole scale.
MasterCurve SplineMaster(const ControlPoints& points);

// Straight lines from point to point, flat outside of them. Entries that no line reaches (points out of order,
// or fractions) keep the identity's value.
MasterCurve PolylineMaster(const ControlPoints& points);

// The gamma of a strength from -100 to 100: below 1 it darkens, above 1 it brightens.
double CurveGamma(std::int32_t strength);

// The curve with that gamma.
MasterCurve GammaMaster(std::int32_t strength);

}  // namespace platen
