#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platen_tool {

// The file that an output of this name would make or replace: links are followed, also those that lead to no file
// yet.
std::string ResolvedOutput(std::string path);

struct FileOptions {
    bool force = false;  // replace an existing file; without it one is refused, even one that appears before Commit
    bool sync = true;    // Commit waits until the disk has everything
};

// What OutputFile's constructor says of a name that it refuses, without a file being made: a folder, an existing
// file or a link to none without `force`, a folder that can't be written to. An Error (kFailed).
void CheckOutputPath(const std::string& path, FileOptions options);

// An output file that appears under its name whole or not at all: the bytes go to a hidden temporary name in the
// same folder, and Commit renames it. Standard output ("-"), devices and named pipes are written as they are.
// The writing functions that codecs written in C call throw nothing; the others' Errors name the output.
class OutputFile {
  public:
    OutputFile(const std::string& path, FileOptions options);
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
    //   what  what could not be written, where that is not the output itself
    void SetWriteError(int error, const char* what = nullptr) noexcept {
        failed_ = error_ == 0 ? what : failed_;
        error_ = error_ == 0 ? error : error_;
    }

    // After what failed to be written has been taken back.
    void ForgetWriteError() noexcept {
        error_ = 0;
    }

    // Throws when a write has failed: kBrokenPipe where nobody reads any more, else kFailed.
    void CheckWriteError() const;

    // For files that are written by Write: where a page begins, and taking back all that was written since,
    // failures included. What has left through a pipe stays there.
    // EndPage throws where the page's last bytes can't be written, so that they don't count as whole.
    void MarkPage();
    void EndPage();
    void DropPage();

    void Commit();

  private:
    bool Flush() noexcept;
    bool Rename() const;
    void OpenTemporary(bool exists, unsigned mode);
    void Discard() noexcept;
    [[noreturn]] void Fail(const std::string& what) const;
    [[noreturn]] void Fail(const std::string& what, int error) const;

    const std::string name_;  // as messages call it
    std::string path_;        // the name in the end, links resolved
    std::string temporaryPath_;
    bool temporary_ = false;
    bool sync_ = true;
    bool mayReplace_ = false;
    int slot_ = -1;
    int descriptor_ = -1;
    int error_ = 0;
    const char* failed_ = nullptr;  // what failed, null: the output
    std::uint64_t written_ = 0;
    std::uint64_t pageAt_ = 0;
    std::vector<std::uint8_t> buffer_;
};

// Removes the temporary files of all outputs that this process has not committed. For signal handlers: it calls
// only what a handler may call.
void RemovePartialOutputs() noexcept;

}  // namespace platen_tool
