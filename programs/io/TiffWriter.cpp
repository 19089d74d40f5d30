#include "programs/io/TiffWriter.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <vector>

#include "programs/io/CompressionChoice.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/io/Exif.h"
#include "programs/io/LineCount.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"
#include "programs/io/Spool.h"
#include "programs/io/TiffCompression.h"
#include "programs/io/TiffDirectory.h"
#include "programs/io/TiffHandle.h"
#include "programs/io/TiffStrips.h"

namespace platen_tool {

namespace {

constexpr std::size_t kStripBytes = 256 << 10;  // about so much of a page is encoded at a time
constexpr int kFullColourQuality = 90;

class TiffWriter : public LineWriter {
  public:
    TiffWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options)
        : file_(std::move(file)), options_(options) {
        if (!file_->Seekable()) {
            if (options.strictStream) {
                throw Error(ExitCode::kUnsupported,
                            "a TIFF to a pipe must be spooled, which --strict-stream forbids; write it to a file");
            }
            spool_.emplace();
        }
        handle_.emplace(Descriptor(), file_.get());
    }

    void BeginPage(const ImageInfo& info) override {
        CheckLayout(info);
        info_ = info;
        lines_.Begin(info.height);
        compression_ = ChooseCompression(info);
        pageAt_ = FileSize(Descriptor());
        handle_->Expect();
        SetLayout();
        SetCompression();
        SetMetadata();
        handle_->CheckMessages("the TIFF can't be written");
        line_.resize(info.LineBytes());
        if (TiffStrips::Takes(compression_)) {
            strips_.emplace(
                info, compression_, options_.compressionLevel, RowsPerStrip(), options_.workers,
                [this](std::uint32_t strip, std::vector<std::uint8_t>& bytes) { WriteStrip(strip, bytes); });
        }
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        if (strips_) {
            strips_->WriteLine(line);
            lines_.Add();
            return;
        }
        // The codec works on the line in place, for the predictor and the byte order.
        std::copy(line, line + line_.size(), line_.begin());
        handle_->Expect();
        const int result = TIFFWriteScanline(handle_->Get(), line_.data(), lines_.Done(), 0);
        handle_->Check(result == 1, "the TIFF can't be written");
        lines_.Add();
    }

    void EndPage() override {
        lines_.CheckEnd();
        handle_->Expect();
        if (strips_) {
            strips_->End();
            strips_.reset();
            TIFFSetField(handle_->Get(), TIFFTAG_IMAGELENGTH, lines_.Done());
        }
        const int result = TIFFWriteDirectory(handle_->Get());
        handle_->Check(result == 1, "the TIFF can't be written");
        StoreExactResolution();
        keptDirectory_ = lastDirectory_;
        pageAt_.reset();
    }

    // The lines of an unfinished page stand after the last directory, and no directory tells of them.
    void DropPage() override {
        if (!pageAt_) {
            return;
        }
        handle_.reset();
        const int failure = ftruncate(Descriptor(), static_cast<off_t>(*pageAt_)) == 0 ? 0 : errno;
        file_->ForgetWriteError();
        file_->SetWriteError(failure == 0 ? EndChain() : failure);
        pageAt_.reset();
    }

    void Commit() override {
        if (handle_) {
            handle_->Close();
        }
        if (spool_) {
            CopySpool();
        }
        file_->Commit();
    }

    std::string Notice() const override {
        const std::string spooled = spool_ ? "spooled to a temporary file: a TIFF can't be written to a pipe" : "";
        return spooled.empty() || notice_.empty() ? spooled + notice_ : spooled + "; " + notice_;
    }

  private:
    int Descriptor() const {
        return spool_ ? spool_->Descriptor() : file_->Descriptor();
    }

    // What was asked for; else the input's, where it fits; else a lossless one.
    int ChooseCompression(const ImageInfo& info) {
        if (const int asked = AskedCompression(options_, info); asked != 0) {
            return asked;
        }
        const int kept = options_.tiffCompression;
        const bool hasLevel = options_.compressionLevel != 0;  // of Deflate or Zstd: another kind has no use for it
        if (kept != 0 && TiffCompressionFits(kept, info) && (!hasLevel || TiffStrips::Takes(kept))) {
            return kept;
        }
        const int lossless = hasLevel ? COMPRESSION_ADOBE_DEFLATE : COMPRESSION_LZW;
        const int chosen = info.bitsPerSample == 1 ? COMPRESSION_CCITTFAX4 : lossless;
        if (kept != 0 && kept != chosen && !hasLevel) {
            notice_ = "TIFF compression " + std::to_string(kept) + " doesn't fit " + LayoutName(info) + "; " +
                      (chosen == COMPRESSION_LZW ? "LZW" : "Group 4") + " is used";
        }
        return chosen;
    }

