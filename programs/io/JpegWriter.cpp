#include <cstddef>
#include <cstdio>
// jpeglib.h wants the two above first.
#include <jpeglib.h>

#include <cstring>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"
#include "programs/io/Exif.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"
#include "programs/io/Writers.h"

namespace platen_tool {

namespace {

constexpr int kFullColourQuality = 90;  // from here on the colours keep the full resolution
constexpr std::size_t kBufferBytes = 16384;

// All that the guarded steps touch. Nothing in it has a destructor.
struct JpegState {
    CodecGuard guard;
    OutputFile* file = nullptr;
    const ImageInfo* page = nullptr;
    int quality = 92;
    const std::uint8_t* exif = nullptr;
    std::size_t exifBytes = 0;
    jpeg_compress_struct codec;
    jpeg_error_mgr errors;
    jpeg_destination_mgr destination;
    JSAMPROW row = nullptr;
    JOCTET buffer[kBufferBytes];
};

JpegState* StateOf(void* codec) {
    return static_cast<JpegState*>(static_cast<j_common_ptr>(codec)->client_data);
}

void OnError(j_common_ptr codec) {
    char text[JMSG_LENGTH_MAX];
    codec->err->format_message(codec, text);
    StateOf(codec)->guard.Fail(text);
}

void OnMessage(j_common_ptr, int) {}

void OnStart(j_compress_ptr codec) {
    JpegState* state = StateOf(codec);
    state->destination.next_output_byte = state->buffer;
    state->destination.free_in_buffer = kBufferBytes;
}

boolean OnFull(j_compress_ptr codec) {
    JpegState* state = StateOf(codec);
    if (!state->file->Write(state->buffer, kBufferBytes)) {
        state->guard.Fail("can't be written");
    }
    OnStart(codec);
    return TRUE;
}

void OnEnd(j_compress_ptr codec) {
    JpegState* state = StateOf(codec);
    if (!state->file->Write(state->buffer, kBufferBytes - state->destination.free_in_buffer)) {
        state->guard.Fail("can't be written");
    }
}

void SetDensity(JpegState* state) {
    if (!state->page->resolution) {
        return;
    }
    state->codec.density_unit = 1;
    state->codec.X_density = JfifDensity(state->page->resolution->x);
    state->codec.Y_density = JfifDensity(state->page->resolution->y);
}

void Begin(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    jpeg_create_compress(&state->codec);
    state->codec.dest = &state->destination;
    state->codec.image_width = state->page->width;
    state->codec.image_height = state->page->height;
    state->codec.input_components = state->page->samplesPerPixel;
    state->codec.in_color_space = state->page->samplesPerPixel == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&state->codec);
    jpeg_set_quality(&state->codec, state->quality, TRUE);
    state->codec.dct_method = JDCT_ISLOW;
    if (state->quality >= kFullColourQuality) {
        state->codec.comp_info[0].h_samp_factor = 1;
        state->codec.comp_info[0].v_samp_factor = 1;
    }
    SetDensity(state);
    jpeg_start_compress(&state->codec, TRUE);
    if (state->exifBytes != 0) {
        jpeg_write_marker(&state->codec, JPEG_APP0 + 1, state->exif, static_cast<unsigned>(state->exifBytes));
    }
    if (!state->page->iccProfile.empty()) {
        jpeg_write_icc_profile(&state->codec, state->page->iccProfile.data(),
                               static_cast<unsigned>(state->page->iccProfile.size()));
    }
}

void WriteRow(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    jpeg_write_scanlines(&state->codec, &state->row, 1);
}

void End(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    jpeg_finish_compress(&state->codec);
}

// A JFIF density is a whole number of 16 bits; anything finer goes into EXIF as well.
bool DensityIsExact(const Resolution& resolution) {
    const auto exact = [](const Ratio& ratio) {
        return ratio.denominator != 0 && ratio.numerator % ratio.denominator == 0 &&
               ratio.numerator / ratio.denominator <= 65535;
    };
    return exact(resolution.x) && exact(resolution.y);
}

class JpegWriter : public LineWriter {
  public:
    JpegWriter(std::unique_ptr<OutputFile> file, int quality) : file_(std::move(file)) {
        std::memset(&state_.codec, 0, sizeof state_.codec);
        state_.file = file_.get();
        state_.quality = quality;
        state_.codec.err = jpeg_std_error(&state_.errors);
        state_.errors.error_exit = OnError;
        state_.errors.emit_message = OnMessage;
        state_.codec.client_data = &state_;
        state_.destination.init_destination = OnStart;
        state_.destination.empty_output_buffer = OnFull;
        state_.destination.term_destination = OnEnd;
    }

    ~JpegWriter() override {
        jpeg_destroy_compress(&state_.codec);
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    void BeginPage(const ImageInfo& info) override {
        if (state_.page != nullptr) {
            RequireSeveralPages(Container::kJpeg);
        }
        CheckLayout(info);
        CheckJpegLayout(info);
        info_ = info;
        lines_.Begin(info.height);
        state_.page = &info_;
        const bool fine = info.resolution && !DensityIsExact(*info.resolution);
        if (info.orientation != 1 || fine) {
            exif_ = {'E', 'x', 'i', 'f', 0, 0};
            const auto block = MakeExif(info.orientation, fine ? info.resolution : std::nullopt);
            exif_.insert(exif_.end(), block.begin(), block.end());
            state_.exif = exif_.data();
            state_.exifBytes = exif_.size();
        }
        Run(Begin);
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        state_.row = const_cast<JSAMPROW>(line);  // the codec only reads it
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

  private:
    void Run(CodecGuard::Step step) {
        if (!state_.guard.Run(step, &state_)) {
            file_->CheckWriteError();
            throw Error(ExitCode::kFailed, std::string("the JPEG can't be written: ") + state_.guard.text);
        }
    }

    std::unique_ptr<OutputFile> file_;
    JpegState state_;
    ImageInfo info_;
    std::vector<std::uint8_t> exif_;
    LineCount lines_;
};

}  // namespace

void CheckJpegLayout(const ImageInfo& info) {
    if (info.bitsPerSample != 8) {
        throw Error(ExitCode::kUnsupported, "JPEG can't hold " + LayoutName(info) +
                                                "; 8-bit grey and RGB it can, PNG, TIFF and PNM hold all");
    }
    if (info.HasAlpha()) {
        throw Error(ExitCode::kUnsupported, "JPEG has no alpha channel; PNG, TIFF and PAM have");
    }
    if (info.width > JPEG_MAX_DIMENSION || info.height > JPEG_MAX_DIMENSION) {
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
