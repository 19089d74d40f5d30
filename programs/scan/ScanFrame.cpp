#include "programs/scan/ScanFrame.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

constexpr std::size_t kBufferBytes = 65536;

void CheckRead(SANE_Status status) {
    if (status != SANE_STATUS_GOOD && status != SANE_STATUS_EOF) {
        FailDevice("the scan failed", status);
    }
}

}  // namespace

ScanFrame::ScanFrame(ScanDevice& device)
    : device_(device), parameters_(device.Parameters()), info_(PageInfo(parameters_)) {
    buffer_.resize(kBufferBytes);
    line_.resize(static_cast<std::size_t>(parameters_.bytes_per_line));
}

bool ScanFrame::Begin() {
    const SANE_Status status = Read();
    if (status == SANE_STATUS_NO_DOCS) {
        return false;
    }
    CheckRead(status);
    return true;
}

// Waits for the next bytes, or what the device says instead.
SANE_Status ScanFrame::Read() {
    constexpr useconds_t kPause = 1000;
    begin_ = 0;
    SANE_Status status = device_.Read(buffer_.data(), buffer_.size(), end_);
    while (status == SANE_STATUS_GOOD && end_ == 0) {
        usleep(kPause);
        status = device_.Read(buffer_.data(), buffer_.size(), end_);
    }
    ended_ = status == SANE_STATUS_EOF;
    return status;
}

// False at the frame's end.
bool ScanFrame::Fill() {
    if (!ended_) {
        CheckRead(Read());
    }
    return !ended_;
}

const std::uint8_t* ScanFrame::ReadLine() {
    if (info_.height != 0 && lines_ == info_.height) {
        return nullptr;
    }
    std::size_t have = 0;
    while (have < line_.size()) {
        if (begin_ == end_ && !Fill()) {
            break;
        }
        const std::size_t part = std::min(line_.size() - have, end_ - begin_);
        std::memcpy(&line_[have], &buffer_[begin_], part);
        begin_ += part;
        have += part;
    }
    if (have == line_.size()) {
        ++lines_;
        return line_.data();
    }
    if (have > 0 || info_.height != 0) {
        throw Error(ExitCode::kDevice,
                    "the device ended the page within line " + std::to_string(lines_ + 1) +
                        (info_.height != 0 ? " of " + std::to_string(info_.height) : std::string()));
    }
    return nullptr;
}

void ScanFrame::Drain() {
    while (!ended_) {
        Fill();
    }
}

}  // namespace platen_tool
