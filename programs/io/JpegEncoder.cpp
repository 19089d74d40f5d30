#include "programs/io/JpegEncoder.h"

#include <cstddef>
#include <cstdio>
// jpeglib.h wants the two above first.
#include <jpeglib.h>

#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/io/Exif.h"
#include "programs/io/JpegMarkers.h"
#include "programs/io/Ratios.h"

namespace platen_tool {

namespace {

constexpr int kFullColourQuality = 90;  // from here on the colours keep the full resolution
constexpr std::size_t kBufferBytes = 16384;

// All that the guarded steps touch. Nothing in it has a destructor.
struct JpegState {
    CodecGuard guard;
    const JpegEncoder::Sink* sink = nullptr;
    const ImageInfo* page = nullptr;
    int quality = 92;
    struct Segment {
        const std::uint8_t* bytes = nullptr;
        std::size_t count = 0;
        int marker = 0;
    };
    Segment segments[3];
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
    if (!(*state->sink)(state->buffer, kBufferBytes)) {
        state->guard.Fail("can't be written");
    }
    OnStart(codec);
    return TRUE;
}

void OnEnd(j_compress_ptr codec) {
    JpegState* state = StateOf(codec);
    if (!(*state->sink)(state->buffer, kBufferBytes - state->destination.free_in_buffer)) {
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
    for (const JpegState::Segment& segment : state->segments) {
        if (segment.count != 0) {
            jpeg_write_marker(&state->codec, segment.marker, segment.bytes, static_cast<unsigned>(segment.count));
        }
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

}  // namespace

struct JpegEncoder::State {
    JpegState codec;
    Sink sink;
    std::string failure;
    ImageInfo info;
    std::vector<std::uint8_t> segments[3];

    void Run(CodecGuard::Step step) {
        if (!codec.guard.Run(step, &codec)) {
            throw Error(ExitCode::kFailed, failure + codec.guard.text);
        }
    }
};

JpegEncoder::JpegEncoder(int quality, std::string failure, Sink sink) : state_(new State) {
    state_->sink = std::move(sink);
    state_->failure = std::move(failure);
    JpegState& codec = state_->codec;
    std::memset(&codec.codec, 0, sizeof codec.codec);
    codec.sink = &state_->sink;
    codec.quality = quality;
    codec.codec.err = jpeg_std_error(&codec.errors);
    codec.errors.error_exit = OnError;
    codec.errors.emit_message = OnMessage;
    codec.codec.client_data = &codec;
    codec.destination.init_destination = OnStart;
    codec.destination.empty_output_buffer = OnFull;
    codec.destination.term_destination = OnEnd;
}

JpegEncoder::~JpegEncoder() {
    jpeg_destroy_compress(&state_->codec.codec);
}

void JpegEncoder::Begin(const ImageInfo& info) {
    state_->info = info;
    state_->codec.page = &state_->info;
    const ExifResolution resolution =
        info.resolution && !DensityIsExact(*info.resolution) ? ExifResolution::kIncluded : ExifResolution::kLeftOut;
    auto block = MakeExif(info, TextsFor(info), resolution);
    if (block.size() > kMostJpegExif) {
        ImageInfo bare = info;
        bare.description.reset();
        block = MakeExif(bare, {}, resolution);
    }
    if (!block.empty()) {
        state_->segments[0] = {'E', 'x', 'i', 'f', 0, 0};
        state_->segments[0].insert(state_->segments[0].end(), block.begin(), block.end());
    }
    if (info.description != nullptr) {
        state_->segments[1] = MakeXmpSegment(*info.description);
        state_->segments[2] = MakeIptcSegment(*info.description);
    }
    for (std::size_t i = 0; i < std::size(state_->segments); ++i) {
        const auto& segment = state_->segments[i];
        state_->codec.segments[i] = {segment.data(), segment.size(), JPEG_APP0 + (i < 2 ? 1 : 13)};
    }
    state_->Run(platen_tool::Begin);
}

void JpegEncoder::WriteLine(const std::uint8_t* line) {
    state_->codec.row = const_cast<JSAMPROW>(line);  // the codec only reads it
    state_->Run(WriteRow);
}

void JpegEncoder::End() {
    state_->Run(platen_tool::End);
}

}  // namespace platen_tool