    void SetLayout() {
        TIFF* tiff = handle_->Get();
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, info_.width);
        if (info_.height != 0) {
            TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, info_.height);
        }
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, info_.bitsPerSample);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, info_.samplesPerPixel);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        int photometric = info_.ColourSamples() == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        if (info_.bitsPerSample == 1) {
            photometric = PHOTOMETRIC_MINISWHITE;
        } else if (photometric == PHOTOMETRIC_RGB && compression_ == COMPRESSION_JPEG) {
            photometric = PHOTOMETRIC_YCBCR;
        }
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric);
        if (info_.HasAlpha()) {
            const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
        }
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, RowsPerStrip());
    }

    std::uint32_t RowsPerStrip() const {
        const std::size_t rows = std::max<std::size_t>(1, kStripBytes / info_.LineBytes());
        const std::size_t whole = (rows + 15) / 16 * 16;  // JPEG encodes up to 16 rows together
        const std::size_t most = info_.height == 0 ? whole : info_.height;
        return static_cast<std::uint32_t>(std::min(whole, most));
    }

    void WriteStrip(std::uint32_t strip, std::vector<std::uint8_t>& bytes) {
        handle_->Expect();
        const auto count = static_cast<tmsize_t>(bytes.size());
        const bool written = TIFFWriteRawStrip(handle_->Get(), strip, bytes.data(), count) == count;
        handle_->Check(written, "the TIFF can't be written");
    }

    void SetCompression() {
        TIFF* tiff = handle_->Get();
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression_);
        if (compression_ == COMPRESSION_JPEG) {
            TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, options_.jpegQuality);
            if (info_.samplesPerPixel == 3) {
                TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
                const int factor = options_.jpegQuality >= kFullColourQuality ? 1 : 2;
                TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, factor, factor);
            }
        } else if (FindTiffCompression(compression_)->predictor && info_.bitsPerSample >= 8) {
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        }
    }

    void SetMetadata() {
        TIFF* tiff = handle_->Get();
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, info_.orientation);
        if (info_.resolution) {
            TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
            TIFFSetField(tiff, TIFFTAG_XRESOLUTION, info_.resolution->x.Value());
            TIFFSetField(tiff, TIFFTAG_YRESOLUTION, info_.resolution->y.Value());
        }
        if (!info_.iccProfile.empty()) {
            SetBlock(TIFFTAG_ICCPROFILE, info_.iccProfile, info_.iccProfile.size());
        }
        if (info_.description != nullptr) {
            SetDescription();
        }
    }

    // The codec library is silent about memory that it lacks for a field.
    static void RequireKept(bool kept) {
        if (!kept) {
            throw Error(ExitCode::kFailed, "out of memory");
        }
    }

    void SetBlock(std::uint32_t tag, const std::vector<std::uint8_t>& bytes, std::size_t count) {
        TIFFSetField(handle_->Get(), tag, static_cast<std::uint32_t>(count), bytes.data());
        std::uint32_t keptCount = 0;
        const void* kept = nullptr;
        RequireKept(TIFFGetField(handle_->Get(), tag, &keptCount, &kept) != 0 && kept != nullptr);
    }

    void SetDescription() {
        TIFF* tiff = handle_->Get();
        const auto texts = TextsFor(info_);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            std::string text = texts[i];
            for (std::size_t at = text.find('\0'); at != std::string::npos; at = text.find('\0', at)) {
                text.replace(at, 1, "; ");  // of a copyright in two parts
            }
            if (!text.empty()) {
                TIFFSetField(tiff, TextTag(static_cast<TextField>(i)), text.c_str());
                const char* kept = nullptr;
                RequireKept(TIFFGetField(tiff, TextTag(static_cast<TextField>(i)), &kept) != 0 && kept != nullptr);
            }
        }
        const auto& xmp = info_.description->xmp;
        if (!xmp.empty()) {
            SetBlock(TIFFTAG_XMLPACKET, xmp, xmp.size());
        }
        if (auto iptc = info_.description->iptc; !iptc.empty()) {
            // Older codec libraries count it in fours.
            const TIFFField* field = TIFFFieldWithTag(tiff, TIFFTAG_RICHTIFFIPTC);
            const std::size_t unit = field != nullptr && TIFFFieldDataType(field) == TIFF_LONG ? 4 : 1;
            iptc.resize((iptc.size() + unit - 1) / unit * unit);
            SetBlock(TIFFTAG_RICHTIFFIPTC, iptc, iptc.size() / unit);
        }
        SetExif();
    }

    // The directories of EXIF lie before the page's own data, which the codec library appends.
    void SetExif() {
        const std::uint64_t at = (FileSize(Descriptor()) + 1) / 2 * 2;
        const TiffExif exif = MakeTiffExif(info_, at);
        if (exif.bytes.empty()) {
            return;
        }
        WriteAt(at, exif.bytes.data(), exif.bytes.size());
        if (exif.exifAt != 0) {
            TIFFSetField(handle_->Get(), TIFFTAG_EXIFIFD, exif.exifAt);
        }
        if (exif.gpsAt != 0) {
            TIFFSetField(handle_->Get(), TIFFTAG_GPSIFD, exif.gpsAt);
        }
    }

    void WriteAt(std::uint64_t at, const void* bytes, std::size_t count) {
        const int failure = WriteFully(Descriptor(), at, bytes, count);
        if (failure != 0) {
            file_->SetWriteError(failure);
            file_->CheckWriteError();
        }
    }

    // The codec library links a directory into the chain before it writes the directory itself. This ends the chain
    // at the last complete one. Returns 0 or errno.
    int EndChain() const {
        std::uint8_t count[2];
        if (ReadFully(Descriptor(), keptDirectory_, count, sizeof count) != sizeof count) {
            return EIO;
        }
        const std::uint64_t next = keptDirectory_ + 2 + 12 * std::uint64_t{count[0] + 256u * count[1]};
        constexpr std::uint8_t kNone[4] = {};
        return WriteFully(Descriptor(), next, kNone, sizeof kNone);
    }

    // The codec library takes resolutions as floats, which rounds them; the ratios are put in their place here.
    void StoreExactResolution() {
        TiffDirectoryReader reader([this](std::uint64_t offset, void* bytes, std::size_t count) {
            return ReadFully(Descriptor(), offset, bytes, count) == count;
        });
        const std::uint64_t first = reader.ReadHeader().value_or(0);
        const auto before = lastDirectory_ == 0 ? std::nullopt : reader.ReadDirectory(lastDirectory_);
        const std::uint64_t at = before ? before->next : first;
        const auto directory = reader.ReadDirectory(at);
        if (!directory) {
            throw Error(ExitCode::kFailed, "the TIFF can't be written: its directory can't be read back");
        }
        lastDirectory_ = at;
        if (info_.resolution) {
            StoreRatio(directory->Find(TIFFTAG_XRESOLUTION), info_.resolution->x);
            StoreRatio(directory->Find(TIFFTAG_YRESOLUTION), info_.resolution->y);
        }
    }

    void StoreRatio(const TiffEntry* entry, const Ratio& ratio) {
        if (entry == nullptr || entry->Bytes() != 8) {
            return;
        }
        const Ratio small = Reduced(ratio, 0xFFFFFFFFu);
        std::uint8_t bytes[8];
        for (unsigned i = 0; i < 4; ++i) {
            bytes[i] = static_cast<std::uint8_t>(small.numerator >> (8 * i));
            bytes[i + 4] = static_cast<std::uint8_t>(small.denominator >> (8 * i));
        }
        WriteAt(entry->valueAt, bytes, sizeof bytes);
    }

    void CopySpool() {
        std::vector<std::uint8_t> bytes(65536);
        std::uint64_t at = 0;
        for (std::size_t got = bytes.size(); got == bytes.size(); at += got) {
            got = ReadFully(spool_->Descriptor(), at, bytes.data(), bytes.size());
            if (!file_->Write(bytes.data(), got)) {
                file_->CheckWriteError();
            }
        }
    }

    std::unique_ptr<OutputFile> file_;
    const WriteOptions options_;
    int compression_ = 0;
    std::optional<Spool> spool_;
    std::optional<TiffHandle> handle_;
    std::optional<std::uint64_t> pageAt_;  // where the page that is not ended yet begins
    ImageInfo info_;
    std::string notice_;
    std::vector<std::uint8_t> line_;
    std::optional<TiffStrips> strips_;
    LineCount lines_;
    std::uint64_t lastDirectory_ = 0;
    std::uint64_t keptDirectory_ = 0;  // of the last page that is whole
};

}  // namespace

std::unique_ptr<LineWriter> MakeTiffWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options) {
    return std::make_unique<TiffWriter>(std::move(file), options);
}

}  // namespace platen_tool
