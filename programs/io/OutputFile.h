#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platen_tool {

// What OutputFile's constructor says of a name that it refuses, without a file being made: a folder, or an existing
// file where `force` is false. An Error (kFailed).
void CheckOutputPath(const std::string& path, bool force);

// An output file that appears under its name whole or not at all: the bytes go to a hidden temporary name in the
// same folder, and Commit renames it. Standard output ("-"), devices and named pipes are written as they are.
// The writing functions that codecs written in C call throw nothing; the others' Errors name the output.
class OutputFile {
  public:
    // Without `force` an existing file is refused. `sync`: Commit waits until the disk has everything.
    OutputFile(const std::string& path, bool force, bool sync);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Appends, through a buffer. False on failure, now or before.
    bool Write(const void* bytes, std::size_t count) noexcept;

    // Whether Descriptor() may be read and written at any place; then Write must not be used.
    bool Seekable() const {
        return temporary_;
    }
    int Descriptor() const {
        return descriptor_;
    }

    // Records a failure that happened while Descriptor() was written directly.
    void SetWriteError(int error) noexcept {
        error_ = error_ == 0 ? error : error_;
    }

    // Throws when a write has failed: kBrokenPipe where nobody reads any more, else kFailed.
    void CheckWriteError() const;

    void Commit();

  private:
    bool Flush() noexcept;
    void OpenTemporary(bool exists, unsigned mode);
    void Discard() noexcept;
    [[noreturn]] void Fail(const std::string& what) const;
    [[noreturn]] void Fail(const std::string& what, int error) const;

    const std::string name_;  // as messages call it
    std::string path_;        // the name in the end, links resolved
    std::string temporaryPath_;
    bool temporary_ = false;
    bool sync_ = true;
    int slot_ = -1;
    int descriptor_ = -1;
    int error_ = 0;
    std::vector<std::uint8_t> buffer_;
};

// Removes the temporary files of all outputs that this process has not committed. For signal handlers: it calls
// only what a handler may call.
void RemovePartialOutputs() noexcept;

}  // namespace platen_tool
