#include "bench/Work.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "Sources/PX_Zoom/PX_Zoom.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"

namespace platen_bench {
namespace {

void Require(bool done, const char* what) {
    if (!done) {
        std::fprintf(stderr, "platen bench: %s failed\n", what);
        std::exit(1);
    }
}

// Interfaces of old take what they only read without const.
unsigned char* Mutable(const std::uint8_t* line) {
    return const_cast<std::uint8_t*>(line);
}

template <class Function>
void WithZoom(const Image& from, const Image& to, Function function) {
    PX_Zoom zoom;
    Require(zoom.Open(to.Width(), to.Height(), from.Width(), from.Height(), from.BitsPerPixel(), 2) == 0, "Open");
    function(zoom);
    zoom.Close();
}

}  // namespace

void SharpenPage(const Image& from, Image& to, int level) {
    _SSharpParam param{};
    param.level = level;
    param.bitsPerPixel = static_cast<std::uint32_t>(from.BitsPerPixel());
    param.width = static_cast<std::uint32_t>(from.Width());
    param.height = static_cast<std::uint32_t>(from.Height());
    param.rowBytes = static_cast<std::uint32_t>(from.RowBytes());
    void* handle = nullptr;
    Require(SetupSharp(&param, &handle) == 0, "SetupSharp");
    int linesOut = 0;
    for (int y = 0; y < from.Height(); ++y) {
        Require(ApplySharpFilterPutLine(&handle, Mutable(from.Row(y))) == 0, "ApplySharpFilterPutLine");
        while (GetSharpDstLines(handle) != 0) {
            Require(ApplySharpFilterGetLine(&handle, to.Row(linesOut)) == 0, "ApplySharpFilterGetLine");
            ++linesOut;
        }
    }
    Require(linesOut == to.Height(), "sharpness: as many lines out as in");
    DisposeSharpness(handle);
}

void SharpenCopiesOnly(const Image& from, Image& to) {
    const std::size_t bytes = from.RowBytes();
    std::vector<std::uint8_t> oldest(bytes), previous(bytes), newest(bytes), finished(bytes);
    for (int y = 0; y < from.Height(); ++y) {
        std::memcpy(oldest.data(), previous.data(), bytes);
        std::memcpy(previous.data(), newest.data(), bytes);
        std::memcpy(newest.data(), from.Row(y), bytes);
        std::memcpy(to.Row(y), finished.data(), bytes);
        asm volatile("" : : "r"(oldest.data()) : "memory");  // keeps the copies that nothing reads
    }
}

void AdjustPage(Image& page, const HsvSetting& setting) {
    _SHsvParam param{};
    param.hue = setting.hue;
    param.saturation = setting.saturation;
    param.lightness = setting.lightness;
    param.bitsPerPixel = 24;
    param.width = page.Width();
    param.height = static_cast<std::uint32_t>(page.Height());
    param.rowBytes = static_cast<std::uint32_t>(page.RowBytes());
    void* handle = nullptr;
    Require(SetupHsv(&param, &handle) == 0, "SetupHsv");
    for (int y = 0; y < page.Height(); ++y) {
        Require(ApplyOneLineHsv(handle, page.Row(y)) == 0, "ApplyOneLineHsv");
    }
    Disposehsv(handle);
}

void ScalePage(const Image& from, Image& to) {
    WithZoom(from, to, [&](PX_Zoom& zoom) {
        int linesOut = 0;
        for (int y = 0; y < from.Height(); ++y) {
            Require(zoom.Send(Mutable(from.Row(y))) == 0, "Send");
            while (zoom.CheckData() > 0) {
                Require(zoom.Read(to.Row(linesOut)) == 0, "Read");
                ++linesOut;
            }
        }
        Require(linesOut == to.Height(), "scaler: all lines out");
    });
}

void OpenOnly(const Image& from, const Image& to) {
    WithZoom(from, to, [](PX_Zoom&) {});
}

int Reduced(int size, double factor) {
    return static_cast<int>(size / factor);
}

int Enlarged(int size, double factor) {
    return static_cast<int>(size * factor);
}

struct ToneChain::State {
    __OpaqeToneWorld* world = nullptr;
    std::array<std::uint8_t, 256> red{}, green{}, blue{};
};

namespace {

template <class Value>
void SetProperty(_SToneOperation* op, const char (&key)[5], Value value) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code << 8 | static_cast<unsigned char>(key[i]);
    }
    SetOperationProperty(op, code, sizeof value, &value);
}

_SToneOperation* Added(__OpaqeToneWorld* world, std::int32_t (*setUp)(_SToneOperation*)) {
    _SToneOperation* op = nullptr;
    Require(NewOperation(&op) == 0 && setUp(op) == 0, "a tone operation");
    AddOperation(world, op);
    return op;
}

void AddBrightnessAndLevels(__OpaqeToneWorld* world) {
    _SToneOperation* brightness = Added(world, SetupBrightnessContrastOperation);
    SetProperty(brightness, "briT", std::int32_t{8});
    SetProperty(brightness, "conT", std::int32_t{15});
    _SToneOperation* level = Added(world, SetupLevelOperation);
    SetProperty(level, "iMin", std::uint32_t{12});
    SetProperty(level, "iMid", 1.2);
    SetProperty(level, "iMax", std::uint32_t{244});
    SetProperty(level, "oMin", std::uint32_t{4});
    SetProperty(level, "oMax", std::uint32_t{252});
}

void AddCurvesAndBalance(__OpaqeToneWorld* world) {
    struct Point {
        float x, y;
    };
    _SToneOperation* curves = Added(world, SetupCurvesOperation);
    SetProperty(curves, "cuP2", Point{64, 52});
    SetProperty(curves, "cuP3", Point{128, 131});
    SetProperty(curves, "cuP4", Point{192, 205});
    _SToneOperation* balance = Added(world, SetupColorBalanceOperation);
    SetProperty(balance, "cbsR", std::int32_t{-10});
    SetProperty(balance, "cbsB", std::int32_t{12});
    SetProperty(balance, "cbmG", std::int32_t{7});
    SetProperty(balance, "cbhR", std::int32_t{5});
    SetProperty(balance, "cbhB", std::int32_t{20});
}

}  // namespace

ToneChain::ToneChain() : state_(new State) {
    Require(NewToneWorld(&state_->world) == 0, "NewToneWorld");
    AddBrightnessAndLevels(state_->world);
    AddCurvesAndBalance(state_->world);
}

ToneChain::~ToneChain() {
    DisposeToneWorld(state_->world, 1);
    delete state_;
}

void ToneChain::Fold() {
    _SToneCurve curve{};
    curve.depth = 24;
    curve.redTable = state_->red.data();
    curve.greenTable = state_->green.data();
    curve.blueTable = state_->blue.data();
    Require(MakeToneCurve(state_->world, &curve) == 0, "MakeToneCurve");
    asm volatile("" : : "r"(state_) : "memory");
}

void ToneChain::FromScratch() {
    ToneChain chain;
    chain.Fold();
}

void PowTables() {
    double tables[3][256];
    for (auto& table : tables) {
        for (int i = 0; i < 256; ++i) {
            table[i] = std::pow(i / 255.0, 0.8333);
        }
        asm volatile("" : : "r"(table) : "memory");
    }
}

}  // namespace platen_bench
