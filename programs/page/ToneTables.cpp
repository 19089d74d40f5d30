#include "programs/page/ToneTables.h"

#include <algorithm>
#include <memory>
#include <new>

#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/ToneWorld.h"

namespace platen_tool {

namespace {

struct WorldDeleter {
    void operator()(__OpaqeToneWorld* world) const {
        DisposeToneWorld(world, 1);
    }
};
struct OperationDeleter {
    void operator()(_SToneOperation* op) const {
        DisposeOperation(op);
    }
};
using World = std::unique_ptr<__OpaqeToneWorld, WorldDeleter>;
using Operation = std::unique_ptr<_SToneOperation, OperationDeleter>;

void CheckMemory(std::int32_t status) {
    if (status != 0) {
        throw std::bad_alloc();
    }
}

constexpr std::uint32_t Key(const char (&name)[5]) {
    const auto byte = [&](int i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(name[i])); };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

// The library does not report a property that memory was too short for: look before setting it.
template <typename Value>
void SetValue(const Operation& op, std::uint32_t key, const Value& value) {
    const auto& list = *op->properties;
    const auto found = std::find_if(list.begin(), list.end(), [key](const auto& p) { return p.key == key; });
    if (found == list.end()) {
        throw std::bad_alloc();
    }
    SetOperationProperty(op.get(), key, sizeof value, &value);
}

Operation MakeOperation(std::int32_t (*setup)(_SToneOperation*)) {
    _SToneOperation* raw = nullptr;
    CheckMemory(NewOperation(&raw));
    Operation op(raw);
    CheckMemory(setup(raw));
    return op;
}

Operation Make(const BrightnessContrastStep& step) {
    Operation op = MakeOperation(SetupBrightnessContrastOperation);
    SetValue(op, Key("briT"), std::int32_t{step.brightness.value_or(0)});
    SetValue(op, Key("conT"), std::int32_t{step.contrast.value_or(0)});
    return op;
}

Operation Make(const LevelsStep& step) {
    Operation op = MakeOperation(SetupLevelOperation);
    SetValue(op, Key("iMin"), std::int32_t{step.black});
    SetValue(op, Key("iMid"), step.gamma);
    SetValue(op, Key("iMax"), std::int32_t{step.white});
    SetValue(op, Key("oMin"), std::int32_t{step.outputBlack});
    SetValue(op, Key("oMax"), std::int32_t{step.outputWhite});
    return op;
}

Operation Make(const CurveStep& step) {
    static constexpr std::uint32_t kPoints[] = {Key("cuP1"), Key("cuP2"), Key("cuP3"), Key("cuP4"), Key("cuP5")};
    static_assert(sizeof(CurvePoint) == 2 * sizeof(float), "a point's value is its two floats");
    Operation op = MakeOperation(SetupCurvesOperation);
    SetValue(op, Key("curS"), static_cast<std::int32_t>(step.kind.value_or(CurveKind::kSpline)));
    for (std::size_t i = 0; i < step.points.size(); ++i) {
        SetValue(op, kPoints[i], step.points[i]);
    }
    return op;
}

Operation Make(const CurveGammaStep& step) {
    constexpr std::int32_t kGammaKind = 2;
    Operation op = MakeOperation(SetupCurvesOperation);
    SetValue(op, Key("curS"), kGammaKind);
    SetValue(op, Key("curV"), std::int32_t{step.strength});
    return op;
}

Operation Make(const BalanceStep& step) {
    static constexpr std::uint32_t kKeys[3][3] = {{Key("cbsR"), Key("cbsG"), Key("cbsB")},
                                                  {Key("cbmR"), Key("cbmG"), Key("cbmB")},
                                                  {Key("cbhR"), Key("cbhG"), Key("cbhB")}};
    Operation op = MakeOperation(SetupColorBalanceOperation);
    for (std::size_t i = 0; i < 3; ++i) {
        SetValue(op, kKeys[static_cast<int>(step.group)][i], std::int32_t{step.shift[i]});
    }
    return op;
}

Operation Make(const AutoLevelsStep&) {
    return nullptr;  // levels steps have taken its place
}

Operation Make(const AutoWhiteStep&) {
    return nullptr;
}

bool IsOneChannels(const ToneStep& step) {
    const auto* levels = std::get_if<LevelsStep>(&step);
    return levels != nullptr && levels->channel != Channel::kAll;
}

bool ActsOn(const ToneStep& step, Channel channel) {
    return !IsOneChannels(step) || std::get<LevelsStep>(step).channel == channel;
}

ToneTables Fold(std::span<const ToneStep> steps, int depth, Channel channel) {
    __OpaqeToneWorld* raw = nullptr;
    CheckMemory(NewToneWorld(&raw));
    const World world(raw);
    for (const ToneStep& step : steps) {
        if (IsAutomatic(step) || !ActsOn(step, channel)) {
            continue;
        }
        Operation op = std::visit([](const auto& one) { return Make(one); }, step);
        AddOperation(world.get(), op.get());
        op.release();  // the world disposes of it
    }
    ToneTables tables;
    _SToneCurve curve{};
    curve.depth = depth;
    curve.redTable = tables.red.data();
    curve.greenTable = tables.green.data();
    curve.blueTable = tables.blue.data();
    MakeToneCurve(world.get(), &curve);
    return tables;
}

}  // namespace

// The library's levels act on three channels at once. Its operations map each channel's table by itself, so a world
// for each channel, with the levels that act on it, gives that channel's table.
ToneTables FoldToneSteps(std::span<const ToneStep> steps, int depth) {
    constexpr int kColourDepth = 24;
    if (depth != kColourDepth || !std::any_of(steps.begin(), steps.end(), IsOneChannels)) {
        return Fold(steps, depth, Channel::kAll);
    }
    return {Fold(steps, depth, Channel::kRed).red, Fold(steps, depth, Channel::kGreen).green,
            Fold(steps, depth, Channel::kBlue).blue};
}

}  // namespace platen_tool
