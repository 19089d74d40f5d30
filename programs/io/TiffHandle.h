#pragma once

#include <tiffio.h>

#include <cstdarg>
#include <cstdint>
#include <string>

#include "programs/base/Error.h"
#include "programs/io/OutputFile.h"
#include "programs/io/TiffDisguise.h"

namespace platen_tool {

// Where a TIFF lies: a descriptor that can be read at any place, where the file begins in it, and what of the
// current directory the codec library gets to see.
struct TiffSource {
    int descriptor = -1;
    std::uint64_t start = 0;
    const TiffDisguise* disguise = nullptr;
};

// A TIFF opened on a descriptor, with messages kept instead of printed. Every handle has its own place in the
// file, so several can read one descriptor. No memory mapping: what is read must count as memory once only.
class TiffHandle {
  public:
    // For reading. No directory is read yet.
    explicit TiffHandle(const TiffSource& source);
    // For writing, little-endian on every machine, into an empty file: the output's own, or a temporary one. Failed
    // writes are noted in `output`.
    TiffHandle(int descriptor, OutputFile* output);
    ~TiffHandle();
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;

    TIFF* Get() const {
        return tiff_;
    }

    // Forgets messages. From Expect to Check, everything that the codec complains about makes Check throw, also
    // what it only warns of: its fax decoders continue past the end of a truncated strip.
    void Expect();
    void Check(bool succeeded, const char* what);
    void CheckMessages(const char* what);  // after calls that have no result
    [[noreturn]] void Fail(const char* what);

    // Closes a written file, and checks that.
    void Close();

  private:
    static int OnError(TIFF*, void* user, const char* module, const char* format, std::va_list arguments);
    static int OnWarning(TIFF*, void* user, const char* module, const char* format, std::va_list arguments);
    static tmsize_t OnRead(thandle_t user, void* bytes, tmsize_t count);
    static tmsize_t OnWrite(thandle_t user, void* bytes, tmsize_t count);
    static std::uint64_t OnSeek(thandle_t user, std::uint64_t offset, int whence);
    static std::uint64_t OnSize(thandle_t user);
    static int OnClose(thandle_t);

    void Open(const char* mode);
    void Keep(const char* format, std::va_list arguments);
    void KeepNoSize(int error);

    TIFF* tiff_ = nullptr;
    int descriptor_;
    std::uint64_t start_ = 0;
    const TiffDisguise* disguise_ = nullptr;
    std::uint64_t position_ = 0;
    OutputFile* output_ = nullptr;
    bool complained_ = false;
    char text_[300] = "";
};

}  // namespace platen_tool
