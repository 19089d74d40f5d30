#include "programs/io/TiffReader.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <vector>

#include "programs/io/Exif.h"
#include "programs/io/PngText.h"
#include "programs/io/Samples.h"
#include "programs/io/Spool.h"
#include "programs/io/TiffDirectory.h"
#include "programs/io/TiffPage.h"

namespace platen_tool {

namespace {

constexpr std::size_t kMostPages = 65535;
constexpr std::uint64_t kMostEntryBytes = 64 << 20;

constexpr std::uint16_t kSubfileType = 254;
constexpr std::uint16_t kImageWidth = 256;
constexpr std::uint16_t kImageLength = 257;
constexpr std::uint16_t kXmp = 700;
constexpr std::uint16_t kIptc = 33723;
constexpr std::uint64_t kReducedOrMask = 1 | 4;

class TiffReader : public LineReader {
  public:
    TiffReader(std::unique_ptr<InputFile> file, const ReadOptions& options)
        : file_(std::move(file)),
          limits_(options.limits),
          headersOnly_(options.headersOnly),
          directories_([this](std::uint64_t offset, void* bytes, std::size_t count) {
              return ReadFully(source_.descriptor, source_.start + offset, bytes, count) == count;
          }) {
        if (file_->Seekable()) {
            source_ = {file_->Descriptor(), file_->Start(), &disguise_};
        } else {
            SpoolAll(options);
        }
        size_ = FileSize(source_.descriptor) - source_.start;
        FindPages();
        CheckDirectory(pages_[0]);
        handle_.emplace(source_);
        BeginPage(0);
    }

    Container FileContainer() const override {
        return Container::kTiff;
    }
    const ImageInfo& Info() const override {
        return info_;
    }
    std::uint32_t PageCount() const override {
        return static_cast<std::uint32_t>(pages_.size());
    }
    int TiffCompression() const override {
        return layout_.compression;
    }
    std::string Notice() const override {
        const std::string spooled = spool_ ? "spooled to a temporary file: a TIFF can't be read from a pipe" : "";
        std::string all = spooled;
        for (const std::string& one : {TiffLayoutNotice(layout_), rows_ ? rows_->Notice() : std::string()}) {
            all += (all.empty() || one.empty() ? "" : "; ") + one;
        }
        return all;
    }

    void ReadLine(std::uint8_t* line) override {
        if (nextLine_ >= info_.height) {
            throw Error(ExitCode::kFailed, "read past the last line");
        }
        rows_->ReadLine(nextLine_++, line);
    }

    bool SkipPage() override {
        return NextPage();
    }

    std::vector<std::string> Storage() const override {
        std::vector<std::string> words;
        if (!layout_.palette.empty()) {
            words.emplace_back("palette");
        }
        if (layout_.tiled) {
            words.emplace_back("tiles");
        }
        if (layout_.separate) {
            words.emplace_back("planar");
        }
        return words;
    }

    bool NextPage() override {
        if (page_ + 1 >= pages_.size()) {
            return false;
        }
        CheckDirectory(pages_[page_ + 1]);
        BeginPage(page_ + 1);
        return true;
    }

  private:
    void SpoolAll(const ReadOptions& options) {
        if (options.strictStream) {
            throw Error(ExitCode::kUnsupported,
                        "a TIFF from a pipe must be spooled, which --strict-stream forbids; give it as a file");
        }
        spool_.emplace();
        std::uint64_t at = 0;
        const std::uint8_t* bytes = nullptr;
        for (std::size_t count = file_->TakeBuffered(&bytes); count != 0; count = file_->TakeBuffered(&bytes)) {
            spool_->WriteAt(at, bytes, count);
            at += count;
        }
        file_->CheckReadError();
        source_ = {spool_->Descriptor(), 0, &disguise_};
    }

    // Follows the chain of directories. Reduced copies and masks of another page are passed over.
    void FindPages() {
        const auto first = directories_.ReadHeader();
        std::vector<std::uint64_t> all;
        std::unordered_set<std::uint64_t> seen;
        for (std::uint64_t at = first.value_or(0); at != 0;) {
            const auto directory = directories_.ReadDirectory(at);
            if (!directory || !seen.insert(at).second || seen.size() > kMostPages) {
                throw Error(ExitCode::kFailed, "the TIFF is damaged: directory " + std::to_string(seen.size()) +
                                                   " is cut off, loops or is too long");
            }
            all.push_back(at);
            if ((directories_.Number(*directory, kSubfileType).value_or(0) & kReducedOrMask) == 0) {
                pages_.push_back(at);
            }
            at = directory->next;
        }
        if (pages_.empty()) {
            pages_ = all;
        }
        if (pages_.empty()) {
            throw Error(ExitCode::kFailed, "the TIFF is damaged: it has no page");
        }
    }

