#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "Producer.h"
#include "ToneWorld/ToneWorld.h"
#include "tests/oracles/ToneOracle.h"

// What the fuzz targets of the tone world share.

namespace platen_fuzz {

// An invariant; a violation ends the run, so that the fuzzer keeps the input.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

// A curve with three tables of its own.
struct FuzzCurve : _SToneCurve {
    std::array<std::array<std::uint8_t, 256>, 3> tables;

    explicit FuzzCurve(std::int32_t bits) : _SToneCurve{} {
        depth = bits;
        redTable = tables[0].data();
        greenTable = tables[1].data();
        blueTable = tables[2].data();
    }
    FuzzCurve(const FuzzCurve&) = delete;
    FuzzCurve& operator=(const FuzzCurve&) = delete;

    void FillFrom(Producer& input) {
        input.Fill(tables.data(), sizeof tables);
    }
    plain::Tables Plain() const {
        plain::Tables copy;
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t i = 0; i < 256; ++i) {
                copy.t[c][i] = tables[c][i];
            }
        }
        return copy;
    }
    bool Holds(const plain::Tables& expected) const {
        return Plain().t == expected.t;
    }
};

// 24, 8, or anything.
inline std::int32_t TakeDepth(Producer& input) {
    switch (input.Take<std::uint8_t>() % 4) {
        case 0:
            return 24;
        case 1:
            return 8;
        case 2:
            return 16;
        default:
            return input.Take<std::int32_t>();
    }
}

// A setting in or near its range, or any bits.
inline std::int32_t TakeAround(Producer& input, std::int64_t low, std::int64_t high) {
    return input.Take<std::uint8_t>() < 240 ? static_cast<std::int32_t>(input.Between(low, high))
                                            : input.Take<std::int32_t>();
}

inline plain::BrightnessContrast TakeBrightnessContrast(Producer& input) {
    plain::BrightnessContrast s;
    s.brightness = TakeAround(input, -102, 102);
    s.contrast = TakeAround(input, -102, 102);
    return s;
}

inline plain::Level TakeLevel(Producer& input) {
    plain::Level s;
    s.iMin = static_cast<std::uint32_t>(TakeAround(input, 0, 249));
    s.iMax = static_cast<std::uint32_t>(TakeAround(input, 6, 257));
    s.oMin = static_cast<std::uint32_t>(TakeAround(input, 0, 249));
    s.oMax = static_cast<std::uint32_t>(TakeAround(input, 6, 257));
    const auto kind = input.Take<std::uint8_t>();
    if (kind < 64) {
        s.iMid = input.Take<double>();
    } else {
        s.iMid = kind < 96 ? 1.0 : static_cast<double>(input.Between(8, 1002)) / 100.0;
    }
    return s;
}

template <class T>
void SetProperty(_SToneOperation* op, std::uint32_t key, T value) {
    SetOperationProperty(op, key, sizeof value, &value);
}

inline void SetAll(_SToneOperation* op, const plain::BrightnessContrast& s) {
    SetProperty(op, 0x62726954, s.brightness);
    SetProperty(op, 0x636F6E54, s.contrast);
}

inline void SetAll(_SToneOperation* op, const plain::Level& s) {
    SetProperty(op, 0x694D696E, s.iMin);
    SetProperty(op, 0x694D6964, s.iMid);
    SetProperty(op, 0x694D6178, s.iMax);
    SetProperty(op, 0x6F4D696E, s.oMin);
    SetProperty(op, 0x6F4D6178, s.oMax);
}

// One operation on tables of any content, by the library and by the plain rules.
template <class Settings>
void CompareOnce(std::int32_t (*setup)(_SToneOperation*), const Settings& settings, Producer& input) {
    FuzzCurve curve(TakeDepth(input));
    curve.FillFrom(input);
    plain::Tables expected = curve.Plain();
    _SToneOperation* op = nullptr;
    Require(NewOperation(&op) == 0 && setup(op) == 0, "set-up succeeds");
    SetAll(op, settings);
    const int status = plain::Apply(settings, curve.depth, expected);
    Require(op->apply(op, &curve) == status, "the status is the plain rules'");
    Require(curve.Holds(expected), "the tables are the plain rules'");

    // The same settings through a world, twice.
    __OpaqeToneWorld* world = nullptr;
    Require(NewToneWorld(&world) == 0, "a world can be made");
    AddOperation(world, op);
    AddOperation(world, op);
    Require(MakeToneCurve(world, &curve) == 0, "a curve is always made");
    expected = plain::Tables::Identity();
    plain::Apply(settings, curve.depth, expected);
    plain::Apply(settings, curve.depth, expected);
    Require(curve.Holds(expected), "an operation added twice acts twice");
    RemoveOperation(world, op);
    AddOperation(world, op);
    DisposeToneWorld(world, 1);
}

}  // namespace platen_fuzz
