#include <png.h>

#include <bit>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"
#include "programs/io/Exif.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"
#include "programs/io/Writers.h"

namespace platen_tool {

namespace {

// All that the guarded steps touch. Nothing in it has a destructor.
struct PngState {
    CodecGuard guard;
    OutputFile* file = nullptr;
    png_structp png = nullptr;
    png_infop info = nullptr;
    const ImageInfo* page = nullptr;
    std::uint8_t* exif = nullptr;
    std::size_t exifBytes = 0;
    const std::uint8_t* row = nullptr;
    bool profileLeftOut = false;
};

void OnError(png_structp png, png_const_charp text) {
    static_cast<PngState*>(png_get_error_ptr(png))->guard.Fail(text);
}

void OnWarning(png_structp, png_const_charp) {}

void OnWrite(png_structp png, png_bytep bytes, size_t count) {
    auto* state = static_cast<PngState*>(png_get_io_ptr(png));
    if (!state->file->Write(bytes, count)) {
        state->guard.Fail("can't be written");
    }
}

void OnFlush(png_structp) {}

int ColourType(const ImageInfo& page) {
    const int grey = page.HasAlpha() ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_GRAY;
    const int rgb = page.HasAlpha() ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
    return page.ColourSamples() == 3 ? rgb : grey;
}

void SetMetadata(PngState* state) {
    png_structp png = state->png;
    const ImageInfo& page = *state->page;
    if (page.resolution) {
        png_set_pHYs(png, state->info, PixelsPerMetre(page.resolution->x), PixelsPerMetre(page.resolution->y),
                     PNG_RESOLUTION_METER);
    }
    if (!page.iccProfile.empty()) {
        // libpng looks the profile over and drops what doesn't fit the image; that is no reason to stop.
        png_set_benign_errors(png, 1);
        png_set_iCCP(png, state->info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, page.iccProfile.data(),
                     static_cast<png_uint_32>(page.iccProfile.size()));
        state->profileLeftOut = png_get_valid(png, state->info, PNG_INFO_iCCP) == 0;
    }
    if (state->exifBytes != 0) {
        png_set_eXIf_1(png, state->info, static_cast<png_uint_32>(state->exifBytes), state->exif);
    }
}

void Begin(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    state->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, state, OnError, OnWarning);
    if (state->png == nullptr) {
        state->guard.Fail("out of memory");
    }
    state->info = png_create_info_struct(state->png);
    if (state->info == nullptr) {
        state->guard.Fail("out of memory");
    }
    png_set_write_fn(state->png, state, OnWrite, OnFlush);
    const ImageInfo& page = *state->page;
    png_set_user_limits(state->png, 0x7FFFFFFF, 0x7FFFFFFF);
    png_set_IHDR(state->png, state->info, page.width, page.height, page.bitsPerSample, ColourType(page),
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    // Level 6 takes four times as long on a colour page and saves 3 %.
    png_set_compression_level(state->png, 4);
    SetMetadata(state);
    png_write_info(state->png, state->info);
    if (page.bitsPerSample == 16 && std::endian::native == std::endian::little) {
        png_set_swap(state->png);
    }
}

void WriteRow(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    png_write_row(state->png, state->row);
}

void End(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    png_write_end(state->png, nullptr);
}

class PngWriter : public LineWriter {
  public:
    explicit PngWriter(std::unique_ptr<OutputFile> file) : file_(std::move(file)) {
        state_.file = file_.get();
    }

    ~PngWriter() override {
        png_destroy_write_struct(&state_.png, &state_.info);
    }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void BeginPage(const ImageInfo& info) override {
        if (state_.png != nullptr) {
            RequireSeveralPages(Container::kPng);
        }
        CheckLayout(info);
        info_ = info;
        lines_.Begin(info.height);
        state_.page = &info_;
        if (info.orientation != 1) {
            exif_ = MakeExif(info.orientation, std::nullopt);
            state_.exif = exif_.data();
            state_.exifBytes = exif_.size();
        }
        Run(Begin);
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        state_.row = line;
        if (info_.bitsPerSample == 1) {
            inverted_.assign(line, line + info_.LineBytes());
            InvertBits(inverted_.data(), info_.width);
            state_.row = inverted_.data();
        }
        Run(WriteRow);
        lines_.Add();
    }

    void EndPage() override {
        lines_.CheckEnd();
        Run(End);
    }

    void Commit() override {
        file_->Commit();
    }

    std::string Notice() const override {
        return state_.profileLeftOut ? "the ICC profile doesn't fit a PNG of this layout and was left out" : "";
    }

  private:
    void Run(CodecGuard::Step step) {
        if (!state_.guard.Run(step, &state_)) {
            file_->CheckWriteError();
            throw Error(ExitCode::kFailed, std::string("the PNG can't be written: ") + state_.guard.text);
        }
    }

    std::unique_ptr<OutputFile> file_;
    PngState state_;
    ImageInfo info_;
    std::vector<std::uint8_t> exif_;
    std::vector<std::uint8_t> inverted_;
    LineCount lines_;
};

}  // namespace

std::unique_ptr<LineWriter> MakePngWriter(std::unique_ptr<OutputFile> file, const WriteOptions&) {
    return std::make_unique<PngWriter>(std::move(file));
}

}  // namespace platen_tool
