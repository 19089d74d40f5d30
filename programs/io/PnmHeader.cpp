#include "programs/io/PnmHeader.h"

#include <string>

#include "programs/base/Error.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

constexpr std::size_t kLongestLine = 4096;

[[noreturn]] void Damaged(const InputFile& file, const std::string& what) {
    file.CheckReadError();
    throw Error(ExitCode::kFailed, "the PNM is damaged: " + what);
}

int Need(InputFile& file) {
    const int byte = file.Get();
    if (byte < 0) {
        Damaged(file, "the file ends too early");
    }
    return byte;
}

int SkipSpace(InputFile& file) {
    int byte = Need(file);
    while (IsPnmSpace(byte) || byte == '#') {
        if (byte == '#') {
            while (byte != '\n' && byte != '\r') {
                byte = Need(file);
            }
        }
        byte = Need(file);
    }
    return byte;
}

std::string ReadLineOfText(InputFile& file) {
    std::string line;
    for (int byte = Need(file); byte != '\n'; byte = Need(file)) {
        if (line.size() == kLongestLine) {
            Damaged(file, "a line of the header is longer than 4096 bytes");
        }
        line.push_back(static_cast<char>(byte));
    }
    return line;
}

std::uint32_t NumberFromText(const InputFile& file, const std::string& key, const std::string& text) {
    std::uint64_t value = 0;
    bool valid = !text.empty();
    for (const char digit : text) {
        valid = valid && digit >= '0' && digit <= '9' && value <= UINT32_MAX;
        value = valid ? value * 10 + static_cast<std::uint64_t>(digit - '0') : value;
    }
    if (!valid || value > UINT32_MAX) {
        Damaged(file, key + " is not a whole number below 4294967296: " + text.substr(0, 20));
    }
    return static_cast<std::uint32_t>(value);
}

std::string Trimmed(const std::string& text) {
    const char* spaces = " \t\r\v\f";
    const std::size_t first = text.find_first_not_of(spaces);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(spaces) - first + 1);
}

// A tuple type that says more than the depth does: whether there is an alpha sample, and whether it is bilevel.
void ApplyTupleType(const InputFile& file, PnmHeader& header, const std::string& type) {
    const bool known = type.empty() || type == "BLACKANDWHITE" || type == "BLACKANDWHITE_ALPHA" ||
                       type == "GRAYSCALE" || type == "GRAYSCALE_ALPHA" || type == "RGB" || type == "RGB_ALPHA";
    if (!known) {
        throw Error(ExitCode::kUnsupported,
                    "PAM tuple type " + type.substr(0, 40) +
                        " isn't supported; BLACKANDWHITE, GRAYSCALE and RGB are, each with _ALPHA or without");
    }
    if (header.depth < 1 || header.depth > 4) {
        throw Error(ExitCode::kUnsupported,
                    "a PAM of " + std::to_string(header.depth) + " samples a pixel isn't supported; 1 to 4 are");
    }
    const bool alpha = type.ends_with("_ALPHA");
    const int colours = type.starts_with("RGB") ? 3 : 1;
    if (!type.empty() && header.depth != colours + (alpha ? 1 : 0)) {
        Damaged(file, "depth " + std::to_string(header.depth) + " doesn't fit tuple type " + type);
    }
    header.bilevel = type == "BLACKANDWHITE";
    if (header.bilevel && header.maxval != 1) {
        Damaged(file, "tuple type BLACKANDWHITE needs maxval 1");
    }
}

void ReadPamHeader(InputFile& file, PnmHeader& header) {
    std::string type;
    bool seen[4] = {};
    const std::string keys[4] = {"WIDTH", "HEIGHT", "DEPTH", "MAXVAL"};
    std::uint32_t values[4] = {};
    std::size_t typeLines = 0;
    for (std::string line = ReadLineOfText(file); Trimmed(line) != "ENDHDR"; line = ReadLineOfText(file)) {
        line = Trimmed(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::size_t space = line.find_first_of(" \t");
        const std::string key = line.substr(0, space);
        const std::string value = space == std::string::npos ? "" : Trimmed(line.substr(space));
        if (key == "TUPLTYPE") {
            type += (typeLines++ == 0 ? "" : " ") + value;
            if (typeLines > 4) {
                Damaged(file, "TUPLTYPE appears more than four times");
            }
            continue;
        }
        int index = 0;
        while (index < 4 && keys[index] != key) {
            ++index;
        }
        if (index == 4) {
            Damaged(file, "unknown line in the PAM header: " + key.substr(0, 40));
        }
        seen[index] = true;
        values[index] = NumberFromText(file, key, value);
    }
    for (int i = 0; i < 4; ++i) {
        if (!seen[i]) {
            Damaged(file, "the PAM header has no " + keys[i]);
        }
    }
    header.width = values[0];
    header.height = values[1];
    header.depth = values[2] > 1000 ? 1000 : static_cast<int>(values[2]);
    header.maxval = values[3];
    ApplyTupleType(file, header, type);
}

}  // namespace

std::uint32_t ReadPnmNumber(InputFile& file, const char* what, std::uint32_t most) {
    int byte = SkipSpace(file);
    if (byte < '0' || byte > '9') {
        Damaged(file, std::string(what) + " is not a number");
    }
    std::uint64_t value = 0;
    while (byte >= '0' && byte <= '9') {
        value = value * 10 + static_cast<std::uint64_t>(byte - '0');
        if (value > most) {
            Damaged(file, std::string(what) + " is larger than " + std::to_string(most));
        }
        byte = file.Get();
    }
    if (byte == '#') {  // a comment right after a number ends it
        while (byte != '\n' && byte != '\r') {
            byte = Need(file);
        }
    } else if (byte >= 0 && !IsPnmSpace(byte)) {
        Damaged(file, std::string(what) + " is not a number");
    }
    return static_cast<std::uint32_t>(value);
}

std::uint32_t ReadPnmDigit(InputFile& file) {
    const int byte = SkipSpace(file);
    if (byte != '0' && byte != '1') {
        Damaged(file, "a sample of the bitmap is neither 0 nor 1");
    }
    return static_cast<std::uint32_t>(byte - '0');
}

PnmHeader ReadPnmHeader(InputFile& file, const Limits& limits) {
    const int letter = Need(file);
    const int digit = letter == 'P' ? Need(file) : 0;
    if (digit < '1' || digit > '7') {
        Damaged(file, "the bytes after the last page aren't a page");
    }
    PnmHeader header;
    header.kind = digit - '0';
    if (header.kind == 7) {
        if (Need(file) != '\n') {
            Damaged(file, "P7 must stand alone on its line");
        }
        ReadPamHeader(file, header);
    } else {
        header.width = ReadPnmNumber(file, "the width", UINT32_MAX);
        header.height = ReadPnmNumber(file, "the height", UINT32_MAX);
        header.bilevel = header.kind == 1 || header.kind == 4;
        header.maxval = header.bilevel ? 1 : ReadPnmNumber(file, "the maxval", UINT32_MAX);
        header.depth = header.kind == 3 || header.kind == 6 ? 3 : 1;
    }
    if (header.maxval < 1 || header.maxval > 65535) {
        Damaged(file, "maxval " + std::to_string(header.maxval) + "; 1 to 65535 are allowed");
    }
    CheckSize(header.width, header.height, limits);
    return header;
}

}  // namespace platen_tool
