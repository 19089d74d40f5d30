#include "programs/io/PngStream.h"

#include <zlib.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <utility>

#include "programs/base/Error.h"
#include "programs/io/PngFilter.h"

namespace platen_tool {

namespace {

constexpr std::size_t kBlockBytes = 256 << 10;
constexpr std::size_t kWindowBytes = 32 << 10;  // how far deflate's matches reach back

// What is looked at of a block, in so many places, and the rows of each at least: matches need rows above.
constexpr std::size_t kSampleBytes = 16 << 10;
constexpr std::size_t kSamplePlaces = 3;
constexpr std::size_t kSampleRows = 4;

// Filtered rows whose runs compress to more than kNoise of their size are noise, in which there are no matches to
// find, unless more than kRepeats of the unfiltered bytes repeat earlier ones.
constexpr double kNoise = 0.6;
constexpr double kRepeats = 0.3;
// Matches take ten times as long as runs: they have to be smaller by this much. Of a nearly flat sample the codes'
// tables are a great part, which says nothing of the block.
constexpr double kMatchGain = 0.97;
constexpr double kFlat = 1.0 / 16;
constexpr double kFlatMatchGain = 0.9;

struct Mode {
    bool filters;
    bool matches;  // else runs of one byte only
    int level;     // zlib's, for matches
};
constexpr Mode kFilteredRuns = {.filters = true, .matches = false, .level = 0};
constexpr Mode kPlainRuns = {.filters = false, .matches = false, .level = 0};
constexpr Mode kFilteredMatches = {.filters = true, .matches = true, .level = 4};
constexpr Mode kPlainMatches = {.filters = false, .matches = true, .level = 5};
constexpr int kBestLevel = 9;

// A raw deflate stream of zlib's, which the destructor frees.
class Deflate {
  public:
    explicit Deflate(const Mode& mode) {
        const int strategy = mode.filters ? Z_FILTERED : Z_DEFAULT_STRATEGY;
        if (deflateInit2(&stream_, mode.level, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, strategy) != Z_OK) {
            throw Error(ExitCode::kFailed, "out of memory");
        }
    }
    ~Deflate() {
        deflateEnd(&stream_);
    }
    Deflate(const Deflate&) = delete;
    Deflate& operator=(const Deflate&) = delete;

    // `window`: the bytes before these, into which matches may reach.
    std::vector<std::uint8_t> Compress(const std::vector<std::uint8_t>& bytes,
                                       const std::vector<std::uint8_t>& window, StreamPart part) {
        if (!window.empty()) {
            deflateSetDictionary(&stream_, window.data(), static_cast<uInt>(window.size()));
        }
        // A sync flush adds some bytes to what deflateBound allows for.
        std::vector<std::uint8_t> out(deflateBound(&stream_, static_cast<uLong>(bytes.size())) + 16);
        stream_.next_in = const_cast<std::uint8_t*>(bytes.data());
        stream_.avail_in = static_cast<uInt>(bytes.size());
        stream_.next_out = out.data();
        stream_.avail_out = static_cast<uInt>(out.size());
        const bool last = part == StreamPart::kLast;
        const int result = deflate(&stream_, last ? Z_FINISH : Z_SYNC_FLUSH);
        if (stream_.avail_in != 0 || stream_.avail_out == 0 || result != (last ? Z_STREAM_END : Z_OK)) {
            throw Error(ExitCode::kFailed, "the PNG can't be written: its rows can't be compressed");
        }
        out.resize(out.size() - stream_.avail_out);
        return out;
    }

  private:
    z_stream stream_ = {};
};

std::vector<std::uint8_t> Compressed(const Mode& mode, const std::vector<std::uint8_t>& bytes,
                                     const std::vector<std::uint8_t>& window, StreamPart part) {
    return mode.matches ? Deflate(mode).Compress(bytes, window, part)
                        : DeflateRuns(bytes.data(), bytes.size(), part);
}

// About which share of the places in `bytes` has the same four bytes as an earlier place.
double RepeatedShare(const std::vector<std::uint8_t>& bytes) {
    constexpr int kHashBits = 13;
    std::vector<std::uint32_t> last(std::size_t{1} << kHashBits);
    std::size_t repeated = 0;
    for (std::size_t i = 0; i + 4 <= bytes.size(); ++i) {
        const std::uint32_t four = bytes[i] | static_cast<std::uint32_t>(bytes[i + 1]) << 8 |
                                   static_cast<std::uint32_t>(bytes[i + 2]) << 16 |
                                   static_cast<std::uint32_t>(bytes[i + 3]) << 24;
        std::uint32_t& seen = last[four * 2654435761u >> (32 - kHashBits)];
        repeated += seen == four ? 1 : 0;
        seen = four;
    }
    return static_cast<double>(repeated) / static_cast<double>(bytes.size());
}

}  // namespace

// The last bytes before a block, which the block before it hands on as soon as its mode is settled.
class PngStream::Window {
  public:
    void Set(std::vector<std::uint8_t> bytes) {
        {
            const std::lock_guard lock(mutex_);
            bytes_ = std::move(bytes);
            set_ = true;
        }
        ready_.notify_all();
    }
    const std::vector<std::uint8_t>& Wait() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [this] { return set_; });
        return bytes_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable ready_;
    bool set_ = false;
    std::vector<std::uint8_t> bytes_;
};

