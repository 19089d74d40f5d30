#include "programs/io/PngReader.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"
#include "programs/io/Exif.h"
#include "programs/io/PngMemory.h"
#include "programs/io/PngText.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"
#include "programs/io/Spool.h"

namespace platen_tool {

namespace {

constexpr png_alloc_size_t kMostChunkBytes = 8'000'000;
constexpr png_uint_32 kMostChunksKept = 64;

// Chunks that say nothing that is kept; libpng skips them unread.
constexpr png_byte kSkipped[] = "bKGD\0hIST\0oFFs\0pCAL\0sBIT\0sCAL\0sPLT\0tIME";
constexpr int kSkippedCount = static_cast<int>(sizeof kSkipped / 5);

// Kept as they are: libpng would mix them with each other and with the profile.
constexpr png_byte kKept[] = "cHRM\0gAMA\0iTXt\0sRGB\0tEXt\0zTXt";
constexpr int kKeptCount = static_cast<int>(sizeof kKept / 5);

// All that the guarded steps touch. Nothing in it has a destructor.
struct PngState {
    CodecGuard guard;
    InputFile* file = nullptr;
    png_structp png = nullptr;
    png_infop info = nullptr;
    png_bytep row = nullptr;
    Limits limits;
};

void OnError(png_structp png, png_const_charp text) {
    static_cast<PngState*>(png_get_error_ptr(png))->guard.Fail(text);
}

void OnWarning(png_structp, png_const_charp) {}

void OnRead(png_structp png, png_bytep bytes, size_t count) {
    auto* state = static_cast<PngState*>(png_get_io_ptr(png));
    if (state->file->Read(bytes, count) != count) {
        state->guard.Fail("the file ends too early");
    }
}

void Create(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    state->png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, state, OnError, OnWarning, &state->guard,
                                          AllocateForPng, nullptr);
    if (state->png == nullptr) {
        state->guard.Fail("out of memory");
    }
    state->info = png_create_info_struct(state->png);
    if (state->info == nullptr) {
        state->guard.Fail("out of memory");
    }
    png_set_read_fn(state->png, state, OnRead);
    png_set_user_limits(state->png, state->limits.maxSide, state->limits.maxSide);
    png_set_chunk_malloc_max(state->png, kMostChunkBytes);
    png_set_chunk_cache_max(state->png, kMostChunksKept);
    png_set_crc_action(state->png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    png_set_keep_unknown_chunks(state->png, PNG_HANDLE_CHUNK_NEVER, kSkipped, kSkippedCount);
    png_set_keep_unknown_chunks(state->png, PNG_HANDLE_CHUNK_ALWAYS, kKept, kKeptCount);
}

void ReadHeader(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    png_read_info(state->png, state->info);
}

// Asks libpng for the program's form of the lines; only the inversion of bilevel ones is left to us.
void ChooseForm(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    png_structp png = state->png;
    const int bits = png_get_bit_depth(png, state->info);
    const int colour = png_get_color_type(png, state->info);
    const bool transparent = png_get_valid(png, state->info, PNG_INFO_tRNS) != 0;
    if (colour == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(png);
    } else if (colour == PNG_COLOR_TYPE_GRAY && bits < 8 && (bits > 1 || transparent)) {
        png_set_expand_gray_1_2_4_to_8(png);
    }
    if (transparent) {
        png_set_tRNS_to_alpha(png);
    }
    if (bits == 16 && std::endian::native == std::endian::little) {
        png_set_swap(png);
    }
    if (png_get_interlace_type(png, state->info) != PNG_INTERLACE_NONE) {
        png_set_interlace_handling(png);
    }
    png_read_update_info(png, state->info);
}

void ReadRow(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    png_read_row(state->png, state->row, nullptr);
}

void ReadEnd(void* pointer) {
    auto* state = static_cast<PngState*>(pointer);
    png_read_end(state->png, nullptr);
}

class PngReader : public LineReader {
  public:
    PngReader(std::unique_ptr<InputFile> file, const ReadOptions& options) : file_(std::move(file)) {
        state_.file = file_.get();
        state_.limits = options.limits;
        CheckHeader(options.limits);
        try {
            Run(Create);
            Run(ReadHeader);
            Run(ChooseForm);
            Describe();
            interlaced_ = png_get_interlace_type(state_.png, state_.info) != PNG_INTERLACE_NONE;
            palette_ = png_get_color_type(state_.png, state_.info) == PNG_COLOR_TYPE_PALETTE;
            if (interlaced_ && !options.headersOnly) {
                SpoolPasses(options);
            }
        } catch (...) {
            Destroy();
            throw;
        }
    }

