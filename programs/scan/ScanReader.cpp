#include "programs/scan/ScanReader.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "programs/base/Error.h"
#include "programs/base/Report.h"
#include "programs/io/Samples.h"
#include "programs/scan/DeviceLine.h"
#include "programs/scan/SaneLibrary.h"
#include "programs/scan/ScanFrame.h"
#include "programs/scan/ScanInterrupt.h"

namespace platen_tool {

namespace {

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
        planes_.ReadLine(form_, y, line);
    }

  private:
    void TakePlane(ScanFrame& frame, int pass, const Limits& limits) {
        const SANE_Parameters& form = frame.Parameters();
        if (!IsOnePass(form)) {
            throw Error(ExitCode::kDevice, "the device sends a whole page where one of three passes was expected");
        }
        const std::size_t channel = ChannelOf(form.format);
        if (taken_[channel]) {
            throw Error(ExitCode::kDevice, "the device sends the same colour twice");
        }
        taken_[channel] = true;
        if (pass == 0) {
            form_ = form;
        }
        std::uint32_t lines = 0;
        while (const std::uint8_t* line = frame.ReadLine()) {
            CheckSize(frame.Info().width, lines + 1, limits);  // as long as the height isn't known
            planes_.Put(form, lines, line);
            ++lines;
        }
        frame.Drain();
        const bool same = form.pixels_per_line == form_.pixels_per_line && form.depth == form_.depth;
        if (!same || (pass > 0 && lines != height_) || lines == 0) {
            throw Error(ExitCode::kDevice, "the device's three passes differ in size");
        }
        height_ = lines;
    }

    Planes planes_;
    std::array<bool, 3> taken_{};
    SANE_Parameters form_{};  // of the first pass
    std::uint32_t height_ = 0;
};

class ScanReader : public LineReader {
  public:
    ScanReader(ScanDevice& device, std::optional<unsigned long> pages, const ReadOptions& options,
               std::optional<unsigned long> promptFrom)
        : device_(device),
          pages_(pages),
          options_(options),
          promptFrom_(promptFrom),
          resolution_(device.CurrentResolution()) {
        if (!WaitForPage()) {
            throw Error(ExitCode::kNoDocuments, "--prompt: ended before the first page; nothing was scanned");
        }
        if (!StartPage()) {
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
            throw Error(ExitCode::kDevice, "read past the last line");
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
        TakeDeviceLine(frame_->Parameters(), raw, line);
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
        return WaitForPage() && StartPage();
    }

  private:
    // False at the end of standard input, where the page isn't wanted any more.
    bool WaitForPage() const {
        if (!promptFrom_) {
            return true;
        }
        PrintMessage({"page ", std::to_string(*promptFrom_ + page_ - 1),
                      ": lay it on the glass and press Enter; Ctrl-D ends the scan"});
        char c = 0;
        ssize_t count = 0;
        do {
            count = read(STDIN_FILENO, &c, 1);
            CheckInterrupt();
        } while (count == 1 ? c != '\n' : count < 0 && errno == EINTR);
        return count == 1;
    }

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
        if (IsOnePass(frame_->Parameters())) {
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

    ScanDevice& device_;
    const std::optional<unsigned long> pages_;
    const ReadOptions options_;
    const std::optional<unsigned long> promptFrom_;
    const std::optional<Resolution> resolution_;  // a device that scans needn't answer
    ImageInfo info_;
    std::unique_ptr<ScanFrame> frame_;
    std::optional<ThreePasses> passes_;
    std::uint32_t lines_ = 0;
    unsigned long page_ = 1;
};

}  // namespace

std::unique_ptr<LineReader> MakeScanReader(ScanDevice& device, std::optional<unsigned long> pages,
                                           const ReadOptions& options, std::optional<unsigned long> promptFrom) {
    return std::make_unique<ScanReader>(device, pages, options, promptFrom);
}

}  // namespace platen_tool
