#include "sane/LineSource.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "programs/io/Spool.h"
#include "programs/scan/DeviceLine.h"

namespace platen_sane {

namespace {

constexpr std::size_t kBufferBytes = 32768;
constexpr SANE_Int kMostLines = 0x7FFFFFFF;

std::size_t LineBytes(const SANE_Parameters& p) {
    const platen_tool::ImageInfo info = platen_tool::PageInfo(p);
    return platen_tool::IsOnePass(p) ? info.LineBytes() / 3 : info.LineBytes();
}

class SpooledLines : public LineSource {
  public:
    explicit SpooledLines(std::size_t lineBytes) : lineBytes_(lineBytes) {}

    void Put(const std::uint8_t* line) {
        spool_.WriteAt(std::uint64_t{height_++} * lineBytes_, line, lineBytes_);
    }
    std::uint32_t Height() const {
        return height_;
    }
    bool Ready() const override {
        return next_ < height_;
    }
    SANE_Status Next(std::uint8_t*& line) override {
        if (next_ == height_) {
            return SANE_STATUS_EOF;
        }
        spool_.ReadAt(std::uint64_t{next_++} * lineBytes_, line, lineBytes_);
        return SANE_STATUS_GOOD;
    }

  private:
    platen_tool::Spool spool_;
    const std::size_t lineBytes_;
    std::uint32_t height_ = 0;
    std::uint32_t next_ = 0;
};

class CollectedLines : public LineSource {
  public:
    explicit CollectedLines(const SANE_Parameters& parameters) : parameters_(parameters) {}

    // Reads one pass to its end; SANE_STATUS_GOOD where all of it came.
    SANE_Status TakePass(Device& device, const SANE_Parameters& pass, const std::atomic<bool>& cancelled) {
        const bool same = pass.pixels_per_line == parameters_.pixels_per_line && pass.depth == parameters_.depth;
        if (!platen_tool::IsKnownPage(pass) || !platen_tool::IsOnePass(pass) || !same ||
            taken_[platen_tool::ChannelOf(pass.format)]) {
            return SANE_STATUS_IO_ERROR;  // three passes that don't make a page
        }
        taken_[platen_tool::ChannelOf(pass.format)] = true;
        DeviceLines lines(device, pass, cancelled);
        SANE_Status status = SANE_STATUS_GOOD;
        std::uint32_t count = 0;
        while (const std::uint8_t* raw = lines.NextRaw(status)) {
            planes_.Put(pass, count++, raw);
        }
        // Where one pass is shorter, so is the page.
        height_ = std::min(height_, count);
        return status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : status;
    }

    std::uint32_t Height() const {
        return height_;
    }
    bool Ready() const override {
        return next_ < height_;
    }
    SANE_Status Next(std::uint8_t*& line) override {
        if (next_ == height_) {
            return SANE_STATUS_EOF;
        }
        planes_.ReadLine(parameters_, next_++, line);
        return SANE_STATUS_GOOD;
    }