    // Refuses what is too large before the codec library looks at it, and hides from it what is not needed.
    void CheckDirectory(std::uint64_t at) {
        directory_ = directories_.ReadDirectory(at).value_or(TiffDirectory{});
        CheckSize(directories_.Number(directory_, kImageWidth).value_or(0),
                  directories_.Number(directory_, kImageLength).value_or(0), limits_);
        for (const TiffEntry& entry : directory_.entries) {
            if (TiffDisguise::Shows(entry.tag) && entry.Bytes() > kMostEntryBytes) {
                throw Error(ExitCode::kFailed, "the TIFF's tag " + std::to_string(entry.tag) + " has " +
                                                   std::to_string(entry.Bytes()) +
                                                   " bytes; at most 64 MiB are allowed");
            }
            CheckPlace(entry);
        }
        disguise_.Cover(directory_, directories_);
    }

    // What a truncated file lacks may be no more than a resolution, and nothing else would notice.
    void CheckPlace(const TiffEntry& entry) const {
        const std::uint64_t bytes = entry.Bytes();
        const bool overflows = bytes > UINT64_MAX - entry.valueAt;
        if (bytes != 0 && (overflows || entry.valueAt + bytes > size_)) {
            throw Error(ExitCode::kFailed, "the TIFF is damaged or cut off: the value of its tag " +
                                               std::to_string(entry.tag) + " lies outside the file");
        }
    }

    void BeginPage(std::size_t page) {
        rows_.reset();
        handle_->Expect();
        if (TIFFSetSubDirectory(handle_->Get(), pages_[page]) == 0) {
            handle_->Fail("the TIFF is damaged");
        }
        ImageInfo info;
        layout_ = ReadTiffLayout(handle_->Get(), info);
        CheckSize(info.width, info.height, limits_);
        info.resolution = directories_.ReadResolution(directory_);
        info.description = ReadDescription();
        info_ = info;
        if (!headersOnly_) {
            rows_.emplace(*handle_, source_, layout_, info_);
        }
        const bool inks = layout_.colours == TiffLayout::Colours::kCmyk;
        if (inks || layout_.colours == TiffLayout::Colours::kLab) {
            info_.iccProfile.clear();  // it is of the colours before
        }
        nextLine_ = 0;
        page_ = page;
    }

    std::shared_ptr<const Description> ReadDescription() const {
        Description description;
        ReadTiffDescription(directories_, directory_, description);
        ReadBlock(kXmp, kMostXmpBytes, "the XMP data", description.xmp, description);
        ReadBlock(kIptc, kMostIptcBytes, "the IPTC data", description.iptc, description);
        return description == Description{} ? nullptr : std::make_shared<const Description>(std::move(description));
    }

    void ReadBlock(std::uint16_t tag, std::size_t most, const char* name, std::vector<std::uint8_t>& block,
                   Description& description) const {
        if (const TiffEntry* entry = directory_.Find(tag); entry != nullptr) {
            if (entry->Bytes() > most) {
                description.tooLarge.emplace_back(name);
                return;
            }
            TiffEntry bytes = *entry;  // some say that it is of longer numbers, but its order is that of bytes
            bytes.count = entry->Bytes();
            bytes.type = 7;
            block = directories_.Value(bytes, most);
        }
    }

    std::unique_ptr<InputFile> file_;
    Limits limits_;
    bool headersOnly_;
    TiffDisguise disguise_;
    TiffSource source_;
    std::optional<Spool> spool_;
    std::uint64_t size_ = 0;
    TiffDirectoryReader directories_;
    TiffDirectory directory_;
    std::vector<std::uint64_t> pages_;
    std::optional<TiffHandle> handle_;
    TiffLayout layout_;
    ImageInfo info_;
    std::optional<TiffPage> rows_;  // uses handle_, so it goes first
    std::size_t page_ = 0;
    std::uint32_t nextLine_ = 0;
};

}  // namespace

std::unique_ptr<LineReader> MakeTiffReader(std::unique_ptr<InputFile> file, const ReadOptions& options) {
    return std::make_unique<TiffReader>(std::move(file), options);
}

}  // namespace platen_tool
