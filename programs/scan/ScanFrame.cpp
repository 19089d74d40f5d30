#include "programs/scan/ScanFrame.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

constexpr std::size_t kBufferBytes = 65536;

std::size_t NeededBytes(const SANE_Parameters& p) {
    const std::size_t samples = p.format == SANE_FRAME_RGB ? 3 : 1;
    const auto width = static_cast<std::size_t>(p.pixels_per_line);
    return p.depth == 1 ? (width + 7) / 8 * samples : width * samples * static_cast<std::size_t>(p.depth) / 8;
}

// Looked at as a number: a device may send what the enumeration doesn't have.
bool IsKnownFormat(const SANE_Parameters& p) {
    std::int32_t format = 0;
    static_assert(sizeof format == sizeof p.format);
    std::memcpy(&format, &p.format, sizeof format);
    return format == SANE_FRAME_GRAY || format == SANE_FRAME_RGB || format == SANE_FRAME_RED ||
           format == SANE_FRAME_GREEN || format == SANE_FRAME_BLUE;
}

void CheckRead(SANE_Status status) {
    if (status != SANE_STATUS_GOOD && status != SANE_STATUS_EOF) {
        FailDevice("the scan failed", status);
    }
}

}  // namespace

ImageInfo PageInfo(const SANE_Parameters& p) {
    const bool known = IsKnownFormat(p);
    if (!known) {
        throw Error(ExitCode::kUnsupported,
                    "the device sends frames that are neither grey nor red, green and blue");
    }
    if (p.depth != 1 && p.depth != 8 && p.depth != 16) {
        throw Error(ExitCode::kUnsupported,
                    "the device sends " + std::to_string(p.depth) + " bits a sample; 1, 8 and 16 can be worked on");
    }
    if (p.pixels_per_line <= 0 || p.bytes_per_line <= 0 ||
        static_cast<std::size_t>(p.bytes_per_line) < NeededBytes(p)) {
        throw Error(ExitCode::kDevice, "the device announces lines of " + std::to_string(p.pixels_per_line) +
                                           " pixels in " + std::to_string(p.bytes_per_line) + " bytes");
    }
    const bool colour = p.format != SANE_FRAME_GRAY;
    ImageInfo info;
    info.width = static_cast<std::uint32_t>(p.pixels_per_line);
    info.height = p.lines > 0 ? static_cast<std::uint32_t>(p.lines) : 0;
    info.samplesPerPixel = colour ? 3 : 1;
    info.bitsPerSample = colour && p.depth == 1 ? 8 : p.depth;
    return info;
}

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
