#include "programs/io/PdfWriter.h"

#include <tiffio.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/CompressionChoice.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/io/JpegEncoder.h"
#include "programs/io/LineCount.h"
#include "programs/io/PngStream.h"
#include "programs/io/Ratios.h"
#include "programs/io/Samples.h"
#include "programs/io/Spool.h"
#include "programs/io/TiffHandle.h"

namespace platen_tool {

namespace {

constexpr double kUsualResolution = 300;  // of pages that have none
constexpr int kPointsPerInch = 72;

// How a page's samples lie in the file.
enum class Filter { kNone, kFlate, kJpeg, kFax };

// A number as PDF wants it: no exponent, no more digits than needed.
std::string Decimal(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.4f", value);
    std::string decimal = text;
    decimal.erase(decimal.find_last_not_of('0') + 1);
    if (decimal.back() == '.') {
        decimal.pop_back();
    }
    return decimal;
}

// The character that begins at `at`, which is moved past it; U+FFFD for a byte that is no UTF-8, as file names may
// have.
std::uint32_t TakeCharacter(const std::string& utf8, std::size_t& at) {
    constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};  // fewer bytes would hold what is less
    constexpr std::size_t kNone = 4;
    const auto lead = static_cast<std::uint8_t>(utf8[at]);
    const std::size_t more = lead < 0x80       ? 0
                             : lead >> 5 == 6  ? 1
                             : lead >> 4 == 14 ? 2
                             : lead >> 3 == 30 ? 3
                                               : kNone;
    std::uint32_t code = more == 0 ? lead : lead & (0x3Fu >> more);
    bool whole = more != kNone && at + more < utf8.size();
    for (std::size_t k = 1; whole && k <= more; ++k) {
        const auto next = static_cast<std::uint8_t>(utf8[at + k]);
        whole = next >> 6 == 2;
        code = code << 6 | (next & 0x3F);
    }
    whole = whole && code >= kLeast[more] && code <= 0x10FFFF && code >> 11 != 0x1B;  // 0x1B: half a pair
    at += whole ? more + 1 : 1;
    return whole ? code : 0xFFFD;
}

// A text string: UTF-16, in hexadecimal digits, so nothing needs an escape.
std::string TextString(const std::string& utf8) {
    std::string text = "<FEFF";
    const auto put = [&text](std::uint32_t unit) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(unit & 0xFFFF));
        text += digits;
    };
    for (std::size_t at = 0; at < utf8.size();) {
        const std::uint32_t code = TakeCharacter(utf8, at);
        if (code >= 0x10000) {
            put(0xD800 + ((code - 0x10000) >> 10));
            put(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            put(code);
        }
    }
    return text + ">";
}

std::string DateString(std::time_t now) {
    std::tm utc = {};
    gmtime_r(&now, &utc);
    char text[40];
    std::strftime(text, sizeof text, "(D:%Y%m%d%H%M%SZ)", &utc);
    return text;
}

// Encodes lines as one Group 4 strip. The codec library writes TIFFs only, so the strip is taken out of one in a
// temporary file.
class FaxStrip {
  public:
    explicit FaxStrip(const ImageInfo& info, OutputFile* output) : handle_(spool_.Descriptor(), output) {
        TIFF* tiff = handle_.Get();
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, info.width);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, UINT32_MAX);
        line_.resize(info.LineBytes());
    }

    void WriteLine(const std::uint8_t* line, std::uint32_t y) {
        line_.assign(line, line + line_.size());
        handle_.Expect();
        const int result = TIFFWriteScanline(handle_.Get(), line_.data(), y, 0);
        handle_.Check(result == 1, "the PDF can't be written");
    }

    // Gives the strip's bytes to `sink`, part by part.
    template <class Sink>
    void End(Sink sink) {
        handle_.Expect();
        const bool flushed = TIFFFlushData(handle_.Get()) == 1;
        handle_.Check(flushed, "the PDF can't be written");
        std::uint64_t at = TIFFGetStrileOffset(handle_.Get(), 0);
        std::uint64_t left = TIFFGetStrileByteCount(handle_.Get(), 0);
        std::array<std::uint8_t, 16384> part;
        while (left != 0) {
            const auto count = static_cast<std::size_t>(left < part.size() ? left : part.size());
            spool_.ReadAt(at, part.data(), count);
            sink(part.data(), count);
            at += count;
            left -= count;
        }
    }

  private:
    Spool spool_;
    TiffHandle handle_;
    std::vector<std::uint8_t> line_;
};

