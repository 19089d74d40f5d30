#include "programs/io/TiffRows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "programs/io/Spool.h"

namespace platen_tool {

namespace {

constexpr std::uint64_t kMostTileRowBytes = 128 << 20;
constexpr std::uint64_t kMostYcbcrPixels = 4 << 20;
constexpr std::uint64_t kMostStripBytes = 4 << 20;  // decoded whole, of all planes

[[noreturn]] void Damaged(const char* what) {
    throw Error(ExitCode::kFailed, std::string("the TIFF is damaged: ") + what);
}

// Without compression a row can be read from its place; so a strip of any size takes no memory.
class PlainRows : public TiffRows {
  public:
    PlainRows(TIFF* tiff, const TiffSource& source, const TiffLayout& layout, const ImageInfo& info)
        : tiff_(tiff), source_(source), height_(info.height), rowBytes_(TIFFScanlineSize64(tiff)) {
        std::uint32_t rows = 0;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
        rowsPerStrip_ = std::clamp<std::uint32_t>(rows, 1, height_);
        stripsPerPlane_ = (height_ + rowsPerStrip_ - 1) / rowsPerStrip_;
        std::uint16_t order = FILLORDER_MSB2LSB;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_FILLORDER, &order);
        reversed_ = order == FILLORDER_LSB2MSB;
        swapped_ = layout.bits == 16 && TIFFIsByteSwapped(tiff) != 0;
    }

    void ReadRow(std::uint32_t y, int plane, std::uint8_t* row) override {
        const std::uint32_t strip = static_cast<std::uint32_t>(plane) * stripsPerPlane_ + y / rowsPerStrip_;
        const std::uint32_t first = y - y % rowsPerStrip_;
        const std::uint64_t rowsHere = std::min(rowsPerStrip_, height_ - first);
        const std::uint64_t offset = TIFFGetStrileOffset(tiff_, strip);
        if (TIFFGetStrileByteCount(tiff_, strip) < rowsHere * rowBytes_ || offset == 0 || offset > INT64_MAX / 2) {
            Damaged("a strip is shorter than its rows");
        }
        const std::uint64_t at = source_.start + offset + (y - first) * rowBytes_;
        const auto bytes = static_cast<std::size_t>(rowBytes_);
        if (ReadFully(source_.descriptor, at, row, bytes) != bytes) {
            Damaged("the file ends too early");
        }
        if (reversed_) {
            TIFFReverseBits(row, static_cast<tmsize_t>(bytes));
        }
        if (swapped_) {
            for (std::size_t i = 0; i + 1 < bytes; i += 2) {
                std::swap(row[i], row[i + 1]);
            }
        }
    }

  private:
    TIFF* tiff_;
    TiffSource source_;
    std::uint32_t height_;
    std::uint64_t rowBytes_;
    std::uint32_t rowsPerStrip_ = 1;
    std::uint32_t stripsPerPlane_ = 1;
    bool reversed_ = false;
    bool swapped_ = false;
};

// Compressed strips. Going from plane to plane with one handle would decode each strip again for every row, so
// each plane has a handle that only goes forward.
class ScanlineRows : public TiffRows {
  public:
    ScanlineRows(TiffHandle& handle, const TiffSource& source, int planes) : first_(handle) {
        for (int plane = 1; plane < planes; ++plane) {
            others_.push_back(std::make_unique<TiffHandle>(source));
            TiffHandle& other = *others_.back();
            other.Expect();
            const int found = TIFFSetSubDirectory(other.Get(), TIFFCurrentDirOffset(handle.Get()));
            if (found == 0) {
                other.Fail("the TIFF is damaged");
            }
        }
    }

    void ReadRow(std::uint32_t y, int plane, std::uint8_t* row) override {
        TiffHandle& handle = plane == 0 ? first_ : *others_[static_cast<std::size_t>(plane) - 1];
        handle.Expect();
        const int result = TIFFReadScanline(handle.Get(), row, y, static_cast<std::uint16_t>(plane));
        handle.Check(result == 1, "the TIFF is damaged");
    }

  private:
    TiffHandle& first_;
    std::vector<std::unique_ptr<TiffHandle>> others_;
};

// Compressed strips that are decoded whole, which codecs do several times as fast as line by line. One strip a
// plane is held decoded, so large strips stay with ScanlineRows.
class StripRows : public TiffRows {
  public:
    StripRows(TiffHandle& handle, const TiffLayout& layout, const ImageInfo& info)
        : handle_(handle),
          height_(info.height),
          rowBytes_(static_cast<std::size_t>(TIFFScanlineSize64(handle.Get()))) {
        TIFFGetFieldDefaulted(handle.Get(), TIFFTAG_ROWSPERSTRIP, &rowsPerStrip_);
        rowsPerStrip_ = std::clamp<std::uint32_t>(rowsPerStrip_, 1, height_);
        stripsPerPlane_ = (height_ - 1) / rowsPerStrip_ + 1;
        strips_.resize(static_cast<std::size_t>(layout.Planes()));
    }

