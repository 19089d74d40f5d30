#include "ToneWorld/Curves.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "ToneWorld/MasterCurve.h"
#include "ToneWorld/Property.h"

namespace {

using platen::ControlPoint;
using platen::ControlPoints;
using platen::FourCharacterCode;
using platen::MasterCurve;

constexpr std::uint32_t kType = FourCharacterCode("CuRv");
constexpr std::uint32_t kStrength = FourCharacterCode("curV");
constexpr std::uint32_t kKind = FourCharacterCode("curS");
constexpr std::array<std::uint32_t, 5> kPoints = {FourCharacterCode("cuP1"), FourCharacterCode("cuP2"),
                                                  FourCharacterCode("cuP3"), FourCharacterCode("cuP4"),
                                                  FourCharacterCode("cuP5")};

enum Kind : std::int32_t { kSplineOnce = 0, kPolyline = 1, kGamma = 2, kSpline = 3 };

struct Settings {
    std::int32_t strength;
    std::int32_t kind;
    ControlPoints points;
};

Settings ReadSettings(const _SToneOperation* op) {
    Settings settings{};
    settings.strength = platen::PropertyOr(op, kStrength, std::int32_t{0});
    settings.kind = platen::PropertyOr(op, kKind, std::int32_t{kSpline});
    for (std::size_t k = 0; k < kPoints.size(); ++k) {
        settings.points[k] = platen::PropertyOr(op, kPoints[k], platen::kDefaultPoints[k]);
    }
    return settings;
}

// False for a value that is not a number.
bool Within(float value, float low, float high) {
    return value >= low && value <= high;
}

bool InRange(const Settings& settings) {
    if (settings.strength < -100 || settings.strength > 100 || settings.kind < 0 || settings.kind > 3) {
        return false;
    }
    float low = 0.0f;  // each point's range of input levels lies 4 above the one before
    for (const ControlPoint& point : settings.points) {
        if (!Within(point.x, low, low + 239.0f) || !Within(point.y, 0.0f, 255.0f)) {
            return false;
        }
        low += 4.0f;
    }
    return true;
}

MasterCurve MakeMaster(const Settings& settings) {
    if (settings.kind == kPolyline) {
        return platen::PolylineMaster(settings.points);
    }
    if (settings.kind == kGamma) {
        return settings.strength == 0 ? platen::SplineMaster(platen::kDefaultPoints)
                                      : platen::GammaMaster(settings.strength);
    }
    return platen::SplineMaster(settings.points);
}

// Makes the kind that the operation holds the lasting one. Not SetOperationProperty: a host may have added the
// property with fewer than four bytes, and that function would write past them.
void RememberSpline(const _SToneOperation* op) {
    const std::int32_t kind = kSpline;
    const auto property = std::find_if(op->properties->begin(), op->properties->end(),
                                       [](const _SPropertyData& candidate) { return candidate.key == kKind; });
    std::memcpy(property->data, &kind, std::min<std::size_t>(property->size, sizeof kind));
}

}  // namespace

std::int32_t SetupCurvesOperation(_SToneOperation* op) {
    const std::int32_t status = platen::BeginSetup(op, kType, ApplyCurves);
    if (status != platen::kToneDone) {
        return status;
    }
    platen::AddDefault(op, kStrength, std::int32_t{0});
    platen::AddDefault(op, kKind, std::int32_t{kSpline});
    for (std::size_t k = 0; k < kPoints.size(); ++k) {
        platen::AddDefault(op, kPoints[k], platen::kDefaultPoints[k]);
    }
    return platen::kToneDone;
}

std::int32_t ApplyCurves(_SToneOperation* op, _SToneCurve* curve) {
    const Settings settings = ReadSettings(op);
    if (curve->depth != 24 && curve->depth != 8) {
        return platen::kToneDone;
    }
    if (!InRange(settings)) {
        return platen::kToneOutOfRange;
    }
    if (settings.kind == kSplineOnce) {
        RememberSpline(op);  // the property is there: its default is another kind
    }
    const MasterCurve master = MakeMaster(settings);
    for (std::size_t i = 0; i < master.size(); ++i) {
        if (curve->copyCurve == 1) {
            curve->curveCopy[i] = master[i];
        }
        curve->redTable[i] = master[curve->redTable[i]];
        curve->greenTable[i] = master[curve->greenTable[i]];
        curve->blueTable[i] = master[curve->blueTable[i]];
    }
    return platen::kToneDone;
}