// What all blocks of a stream share. The checksum and the sink are touched by Finish only, on one thread.
struct PngStream::Shared {
    std::size_t rowBytes;
    std::size_t pixelBytes;
    bool filters;
    PngEffort effort;
    Sink sink;
    uLong checksum = adler32(0, nullptr, 0);
};

class PngStream::Block : public Piece {
  public:
    // `rows`: the row above, then `count` rows. `before` is null for the first block.
    Block(Shared& shared, std::vector<std::uint8_t> rows, std::size_t count, StreamPart part,
          std::shared_ptr<Window> before, std::shared_ptr<Window> after)
        : shared_(shared),
          rows_(std::move(rows)),
          count_(count),
          first_(before == nullptr),
          part_(part),
          before_(std::move(before)),
          after_(std::move(after)) {}

    void Run() override {
        try {
            Encode();
        } catch (...) {
            after_->Set({});  // the block after this one may wait for it
            throw;
        }
    }

    void Finish() override {
        if (first_) {
            const std::uint8_t header[] = {0x78, 0x5E};  // deflate, window of 32 kB
            shared_.sink(header, sizeof header);
        }
        shared_.sink(out_.data(), out_.size());
        shared_.checksum = adler32_combine(shared_.checksum, checksum_, static_cast<z_off_t>(encodedBytes_));
        if (part_ == StreamPart::kLast) {
            std::uint8_t trailer[4];
            for (int i = 0; i < 4; ++i) {
                trailer[i] = static_cast<std::uint8_t>(shared_.checksum >> (24 - 8 * i));
            }
            shared_.sink(trailer, sizeof trailer);
        }
    }

  private:
    const std::uint8_t* Row(std::size_t y) const {
        return rows_.data() + (y + 1) * shared_.rowBytes;
    }

    // Some bytes of some rows.
    struct Part {
        std::size_t row;
        std::size_t rows;
        std::size_t begin;  // at a pixel
        std::size_t bytes;
    };

    enum class Filters { kNone, kChosen };  // kChosen: the best for each row

    // Adds the part's rows, each after the number of its filter.
    void AddRows(const Part& part, Filters filters, std::vector<std::uint8_t>& rows) const {
        const std::size_t bytes = FilteredBytes(part.bytes);
        std::size_t end = rows.size();
        rows.resize(end + bytes * part.rows);
        std::vector<std::uint8_t> scratch(filters == Filters::kChosen ? bytes : 0);
        for (std::size_t y = 0; y < part.rows; ++y, end += bytes) {
            std::uint8_t* out = rows.data() + end;
            const std::uint8_t* row = Row(part.row + y) + part.begin;
            if (filters == Filters::kChosen) {
                FilterRow(row, row - shared_.rowBytes, part.bytes, shared_.pixelBytes, out, scratch.data());
            } else {
                std::memcpy(out + 1, row, part.bytes);
            }
        }
    }

    std::vector<std::uint8_t> Rows(Filters filters) const {
        std::vector<std::uint8_t> rows;
        AddRows({0, count_, 0, shared_.rowBytes}, filters, rows);
        return rows;
    }

    // Parts of some rows in places that are spread over the block: one place alone may be a margin.
    std::vector<std::uint8_t> SpreadSample(Filters filters) const {
        const std::size_t rowBytes = shared_.rowBytes;
        if (count_ * FilteredBytes(rowBytes) <= kSampleBytes) {
            return Rows(filters);
        }
        constexpr std::size_t kPartBytes = kSampleBytes / kSamplePlaces;
        const auto toPixel = [this](std::size_t bytes) { return bytes - bytes % shared_.pixelBytes; };
        const std::size_t bytes = std::min(rowBytes, toPixel(kPartBytes / kSampleRows));
        const std::size_t rows = std::clamp<std::size_t>(kPartBytes / FilteredBytes(bytes), 1,
                                                         std::max<std::size_t>(1, count_ / kSamplePlaces));
        std::vector<std::uint8_t> sample;
        for (std::size_t place = 0; place < kSamplePlaces; ++place) {
            const std::size_t row = (count_ - rows) * place / (kSamplePlaces - 1);
            const std::size_t begin = toPixel((rowBytes - bytes) * (2 * place + 1) / (2 * kSamplePlaces));
            AddRows({row, rows, begin, bytes}, filters, sample);
        }
        return sample;
    }

    // Whole rows from the block's middle: what repeats itself on a nearly flat page lies far apart.
    std::vector<std::uint8_t> WideSample(Filters filters) const {
        const std::size_t rows = std::clamp<std::size_t>(kSampleBytes / FilteredBytes(shared_.rowBytes),
                                                         std::min(kSampleRows, count_), count_);
        std::vector<std::uint8_t> sample;
        AddRows({(count_ - rows) / 2, rows, 0, shared_.rowBytes}, filters, sample);
        return sample;
    }

