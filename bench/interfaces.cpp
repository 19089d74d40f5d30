// What platen.hpp and platen.h's scaler cost over the plain calls: each service once through either, in turns, so
// that what disturbs one disturbs the other. Prints the fastest round of each and their ratio; 1.00 is no cost.
//
//   platen_interfaces [--rounds=N]

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <platen.hpp>
#include <vector>

#include "bench/Arguments.h"
#include "c/platen.h"

namespace {

using Line = std::vector<std::uint8_t>;

constexpr int kWidth = 2480;  // A4 at 300 dpi
constexpr int kHeight = 400;  // lines a round

struct Interface {
    const char* name;
    std::function<void()> run;
};

double Seconds(const std::function<void()>& run) {
    const auto begun = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

// The first interface is the plain one.
void Compare(const char* service, int rounds, const std::vector<Interface>& interfaces) {
    std::vector<double> fastest(interfaces.size(), std::numeric_limits<double>::max());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < interfaces.size(); ++i) {
            fastest[i] = std::min(fastest[i], Seconds(interfaces[i].run));
        }
    }
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        std::printf("%-22s%-12s%10.1f us%8.3f\n", service, interfaces[i].name, fastest[i] * 1e6,
                    fastest[i] / fastest[0]);
    }
}

Line Pixels() {
    Line line(static_cast<std::size_t>(kWidth) * 3);
    std::uint32_t state = 1;
    for (std::uint8_t& sample : line) {
        state = state * 1664525u + 1013904223u;
        sample = static_cast<std::uint8_t>(state >> 24);
    }
    return line;
}

void Tone(int rounds) {
    const platen::ToneWorld world(platen::Level{.inputBlack = 20, .midTone = 1.2, .inputWhite = 235},
                                  platen::BrightnessContrast{.contrast = 10}, platen::Curves{});
    platen::ToneTables tables;
    _SToneCurve curve = {0, 0, 24, tables.red.data(), tables.green.data(), tables.blue.data(), 0, nullptr};
    Compare("tone, 3 operations", rounds,
            {{"plain", [&] { MakeToneCurve(world.handle(), &curve); }},
             {"platen.hpp", [&] { tables = world.tables(); }}});
}

void Hsv(int rounds) {
    const Line source = Pixels();
    Line line = source;
    const platen::HsvFilter filter({.saturation = 15, .width = kWidth});
    Compare("HSV, 400 lines", rounds,
            {{"plain",
              [&] {
                  for (int y = 0; y < kHeight; ++y) {
                      line = source;
                      ApplyOneLineHsv(filter.handle(), line.data());
                  }
              }},
             {"platen.hpp", [&] {
                  for (int y = 0; y < kHeight; ++y) {
                      line = source;
                      filter.apply(line);
                  }
              }}});
}

void Sharpness(int rounds) {
    Line line = Pixels();
    Line out(line.size());
    const platen::Sharpness setting = {.level = 1, .size = {kWidth, kHeight}};
    Compare("sharpness, 400 lines", rounds,
            {{"plain",
              [&] {
                  platen::Sharpener sharpener(setting);
                  void* handle = sharpener.handle();
                  for (int y = 0; y < kHeight; ++y) {
                      ApplySharpFilterPutLine(&handle, line.data());
                      while (GetSharpDstLines(handle) != 0) {
                          ApplySharpFilterGetLine(&handle, out.data());
                      }
                  }
              }},
             {"platen.hpp", [&] {
                  platen::Sharpener sharpener(setting);
                  unsigned sum = 0;
                  for (int y = 0; y < kHeight; ++y) {
                      for (const auto finished : sharpener.push(line)) {
                          sum += finished[0];
                      }
                  }
                  out[0] = static_cast<std::uint8_t>(sum);
              }}});
}

void Scaler(const char* name, int rounds, platen::Size to) {
    Line line = Pixels();
    Line out(platen::bytesOfLine(platen::PixelFormat::rgb8, to.width));
    Compare(name, rounds,
            {{"plain",
              [&] {
                  Line own(out.size());  // where platen.hpp has its own: the place counts for some percent
                  PX_Zoom zoom;
                  zoom.Open(to.width, to.height, kWidth, kHeight, 24, 2);
                  for (int y = 0; y < kHeight; ++y) {
                      zoom.Send(line.data());
                      while (zoom.CheckData() > 0) {
                          zoom.Read(own.data());
                      }
                  }
              }},
             {"platen.hpp",
              [&] {
                  platen::Scaler scaler({.from = {kWidth, kHeight}, .to = to});
                  unsigned sum = 0;
                  for (int y = 0; y < kHeight; ++y) {
                      for (const auto finished : scaler.push(line)) {
                          sum += finished[0];
                      }
                  }
                  out[0] = static_cast<std::uint8_t>(sum);
              }},
             {"platen.h", [&] {
                  Line own(out.size());
                  platen_zoom* zoom = nullptr;
                  platen_zoom_new(&zoom);
                  platen_zoom_open(zoom, to.width, to.height, kWidth, kHeight, 24, 2);
                  for (int y = 0; y < kHeight; ++y) {
                      platen_zoom_send(zoom, line.data());
                      while (platen_zoom_check_data(zoom) > 0) {
                          platen_zoom_read(zoom, own.data());
                      }
                  }
                  platen_zoom_free(zoom);
              }}});
}

}  // namespace

int main(int count, char** strings) {
    const platen_bench::Arguments arguments(count, strings, "usage: platen_interfaces [--rounds=N]\n",
                                            {"--rounds"});
    const int rounds = arguments.Number("--rounds", 25);
    // Scalers come and go: keep their pages, or a round pays for what the allocator gave back to the system.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    std::printf("%-22s%-12s%13s%8s\n", "service", "interface", "fastest", "ratio");
    Tone(rounds * 20);
    Hsv(rounds);
    Sharpness(rounds);
    Scaler("scaler, to one half", rounds, {kWidth / 2, kHeight / 2});
    Scaler("scaler, to double", rounds, {kWidth * 2, kHeight * 2});
    return 0;
}
