#pragma once

#include <cstddef>
#include <cstdint>

namespace platen_tool {

// A temporary file without a name, in $TMPDIR, /var/tmp or /tmp: it is gone when the program ends, however it
// ends. It holds what has to be read in another order than it arrives.
class Spool {
  public:
    Spool();
    ~Spool();
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    void WriteAt(std::uint64_t offset, const void* bytes, std::size_t count);
    void ReadAt(std::uint64_t offset, void* bytes, std::size_t count) const;

    int Descriptor() const {
        return descriptor_;
    }

  private:
    int descriptor_ = -1;
};

// pread and pwrite until all is done. Reading gives the number of bytes read, less than `count` at the end of
// the file or on an error (errno, 0 at the end); writing gives 0 or errno.
std::size_t ReadFully(int descriptor, std::uint64_t offset, void* bytes, std::size_t count) noexcept;
int WriteFully(int descriptor, std::uint64_t offset, const void* bytes, std::size_t count) noexcept;

// The size of a file; UINT64_MAX for what has none, as a disk.
std::uint64_t FileSize(int descriptor) noexcept;

}  // namespace platen_tool