    ~PngReader() override {
        Destroy();
    }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    Container FileContainer() const override {
        return Container::kPng;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    std::uint32_t PageCount() const override {
        return 1;
    }
    std::string Notice() const override {
        return spool_ ? "spooled to a temporary file: the PNG is interlaced" : "";
    }

    void ReadLine(std::uint8_t* line) override {
        if (nextLine_ >= info_.height) {
            throw Error(ExitCode::kFailed, "read past the last line");
        }
        if (spool_) {
            spool_->ReadAt(std::uint64_t{nextLine_} * info_.LineBytes(), line, info_.LineBytes());
        } else {
            state_.row = line;
            Run(ReadRow);
        }
        ++nextLine_;
        if (info_.bitsPerSample == 1) {
            InvertBits(line, info_.width);
        }
    }

    bool SkipPage() override {
        return false;
    }

    std::vector<std::string> Storage() const override {
        std::vector<std::string> words;
        if (palette_) {
            words.emplace_back("palette");
        }
        if (interlaced_) {
            words.emplace_back("interlaced");
        }
        return words;
    }

    bool NextPage() override {
        if (!ended_) {
            Run(ReadEnd);
            ended_ = true;
        }
        return false;
    }

  private:
    void Run(CodecGuard::Step step) {
        const bool done = state_.guard.Run(step, &state_);
        if (state_.guard.outOfMemory) {
            throw std::bad_alloc();
        }
        if (!done) {
            file_->CheckReadError();
            throw Error(ExitCode::kFailed, std::string("the PNG is damaged: ") + state_.guard.text);
        }
    }

    void Destroy() {
        if (state_.png != nullptr) {
            png_destroy_read_struct(&state_.png, &state_.info, nullptr);
        }
    }

    // Looks at the sizes before libpng does, for a message that tells the limits.
    void CheckHeader(const Limits& limits) {
        if (file_->Peek(33) < 33) {
            file_->CheckReadError();
            throw Error(ExitCode::kFailed, "the PNG is damaged: the file ends too early");
        }
        const std::uint8_t* header = file_->Buffered();
        CheckSize(png_get_uint_32(header + 16), png_get_uint_32(header + 20), limits);
    }

    void Describe() {
        info_.width = png_get_image_width(state_.png, state_.info);
        info_.height = png_get_image_height(state_.png, state_.info);
        info_.bitsPerSample = png_get_bit_depth(state_.png, state_.info);
        info_.samplesPerPixel = png_get_channels(state_.png, state_.info);
        if (png_get_rowbytes(state_.png, state_.info) != info_.LineBytes()) {
            throw Error(ExitCode::kUnsupported, "this PNG layout isn't supported");
        }
        png_uint_32 x = 0, y = 0;
        int unit = PNG_RESOLUTION_UNKNOWN;
        if (png_get_pHYs(state_.png, state_.info, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER) {
            info_.resolution = ResolutionFrom({x, 1}, {y, 1}, LengthUnit::kMetre);
        }
        png_charp name = nullptr;
        png_bytep profile = nullptr;
        png_uint_32 profileBytes = 0;
        int compression = 0;
        if (png_get_iCCP(state_.png, state_.info, &name, &compression, &profile, &profileBytes) != 0) {
            info_.iccProfile.assign(profile, profile + profileBytes);
        }
        Description description;
        KeepChunks(description);
        png_bytep exif = nullptr;
        png_uint_32 exifBytes = 0;
        bool hasExif = png_get_eXIf_1(state_.png, state_.info, &exifBytes, &exif) != 0;
        if (hasExif) {
            info_.orientation = ReadExif(exif, exifBytes, description).orientation;
        }
        for (PngChunk& chunk : ChunksAfterPicture(*file_)) {
            if (chunk.name != "eXIf") {
                TakePngText(std::move(chunk), description);
            } else if (!std::exchange(hasExif, true)) {
                info_.orientation = ReadExif(chunk.data.data(), chunk.data.size(), description).orientation;
            }
        }
        if (description != Description{}) {
            info_.description = std::make_shared<const Description>(std::move(description));
        }
    }

    // Texts; and of what tells colours the first of each name, where it has the length that it must have.
    void KeepChunks(Description& description) {
        png_unknown_chunkp chunks = nullptr;
        const int count = png_get_unknown_chunks(state_.png, state_.info, &chunks);
        for (int i = 0; i < count; ++i) {
            const std::string name(reinterpret_cast<const char*>(chunks[i].name), 4);
            if (name == "tEXt" || name == "zTXt" || name == "iTXt") {
                TakePngText({name, {chunks[i].data, chunks[i].data + chunks[i].size}}, description);
                continue;
            }
            const std::size_t length = name == "cHRM" ? 32 : name == "gAMA" ? 4 : 1;
            const bool known = std::any_of(info_.pngColours.begin(), info_.pngColours.end(),
                                           [&](const PngChunk& chunk) { return chunk.name == name; });
            if (chunks[i].size == length && !known) {
                info_.pngColours.push_back({name, {chunks[i].data, chunks[i].data + length}});
            }
        }
    }

    // Seven passes over the page; each takes the lines that it adds to from the temporary file and puts them
    // back, so two lines are in memory and no more.
    void SpoolPasses(const ReadOptions& options) {
        if (options.strictStream) {
            throw Error(ExitCode::kUnsupported,
                        "the PNG is interlaced; --strict-stream forbids spooling it; save it without interlacing");
        }
        spool_.emplace();
        const std::size_t bytes = info_.LineBytes();
        std::vector<std::uint8_t> row(bytes);
        state_.row = row.data();
        for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
            for (std::uint32_t y = 0; y < info_.height; ++y) {
                const std::uint64_t at = std::uint64_t{y} * bytes;
                const bool touched = PNG_ROW_IN_INTERLACE_PASS(y, pass) != 0;
                if (touched && RowExists(y, pass)) {
                    spool_->ReadAt(at, row.data(), bytes);
                }
                Run(ReadRow);
                if (touched) {
                    spool_->WriteAt(at, row.data(), bytes);
                }
            }
        }
    }

    static bool RowExists(std::uint32_t y, int pass) {
        for (int before = 0; before < pass; ++before) {
            if (PNG_ROW_IN_INTERLACE_PASS(y, before) != 0) {
                return true;
            }
        }
        return false;
    }

    std::unique_ptr<InputFile> file_;
    PngState state_;
    ImageInfo info_;
    std::optional<Spool> spool_;
    std::uint32_t nextLine_ = 0;
    bool interlaced_ = false;
    bool palette_ = false;
    bool ended_ = false;
};

}  // namespace

std::unique_ptr<LineReader> MakePngReader(std::unique_ptr<InputFile> file, const ReadOptions& options) {
    return std::make_unique<PngReader>(std::move(file), options);
}

}  // namespace platen_tool
