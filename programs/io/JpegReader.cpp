#include "programs/io/JpegReader.h"

#include <cstddef>
#include <cstdio>
// jpeglib.h wants the two above first.
#include <jerror.h>
#include <jpeglib.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"
#include "programs/io/ColourTransform.h"
#include "programs/io/Exif.h"
#include "programs/io/JpegMarkers.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"

namespace platen_tool {

namespace {

constexpr std::uint64_t kMostHeaderBytes = 32u << 20;
constexpr std::uint64_t kMostCoefficientBytes = 256u << 20;
constexpr int kMostScans = 500;

// All that the guarded steps touch. Nothing in it has a destructor.
struct JpegState {
    CodecGuard guard;
    InputFile* file = nullptr;
    bool inHeader = true;
    bool layoutUnsupported = false;
    std::uint64_t headerBytes = 0;
    jpeg_decompress_struct codec;
    jpeg_error_mgr errors;
    jpeg_source_mgr source;
    jpeg_progress_mgr progress;
    JSAMPROW row = nullptr;
    JOCTET* profile = nullptr;
    unsigned profileBytes = 0;
};

JpegState* StateOf(j_common_ptr codec) {
    return static_cast<JpegState*>(codec->client_data);
}

void OnError(j_common_ptr codec) {
    JpegState* state = StateOf(codec);
    const int code = codec->err->msg_code;
    state->layoutUnsupported =
        code == JERR_BAD_PRECISION || code == JERR_SOF_UNSUPPORTED || code == JERR_CONVERSION_NOTIMPL;
    char text[JMSG_LENGTH_MAX];
    codec->err->format_message(codec, text);
    state->guard.Fail(text);
}

// A warning means that bytes are missing or were made up, except for two that speak of labels only.
void OnMessage(j_common_ptr codec, int level) {
    const int code = codec->err->msg_code;
    if (level < 0 && code != JWRN_ADOBE_XFORM && code != JWRN_JFIF_MAJOR) {
        OnError(codec);
    }
}

void OnStart(j_decompress_ptr) {}

boolean OnFill(j_decompress_ptr codec) {
    JpegState* state = StateOf(reinterpret_cast<j_common_ptr>(codec));
    const std::size_t count = state->file->TakeBuffered(&state->source.next_input_byte);
    if (count == 0) {
        state->guard.Fail("the file ends too early");
    }
    state->headerBytes += count;
    if (state->inHeader && state->headerBytes > kMostHeaderBytes) {
        state->guard.Fail("more than 32 MiB of markers before the image");
    }
    state->source.bytes_in_buffer = count;
    return TRUE;
}

void OnSkip(j_decompress_ptr codec, long count) {
    jpeg_source_mgr* source = codec->src;
    while (count > 0) {
        if (source->bytes_in_buffer == 0) {
            OnFill(codec);
        }
        const auto wanted = static_cast<std::size_t>(count);
        const std::size_t part = wanted < source->bytes_in_buffer ? wanted : source->bytes_in_buffer;
        source->next_input_byte += part;
        source->bytes_in_buffer -= part;
        count -= static_cast<long>(part);
    }
}

void OnEnd(j_decompress_ptr) {}

// A few bytes can ask for any number of passes over a large page.
void OnProgress(j_common_ptr codec) {
    if (reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMostScans) {
        StateOf(codec)->guard.Fail("more than 500 scans");
    }
}

void ReadHeader(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    jpeg_create_decompress(&state->codec);
    state->codec.src = &state->source;
    state->codec.progress = &state->progress;
    jpeg_save_markers(&state->codec, JPEG_APP0 + 1, 0xFFFF);
    jpeg_save_markers(&state->codec, JPEG_APP0 + 2, 0xFFFF);
    jpeg_save_markers(&state->codec, JPEG_APP0 + 13, 0xFFFF);
    jpeg_read_header(&state->codec, TRUE);
    state->inHeader = false;
}

void ReadProfile(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    if (jpeg_read_icc_profile(&state->codec, &state->profile, &state->profileBytes) == FALSE) {
        state->profile = nullptr;
    }
}

void Start(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    state->codec.dct_method = JDCT_ISLOW;
    state->codec.out_color_space = state->codec.num_components == 1   ? JCS_GRAYSCALE
                                   : state->codec.num_components == 4 ? JCS_CMYK
                                                                      : JCS_RGB;
    jpeg_start_decompress(&state->codec);
}

void ReadRow(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    jpeg_read_scanlines(&state->codec, &state->row, 1);
}

void Finish(void* pointer) {
    auto* state = static_cast<JpegState*>(pointer);
    jpeg_finish_decompress(&state->codec);
}

class JpegReader : public LineReader {
  public:
    JpegReader(std::unique_ptr<InputFile> file, const ReadOptions& options) : file_(std::move(file)) {
        Connect();
        try {
            Run(ReadHeader);
            CheckSize(state_.codec.image_width, state_.codec.image_height, options.limits);
            CheckColours();
            Describe();
            progressive_ = jpeg_has_multiple_scans(&state_.codec) != FALSE;
            if (!options.headersOnly) {
                CheckMemory(options);
                Run(Start);
            }
        } catch (...) {
            Destroy();
            throw;
        }
    }

