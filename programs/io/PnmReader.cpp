#include "programs/io/PnmReader.h"

#include <cstring>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/PnmHeader.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

// Reads P1 to P7. A maxval up to 255 gives 8-bit lines, a larger one 16-bit lines; a maxval other than 255 or
// 65535 is scaled to it, rounded to nearest. Pages may follow one another.
class PnmReader : public LineReader {
  public:
    PnmReader(std::unique_ptr<InputFile> file, const ReadOptions& options)
        : file_(std::move(file)), limits_(options.limits) {
        BeginPage();
    }

    Container FileContainer() const override {
        return Container::kPnm;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    std::uint32_t PageCount() const override {
        return 0;
    }

    void ReadLine(std::uint8_t* line) override {
        if (nextLine_ >= info_.height) {
            throw Error(ExitCode::kFailed, "read past the last line");
        }
        ++nextLine_;
        if (header_.kind == 4) {
            ReadBytes(line, info_.LineBytes());
            ClearPadding(line, info_.width);
        } else if (header_.bilevel) {
            ReadBitsOneByOne(line);
        } else if (header_.maxval > 255) {
            ReadWide(line);
        } else {
            ReadNarrow(line);
        }
    }

    bool SkipPage() override {
        if (header_.Text()) {
            return LineReader::SkipPage();
        }
        const bool spread = header_.kind == 7 && header_.bilevel;
        const std::size_t line = header_.kind == 4      ? info_.LineBytes()
                                 : spread               ? samples_
                                 : header_.maxval > 255 ? samples_ * 2
                                                        : samples_;
        if (!file_->Skip(std::uint64_t{line} * info_.height)) {
            file_->CheckReadError();
            throw Error(ExitCode::kFailed, "the PNM is damaged: the file ends before the last line");
        }
        return NextPage();
    }

    bool NextPage() override {
        int byte = file_->Peek(1) == 0 ? -1 : *file_->Buffered();
        while (byte >= 0 && (IsPnmSpace(byte) || (header_.Text() && byte == '#'))) {
            if (byte == '#') {
                while (byte >= 0 && byte != '\n') {
                    byte = file_->Get();
                }
            } else {
                file_->Get();
            }
            byte = file_->Peek(1) == 0 ? -1 : *file_->Buffered();
        }
        file_->CheckReadError();
        if (byte < 0) {
            return false;
        }
        BeginPage();
        return true;
    }

  private:
    void BeginPage() {
        header_ = ReadPnmHeader(*file_, limits_);
        info_ = ImageInfo{};
        info_.width = header_.width;
        info_.height = header_.height;
        info_.bitsPerSample = header_.BitsPerSample();
        info_.samplesPerPixel = header_.depth;
        nextLine_ = 0;
        samples_ = std::size_t{header_.width} * static_cast<std::size_t>(header_.depth);
        raw_.resize(header_.kind == 7 && header_.bilevel ? samples_ : 0);
    }

    void ReadBytes(std::uint8_t* bytes, std::size_t count) {
        if (file_->Read(bytes, count) != count) {
            file_->CheckReadError();
            throw Error(ExitCode::kFailed, "the PNM is damaged: the file ends in line " +
                                               std::to_string(nextLine_) + " of " + std::to_string(info_.height));
        }
    }

    // Text bitmaps (1 is black) and bilevel PAM, a byte a sample (1 is white).
    void ReadBitsOneByOne(std::uint8_t* line) {
        const bool pam = header_.kind == 7;
        if (pam) {
            ReadBytes(raw_.data(), raw_.size());
        }
        std::memset(line, 0, info_.LineBytes());
        for (std::size_t x = 0; x < samples_; ++x) {
            const unsigned sample = pam ? CheckedSample(raw_[x]) ^ 1u : ReadPnmDigit(*file_);
            line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | sample << (7 - x % 8));
        }
    }

    void ReadNarrow(std::uint8_t* line) {
        if (!header_.Text()) {
            ReadBytes(line, samples_);
            if (header_.maxval == 255) {
                return;
            }
        }
        for (std::size_t i = 0; i < samples_; ++i) {
            const unsigned sample = header_.Text() ? ReadText() : CheckedSample(line[i]);
            line[i] = static_cast<std::uint8_t>((sample * 255 + header_.maxval / 2) / header_.maxval);
        }
    }

    void ReadWide(std::uint8_t* line) {
        if (!header_.Text()) {
            ReadBytes(line, samples_ * 2);
        }
        for (std::size_t i = 0; i < samples_; ++i) {
            const unsigned stored = static_cast<unsigned>(line[2 * i] << 8 | line[2 * i + 1]);
            const unsigned sample = header_.Text() ? ReadText() : CheckedSample(stored);
            // At most 65535 * 65535 + 32767: fits 32 bits.
            const auto scaled = static_cast<std::uint16_t>((sample * 65535u + header_.maxval / 2) / header_.maxval);
            std::memcpy(line + 2 * i, &scaled, 2);
        }
    }

    unsigned ReadText() {
        return ReadPnmNumber(*file_, "a sample", header_.maxval);
    }

    unsigned CheckedSample(unsigned sample) const {
        if (sample > header_.maxval) {
            throw Error(ExitCode::kFailed, "the PNM is damaged: sample " + std::to_string(sample) +
                                               " is larger than the maxval " + std::to_string(header_.maxval));
        }
        return sample;
    }

    std::unique_ptr<InputFile> file_;
    Limits limits_;
    PnmHeader header_;
    ImageInfo info_;
    std::size_t samples_ = 0;
    std::vector<std::uint8_t> raw_;
    std::uint32_t nextLine_ = 0;
};

}  // namespace

std::unique_ptr<LineReader> MakePnmReader(std::unique_ptr<InputFile> file, const ReadOptions& options) {
    return std::make_unique<PnmReader>(std::move(file), options);
}

}  // namespace platen_tool
