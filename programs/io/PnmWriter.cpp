#include "programs/io/PnmWriter.h"

#include <bit>
#include <cstring>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/LineCount.h"
#include "programs/io/PnmHeader.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

// Writes P4, P5 or P6, and P7 where there is alpha or where the name asks for it. Pages follow one another. The
// format has no place for the resolution, the profile or the orientation.
class PnmWriter : public LineWriter {
  public:
    PnmWriter(std::unique_ptr<OutputFile> file, PnmKind kind) : file_(std::move(file)), kind_(kind) {}

    void BeginPage(const ImageInfo& info) override {
        CheckLayout(info);
        info_ = info;
        lines_.Begin(info.height);
        file_->MarkPage();
        inPage_ = true;
        pam_ = kind_ == PnmKind::kPam || info.HasAlpha();
        const std::string header = pam_ ? PamHeader() : PlainHeader();
        Put(header.data(), header.size());
        const bool spread = pam_ && info.bitsPerSample == 1;
        line_.resize(spread ? info.width : info.LineBytes());
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        lines_.Add();
        if (info_.bitsPerSample == 1) {
            FillBits(line);
        } else if (info_.bitsPerSample == 16 && std::endian::native == std::endian::little) {
            for (std::size_t i = 0; i + 1 < line_.size(); i += 2) {
                line_[i] = line[i + 1];
                line_[i + 1] = line[i];
            }
        } else {
            Put(line, info_.LineBytes());
            return;
        }
        Put(line_.data(), line_.size());
    }

    void EndPage() override {
        lines_.CheckEnd();
        file_->EndPage();
        inPage_ = false;
    }

    void DropPage() override {
        if (inPage_) {
            file_->DropPage();
            inPage_ = false;
        }
    }

    void Commit() override {
        file_->Commit();
    }

  private:
    std::string PlainHeader() const {
        const std::string size = std::to_string(info_.width) + " " + std::to_string(info_.height) + "\n";
        if (info_.bitsPerSample == 1) {
            return "P4\n" + size;
        }
        return (info_.samplesPerPixel == 3 ? "P6\n" : "P5\n") + size +
               (info_.bitsPerSample == 16 ? "65535\n" : "255\n");
    }

    std::string PamHeader() const {
        const char* maxval = info_.bitsPerSample == 1 ? "1" : info_.bitsPerSample == 16 ? "65535" : "255";
        std::string type = info_.ColourSamples() == 3 ? "RGB" : "GRAYSCALE";
        type = info_.bitsPerSample == 1 ? "BLACKANDWHITE" : type + (info_.HasAlpha() ? "_ALPHA" : "");
        return "P7\nWIDTH " + std::to_string(info_.width) + "\nHEIGHT " + std::to_string(info_.height) +
               "\nDEPTH " + std::to_string(info_.samplesPerPixel) + "\nMAXVAL " + maxval + "\nTUPLTYPE " + type +
               "\nENDHDR\n";
    }

    void FillBits(const std::uint8_t* line) {
        if (!pam_) {
            std::memcpy(line_.data(), line, line_.size());
            ClearPadding(line_.data(), info_.width);
            return;
        }
        for (std::size_t x = 0; x < line_.size(); ++x) {
            line_[x] = static_cast<std::uint8_t>(PackedSample(line, x, 1) ^ 1u);
        }
    }

    void Put(const void* bytes, std::size_t count) {
        if (!file_->Write(bytes, count)) {
            file_->CheckWriteError();
        }
    }

    std::unique_ptr<OutputFile> file_;
    PnmKind kind_;
    bool pam_ = false;
    bool inPage_ = false;
    ImageInfo info_;
    std::vector<std::uint8_t> line_;
    LineCount lines_;
};

}  // namespace

std::unique_ptr<LineWriter> MakePnmWriter(std::unique_ptr<OutputFile> file, PnmKind kind) {
    return std::make_unique<PnmWriter>(std::move(file), kind);
}

}  // namespace platen_tool
