#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platen_tool {

// An input file, or standard input, read from front to back through a small buffer. The first bytes can be
// looked at without taking them. The reading functions throw nothing, so that codecs written in C may call them.
class InputFile {
  public:
    explicit InputFile(const std::string& path);  // "-": standard input
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // Makes sure that `count` bytes, at most 4096, are buffered, unless the file ends before; gives how many are.
    std::size_t Peek(std::size_t count) noexcept;
    const std::uint8_t* Buffered() const {
        return buffer_.data() + begin_;
    }

    // Reads until `count` bytes are there or the file ends; the number read.
    std::size_t Read(void* destination, std::size_t count) noexcept;

    // Passes over `count` bytes; false where the file ends before. Bytes that were never read aren't looked at.
    bool Skip(std::uint64_t count) noexcept;

    // The next byte, or -1 at the end.
    int Get() noexcept {
        if (begin_ == end_ && !Fill()) {
            return -1;
        }
        return buffer_[begin_++];
    }

    // Hands out all that is buffered, filling the buffer first where it is empty; 0 bytes at the end.
    std::size_t TakeBuffered(const std::uint8_t** bytes) noexcept;

    // Throws when a read has failed, which looks like the end of the file otherwise.
    void CheckReadError() const;

    // Whether bytes can be read from any place with pread; pipes and terminals can't.
    bool Seekable() const {
        return seekable_;
    }
    int Descriptor() const {
        return descriptor_;
    }
    // Where the image begins in a seekable file that was already open.
    std::uint64_t Start() const {
        return start_;
    }

  private:
    bool Fill() noexcept;

    int descriptor_ = -1;
    bool owned_ = false;
    bool seekable_ = false;
    std::uint64_t start_ = 0;
    int error_ = 0;
    std::vector<std::uint8_t> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace platen_tool
