#pragma once

#include <cstdint>

#include "programs/io/InputFile.h"
#include "programs/io/LineReader.h"

namespace platen_tool {

// What a PNM or PAM header says.
struct PnmHeader {
    int kind = 0;  // the digit of the magic number, 1 to 7
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t maxval = 1;
    int depth = 1;  // samples a pixel
    bool bilevel = false;

    bool Text() const {
        return kind >= 1 && kind <= 3;
    }
    // Bits a sample have in the program's lines.
    int BitsPerSample() const {
        return bilevel ? 1 : maxval > 255 ? 16 : 8;
    }
};

// Reads the header that begins at the file's next byte, up to the first byte of the samples. Sizes are checked.
PnmHeader ReadPnmHeader(InputFile& file, const Limits& limits);

// The next whole number of a header or of text samples, white space and comments before it skipped.
std::uint32_t ReadPnmNumber(InputFile& file, const char* what, std::uint32_t most);

// The next text sample of a bitmap: a single digit, which needs no space after it.
std::uint32_t ReadPnmDigit(InputFile& file);

inline bool IsPnmSpace(int byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

}  // namespace platen_tool
