// Brightness and contrast, every pair of amounts at a colour, a grey and another depth.

#include <array>
#include <cstdint>
#include <cstdlib>

#include "ToneWorld/BrightnessContrast.h"
#include "golden/Golden.h"
#include "support/Random.h"

namespace {

constexpr std::uint32_t kBrightnessKey = 0x62726954;
constexpr std::uint32_t kContrastKey = 0x636F6E54;
constexpr std::uint64_t kSpan = 203;  // -101 to 101: one step too far on both sides belongs to it

void Case(std::uint64_t number, platen_test::GoldenOutput& out) {
    const auto brightness = static_cast<std::int32_t>(number % kSpan) - 101;
    const auto contrast = static_cast<std::int32_t>(number / kSpan % kSpan) - 101;
    platen_test::Random random(number);
    constexpr std::array<std::int32_t, 3> kDepths = {24, 8, 16};
    std::array<std::array<std::uint8_t, 256>, 3> tables;
    _SToneCurve curve{};
    curve.depth = kDepths[static_cast<std::size_t>(random.Between(0, 2))];
    curve.redTable = tables[0].data();
    curve.greenTable = tables[1].data();
    curve.blueTable = tables[2].data();

    __OpaqeToneWorld* world = nullptr;
    _SToneOperation* op = nullptr;
    if (NewToneWorld(&world) != 0 || NewOperation(&op) != 0) {
        std::abort();
    }
    out.Add("setup", SetupBrightnessContrastOperation(op));
    SetOperationProperty(op, kBrightnessKey, 4, &brightness);
    SetOperationProperty(op, kContrastKey, 4, &contrast);
    AddOperation(world, op);
    MakeToneCurve(world, &curve);
    out.Add("brightness", brightness);
    out.Add("contrast", contrast);
    out.Add("depth", curve.depth);
    out.AddAll("folded", tables[0]);
    for (auto& table : tables) {
        for (auto& entry : table) {
            entry = random.Byte();
        }
    }
    out.Add("status", ApplyBrightnessContrast(op, &curve));
    out.AddAll("red", tables[0]);
    out.AddAll("green", tables[1]);
    out.AddAll("blue", tables[2]);
    DisposeToneWorld(world, 1);
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "brightness_contrast", kSpan * kSpan, 0xC24FD0349BA14FCDu, Case);
}
