// A scanned page, adjusted line by line: pipeline IN.ppm OUT.ppm
//
// Reads a binary PPM (P6, 255, no comments) of at least 3 x 2 pixels and writes one. Each line passes, in this
// order:
//   1. tone: levels with black 20, mid-tone 1.2 and white 235, then contrast 10, folded into three tables
//   2. saturation 15 percent up
//   3. sharpness, level 1, which holds one line back
//   4. half the width and half the height, both rounded up
// No more than a few lines are in memory. pipeline.c and pipeline.py do the same and give the same bytes.
#include <cstdint>
#include <fstream>
#include <iostream>
#include <platen.hpp>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::ostream& operator<<(std::ostream& out, std::span<const std::uint8_t> line) {
    return out.write(reinterpret_cast<const char*>(line.data()), static_cast<std::streamsize>(line.size()));
}

platen::Size readHeader(std::istream& in) {
    std::string magic;
    platen::Size size;
    int highest = 0;
    in >> magic >> size.width >> size.height >> highest;
    if (!in || magic != "P6" || highest != 255 || in.get() == EOF || size.width < 3 || size.height < 2) {
        throw std::runtime_error("not a binary PPM of at least 3 x 2 pixels");
    }
    return size;
}

void adjust(std::istream& in, std::ostream& out) {
    const platen::Size size = readHeader(in);
    const platen::Size half = {(size.width + 1) / 2, (size.height + 1) / 2};
    const platen::ToneTables tables =
        platen::ToneWorld(platen::Level{.inputBlack = 20, .midTone = 1.2, .inputWhite = 235},
                          platen::BrightnessContrast{.contrast = 10})
            .tables();
    const platen::HsvFilter hsv({.saturation = 15, .width = size.width});
    platen::Sharpener sharpener({.level = 1, .size = size});
    platen::Scaler scaler({.from = size, .to = half});

    out << "P6\n" << half.width << ' ' << half.height << "\n255\n";
    std::vector<std::uint8_t> line(scaler.sourceLineBytes());
    for (int y = 0; y < size.height; ++y) {
        if (!in.read(reinterpret_cast<char*>(line.data()), static_cast<std::streamsize>(line.size()))) {
            throw std::runtime_error("it ends at line " + std::to_string(y) + " of " + std::to_string(size.height));
        }
        tables.mapRgb(line);
        hsv.apply(line);
        for (const auto sharp : sharpener.push(line)) {
            for (const auto finished : scaler.push(sharp)) {
                out << finished;
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: pipeline IN.ppm OUT.ppm\n";
        return 2;
    }
    try {
        std::ifstream in(argv[1], std::ios::binary);
        std::ofstream out(argv[2], std::ios::binary);
        adjust(in, out);
        if (!out.flush()) {
            throw std::runtime_error("write error on " + std::string(argv[2]));
        }
    } catch (const std::exception& error) {
        std::cerr << "pipeline: " << argv[1] << ": " << error.what() << '\n';
        return 1;
    }
    return 0;
}
