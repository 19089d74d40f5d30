#include "programs/io/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "programs/base/Error.h"
#include "programs/io/Spool.h"

namespace platen_tool {

namespace {
constexpr std::size_t kBufferBytes = 32768;
}

InputFile::InputFile(const std::string& path) : buffer_(kBufferBytes) {
    if (path == "-") {
        descriptor_ = STDIN_FILENO;
    } else {
        descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (descriptor_ < 0) {
            throw Error(ExitCode::kFailed, std::string("can't be opened: ") + std::strerror(errno));
        }
        owned_ = true;
    }
    struct stat status {};
    if (fstat(descriptor_, &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            if (owned_) {
                close(descriptor_);
            }
            throw Error(ExitCode::kFailed, "is a folder, not an image file");
        }
        const off_t here = S_ISREG(status.st_mode) ? lseek(descriptor_, 0, SEEK_CUR) : -1;
        seekable_ = here >= 0;
        start_ = seekable_ ? static_cast<std::uint64_t>(here) : 0;
    }
}

InputFile::~InputFile() {
    if (owned_) {
        close(descriptor_);
    }
}

bool InputFile::Fill() noexcept {
    if (begin_ == end_) {
        begin_ = end_ = 0;
    }
    while (error_ == 0 && end_ < buffer_.size()) {
        const ssize_t got = read(descriptor_, buffer_.data() + end_, buffer_.size() - end_);
        if (got > 0) {
            end_ += static_cast<std::size_t>(got);
            return true;
        }
        if (got == 0) {
            return false;
        }
        if (errno != EINTR) {
            error_ = errno;
        }
    }
    return false;
}

std::size_t InputFile::Peek(std::size_t count) noexcept {
    if (begin_ != 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    while (end_ < count && Fill()) {
    }
    return std::min(count, end_);
}

std::size_t InputFile::Read(void* destination, std::size_t count) noexcept {
    auto* out = static_cast<std::uint8_t*>(destination);
    std::size_t done = 0;
    while (done < count) {
        if (begin_ == end_ && !Fill()) {
            break;
        }
        const std::size_t part = std::min(count - done, end_ - begin_);
        std::memcpy(out + done, buffer_.data() + begin_, part);
        begin_ += part;
        done += part;
    }
    return done;
}

bool InputFile::Skip(std::uint64_t count) noexcept {
    const std::size_t have = end_ - begin_;
    if (seekable_ && count > have) {
        const off_t at = lseek(descriptor_, 0, SEEK_CUR);
        const auto left = static_cast<off_t>(count - have);
        if (at >= 0 && static_cast<std::uint64_t>(at + left) <= FileSize(descriptor_) &&
            lseek(descriptor_, left, SEEK_CUR) == at + left) {
            begin_ = end_;
            return true;
        }
    }
    for (std::uint64_t left = count; left != 0;) {
        if (begin_ == end_ && !Fill()) {
            return false;
        }
        const auto part = std::min<std::uint64_t>(left, end_ - begin_);
        begin_ += static_cast<std::size_t>(part);
        left -= part;
    }
    return true;
}

std::size_t InputFile::TakeBuffered(const std::uint8_t** bytes) noexcept {
    if (begin_ == end_ && !Fill()) {
        return 0;
    }
    *bytes = buffer_.data() + begin_;
    const std::size_t count = end_ - begin_;
    begin_ = end_;
    return count;
}

void InputFile::CheckReadError() const {
    if (error_ != 0) {
        throw Error(ExitCode::kFailed, std::string("can't be read: ") + std::strerror(error_));
    }
}

}  // namespace platen_tool