    // Whether a page's strips are for this class.
    static bool Fit(TIFF* tiff, const TiffLayout& layout, const ImageInfo& info) {
        if (layout.compression != COMPRESSION_DEFLATE && layout.compression != COMPRESSION_ADOBE_DEFLATE) {
            return false;
        }
        std::uint32_t rows = 0;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rows);
        const std::uint64_t bytes = TIFFScanlineSize64(tiff) * std::clamp<std::uint32_t>(rows, 1, info.height);
        return bytes * static_cast<std::uint64_t>(layout.Planes()) <= kMostStripBytes;
    }

    void ReadRow(std::uint32_t y, int plane, std::uint8_t* row) override {
        Strip& strip = strips_[static_cast<std::size_t>(plane)];
        const std::uint32_t first = y - y % rowsPerStrip_;
        const std::uint32_t number = static_cast<std::uint32_t>(plane) * stripsPerPlane_ + y / rowsPerStrip_;
        if (strip.number != number) {
            strip.number = UINT32_MAX;
            strip.bytes.resize(std::min(rowsPerStrip_, height_ - first) * rowBytes_);
            const auto count = static_cast<tmsize_t>(strip.bytes.size());
            handle_.Expect();
            const auto got = TIFFReadEncodedStrip(handle_.Get(), number, strip.bytes.data(), count);
            handle_.Check(got == count, "the TIFF is damaged");
            strip.number = number;
        }
        std::memcpy(row, strip.bytes.data() + (y - first) * rowBytes_, rowBytes_);
    }

  private:
    struct Strip {
        std::uint32_t number = UINT32_MAX;
        std::vector<std::uint8_t> bytes;
    };

    TiffHandle& handle_;
    std::uint32_t height_;
    std::size_t rowBytes_;
    std::uint32_t rowsPerStrip_ = 1;
    std::uint32_t stripsPerPlane_ = 1;
    std::vector<Strip> strips_;
};

// YCbCr, whose colours may lie coarser than its light: the codec library makes RGB of whole strips. One is held.
class YcbcrRows : public TiffRows {
  public:
    YcbcrRows(TiffHandle& handle, const ImageInfo& info)
        : handle_(handle), width_(info.width), height_(info.height) {
        TIFFGetFieldDefaulted(handle.Get(), TIFFTAG_ROWSPERSTRIP, &rowsPerStrip_);
        rowsPerStrip_ = std::clamp<std::uint32_t>(rowsPerStrip_, 1, height_);
        if (std::uint64_t{rowsPerStrip_} * width_ > kMostYcbcrPixels) {
            throw Error(ExitCode::kUnsupported, "the TIFF is YCbCr in strips of more than 4 million pixels");
        }
        TIFFSetField(handle.Get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);  // else it would turn them
        // Taken now: the codec library would do without, where it finds no memory.
        float* range = nullptr;
        if (TIFFGetFieldDefaulted(handle.Get(), TIFFTAG_REFERENCEBLACKWHITE, &range) == 0 || range == nullptr) {
            throw Error(ExitCode::kFailed, "out of memory");
        }
        pixels_.resize(std::size_t{rowsPerStrip_} * width_);
    }

    void ReadRow(std::uint32_t y, int, std::uint8_t* row) override {
        const std::uint32_t first = y - y % rowsPerStrip_;
        const std::uint32_t rows = std::min(rowsPerStrip_, height_ - first);
        if (y == first) {
            handle_.Expect();
            const int result = TIFFReadRGBAStripExt(handle_.Get(), first, pixels_.data(), 1);
            handle_.Check(result == 1, "the TIFF is damaged");
        }
        const std::uint32_t* pixels = pixels_.data() + std::size_t{rows - 1 - (y - first)} * width_;  // upside down
        for (std::size_t x = 0; x < width_; ++x) {
            row[3 * x] = static_cast<std::uint8_t>(TIFFGetR(pixels[x]));
            row[3 * x + 1] = static_cast<std::uint8_t>(TIFFGetG(pixels[x]));
            row[3 * x + 2] = static_cast<std::uint8_t>(TIFFGetB(pixels[x]));
        }
    }

  private:
    TiffHandle& handle_;
    std::uint32_t width_;
    std::uint32_t height_;
    std::uint32_t rowsPerStrip_ = 1;
    std::vector<std::uint32_t> pixels_;
};

