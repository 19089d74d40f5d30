#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "programs/base/Description.h"
#include "programs/io/InputFile.h"

namespace platen_tool {

// A PNG's text chunks: tEXt, zTXt and iTXt.

inline constexpr std::size_t kMostPngTexts = 60;
inline constexpr std::size_t kMostPngTextBytes = 4 << 20;  // of all that are kept
inline constexpr std::size_t kMostXmpBytes = 4 << 20;
inline constexpr std::size_t kMostIptcBytes = 1 << 20;

struct PngText {
    std::string keyword;  // of printable ASCII; other characters are '?'
    std::string text;     // UTF-8
};

// Nothing where the chunk is damaged, or its text is longer than a megabyte.
std::optional<PngText> ReadPngText(const PngChunk& chunk);

// Takes a text chunk into the description: XMP apart, and texts as long as there aren't too many or too large ones.
void TakePngText(PngChunk chunk, Description& description);

// The chunk for XMP.
PngChunk MakeXmpChunk(const std::vector<std::uint8_t>& xmp);

// The chunks of text, and eXIf, that stand after the picture, where the file can be read at any place. The picture
// is passed over.
std::vector<PngChunk> ChunksAfterPicture(const InputFile& file);

}  // namespace platen_tool