    ~JpegReader() override {
        Destroy();
    }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    Container FileContainer() const override {
        return Container::kJpeg;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    std::uint32_t PageCount() const override {
        return 1;
    }
    std::string Notice() const override {
        return notice_;
    }

    void ReadLine(std::uint8_t* line) override {
        if (nextLine_ >= info_.height) {
            throw Error(ExitCode::kFailed, "read past the last line");
        }
        state_.row = transform_ ? inks_.data() : line;
        Run(ReadRow);
        if (transform_) {
            transform_->Apply(inks_.data(), line, info_.width);
        }
        ++nextLine_;
    }

    bool SkipPage() override {
        return false;
    }
    std::vector<std::string> Storage() const override {
        return progressive_ ? std::vector<std::string>{"progressive"} : std::vector<std::string>();
    }

    bool NextPage() override {
        if (!ended_) {
            Run(Finish);
            ended_ = true;
        }
        return false;
    }

  private:
    void Connect() {
        std::memset(&state_.codec, 0, sizeof state_.codec);
        state_.file = file_.get();
        state_.codec.err = jpeg_std_error(&state_.errors);
        state_.errors.error_exit = OnError;
        state_.errors.emit_message = OnMessage;
        state_.codec.client_data = &state_;
        state_.source.next_input_byte = nullptr;
        state_.source.bytes_in_buffer = 0;
        state_.source.init_source = OnStart;
        state_.source.fill_input_buffer = OnFill;
        state_.source.skip_input_data = OnSkip;
        state_.source.resync_to_restart = jpeg_resync_to_restart;
        state_.source.term_source = OnEnd;
        state_.progress.progress_monitor = OnProgress;
    }

    void Destroy() {
        jpeg_destroy_decompress(&state_.codec);
        std::free(state_.profile);
        state_.profile = nullptr;
    }

    void Run(CodecGuard::Step step) {
        if (!state_.guard.Run(step, &state_)) {
            file_->CheckReadError();
            if (state_.layoutUnsupported) {
                throw Error(ExitCode::kUnsupported, std::string("this kind of JPEG isn't supported: ") +
                                                        state_.guard.text + "; 8-bit grey and colour are");
            }
            throw Error(ExitCode::kFailed, std::string("the JPEG is damaged: ") + state_.guard.text);
        }
    }

    void CheckColours() {
        const J_COLOR_SPACE space = state_.codec.jpeg_color_space;
        const bool inks = space == JCS_CMYK || space == JCS_YCCK;
        if (!inks && space != JCS_GRAYSCALE && space != JCS_RGB && space != JCS_YCbCr) {
            throw Error(ExitCode::kUnsupported,
                        "the JPEG has " + std::to_string(state_.codec.num_components) +
                            " components of an unknown kind; grey, RGB and CMYK are supported");
        }
    }

    // A file in several scans is complete only after the last: its coefficients have to be kept, and this codec
    // keeps them in memory.
    void CheckMemory(const ReadOptions& options) {
        if (jpeg_has_multiple_scans(&state_.codec) == FALSE) {
            return;
        }
        std::uint64_t bytes = 0;
        for (int i = 0; i < state_.codec.num_components; ++i) {
            const jpeg_component_info& part = state_.codec.comp_info[i];
            const auto maxH = static_cast<std::uint64_t>(state_.codec.max_h_samp_factor) * 8;
            const auto maxV = static_cast<std::uint64_t>(state_.codec.max_v_samp_factor) * 8;
            const std::uint64_t across =
                (state_.codec.image_width + maxH - 1) / maxH * static_cast<std::uint64_t>(part.h_samp_factor);
            const std::uint64_t down =
                (state_.codec.image_height + maxV - 1) / maxV * static_cast<std::uint64_t>(part.v_samp_factor);
            bytes += across * down * sizeof(JBLOCK);
        }
        const std::string amount = std::to_string((bytes >> 20) + 1) + " MiB";
        if (options.strictStream) {
            throw Error(ExitCode::kUnsupported, "the JPEG is progressive or in several scans and needs " + amount +
                                                    " of memory; --strict-stream forbids it");
        }
        if (bytes > kMostCoefficientBytes) {
            throw Error(ExitCode::kUnsupported,
                        "the JPEG is progressive or in several scans and needs " + amount +
                            " of memory; allowed: " + std::to_string(kMostCoefficientBytes >> 20) + " MiB");
        }
        notice_ += notice_.empty() ? "" : "; ";
        notice_ += "the JPEG is progressive or in several scans: " + amount + " of memory hold it, at most " +
                   std::to_string(kMostCoefficientBytes >> 20) + " MiB are allowed";
    }

    void Describe() {
        info_.width = state_.codec.image_width;
        info_.height = state_.codec.image_height;
        info_.bitsPerSample = 8;
        info_.samplesPerPixel = state_.codec.num_components == 1 ? 1 : 3;
        const Ratio x{state_.codec.X_density, 1}, y{state_.codec.Y_density, 1};
        if (state_.codec.saw_JFIF_marker != FALSE && state_.codec.density_unit == 1) {
            info_.resolution = ResolutionFrom(x, y, LengthUnit::kInch);
        } else if (state_.codec.saw_JFIF_marker != FALSE && state_.codec.density_unit == 2) {
            info_.resolution = ResolutionFrom(x, y, LengthUnit::kCentimetre);
        }
        ReadMarkers();
        Run(ReadProfile);
        if (state_.profile != nullptr) {
            info_.iccProfile.assign(state_.profile, state_.profile + state_.profileBytes);
        }
        if (state_.codec.num_components == 4) {
            ConvertInks();
        }
    }

    // Whoever says that the file follows Adobe's rules says that 255 is no ink.
    void ConvertInks() {
        using From = ColourTransform::From;
        const bool inverted = state_.codec.saw_Adobe_marker != FALSE;
        transform_.emplace(inverted ? From::kCmyk8Inverted : From::kCmyk8, info_.iccProfile, "the JPEG");
        info_.iccProfile.clear();
        inks_.resize(std::size_t{info_.width} * 4);
        notice_ = transform_->Notice();
    }

    void ReadMarkers() {
        Description description;
        bool exif = false;
        for (auto* marker = state_.codec.marker_list; marker != nullptr; marker = marker->next) {
            if (marker->marker == JPEG_APP0 + 13) {
                TakeIptcSegment(marker->data, marker->data_length, description);
            } else if (marker->marker == JPEG_APP0 + 1 && !exif && marker->data_length > 6 &&
                       std::memcmp(marker->data, "Exif\0\0", 6) == 0) {
                TakeExif(ReadExif(marker->data + 6, marker->data_length - 6, description));
                exif = true;
            } else if (marker->marker == JPEG_APP0 + 1) {
                TakeXmpSegment(marker->data, marker->data_length, description);
            }
        }
        if (description != Description{}) {
            info_.description = std::make_shared<const Description>(std::move(description));
        }
    }

    // The JFIF density counts; but it is whole, so where EXIF says the same more finely, EXIF is taken.
    void TakeExif(const ExifFacts& facts) {
        info_.orientation = facts.orientation;
        if (!facts.resolution) {
            return;
        }
        if (!info_.resolution || (JfifDensity(facts.resolution->x) == JfifDensity(info_.resolution->x) &&
                                  JfifDensity(facts.resolution->y) == JfifDensity(info_.resolution->y))) {
            info_.resolution = facts.resolution;
        }
    }

    std::unique_ptr<InputFile> file_;
    JpegState state_;
    ImageInfo info_;
    std::string notice_;
    std::optional<ColourTransform> transform_;  // of CMYK
    std::vector<std::uint8_t> inks_;
    std::uint32_t nextLine_ = 0;
    bool progressive_ = false;
    bool ended_ = false;
};

}  // namespace

std::unique_ptr<LineReader> MakeJpegReader(std::unique_ptr<InputFile> file, const ReadOptions& options) {
    return std::make_unique<JpegReader>(std::move(file), options);
}

}  // namespace platen_tool
