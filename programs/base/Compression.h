#pragma once

#include <string>

namespace platen_tool {

// What --compression asks of an output.
struct Compression {
    enum class Kind { kNone, kLzw, kDeflate, kZstd, kPackBits, kGroup4, kJpeg, kFast, kDefault, kBest };

    Kind kind = Kind::kDefault;
    int level = 0;     // Deflate 1 to 12, Zstd 1 to 19, JPEG's quality 1 to 100; 0: none given
    std::string text;  // as given, for messages

    // Whether it says how hard to try, and leaves the kind of compression to the format.
    bool IsEffort() const {
        return kind == Kind::kFast || kind == Kind::kDefault || kind == Kind::kBest;
    }
};

}  // namespace platen_tool
