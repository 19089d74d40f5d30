#include "programs/io/JpegWriter.h"

#include <utility>

#include "programs/base/Error.h"
#include "programs/io/JpegEncoder.h"
#include "programs/io/LineCount.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

class JpegWriter : public LineWriter {
  public:
    JpegWriter(std::unique_ptr<OutputFile> file, int quality)
        : file_(std::move(file)),
          encoder_(quality, "the JPEG can't be written: ", [this](const std::uint8_t* bytes, std::size_t count) {
              return file_->Write(bytes, count);
          }) {}

    void BeginPage(const ImageInfo& info) override {
        if (begun_) {
            RequireSeveralPages(Container::kJpeg);
        }
        CheckLayout(info);
        CheckJpegLayout(info);
        begun_ = true;
        lines_.Begin(info.height);
        Checked([&] { encoder_.Begin(info); });
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        Checked([&] { encoder_.WriteLine(line); });
        lines_.Add();
    }

    void EndPage() override {
        lines_.CheckEnd();
        Checked([&] { encoder_.End(); });
    }

    void Commit() override {
        file_->Commit();
    }

  private:
    // A write that failed says more than the codec.
    template <class Step>
    void Checked(Step step) {
        try {
            step();
        } catch (const Error&) {
            file_->CheckWriteError();
            throw;
        }
    }

    std::unique_ptr<OutputFile> file_;
    JpegEncoder encoder_;
    LineCount lines_;
    bool begun_ = false;
};

}  // namespace

constexpr std::uint32_t kMostJpegPixels = 65500;

void CheckJpegLayout(const ImageInfo& info) {
    if (info.bitsPerSample != 8) {
        const bool bilevel = info.bitsPerSample == 1;
        throw Error(ExitCode::kUnsupported, "JPEG can't hold " + LayoutName(info) + "; " +
                                                (bilevel ? "--mode=gray" : "--depth=8") +
                                                " converts the page, and PNG, TIFF and PNM hold it as it is");
    }
    if (info.HasAlpha()) {
        throw Error(
            ExitCode::kUnsupported,
            "JPEG has no alpha channel; --flatten blends the page with white, and PNG, TIFF and PAM keep alpha");
    }
    if (info.width > kMostJpegPixels || info.height > kMostJpegPixels) {
        throw Error(ExitCode::kUnsupported,
                    "JPEG holds at most 65500 pixels on a side; PNG, TIFF and PNM hold more");
    }
    if (info.iccProfile.size() > 255 * 65519u) {
        throw Error(ExitCode::kUnsupported, "the ICC profile is too large for a JPEG");
    }
}

std::unique_ptr<LineWriter> MakeJpegWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options) {
    return std::make_unique<JpegWriter>(std::move(file), options.jpegQuality);
}

}  // namespace platen_tool
