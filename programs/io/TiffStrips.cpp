#include "programs/io/TiffStrips.h"

#include <libdeflate.h>
#include <tiffio.h>
#include <zstd.h>

#include <bit>
#include <cstring>
#include <memory>
#include <utility>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const {
        libdeflate_free_compressor(compressor);
    }
};

std::vector<std::uint8_t> DeflateStrip(const std::vector<std::uint8_t>& bytes, int level) {
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(libdeflate_alloc_compressor(level));
    if (compressor == nullptr) {
        throw Error(ExitCode::kFailed, "out of memory");
    }
    std::vector<std::uint8_t> out(libdeflate_zlib_compress_bound(compressor.get(), bytes.size()));
    out.resize(libdeflate_zlib_compress(compressor.get(), bytes.data(), bytes.size(), out.data(), out.size()));
    return out;
}

std::vector<std::uint8_t> ZstdStrip(const std::vector<std::uint8_t>& bytes, int level) {
    std::vector<std::uint8_t> out(ZSTD_compressBound(bytes.size()));
    const std::size_t count = ZSTD_compress(out.data(), out.size(), bytes.data(), bytes.size(), level);
    out.resize(ZSTD_isError(count) != 0 ? 0 : count);
    return out;
}

// TIFF's horizontal predictor: each sample less the same sample of the pixel to its left. From the right, in place.
template <class Sample>
void Predict(std::uint8_t* line, std::size_t bytes, std::size_t samples) {
    const std::size_t count = bytes / sizeof(Sample);
    std::vector<Sample> values(count);
    std::memcpy(values.data(), line, count * sizeof(Sample));
    std::vector<Sample> out(values);
    for (std::size_t i = samples; i < count; ++i) {
        out[i] = static_cast<Sample>(values[i] - values[i - samples]);
    }
    std::memcpy(line, out.data(), count * sizeof(Sample));
}

void SwapToLittleEndian(std::vector<std::uint8_t>& bytes) {
    if constexpr (std::endian::native == std::endian::big) {
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
            std::swap(bytes[i], bytes[i + 1]);
        }
    }
}

}  // namespace

class TiffStrips::Strip : public Piece {
  public:
    Strip(const TiffStrips& strips, std::vector<std::uint8_t> lines, std::uint32_t number)
        : strips_(strips), bytes_(std::move(lines)), number_(number) {}

    void Run() override {
        for (std::size_t at = 0; at < bytes_.size(); at += strips_.lineBytes_) {
            if (strips_.bits_ == 8) {
                Predict<std::uint8_t>(bytes_.data() + at, strips_.lineBytes_, strips_.samples_);
            } else if (strips_.bits_ == 16) {
                Predict<std::uint16_t>(bytes_.data() + at, strips_.lineBytes_, strips_.samples_);
            }
        }
        if (strips_.bits_ == 16) {
            SwapToLittleEndian(bytes_);
        }
        const bool zstd = strips_.compression_ == COMPRESSION_ZSTD;
        bytes_ = zstd ? ZstdStrip(bytes_, strips_.level_) : DeflateStrip(bytes_, strips_.level_);
        if (bytes_.empty()) {
            throw Error(ExitCode::kFailed, "the TIFF can't be written: a strip can't be compressed");
        }
    }

    void Finish() override {
        strips_.sink_(number_, bytes_);
    }

  private:
    const TiffStrips& strips_;
    std::vector<std::uint8_t> bytes_;
    std::uint32_t number_;
};

bool TiffStrips::Takes(int compression) {
    return compression == COMPRESSION_DEFLATE || compression == COMPRESSION_ADOBE_DEFLATE ||
           compression == COMPRESSION_ZSTD;
}

TiffStrips::TiffStrips(const ImageInfo& info, int compression, int level, std::uint32_t rowsPerStrip,
                       unsigned workers, Sink sink)
    : lineBytes_(info.LineBytes()),
      bits_(info.bitsPerSample),
      samples_(static_cast<std::size_t>(info.samplesPerPixel)),
      compression_(compression),
      level_(level != 0 ? level : (compression == COMPRESSION_ZSTD ? kUsualZstd : kUsualDeflate)),
      stripBytes_(lineBytes_ * rowsPerStrip),
      sink_(std::move(sink)),
      workers_(workers) {}

void TiffStrips::WriteLine(const std::uint8_t* line) {
    if (lines_.empty()) {
        lines_.resize(stripBytes_);
    }
    std::memcpy(lines_.data() + filled_, line, lineBytes_);
    filled_ += lineBytes_;
    if (filled_ == stripBytes_) {
        Submit();
    }
}

void TiffStrips::End() {
    if (filled_ != 0) {
        Submit();
    }
    workers_.Drain();
}

void TiffStrips::Submit() {
    lines_.resize(std::exchange(filled_, 0));
    workers_.Submit(std::make_unique<Strip>(*this, std::exchange(lines_, {}), strip_++));
}

}  // namespace platen_tool
