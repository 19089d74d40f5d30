#include <cstring>

#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/ToneWorld.h"
#include "live/module/module.h"

// The tone world of the steps so far.

namespace {

__OpaqeToneWorld* world = nullptr;

constexpr std::uint32_t Key(const char (&name)[5]) {
    const auto byte = [&](int i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(name[i])); };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

template <typename Value>
void Set(_SToneOperation* op, std::uint32_t key, const Value& value) {
    SetOperationProperty(op, key, sizeof value, &value);
}

// A null pointer when memory runs out.
_SToneOperation* Add(std::int32_t (*setup)(_SToneOperation*)) {
    _SToneOperation* op = nullptr;
    if (NewOperation(&op) != 0) {
        return nullptr;
    }
    if (setup(op) != 0) {
        DisposeOperation(op);
        return nullptr;
    }
    AddOperation(world, op);
    return op;
}

}  // namespace

extern "C" {

std::int32_t tone_begin() {
    DisposeToneWorld(world, 1);
    world = nullptr;
    return NewToneWorld(&world);
}

std::int32_t tone_brightness_contrast(std::int32_t brightness, std::int32_t contrast) {
    _SToneOperation* op = Add(SetupBrightnessContrastOperation);
    if (op == nullptr) {
        return 1;
    }
    Set(op, Key("briT"), brightness);
    Set(op, Key("conT"), contrast);
    return 0;
}

std::int32_t tone_levels(std::int32_t black, std::int32_t white, double gamma, std::int32_t outBlack,
                         std::int32_t outWhite) {
    _SToneOperation* op = Add(SetupLevelOperation);
    if (op == nullptr) {
        return 1;
    }
    Set(op, Key("iMin"), black);
    Set(op, Key("iMid"), gamma);
    Set(op, Key("iMax"), white);
    Set(op, Key("oMin"), outBlack);
    Set(op, Key("oMax"), outWhite);
    return 0;
}

std::int32_t tone_curve(std::int32_t kind, const float* points, std::int32_t strength) {
    static constexpr std::uint32_t kPoints[] = {Key("cuP1"), Key("cuP2"), Key("cuP3"), Key("cuP4"), Key("cuP5")};
    constexpr std::int32_t kGamma = 2;
    _SToneOperation* op = Add(SetupCurvesOperation);
    if (op == nullptr) {
        return 1;
    }
    Set(op, Key("curS"), kind);
    if (kind == kGamma) {
        Set(op, Key("curV"), strength);
        return 0;
    }
    for (int i = 0; i < 5; ++i) {
        SetOperationProperty(op, kPoints[i], 2 * sizeof(float), points + 2 * i);
    }
    return 0;
}

std::int32_t tone_balance(std::int32_t group, std::int32_t red, std::int32_t green, std::int32_t blue) {
    static constexpr std::uint32_t kKeys[3][3] = {{Key("cbsR"), Key("cbsG"), Key("cbsB")},
                                                  {Key("cbmR"), Key("cbmG"), Key("cbmB")},
                                                  {Key("cbhR"), Key("cbhG"), Key("cbhB")}};
    _SToneOperation* op = Add(SetupColorBalanceOperation);
    if (op == nullptr || group < 0 || group > 2) {
        return 1;
    }
    Set(op, kKeys[group][0], red);
    Set(op, kKeys[group][1], green);
    Set(op, kKeys[group][2], blue);
    return 0;
}

void tone_fold(std::int32_t depth, std::uint8_t* tables) {
    _SToneCurve curve{};
    curve.depth = depth;
    curve.redTable = tables;
    curve.greenTable = tables + 256;
    curve.blueTable = tables + 512;
    MakeToneCurve(world, &curve);
}

}  // extern "C"
