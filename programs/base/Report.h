#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// Prints "platen: " and the pieces on standard error; everything that the program prints there goes through this. A
// line of progress makes room for it. Takes no memory.
void PrintMessage(std::initializer_list<std::string_view> pieces) noexcept;

// The line of progress: `text` takes the place of what was there and is `columns` wide, or nothing does.
void ShowProgressLine(std::string_view text, std::size_t columns);
void ClearProgressLine() noexcept;
// From here on another process shows one, and messages clear the whole line.
void ExpectForeignProgress();

// How wide the terminal at standard error is; 80 where that can't be found out. At least 2.
std::size_t TerminalColumns() noexcept;

// The text alone, on standard error.
void PrintError(std::string_view text) noexcept;

// Writes all of the text to standard output and checks that it got there: an Error (kFailed), or (kBrokenPipe)
// where nobody reads.
void PrintOutput(std::string_view text);

// Peak memory of this process so far, in bytes.
std::size_t PeakMemory();

// Histograms of an input for --stats.
class Statistics {
  public:
    void Add(const ImageInfo& info, const std::uint8_t* line);
    void EndPage() {
        ++pages_;
    }

    // Percentiles of each channel, a --levels that spreads them, pages, lines, MB/s, peak memory: as lines, or as
    // one JSON object.
    std::string Text(double seconds) const;
    std::string Json(const std::string& file, double seconds) const;

    std::uint64_t Lines() const {
        return lines_;
    }

    // The level below or at which `percent` of a channel's samples lie.
    unsigned Percentile(std::size_t channel, double percent) const;

    // The levels that --levels would take to spread the samples of all channels: those that 0.5 and 99.5 percent
    // lie below, at least 8 apart.
    struct Levels {
        int black;
        int white;
    };
    Levels SuggestedLevels() const;
    // The same of one channel by itself.
    Levels SuggestedLevels(std::size_t channel) const;

  private:
    using Histogram = std::array<std::uint64_t, 256>;

    static unsigned Percentile(const Histogram& histogram, double percent);
    static Levels LevelsOf(const Histogram& histogram);
    std::string ByChannel() const;
    std::string ChannelsJson() const;

    std::array<Histogram, 3> histograms_{};
    std::size_t channels_ = 0;
    std::uint64_t pages_ = 0;
    std::uint64_t lines_ = 0;
    std::uint64_t bytes_ = 0;
};

// Seconds on a clock that never goes back.
double Now();

}  // namespace platen_tool
