#pragma once

#include "bench/Image.h"

// A page through the library, by the public headers only: what a host does, line by line. All of these end
// the program with a message where the library refuses; figures of refused work would look splendid.

namespace platen_bench {

// Put and Get, from page to page, set-up included.
void SharpenPage(const Image& from, Image& to, int level);

// The copies alone that Put and Get demand: three in the ring for every line, and one for Get.
void SharpenCopiesOnly(const Image& from, Image& to);

struct HsvSetting {
    const char* name;
    int hue, saturation, lightness;
};
inline constexpr HsvSetting kHsvSettings[] = {
    {"saturation", 0, 35, 0}, {"hue", 40, 0, 0}, {"all", 40, 35, 20}, {"lightness", 0, 0, 20}};

// In place, set-up included.
void AdjustPage(Image& page, const HsvSetting& setting);

// Open, Send and Read, Close; the sizes are the images'.
void ScalePage(const Image& from, Image& to);

// Open and Close only.
void OpenOnly(const Image& from, const Image& to);

// The other side of an axis that is reduced or enlarged by a factor.
int Reduced(int size, double factor);
int Enlarged(int size, double factor);

// Four operations (brightness and contrast, levels, curves, color balance), set up once and folded into three
// tables at every call.
class ToneChain {
  public:
    ToneChain();
    ~ToneChain();
    ToneChain(const ToneChain&) = delete;
    ToneChain& operator=(const ToneChain&) = delete;

    void Fold();
    // The same, with set-up and disposal.
    static void FromScratch();

  private:
    struct State;
    State* state_;
};

// 768 calls of the maths library's pow, one for each entry of three tables: what the chain is measured against.
void PowTables();

}  // namespace platen_bench
