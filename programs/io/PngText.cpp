#include "programs/io/PngText.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "programs/io/Spool.h"

namespace platen_tool {

namespace {

constexpr std::size_t kMostText = 1 << 20;
constexpr std::uint32_t kMostChunkBytes = 8'000'000;
constexpr int kMostChunks = 1'000'000;
constexpr char kXmpKeyword[] = "XML:com.adobe.xmp";

std::optional<std::string> Inflated(const std::uint8_t* bytes, std::size_t count, std::size_t most) {
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK) {
        throw std::bad_alloc();
    }
    std::string text;
    stream.next_in = const_cast<Bytef*>(bytes);
    stream.avail_in = static_cast<uInt>(count);
    int result = Z_OK;
    try {
        while (result == Z_OK && text.size() <= most) {
            const std::size_t at = text.size();
            text.resize(at + 16384);
            stream.next_out = reinterpret_cast<Bytef*>(text.data() + at);
            stream.avail_out = 16384;
            result = inflate(&stream, Z_NO_FLUSH);
            text.resize(text.size() - stream.avail_out);
        }
    } catch (...) {
        inflateEnd(&stream);
        throw;
    }
    inflateEnd(&stream);
    if (result == Z_MEM_ERROR) {
        throw std::bad_alloc();
    }
    return result == Z_STREAM_END && text.size() <= most ? std::optional(text) : std::nullopt;
}

std::string Utf8OfLatin1(const std::string& latin) {
    std::string text;
    for (const char c : latin) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

// The bytes up to the next zero, which is taken too; nothing where there is none.
std::optional<std::string> TakeWord(const std::vector<std::uint8_t>& data, std::size_t& at) {
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(at);
    const auto end = std::find(begin, data.end(), 0);
    if (end == data.end()) {
        return std::nullopt;
    }
    at = static_cast<std::size_t>(end - data.begin()) + 1;
    return std::string(begin, end);
}

bool IsText(const char* name) {
    return std::memcmp(name, "tEXt", 4) == 0 || std::memcmp(name, "zTXt", 4) == 0 ||
           std::memcmp(name, "iTXt", 4) == 0;
}

std::optional<PngText> Parse(const PngChunk& chunk, std::size_t most) {
    std::size_t at = 0;
    const auto keyword = TakeWord(chunk.data, at);
    if (!keyword || keyword->empty() || keyword->size() > 79) {
        return std::nullopt;
    }
    PngText result{*keyword, {}};
    bool packed = chunk.name == "zTXt";
    const auto left = [&] { return chunk.data.size() - at; };
    if (packed) {
        if (left() < 1 || chunk.data[at++] != 0) {
            return std::nullopt;
        }
    } else if (chunk.name == "iTXt") {
        if (left() < 2 || chunk.data[at] > 1 || chunk.data[at + 1] != 0) {
            return std::nullopt;
        }
        packed = chunk.data[at] == 1;
        at += 2;
        if (!TakeWord(chunk.data, at) || !TakeWord(chunk.data, at)) {  // language, keyword in it
            return std::nullopt;
        }
    }
    if (packed) {
        auto text = Inflated(chunk.data.data() + at, left(), most);
        if (!text) {
            return std::nullopt;
        }
        result.text = std::move(*text);
    } else {
        result.text.assign(chunk.data.begin() + static_cast<std::ptrdiff_t>(at), chunk.data.end());
    }
    return result.text.size() <= most ? std::optional(result) : std::nullopt;
}

}  // namespace

std::optional<PngText> ReadPngText(const PngChunk& chunk) {
    auto text = Parse(chunk, kMostText);
    if (text) {
        if (chunk.name != "iTXt") {
            text->text = Utf8OfLatin1(text->text);
        }
        std::replace_if(
            text->keyword.begin(), text->keyword.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
        text->text = text->text.substr(0, text->text.find('\0'));
    }
    return text;
}

void TakePngText(PngChunk chunk, Description& description) {
    const std::size_t length = sizeof kXmpKeyword;
    const bool xmp = chunk.name == "iTXt" && chunk.data.size() >= length &&
                     std::memcmp(chunk.data.data(), kXmpKeyword, length) == 0;
    if (xmp) {
        const auto packet = Parse(chunk, kMostXmpBytes);
        if (packet && description.xmp.empty()) {
            description.xmp.assign(packet->text.begin(), packet->text.end());
        } else if (!packet) {
            description.tooLarge.emplace_back("the XMP data");
        }
        return;
    }
    std::size_t bytes = chunk.data.size();
    for (const PngChunk& kept : description.pngTexts) {
        bytes += kept.data.size();
    }
    if (bytes > kMostPngTextBytes || description.pngTexts.size() == kMostPngTexts) {
        if (description.tooLarge.empty() || description.tooLarge.back() != "a part of the PNG's texts") {
            description.tooLarge.emplace_back("a part of the PNG's texts");
        }
        return;
    }
    description.pngTexts.push_back(std::move(chunk));
}

PngChunk MakeXmpChunk(const std::vector<std::uint8_t>& xmp) {
    constexpr std::size_t kHead = sizeof kXmpKeyword + 4;  // not compressed, no language, no keyword in it
    PngChunk chunk{"iTXt", std::vector<std::uint8_t>(kHead + xmp.size())};
    std::memcpy(chunk.data.data(), kXmpKeyword, sizeof kXmpKeyword);
    std::copy(xmp.begin(), xmp.end(), chunk.data.begin() + kHead);
    return chunk;
}

std::vector<PngChunk> ChunksAfterPicture(const InputFile& file) {
    std::vector<PngChunk> chunks;
    if (!file.Seekable()) {
        return chunks;
    }
    std::uint64_t at = file.Start() + 8;
    bool picture = false;
    std::size_t kept = 0;
    for (int count = 0; count < kMostChunks; ++count) {
        std::uint8_t head[8];
        if (ReadFully(file.Descriptor(), at, head, sizeof head) != sizeof head) {
            break;
        }
        const std::uint32_t bytes = static_cast<std::uint32_t>(head[0]) << 24 |
                                    static_cast<std::uint32_t>(head[1]) << 16 |
                                    static_cast<std::uint32_t>(head[2]) << 8 | head[3];
        const std::string name(reinterpret_cast<const char*>(head) + 4, 4);
        if (bytes > 0x7FFFFFFF || name == "IEND") {
            break;
        }
        picture = picture || name == "IDAT";
        const bool wanted = picture && (IsText(name.c_str()) || name == "eXIf");
        if (wanted && bytes <= kMostChunkBytes && kept + bytes <= 2 * std::size_t{kMostChunkBytes}) {
            PngChunk chunk{name, std::vector<std::uint8_t>(bytes)};
            if (ReadFully(file.Descriptor(), at + 8, chunk.data.data(), bytes) != bytes) {
                break;
            }
            kept += bytes;
            chunks.push_back(std::move(chunk));
        }
        at += 12 + std::uint64_t{bytes};
    }
    return chunks;
}

}  // namespace platen_tool
