#include "programs/base/Report.h"

#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <numeric>

#include "programs/base/Error.h"
#include "programs/base/Json.h"

namespace platen_tool {

namespace {

// Columns of the progress line that stands on standard error.
std::size_t progressShown = 0;
bool foreignProgress = false;

// Collects bytes for standard error and writes them together, so that lines of several processes don't mix; only
// lines longer than the buffer are written in parts. Nothing can be done about a failure.
class ErrorLine {
  public:
    void Put(char c) {
        if (count_ == sizeof bytes_) {
            Write();
        }
        bytes_[count_++] = c;
    }
    void Put(std::string_view text) {
        std::for_each(text.begin(), text.end(), [this](char c) { Put(c); });
    }
    void ClearProgress() {
        if (foreignProgress) {
            progressShown = TerminalColumns() - 1;
        }
        if (progressShown > 0) {
            Put('\r');
            for (; progressShown > 0; --progressShown) {
                Put(' ');
            }
            Put('\r');
        }
    }
    void Write() {
        for (std::size_t done = 0; done < count_;) {
            const ssize_t put = write(STDERR_FILENO, bytes_ + done, count_ - done);
            if (put < 0 && errno != EINTR) {
                break;
            }
            done += put < 0 ? 0 : static_cast<std::size_t>(put);
        }
        count_ = 0;
    }

  private:
    char bytes_[4096];
    std::size_t count_ = 0;
};

std::string FixedText(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::size_t WriteSome(int descriptor, std::string_view text) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) {
        return 0;
    }
    if (count < 0) {
        const ExitCode code = errno == EPIPE ? ExitCode::kBrokenPipe : ExitCode::kFailed;
        throw Error(code, std::string("standard output: ") + std::strerror(errno));
    }
    return static_cast<std::size_t>(count);
}

}  // namespace

void PrintMessage(std::initializer_list<std::string_view> pieces) noexcept {
    ErrorLine line;
    line.ClearProgress();
    line.Put("platen: ");
    for (const std::string_view piece : pieces) {
        line.Put(piece);
    }
    line.Put('\n');
    line.Write();
}

void PrintError(std::string_view text) noexcept {
    ErrorLine line;
    line.ClearProgress();
    line.Put(text);
    line.Write();
}

std::size_t TerminalColumns() noexcept {
    winsize size{};
    std::size_t columns = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
    const char* said = std::getenv("COLUMNS");
    if (columns == 0 && said != nullptr) {
        columns = static_cast<std::size_t>(std::strtoul(said, nullptr, 10));
    }
    return columns == 0 || columns > 10000 ? 80 : std::max<std::size_t>(columns, 2);
}

void PrintOutput(std::string_view text) {
    ClearProgressLine();
    while (!text.empty()) {
        text.remove_prefix(WriteSome(STDOUT_FILENO, text));
    }
}

// getrusage would count what the process was before it became this program.
std::size_t PeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t kilobytes = 0;
        if (word == "VmHWM:" && status >> kilobytes) {
            return kilobytes * 1024;
        }
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

double Now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

namespace {

// 8 or 16 bits.
unsigned SampleAt(const ImageInfo& info, const std::uint8_t* line, std::size_t index) {
    if (info.bitsPerSample == 8) {
        return line[index];
    }
    std::uint16_t wide = 0;
    std::memcpy(&wide, line + 2 * index, sizeof wide);
    return wide;
}

}  // namespace

void Statistics::Add(const ImageInfo& info, const std::uint8_t* line) {
    ++lines_;
    bytes_ += info.LineBytes();
    const auto samples = static_cast<std::size_t>(info.samplesPerPixel);
    const auto colours = static_cast<std::size_t>(info.ColourSamples());
    channels_ = std::max(channels_, colours);
    for (std::size_t x = 0; x < info.width; ++x) {
        if (info.HasAlpha() && SampleAt(info, line, x * samples + colours) == 0) {
            continue;  // nobody sees its colours
        }
        for (std::size_t s = 0; s < colours; ++s) {
            const unsigned sample = info.bitsPerSample == 1 ? 0 : SampleAt(info, line, x * samples + s);
            const bool black = info.bitsPerSample == 1 && (line[x / 8] >> (7 - x % 8) & 1) != 0;
            const unsigned level = info.bitsPerSample == 1    ? (black ? 0 : 255)
                                   : info.bitsPerSample == 16 ? sample >> 8
                                                              : sample;
            ++histograms_[s][level];
        }
    }
}

unsigned Statistics::Percentile(const Histogram& histogram, double percent) {
    const std::uint64_t total = std::accumulate(histogram.begin(), histogram.end(), std::uint64_t{0});
    const double wanted = static_cast<double>(total) * percent / 100.0;
    std::uint64_t sum = 0;
    for (unsigned level = 0; level < 256; ++level) {
        sum += histogram[level];
        if (static_cast<double>(sum) >= wanted && sum > 0) {
            return level;
        }
    }
    return 255;
}

unsigned Statistics::Percentile(std::size_t channel, double percent) const {
    return Percentile(histograms_[channel], percent);
}

Statistics::Levels Statistics::SuggestedLevels() const {
    Histogram all{};
    for (std::size_t s = 0; s < channels_; ++s) {
        std::transform(all.begin(), all.end(), histograms_[s].begin(), all.begin(), std::plus<>());
    }
    return LevelsOf(all);
}

Statistics::Levels Statistics::SuggestedLevels(std::size_t channel) const {
    return LevelsOf(histograms_[channel]);
}