    Mode ChooseBySample() const {
        const Mode runs = shared_.filters ? kFilteredRuns : kPlainRuns;
        std::vector<std::uint8_t> plain = SpreadSample(Filters::kNone);
        std::vector<std::uint8_t> filtered =
            shared_.filters ? SpreadSample(Filters::kChosen) : std::vector<std::uint8_t>();
        const auto sizeIn = [&](const Mode& mode) {
            return static_cast<double>(
                Compressed(mode, mode.filters ? filtered : plain, {}, StreamPart::kLast).size());
        };
        double size = sizeIn(runs);
        double gain = kMatchGain;
        const auto all = static_cast<double>(plain.size());
        if (size > kNoise * all && RepeatedShare(plain) < kRepeats) {
            return runs;
        }
        if (size < kFlat * all) {
            plain = WideSample(Filters::kNone);
            filtered = shared_.filters ? WideSample(Filters::kChosen) : filtered;
            size = sizeIn(runs);
            gain = kFlatMatchGain;
        }
        Mode best = runs;
        double smallest = gain * size;
        for (const Mode& mode : {kPlainMatches, kFilteredMatches}) {
            if (!mode.filters || shared_.filters) {
                size = sizeIn(mode);
                if (size < smallest) {
                    smallest = size;
                    best = mode;
                }
            }
        }
        return best;
    }

    Mode ChooseByAll() const {
        Mode best = {};
        std::size_t smallest = SIZE_MAX;
        for (Mode mode : {kFilteredRuns, kPlainMatches, kFilteredMatches}) {
            mode.level = mode.matches ? kBestLevel : 0;
            const bool possible = shared_.filters || !mode.filters;
            const std::size_t size = possible
                                         ? Compressed(mode, Rows(mode.filters ? Filters::kChosen : Filters::kNone),
                                                      {}, StreamPart::kLast)
                                               .size()
                                         : SIZE_MAX;
            if (size < smallest) {
                smallest = size;
                best = mode;
            }
        }
        return best;
    }

    Mode Choose() const {
        switch (shared_.effort) {
            case PngEffort::kFast:
                return shared_.filters ? kFilteredRuns : kPlainRuns;
            case PngEffort::kBest:
                return ChooseByAll();
            default:
                return ChooseBySample();
        }
    }

    void Encode() {
        const Mode mode = Choose();
        const auto rows = Rows(mode.filters ? Filters::kChosen : Filters::kNone);
        rows_ = {};
        const auto tail = static_cast<std::ptrdiff_t>(std::min(rows.size(), kWindowBytes));
        after_->Set({rows.end() - tail, rows.end()});
        checksum_ = adler32_z(adler32(0, nullptr, 0), rows.data(), rows.size());
        encodedBytes_ = rows.size();
        const bool reachesBack = mode.matches && !first_;
        const std::vector<std::uint8_t> window = reachesBack ? before_->Wait() : std::vector<std::uint8_t>();
        before_.reset();
        out_ = Compressed(mode, rows, window, part_);
    }

    Shared& shared_;
    std::vector<std::uint8_t> rows_;
    const std::size_t count_;
    const bool first_;
    const StreamPart part_;
    std::shared_ptr<Window> before_;
    std::shared_ptr<Window> after_;
    std::vector<std::uint8_t> out_;
    uLong checksum_ = 0;
    std::size_t encodedBytes_ = 0;
};

PngStream::PngStream(std::size_t rowBytes, std::size_t pixelBytes, bool filters, PngEffort effort, unsigned workers,
                     Sink sink)
    : shared_(new Shared{rowBytes, pixelBytes, filters, effort, std::move(sink)}),
      rowBytes_(rowBytes),
      rowsPerBlock_(std::max<std::size_t>(1, kBlockBytes / FilteredBytes(rowBytes))),
      rows_((rowsPerBlock_ + 1) * rowBytes),
      workers_(workers) {}

PngStream::~PngStream() = default;

void PngStream::WriteRow(const std::uint8_t* row) {
    if (rowCount_ == rowsPerBlock_) {
        Submit(StreamPart::kMoreFollows);
    }
    ++rowCount_;
    std::memcpy(rows_.data() + rowCount_ * rowBytes_, row, rowBytes_);
}

void PngStream::End() {
    Submit(StreamPart::kLast);
    workers_.Drain();
}

void PngStream::Submit(StreamPart part) {
    // The block's last row is the next block's row above.
    std::vector<std::uint8_t> next(part == StreamPart::kLast ? 0 : rows_.size());
    if (part == StreamPart::kMoreFollows) {
        std::memcpy(next.data(), rows_.data() + rowCount_ * rowBytes_, rowBytes_);
    }
    auto before = std::exchange(window_, std::make_shared<Window>());
    workers_.Submit(std::make_unique<Block>(*shared_, std::exchange(rows_, std::move(next)),
                                            std::exchange(rowCount_, 0), part, std::move(before), window_));
}

}  // namespace platen_tool
