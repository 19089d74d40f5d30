#include "programs/scan/ScanReader.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "programs/base/Error.h"
#include "programs/io/Samples.h"
#include "programs/io/Spool.h"
#include "programs/scan/SaneLibrary.h"
#include "programs/scan/ScanFrame.h"
#include "programs/scan/ScanInterrupt.h"

namespace platen_tool {

namespace {

// One bit a sample as a byte, 1 being full light: colour's way round. The packed bytes lie `apart` from each
// other, the samples written three.
void ExpandBits(const std::uint8_t* packed, std::size_t width, std::size_t apart, std::uint8_t* out) {
    for (std::size_t x = 0; x < width; ++x) {
        out[3 * x] = (packed[x / 8 * apart] >> (7 - x % 8) & 1) != 0 ? 255 : 0;
    }
}

std::size_t ChannelOf(SANE_Frame format) {
    return format == SANE_FRAME_RED ? 0 : format == SANE_FRAME_GREEN ? 1 : 2;
}

// The three planes of a page that comes in three passes.
class ThreePasses {
  public:
    // Takes the frame that is there and the two that follow.
    ThreePasses(ScanDevice& device, std::unique_ptr<ScanFrame>& frame, const Limits& limits) {
        for (int pass = 0;; ++pass) {
            TakePlane(*frame, pass, limits);
            if (pass == 2) {
                return;
            }
            frame.reset();
            const SANE_Status status = device.Start();
            if (status != SANE_STATUS_GOOD) {
                FailDevice("the next pass can't be started", status);
            }
            frame = std::make_unique<ScanFrame>(device);
        }
    }

    std::uint32_t Height() const {
        return height_;
    }

    void ReadLine(std::uint32_t y, std::uint8_t* line) {
        std::uint64_t offset = std::uint64_t{y} * lineBytes_;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            planes_[channel].ReadAt(offset, plane_.data(), lineBytes_);
            if (depth_ == 1) {
                ExpandBits(plane_.data(), width_, 1, line + channel);
                continue;
            }
            const auto bytes = static_cast<std::size_t>(depth_) / 8;
            for (std::size_t x = 0; x < width_; ++x) {
                std::memcpy(line + (3 * x + channel) * bytes, &plane_[x * bytes], bytes);
            }
        }
    }

  private:
    void TakePlane(ScanFrame& frame, int pass, const Limits& limits) {
        if (frame.Format() == SANE_FRAME_GRAY || frame.Format() == SANE_FRAME_RGB) {
            throw Error(ExitCode::kDevice, "the device sends a whole page where one of three passes was due");
        }
        const std::size_t channel = ChannelOf(frame.Format());
        if (taken_[channel]) {
            throw Error(ExitCode::kDevice, "the device sends the same colour twice");
        }
        taken_[channel] = true;
        if (pass == 0) {
            width_ = frame.Info().width;
            depth_ = frame.Depth();
            lineBytes_ = frame.LineBytes();
            plane_.resize(lineBytes_);
        }
        std::uint32_t lines = 0;
        while (const std::uint8_t* line = frame.ReadLine()) {
            CheckSize(frame.Info().width, lines + 1, limits);  // as long as the height isn't known
            planes_[channel].WriteAt(std::uint64_t{lines} * lineBytes_, line,
                                     std::min(lineBytes_, frame.LineBytes()));
            ++lines;
        }
        frame.Drain();
        const bool same =
            frame.Info().width == width_ && frame.Depth() == depth_ && frame.LineBytes() == lineBytes_;
        if (!same || (pass > 0 && lines != height_) || lines == 0) {
            throw Error(ExitCode::kDevice, "the device's three passes differ in size");
        }
        height_ = lines;
    }