// A PDF of one image a page, written from front to back: each page's image, its length, its colour profile, the
// drawing of it and the page itself; after the last page the list of pages and the table of where each object
// begins.
class PdfWriter : public LineWriter {
  public:
    PdfWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options, std::string title)
        : file_(std::move(file)), options_(options), title_(std::move(title)) {}

    void BeginPage(const ImageInfo& info) override {
        CheckPdfLayout(info);
        info_ = info;
        lines_.Begin(info.height);
        if (objects_.empty()) {
            objects_.resize(kFirstFree);
            Put("%PDF-1.5\n%\xE2\xE3\xCF\xD3\n");
        }
        kept_ = {at_, objects_.size()};
        file_->MarkPage();
        filter_ = ChooseFilter();
        const std::size_t profile = info.iccProfile.empty() ? 0 : PutProfile();
        const bool described = info.description != nullptr;
        if (described && pages_.empty()) {
            texts_ = TextsFor(info);
        }
        BeginImage(profile, described && !info.description->xmp.empty() ? PutXmp() : 0);
    }

    void WriteLine(const std::uint8_t* line) override {
        lines_.CheckRoom();
        if (jpeg_) {
            jpeg_->WriteLine(line);
        } else if (fax_) {
            fax_->WriteLine(line, lines_.Done());
        } else if (flate_) {
            flate_->WriteRow(StoreBigEndian(line, info_, row_));
        } else {
            Put(StoreBigEndian(line, info_, row_), info_.LineBytes());
        }
        lines_.Add();
    }

    void EndPage() override {
        lines_.CheckEnd();
        if (jpeg_) {
            jpeg_->End();
        } else if (fax_) {
            fax_->End([this](const std::uint8_t* bytes, std::size_t count) { Put(bytes, count); });
        } else if (flate_) {
            flate_->End();
        }
        EndStreams();
        const std::uint64_t length = at_ - streamAt_;
        Put("\nendstream\nendobj\n");
        PutObject(length_, std::to_string(length));
        PutPage();
        file_->EndPage();
        kept_.reset();
    }

    void DropPage() override {
        if (kept_) {
            EndStreams();
            file_->DropPage();
            at_ = kept_->at;
            objects_.resize(kept_->objects);
            kept_.reset();
        }
    }

    void Commit() override {
        PutEnd();
        file_->CheckWriteError();
        file_->Commit();
    }

    std::string Notice() const override {
        return guessed_ ? "a page without a resolution is written at 300 dpi" : "";
    }

  private:
    // Objects whose numbers are known beforehand; 0 is PDF's own.
    static constexpr std::size_t kCatalog = 1;
    static constexpr std::size_t kPages = 2;
    static constexpr std::size_t kInformation = 3;
    static constexpr std::size_t kFirstFree = 4;

    struct Kept {
        std::uint64_t at;
        std::size_t objects;
    };

    void Put(const void* bytes, std::size_t count) {
        if (!file_->Write(bytes, count)) {
            file_->CheckWriteError();
        }
        at_ += count;
    }
    void Put(const std::string& text) {
        Put(text.data(), text.size());
    }

    std::size_t NewObject() {
        objects_.push_back(0);
        return objects_.size() - 1;
    }
    void BeginObject(std::size_t number) {
        objects_[number] = at_;
        Put(std::to_string(number) + " 0 obj\n");
    }
    void PutObject(std::size_t number, const std::string& text) {
        BeginObject(number);
        Put(text + "\nendobj\n");
    }
    void PutStream(std::size_t number, const std::string& entries, const void* bytes, std::size_t count) {
        BeginObject(number);
        Put("<<" + entries + " /Length " + std::to_string(count) + ">>\nstream\n");
        Put(bytes, count);
        Put("\nendstream\nendobj\n");
    }
    static std::string Reference(std::size_t number) {
        return std::to_string(number) + " 0 R";
    }

    Filter ChooseFilter() const {
        const bool jpegFits = info_.bitsPerSample == 8 && info_.width <= 65500 && info_.height <= 65500;
        switch (AskedCompression(options_, info_)) {
            case COMPRESSION_NONE:
                return Filter::kNone;
            case COMPRESSION_JPEG:
                return Filter::kJpeg;
            case COMPRESSION_CCITTFAX4:
                return Filter::kFax;
            case COMPRESSION_ADOBE_DEFLATE:
                return Filter::kFlate;
            default:
                return KeptFilter(jpegFits);
        }
    }

    // The input's kind of compression, where it has a use here.
    Filter KeptFilter(bool jpegFits) const {
        switch (options_.tiffCompression) {
            case COMPRESSION_JPEG:
                return jpegFits ? Filter::kJpeg : Filter::kFlate;
            case COMPRESSION_CCITTFAX4:
                return info_.bitsPerSample == 1 ? Filter::kFax : Filter::kFlate;
            case 0:
                if (info_.bitsPerSample == 1) {
                    return Filter::kFax;
                }
                return jpegFits && options_.inputContainer == Container::kJpeg ? Filter::kJpeg : Filter::kFlate;
            default:
                return Filter::kFlate;
        }
    }

    std::size_t PutProfile() {
        const std::size_t profile = NewObject();
        PutStream(profile, "/N " + std::to_string(info_.samplesPerPixel), info_.iccProfile.data(),
                  info_.iccProfile.size());
        return profile;
    }

    std::size_t PutXmp() {
        const auto& xmp = info_.description->xmp;
        const std::size_t number = NewObject();
        PutStream(number, "/Type /Metadata /Subtype /XML", xmp.data(), xmp.size());
        return number;
    }

    void BeginImage(std::size_t profile, std::size_t xmp) {
        image_ = NewObject();
        length_ = NewObject();
        const std::string device = info_.samplesPerPixel == 3 ? "/DeviceRGB" : "/DeviceGray";
        const std::string columns = "/Columns " + std::to_string(info_.width);
        const std::string bits = "/BitsPerComponent " + std::to_string(info_.bitsPerSample);
        std::string filter;
        if (filter_ == Filter::kJpeg) {
            filter = "/Filter /DCTDecode";
        } else if (filter_ == Filter::kFax) {
            filter = "/Filter /CCITTFaxDecode /DecodeParms <</K -1 " + columns + " /Rows " +
                     std::to_string(info_.height) + ">>";
        } else if (filter_ == Filter::kFlate) {
            filter = "/Filter /FlateDecode /DecodeParms <</Predictor 15 /Colors " +
                     std::to_string(info_.samplesPerPixel) + " " + bits + " " + columns + ">>";
        }
        BeginObject(image_);
        Put("<</Type /XObject /Subtype /Image /Width " + std::to_string(info_.width) + " /Height " +
            std::to_string(info_.height) + " " + bits + " /ColorSpace " +
            (profile != 0 ? "[/ICCBased " + Reference(profile) + "]" : device) + " " + filter +
            (xmp != 0 ? " /Metadata " + Reference(xmp) : "") + " /Length " + Reference(length_) + ">>\nstream\n");
        streamAt_ = at_;
        BeginStream();
    }

    void BeginStream() {
        const auto put = [this](const std::uint8_t* bytes, std::size_t count) { Put(bytes, count); };
        if (filter_ == Filter::kFax) {
            fax_.emplace(info_, file_.get());
        } else if (filter_ == Filter::kJpeg) {
            jpeg_.emplace(options_.jpegQuality,
                          "the PDF can't be written: ", [this](const std::uint8_t* bytes, std::size_t count) {
                              at_ += count;
                              return file_->Write(bytes, count);
                          });
            ImageInfo bare = info_;  // what a JPEG of its own would tell stands in the PDF
            bare.resolution.reset();
            bare.iccProfile.clear();
            bare.orientation = 1;
            bare.description.reset();
            jpeg_->Begin(bare);
        } else if (filter_ == Filter::kFlate) {
            const auto pixelBytes = static_cast<std::size_t>(info_.samplesPerPixel * info_.bitsPerSample + 7) / 8;
            flate_.emplace(info_.LineBytes(), pixelBytes, info_.bitsPerSample >= 8, options_.pngEffort,
                           options_.workers, put);
        }
    }

    void EndStreams() {
        jpeg_.reset();
        fax_.reset();
        flate_.reset();
    }

    void PutPage() {
        const double x = info_.resolution ? info_.resolution->x.Value() : kUsualResolution;
        const double y = info_.resolution ? info_.resolution->y.Value() : kUsualResolution;
        guessed_ = guessed_ || !info_.resolution;
        const std::string width = Decimal(info_.width * kPointsPerInch / x);
        const std::string height = Decimal(info_.height * kPointsPerInch / y);
        const std::string drawing = "q " + width + " 0 0 " + height + " 0 0 cm /Im Do Q";
        const std::size_t contents = NewObject();
        PutStream(contents, "", drawing.data(), drawing.size());
        const std::size_t page = NewObject();
        PutObject(page, "<</Type /Page /Parent " + Reference(kPages) + " /MediaBox [0 0 " + width + " " + height +
                            "] /Resources <</XObject <</Im " + Reference(image_) + ">>>> /Contents " +
                            Reference(contents) + Rotation() + ">>");
        pages_.push_back(page);
    }

    // The orientations that are turns a page can say itself; the mirrored ones it can't.
    std::string Rotation() const {
        switch (info_.orientation) {
            case 3:
                return " /Rotate 180";
            case 6:
                return " /Rotate 90";
            case 8:
                return " /Rotate 270";
            default:
                return "";
        }
    }

    void PutEnd() {
        std::string kids;
        for (const std::size_t page : pages_) {
            kids += Reference(page) + " ";
        }
        PutObject(kPages, "<</Type /Pages /Count " + std::to_string(pages_.size()) + " /Kids [" + kids + "]>>");
        PutObject(kCatalog, "<</Type /Catalog /Pages " + Reference(kPages) + ">>");
        const auto told = [this](const char* name, TextField field) {
            const std::string& text = texts_[static_cast<std::size_t>(field)];
            return text.empty() ? std::string() : std::string(" /") + name + " " + TextString(text);
        };
        const std::string& named = texts_[static_cast<std::size_t>(TextField::kDocumentName)];
        PutObject(kInformation,
                  "<</Title " + TextString(named.empty() ? title_ : named) + told("Author", TextField::kArtist) +
                      told("Subject", TextField::kImageDescription) + told("Creator", TextField::kSoftware) +
                      " /Producer (platen) /CreationDate " + DateString(std::time(nullptr)) + ">>");
        const std::uint64_t table = at_;
        Put("xref\n0 " + std::to_string(objects_.size()) + "\n0000000000 65535 f \n");
        for (std::size_t number = 1; number < objects_.size(); ++number) {
            char entry[40];
            std::snprintf(entry, sizeof entry, "%010llu 00000 n \n",
                          static_cast<unsigned long long>(objects_[number]));
            Put(entry);
        }
        Put("trailer\n<</Size " + std::to_string(objects_.size()) + " /Root " + Reference(kCatalog) + " /Info " +
            Reference(kInformation) + ">>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n");
    }

    std::unique_ptr<OutputFile> file_;
    const WriteOptions options_;
    const std::string title_;
    ImageInfo info_;
    std::array<std::string, kTextFields> texts_;  // of the first page
    LineCount lines_;
    Filter filter_ = Filter::kFlate;
    std::uint64_t at_ = 0;
    std::uint64_t streamAt_ = 0;
    std::vector<std::uint64_t> objects_;  // where each begins
    std::vector<std::size_t> pages_;
    std::optional<Kept> kept_;  // what stands before the page that is not ended yet
    std::size_t image_ = 0;
    std::size_t length_ = 0;
    bool guessed_ = false;
    std::vector<std::uint8_t> row_;
    std::optional<JpegEncoder> jpeg_;
    std::optional<FaxStrip> fax_;
    std::optional<PngStream> flate_;
};

}  // namespace

void CheckPdfLayout(const ImageInfo& info) {
    if (info.HasAlpha()) {
        throw Error(ExitCode::kUnsupported,
                    "PDF output has no alpha channel; --flatten blends the page with white");
    }
}

std::unique_ptr<LineWriter> MakePdfWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options,
                                          const std::string& title) {
    return std::make_unique<PdfWriter>(std::move(file), options, title);
}

}  // namespace platen_tool