  private:
    const SANE_Parameters parameters_;
    platen_tool::Planes planes_;
    std::array<bool, 3> taken_{};
    std::uint32_t height_ = UINT32_MAX;
    std::uint32_t next_ = 0;
};

}  // namespace

DeviceLines::DeviceLines(Device& device, const SANE_Parameters& parameters, const std::atomic<bool>& cancelled)
    : device_(device),
      parameters_(parameters),
      cancelled_(cancelled),
      most_(parameters.lines > 0 ? parameters.lines : kMostLines),
      bytes_(parameters.depth == 8),
      buffer_(kBufferBytes),
      line_(static_cast<std::size_t>(parameters.bytes_per_line)) {}

// Waits for the next bytes, or for the status that ends them.
SANE_Status DeviceLines::Fill() {
    constexpr useconds_t kPause = 1000;
    SANE_Status status = SANE_STATUS_GOOD;
    SANE_Int count = 0;
    begin_ = 0;
    end_ = 0;
    for (;;) {
        status = device_.Read(buffer_.data(), static_cast<SANE_Int>(buffer_.size()), count);
        if (status != SANE_STATUS_GOOD || count > 0) {
            break;
        }
        if (cancelled_) {
            return SANE_STATUS_CANCELLED;
        }
        usleep(kPause);
    }
    end_ = static_cast<std::size_t>(count);
    ended_ = status == SANE_STATUS_EOF;
    return status;
}

std::uint8_t* DeviceLines::NextRaw(SANE_Status& status) {
    while (!ended_) {
        // Data after the last line is read, because the device needs that, and ignored.
        if (begin_ < end_ && lines_ < most_) {
            if (have_ == 0 && end_ - begin_ >= line_.size()) {
                std::uint8_t* line = buffer_.data() + begin_;
                begin_ += line_.size();
                ++lines_;
                status = SANE_STATUS_GOOD;
                return line;
            }
            const std::size_t part = std::min(line_.size() - have_, end_ - begin_);
            std::memcpy(line_.data() + have_, buffer_.data() + begin_, part);
            begin_ += part;
            have_ += part;
            if (have_ == line_.size()) {
                have_ = 0;
                ++lines_;
                status = SANE_STATUS_GOOD;
                return line_.data();
            }
            continue;
        }
        status = Fill();
        if (status != SANE_STATUS_GOOD) {
            return nullptr;
        }
    }
    status = SANE_STATUS_EOF;
    return nullptr;
}

bool DeviceLines::Ready() const {
    return lines_ < most_ && have_ + (end_ - begin_) >= line_.size();
}

SANE_Status DeviceLines::Next(std::uint8_t*& line) {
    SANE_Status status = SANE_STATUS_GOOD;
    std::uint8_t* raw = NextRaw(status);
    if (raw != nullptr && bytes_) {
        line = raw;  // it is in the program's form already, and bytes have no alignment to keep
    } else if (raw != nullptr) {
        platen_tool::TakeDeviceLine(parameters_, raw, line);
    }
    return status;
}

SANE_Status SpoolFrame(Device& device, const SANE_Parameters& parameters, const std::atomic<bool>& cancelled,
                       std::unique_ptr<LineSource>& source, std::uint32_t& height) {
    DeviceLines lines(device, parameters, cancelled);
    auto spooled = std::make_unique<SpooledLines>(LineBytes(parameters));
    std::vector<std::uint8_t> line(LineBytes(parameters));
    SANE_Status status = SANE_STATUS_GOOD;
    for (;;) {
        std::uint8_t* at = line.data();
        status = lines.Next(at);
        if (status != SANE_STATUS_GOOD) {
            break;
        }
        spooled->Put(at);
    }
    if (status != SANE_STATUS_EOF) {
        return status;
    }
    height = spooled->Height();
    source = std::move(spooled);
    return SANE_STATUS_GOOD;
}

SANE_Status CollectPasses(Device& device, const SANE_Parameters& parameters, const std::atomic<bool>& cancelled,
                          std::unique_ptr<LineSource>& source, std::uint32_t& height) {
    auto collected = std::make_unique<CollectedLines>(parameters);
    SANE_Parameters pass = parameters;
    for (int number = 0; number < 3; ++number) {
        SANE_Status status = SANE_STATUS_GOOD;
        if (number > 0) {
            if (cancelled) {
                return SANE_STATUS_CANCELLED;
            }
            status = device.Start();
            if (cancelled) {  // the start may have taken the cancel back
                device.Cancel();
                return SANE_STATUS_CANCELLED;
            }
            if (status == SANE_STATUS_GOOD) {
                status = device.Parameters(pass);
            }
        }
        if (status == SANE_STATUS_GOOD) {
            status = collected->TakePass(device, pass, cancelled);
        }
        if (status != SANE_STATUS_GOOD) {
            return status;
        }
    }
    height = collected->Height();
    source = std::move(collected);
    return SANE_STATUS_GOOD;
}

}  // namespace platen_sane