// Tiles: one row of them, of all planes, is held decoded.
class TileRows : public TiffRows {
  public:
    TileRows(TiffHandle& handle, const TiffLayout& layout, const ImageInfo& info)
        : handle_(handle), planes_(layout.Planes()) {
        TIFFGetField(handle.Get(), TIFFTAG_TILEWIDTH, &tileWidth_);
        TIFFGetField(handle.Get(), TIFFTAG_TILELENGTH, &tileHeight_);
        tileBytes_ = TIFFTileSize64(handle.Get());
        tileRowBytes_ = TIFFTileRowSize64(handle.Get());
        const auto pixelBits = static_cast<std::uint64_t>(layout.bits * (layout.separate ? 1 : layout.samples));
        if (tileWidth_ == 0 || tileHeight_ == 0 || tileBytes_ == 0 || tileRowBytes_ < tileWidth_ * pixelBits / 8 ||
            tileRowBytes_ * tileHeight_ > tileBytes_) {
            Damaged("its tiles have an impossible size");
        }
        across_ = (info.width - 1) / tileWidth_ + 1;
        rowBytes_ = static_cast<std::size_t>((info.width * pixelBits + 7) / 8);
        if (tileWidth_ * pixelBits % 8 != 0) {
            throw Error(ExitCode::kUnsupported, "TIFF tiles whose rows end within a byte aren't supported");
        }
        const std::uint64_t tiles = std::uint64_t{across_} * static_cast<std::uint64_t>(planes_);
        if (tileBytes_ > kMostTileRowBytes || tiles * tileBytes_ > kMostTileRowBytes) {
            throw Error(ExitCode::kFailed, "a row of the TIFF's tiles takes more than 128 MiB, the most allowed");
        }
        // Zeroed by the system when first touched, so that a small file can't fill much memory.
        tiles_.reset(static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(tiles * tileBytes_), 1)));
        if (tiles_ == nullptr) {
            throw Error(ExitCode::kFailed, "out of memory");
        }
    }

    void ReadRow(std::uint32_t y, int plane, std::uint8_t* row) override {
        if (y / tileHeight_ != tileRow_) {
            tileRow_ = y / tileHeight_;
            ReadTiles(y);
        }
        std::size_t done = 0;
        for (std::uint32_t i = 0; i < across_; ++i) {
            const std::size_t part = std::min(static_cast<std::size_t>(tileRowBytes_), rowBytes_ - done);
            std::memcpy(row + done, Tile(i, plane) + y % tileHeight_ * tileRowBytes_, part);
            done += part;
        }
    }

  private:
    struct Free {
        void operator()(std::uint8_t* bytes) const {
            std::free(bytes);
        }
    };

    std::uint8_t* Tile(std::uint32_t i, int plane) {
        return tiles_.get() + (std::size_t{across_} * static_cast<std::size_t>(plane) + i) * tileBytes_;
    }

    void ReadTiles(std::uint32_t y) {
        TIFF* tiff = handle_.Get();
        for (int plane = 0; plane < planes_; ++plane) {
            for (std::uint32_t i = 0; i < across_; ++i) {
                const std::uint32_t number =
                    TIFFComputeTile(tiff, i * tileWidth_, y, 0, static_cast<std::uint16_t>(plane));
                handle_.Expect();
                const auto got =
                    TIFFReadEncodedTile(tiff, number, Tile(i, plane), static_cast<tmsize_t>(tileBytes_));
                handle_.Check(got == static_cast<tmsize_t>(tileBytes_), "the TIFF is damaged");
            }
        }
    }

    TiffHandle& handle_;
    int planes_;
    std::uint32_t tileWidth_ = 0;
    std::uint32_t tileHeight_ = 0;
    std::uint32_t across_ = 0;
    std::size_t rowBytes_ = 0;
    std::uint64_t tileBytes_ = 0;
    std::uint64_t tileRowBytes_ = 0;
    std::unique_ptr<std::uint8_t, Free> tiles_;
    std::uint32_t tileRow_ = UINT32_MAX;
};

}  // namespace

std::unique_ptr<TiffRows> MakeTiffRows(TiffHandle& handle, const TiffSource& source, const TiffLayout& layout,
                                       const ImageInfo& info) {
    if (layout.colours == TiffLayout::Colours::kYcbcr) {
        return std::make_unique<YcbcrRows>(handle, info);
    }
    if (layout.tiled) {
        return std::make_unique<TileRows>(handle, layout, info);
    }
    if (layout.compression == COMPRESSION_NONE) {
        return std::make_unique<PlainRows>(handle.Get(), source, layout, info);
    }
    if (StripRows::Fit(handle.Get(), layout, info)) {
        return std::make_unique<StripRows>(handle, layout, info);
    }
    return std::make_unique<ScanlineRows>(handle, source, layout.Planes());
}

}  // namespace platen_tool
