// A small host program. It includes every installed header and calls each service through the library once; it
// answers 0 where the results are what the headers promise.
#include <cstdint>
#include <cstdio>

#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "Sources/PX_Zoom/PX_Zoom.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Sources/Support/Export.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/Spline.h"
#include "ToneWorld/ToneWorld.h"

namespace {

// An empty world folds into the identity; with the four operations at their defaults it still does.
bool ToneWorldFolds() {
    __OpaqeToneWorld* world = nullptr;
    if (NewToneWorld(&world) != 0) {
        return false;
    }
    std::int32_t (*const setups[])(_SToneOperation*) = {SetupBrightnessContrastOperation, SetupLevelOperation,
                                                        SetupColorBalanceOperation, SetupCurvesOperation};
    for (const auto setup : setups) {
        _SToneOperation* operation = nullptr;
        if (NewOperation(&operation) != 0 || setup(operation) != 0) {
            return false;
        }
        AddOperation(world, operation);
    }
    std::uint8_t tables[3][256] = {};
    _SToneCurve curve = {};
    curve.depth = 24;
    curve.redTable = tables[0];
    curve.greenTable = tables[1];
    curve.blueTable = tables[2];
    MakeToneCurve(world, &curve);
    DisposeToneWorld(world, 1);
    return tables[0][0] == 0 && tables[1][128] == 128 && tables[2][255] == 255;
}

// A page of one colour stays that colour when it is reduced.
bool ScalerReduces() {
    PX_Zoom zoom;
    if (zoom.Open(2, 2, 4, 4, 8, 2) != 0) {
        return false;
    }
    std::uint8_t source[4] = {77, 77, 77, 77};
    std::uint8_t line[2] = {};
    int lines = 0;
    for (int y = 0; y < 4; ++y) {
        if (zoom.Send(source) != 0) {
            return false;
        }
        while (zoom.CheckData() > 0) {
            if (zoom.Read(line) != 0 || line[0] != 77 || line[1] != 77) {
                return false;
            }
            ++lines;
        }
    }
    return lines == 2 && PX_Zoom_BitsPerSample(48) == 16;
}

// The filters refuse parameters without a size, and write no handle.
bool FiltersRefuse() {
    _SHsvParam hsv = {};
    _SSharpParam sharp = {};
    void* handle = nullptr;
    return SetupHsv(&hsv, &handle) == 3 && SetupSharp(&sharp, &handle) == 3 && handle == nullptr;
}

}  // namespace

int main() {
    const bool tone = ToneWorldFolds();
    const bool scaler = ScalerReduces();
    const bool filters = FiltersRefuse();
    std::printf("tone world %d, scaler %d, filters %d\n", tone, scaler, filters);
    return tone && scaler && filters ? 0 : 1;
}