    std::array<Spool, 3> planes_;
    std::array<bool, 3> taken_{};
    std::size_t width_ = 0;
    int depth_ = 8;
    std::size_t lineBytes_ = 0;
    std::uint32_t height_ = 0;
    std::vector<std::uint8_t> plane_;
};

class ScanReader : public LineReader {
  public:
    ScanReader(ScanDevice& device, std::optional<unsigned long> pages, const ReadOptions& options)
        : device_(device), pages_(pages), options_(options), resolution_(device.CurrentResolution()) {
        const bool any = StartPage();
        if (!any) {
            throw Error(ExitCode::kNoDocuments, Sane().statusText(SANE_STATUS_NO_DOCS));
        }
    }

    Container FileContainer() const override {
        return Container::kPnm;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    std::uint32_t PageCount() const override {
        return pages_ == 1ul ? 1 : 0;
    }
    std::string Notice() const override {
        return passes_ ? "spooled to temporary files: the device makes three passes" : "";
    }

    void ReadLine(std::uint8_t* line) override {
        if (!ReadLineOrEnd(line)) {
            throw Error(ExitCode::kDevice, "read behind the last line");
        }
    }

    bool ReadLineOrEnd(std::uint8_t* line) override {
        if (passes_) {
            if (lines_ == info_.height) {
                return false;
            }
            passes_->ReadLine(lines_++, line);
            return true;
        }
        const std::uint8_t* raw = frame_->ReadLine();
        if (raw == nullptr) {
            CheckLines();
            return false;
        }
        CheckSize(info_.width, ++lines_, options_.limits);  // as long as the height isn't known
        Convert(raw, line);
        return true;
    }

    bool NextPage() override {
        CheckInterrupt();  // before the page is given out as a whole one
        if (!passes_) {
            frame_->Drain();
        }
        ++page_;
        if (pages_ && page_ > *pages_) {
            return false;
        }
        return StartPage();
    }

  private:
    // False where the feeder is empty, which devices say when they start or when they are first read.
    bool StartPage() {
        lines_ = 0;
        passes_.reset();
        frame_.reset();
        const SANE_Status status = device_.Start();
        if (status == SANE_STATUS_NO_DOCS) {
            return false;
        }
        if (status != SANE_STATUS_GOOD) {
            FailDevice("the scan can't be started", status);
        }
        frame_ = std::make_unique<ScanFrame>(device_);
        if (!frame_->Begin()) {
            return false;
        }
        TakePage();
        return true;
    }

    void TakePage() {
        info_ = frame_->Info();
        info_.resolution = resolution_;
        CheckSize(info_.width, std::max(info_.height, 1u), options_.limits);
        if (frame_->Format() != SANE_FRAME_GRAY && frame_->Format() != SANE_FRAME_RGB) {
            if (options_.strictStream) {
                throw Error(ExitCode::kUnsupported,
                            "the device makes three passes over a page; --strict-stream forbids spooling");
            }
            passes_.emplace(device_, frame_, options_.limits);
            info_.height = passes_->Height();
        }
    }

    void CheckLines() const {
        if (lines_ == 0) {
            throw Error(ExitCode::kDevice, "the device sent a page without lines");
        }
    }

    void Convert(const std::uint8_t* raw, std::uint8_t* line) const {
        if (frame_->Depth() == 1 && frame_->Format() == SANE_FRAME_RGB) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                ExpandBits(raw + channel, info_.width, 3, line + channel);
            }
            return;
        }
        std::memcpy(line, raw, info_.LineBytes());
        if (info_.bitsPerSample == 1) {
            ClearPadding(line, info_.width);
        }
    }

    ScanDevice& device_;
    const std::optional<unsigned long> pages_;
    const ReadOptions options_;
    const std::optional<Resolution> resolution_;  // a device that scans needn't answer
    ImageInfo info_;
    std::unique_ptr<ScanFrame> frame_;
    std::optional<ThreePasses> passes_;
    std::uint32_t lines_ = 0;
    unsigned long page_ = 1;
};

}  // namespace

std::unique_ptr<LineReader> MakeScanReader(ScanDevice& device, std::optional<unsigned long> pages,
                                           const ReadOptions& options) {
    return std::make_unique<ScanReader>(device, pages, options);
}

}  // namespace platen_tool
