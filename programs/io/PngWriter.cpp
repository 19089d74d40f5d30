#include "programs/io/PngWriter.h"

#include <png.h>

#include <cstring>
#include <new>
#include <optional>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"
#include "programs/io/Exif.h"
#include "programs/io/LineCount.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/PngMemory.h"
#include "programs/io/PngStream.h"
#include "programs/io/PngText.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

// All that the guarded steps touch. Nothing in it has a destructor.
struct PngState {
    CodecGuard guard;
    OutputFile* file = nullptr;
    png_structp png = nullptr;
    png_infop info = nullptr;
    const ImageInfo* page = nullptr;
    const PngChunk* xmp = nullptr;
    std::uint8_t* exif = nullptr;
    std::size_t exifBytes = 0;
    const std::uint8_t* chunk = nullptr;
    std::size_t chunkBytes = 0;
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

void SetChunk(PngState* state, const PngChunk& chunk) {
    png_unknown_chunk raw{};
    std::memcpy(raw.name, chunk.name.c_str(), 4);
    raw.data = const_cast<png_bytep>(chunk.data.data());  // copied
    raw.size = chunk.data.size();
    raw.location = PNG_HAVE_IHDR;
    png_set_keep_unknown_chunks(state->png, PNG_HANDLE_CHUNK_ALWAYS, raw.name, 1);
    png_set_unknown_chunks(state->png, state->info, &raw, 1);
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
    for (const PngChunk& chunk : page.pngColours) {
        SetChunk(state, chunk);
    }
    if (page.description != nullptr) {
        for (const PngChunk& chunk : page.description->pngTexts) {
            SetChunk(state, chunk);
        }
    }
    if (!state->xmp->data.empty()) {
        SetChunk(state, *state->xmp);
    }
    if (state->exifBytes != 0) {
        png_set_eXIf_1(png, state->info, static_cast<png_uint_32>(state->exifBytes), state->exif);
    }
}

void Begin(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    state->png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, state, OnError, OnWarning, &state->guard,
                                           AllocateForPng, nullptr);
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
    SetMetadata(state);
    png_write_info(state->png, state->info);
}

// The rows are compressed by PngStream, so the chunks that hold them are written one by one.
void WriteData(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    const png_byte type[] = {'I', 'D', 'A', 'T', 0};
    png_write_chunk(state->png, type, state->chunk, state->chunkBytes);
}

void WriteEnd(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    const png_byte type[] = {'I', 'E', 'N', 'D', 0};
    png_write_chunk(state->png, type, nullptr, 0);
}

class PngWriter : public LineWriter {
  public:
    PngWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options)
        : file_(std::move(file)), effort_(options.pngEffort), workers_(options.workers) {
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
        const Description* description = info.description.get();
        exif_ = MakeExif(info, description != nullptr ? description->texts : Description{}.texts,
                         ExifResolution::kLeftOut);
        state_.exif = exif_.data();
        state_.exifBytes = exif_.size();
        xmp_ = description != nullptr && !description->xmp.empty() ? MakeXmpChunk(description->xmp) : PngChunk{};
        state_.xmp = &xmp_;
        Run(Begin);
        const std::size_t bytes = info.LineBytes();
        const auto pixelBytes = static_cast<std::size_t>(info.samplesPerPixel * info.bitsPerSample + 7) / 8;
        stream_.emplace(bytes, pixelBytes, info.bitsPerSample >= 8, effort_, workers_,
                        [this](const std::uint8_t* part, std::size_t count) {
                            state_.chunk = part;
                            state_.chunkBytes = count;
                            Run(WriteData);
                        });
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        stream_->WriteRow(StoreBigEndian(line, info_, row_));
        lines_.Add();
    }

    void EndPage() override {
        lines_.CheckEnd();
        stream_->End();
        stream_.reset();
        Run(WriteEnd);
    }

    void Commit() override {
        file_->Commit();
    }

    std::string Notice() const override {
        return state_.profileLeftOut ? "the ICC profile doesn't fit a PNG of this layout and was left out" : "";
    }

  private:
    void Run(CodecGuard::Step step) {
        const bool done = state_.guard.Run(step, &state_);
        if (state_.guard.outOfMemory) {
            throw std::bad_alloc();
        }
        if (!done) {
            file_->CheckWriteError();
            throw Error(ExitCode::kFailed, std::string("the PNG can't be written: ") + state_.guard.text);
        }
    }

    std::unique_ptr<OutputFile> file_;
    PngState state_;
    ImageInfo info_;
    std::vector<std::uint8_t> exif_;
    PngChunk xmp_;
    std::vector<std::uint8_t> row_;
    PngEffort effort_;
    unsigned workers_;
    std::optional<PngStream> stream_;
    LineCount lines_;
};

}  // namespace

std::unique_ptr<LineWriter> MakePngWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options) {
    return std::make_unique<PngWriter>(std::move(file), options);
}

}  // namespace platen_tool
