#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace platen_tool {

// Turns lines of colours that the program doesn't work on into sRGB, by Little-CMS: perceptual, with black point
// compensation.
class ColourTransform {
  public:
    enum class From {
        kCmyk8,          // 0 is no ink
        kCmyk8Inverted,  // 255 is no ink, as in most JPEGs
        kCmyk16,
        kLab8,   // as in TIFF: L from 0 to 255, a and b signed
        kLab16,  // likewise; native 16-bit numbers
    };

    // `profile` is the file's ICC profile; Lab needs none. An Error (kUnsupported) where it is missing or isn't one
    // of such colours; `file` begins the text: "the JPEG".
    ColourTransform(From from, const std::vector<std::uint8_t>& profile, const std::string& file);
    ~ColourTransform();
    ColourTransform(const ColourTransform&) = delete;
    ColourTransform& operator=(const ColourTransform&) = delete;

    // Samples per pixel and bytes per sample of the input lines; output lines have 3 samples of the same size.
    std::size_t Samples() const;
    std::size_t SampleBytes() const;

    // `in` may be changed.
    void Apply(std::uint8_t* in, std::uint8_t* out, std::size_t pixels);

    // What was done, for -v.
    std::string Notice() const;

  private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace platen_tool
