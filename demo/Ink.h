#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace platen_demo {

// How text is set. Sizes and distances are in pixels.
struct Type {
    double size = 44;
    double weight = 1;   // of the pen, 1 is the text weight
    double slant = 0;    // 0.22 for italics
    double spacing = 0;  // between letters
};

// How much ink lies on each pixel, 0 to 255, and the setting of text into it.
class Ink {
  public:
    Ink(int width, int height);

    double TextWidth(const std::string& text, const Type& type) const;

    // Sets one line with its baseline at y; returns the x after it.
    double Text(double x, double y, const std::string& text, const Type& type);
    void TextCentred(double x, double y, const std::string& text, const Type& type);

    // Sets words justified between x and x + width, the last line ragged; returns the next baseline. The first
    // lines may start further right (a drop capital).
    double Paragraph(double x, double y, double width, double leading, const std::string& text, const Type& type,
                     int indentLines = 0, double indent = 0);

    void Rectangle(double x0, double y0, double x1, double y1);
    void Line(double x0, double y0, double x1, double y1, double thickness);

    // Coverage 0 to 1 between the pixels.
    double At(double x, double y) const;

    void Blur(int radius);

  private:
    struct Bitmap {
        int left = 0;
        int top = 0;
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> coverage;
    };
    using Key = std::tuple<char, double, double, double, int>;

    const Bitmap& BitmapFor(char character, const Type& type, int phase);
    void Stamp(const Bitmap& bitmap, int x, int y);
    void Raise(int x, int y, double coverage);

    int width_;
    int height_;
    std::vector<std::uint8_t> coverage_;
    std::map<Key, Bitmap> cache_;
};

}  // namespace platen_demo