Statistics::Levels Statistics::LevelsOf(const Histogram& histogram) {
    constexpr unsigned kSmallestSpan = 8;  // --levels takes no less
    unsigned black = std::min(Percentile(histogram, 0.5), 247u);
    unsigned white = std::max(Percentile(histogram, 99.5), kSmallestSpan);
    if (white < black + kSmallestSpan) {
        white = std::min(black + kSmallestSpan, 255u);
        black = white - kSmallestSpan;
    }
    return {static_cast<int>(black), static_cast<int>(white)};
}

namespace {

constexpr double kPercents[] = {0.5, 5, 25, 50, 75, 95, 99.5};
constexpr const char* kNames[] = {"red", "green", "blue"};

const char* ChannelName(std::size_t channel, std::size_t channels) {
    return channels == 1 ? "grey" : kNames[channel];
}

// What single samples of a histogram come to.
struct Shares {
    double mean = 0.0;
    double black = 0.0;  // percent at 0
    double white = 0.0;  // percent at 255
};

Shares SharesOf(const std::array<std::uint64_t, 256>& histogram) {
    std::uint64_t total = 0;
    std::uint64_t sum = 0;
    for (std::uint64_t level = 0; level < histogram.size(); ++level) {
        total += histogram[level];
        sum += histogram[level] * level;
    }
    if (total == 0) {
        return {};
    }
    const auto count = static_cast<double>(total);
    return {static_cast<double>(sum) / count, 100.0 * static_cast<double>(histogram.front()) / count,
            100.0 * static_cast<double>(histogram.back()) / count};
}

std::string RightAligned(const std::string& text, std::size_t columns) {
    return std::string(columns - std::min(columns, text.size()), ' ') + text;
}

}  // namespace

// Of a colour page: one --levels for each channel, which together take a cast away.
std::string Statistics::ByChannel() const {
    std::string text;
    for (std::size_t s = 0; s < channels_ && channels_ == 3; ++s) {
        const auto [black, white] = SuggestedLevels(s);
        text += std::string(s == 0 ? "by channel   " : " ") + "--levels=" + "RGB"[s] + ":" + std::to_string(black) +
                "," + std::to_string(white);
    }
    return text.empty() ? text : text + "\n";
}

std::string Statistics::ChannelsJson() const {
    std::string json;
    for (std::size_t s = 0; s < channels_; ++s) {
        const Shares shares = SharesOf(histograms_[s]);
        const auto [black, white] = SuggestedLevels(s);
        json += std::string(s > 0 ? ", " : "") + "\"" + ChannelName(s, channels_) +
                "\": {\"mean\": " + FixedText(shares.mean) + ", \"percentBlack\": " + FixedText(shares.black) +
                ", \"percentWhite\": " + FixedText(shares.white) + ", \"levels\": [" + std::to_string(black) +
                ", " + std::to_string(white) + "]}";
    }
    return json;
}

std::string Statistics::Json(const std::string& file, double seconds) const {
    std::string json = "{\"file\": " + JsonText(file) + ", \"percentiles\": {";
    for (std::size_t s = 0; s < channels_; ++s) {
        json += std::string(s > 0 ? ", " : "") + "\"" + ChannelName(s, channels_) + "\": {";
        for (const double percent : kPercents) {
            char key[32];
            std::snprintf(key, sizeof key, "\"%g\": ", percent);
            json +=
                (percent == kPercents[0] ? "" : ", ") + (key + std::to_string(Percentile(histograms_[s], percent)));
        }
        json += "}";
    }
    const auto [black, white] = SuggestedLevels();
    const double rate = seconds > 0.0 ? static_cast<double>(bytes_) / 1e6 / seconds : 0.0;
    return json + "}, \"channels\": {" + ChannelsJson() + "}, \"levels\": [" + std::to_string(black) + ", " +
           std::to_string(white) + "], \"pages\": " + std::to_string(pages_) +
           ", \"lines\": " + std::to_string(lines_) + ", \"megabytesPerSecond\": " + FixedText(rate) +
           ", \"peakMegabytes\": " + FixedText(static_cast<double>(PeakMemory()) / 1e6) + "}";
}

std::string Statistics::Text(double seconds) const {
    std::string text = "percentiles  0.5%    5%   25%   50%   75%   95% 99.5%    mean  % at 0 % at 255\n";
    for (std::size_t s = 0; s < channels_; ++s) {
        std::string line = ChannelName(s, channels_);
        line.resize(11, ' ');
        for (const double percent : kPercents) {
            line += RightAligned(std::to_string(Percentile(histograms_[s], percent)), 6);
        }
        const Shares shares = SharesOf(histograms_[s]);
        text += line + RightAligned(FixedText(shares.mean), 8) + RightAligned(FixedText(shares.black), 8) +
                RightAligned(FixedText(shares.white), 9) + "\n";
    }
    const double rate = seconds > 0.0 ? static_cast<double>(bytes_) / 1e6 / seconds : 0.0;
    const auto [black, white] = SuggestedLevels();
    return text + "suggested    --levels=" + std::to_string(black) + "," + std::to_string(white) + "\n" +
           ByChannel() + "pages        " + std::to_string(pages_) + "\nlines        " + std::to_string(lines_) +
           "\nspeed        " + FixedText(rate) + " MB/s\npeak memory  " +
           FixedText(static_cast<double>(PeakMemory()) / 1e6) + " MB\n";
}

void ShowProgressLine(std::string_view text, std::size_t columns) {
    ErrorLine line;
    line.Put('\r');
    line.Put(text);
    for (std::size_t i = columns; i < progressShown; ++i) {
        line.Put(' ');
    }
    line.Write();
    progressShown = columns;
}

void ClearProgressLine() noexcept {
    ErrorLine line;
    line.ClearProgress();
    line.Write();
}

void ExpectForeignProgress() {
    foreignProgress = true;
}

}  // namespace platen_tool
