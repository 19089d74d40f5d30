#include "programs/page/AutoNumbers.h"

#include <cmath>
#include <numeric>

#include "programs/base/Numbers.h"
#include "programs/page/ToneTables.h"

namespace platen_tool {

namespace {

constexpr std::uint64_t kFewestPixels = 64;
constexpr int kSmallestSpread = 32;  // of levels, for a page that isn't blank
constexpr std::size_t kDarkestPaper = 96;
constexpr std::uint64_t kPaperShare = 25;  // of so many pixels one at least is paper
constexpr std::size_t kNeighbours = 2;     // on each side, which count with a lightness
constexpr int kSmallestWhite = 8;          // that --levels takes

// The least level that `percent` of the samples lie below or at.
int LevelAt(const Histogram& histogram, double percent) {
    const std::uint64_t total = std::accumulate(histogram.begin(), histogram.end(), std::uint64_t{0});
    const double wanted = static_cast<double>(total) * percent / 100.0;
    std::uint64_t sum = 0;
    for (int level = 0; level < 256; ++level) {
        sum += histogram[static_cast<std::size_t>(level)];
        if (sum > 0 && static_cast<double>(sum) >= wanted) {
            return level;
        }
    }
    return 255;
}

void AddMapped(const Histogram& histogram, const ToneTable& table, Histogram& to) {
    for (std::size_t level = 0; level < histogram.size(); ++level) {
        to[table[level]] += histogram[level];
    }
}

struct Parts {
    int level;         // the first of the lighter part
    double darkMean;   // of both parts
    double lightMean;  //
};

// Nothing for a histogram of one level only. The sums are whole numbers below 2^53.
std::optional<Parts> PartByOtsu(const Histogram& histogram) {
    double total = 0.0;
    double weighted = 0.0;
    for (int level = 0; level < 256; ++level) {
        total += static_cast<double>(histogram[static_cast<std::size_t>(level)]);
        weighted += static_cast<double>(histogram[static_cast<std::size_t>(level)]) * level;
    }
    double best = 0.0;
    int first = 0;
    int last = 0;
    Parts parts{};
    double dark = 0.0;
    double darkSum = 0.0;
    for (int level = 1; level < 256; ++level) {
        const auto below = static_cast<double>(histogram[static_cast<std::size_t>(level - 1)]);
        dark += below;
        darkSum += below * (level - 1);
        const double light = total - dark;
        if (dark < 1.0 || light < 1.0) {
            continue;
        }
        const double darkMean = darkSum / dark;
        const double lightMean = (weighted - darkSum) / light;
        const double variance = dark * light * (lightMean - darkMean) * (lightMean - darkMean);
        if (variance > best) {
            best = variance;
            first = level;
            parts = {level, darkMean, lightMean};
        }
        last = variance < best ? last : level;
    }
    if (first == 0) {
        return std::nullopt;
    }
    parts.level = (first + last + 1) / 2;
    return parts;
}

const ToneTable& TableOf(const ToneTables& tables, std::size_t channel) {
    return channel == 0 ? tables.red : channel == 1 ? tables.green : tables.blue;
}

class Finder {
  public:
    Finder(const Settings& settings, const PageCounts& counts)
        : settings_(settings), counts_(counts), channels_(counts.IsColour() ? 3 : 1) {}

    AutoNumbers Find() {
        if (counts_.Pixels() < kFewestPixels) {
            return TooFew();
        }
        for (const ToneStep& step : settings_.tone) {
            if (const auto* levels = std::get_if<AutoLevelsStep>(&step)) {
                Put(FindLevels(*levels));
            } else if (IsAutomatic(step)) {
                Put(FindWhite());
            } else {
                done_.push_back(step);
            }
        }
        if (settings_.pixels.autoThreshold && settings_.ToLineart()) {
            FindThreshold();
        }
        return std::move(numbers_);
    }

  private:
    AutoNumbers TooFew() {
        for (const ToneStep& step : settings_.tone) {
            if (IsAutomatic(step)) {
                numbers_.steps.emplace_back();
            }
        }
        numbers_.messages.push_back("automatic settings left out: " + std::to_string(counts_.Pixels()) +
                                    (counts_.Pixels() == 1 ? " pixel is" : " pixels are") + " too few to measure");
        return std::move(numbers_);
    }

    void Put(std::vector<LevelsStep> steps) {
        done_.insert(done_.end(), steps.begin(), steps.end());
        numbers_.steps.push_back(std::move(steps));
    }

    // As the steps so far make them.
    ToneTables Tables() const {
        return FoldToneSteps(done_, channels_ == 3 ? 24 : 8);
    }

    Histogram AllChannels() const {
        const ToneTables tables = Tables();
        Histogram all{};
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            AddMapped(counts_.Channel(channel), TableOf(tables, channel), all);
        }
        return all;
    }

    // How far the tones of one channel lie apart, of the channel where they lie farthest. All channels together say
    // less: a colour alone has different levels in them.
    int WidestSpread(const AutoLevelsStep& step) const {
        const ToneTables tables = Tables();
        int widest = 0;
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            Histogram tones{};
            AddMapped(counts_.Channel(channel), TableOf(tables, channel), tones);
            widest = std::max(widest, LevelAt(tones, 100.0 - step.high) - LevelAt(tones, step.low));
        }
        return widest;
    }

    std::vector<LevelsStep> FindLevels(const AutoLevelsStep& step) {
        const Histogram all = AllChannels();
        LevelsStep levels;
        levels.black = LevelAt(all, step.low);
        levels.white = LevelAt(all, 100.0 - step.high);
        if (levels.white - levels.black < kSmallestSpread) {
            numbers_.messages.push_back("--auto-levels left out: the tones lie between " +
                                        std::to_string(levels.black) + " and " + std::to_string(levels.white) +
                                        ", too close for a page that isn't blank");
            return {};
        }
        if (const int spread = WidestSpread(step); spread < kSmallestSpread) {
            numbers_.messages.push_back("--auto-levels left out: the tones of each channel lie at most " +
                                        std::to_string(spread) +
                                        " levels apart, too close for a page that isn't blank");
            return {};
        }
        if (levels.black == 0 && levels.white == 255) {
            return {};
        }
        return {ReachingWhite(levels, levels.white)};
    }

    // How many pixels have a lightness, and those beside it.
    std::uint64_t Near(std::size_t lightness) const {
        std::uint64_t count = 0;
        for (std::size_t at = lightness - kNeighbours; at <= lightness + kNeighbours && at < 256; ++at) {
            count += channels_ == 3 ? counts_.Shades()[at].count : counts_.Channel(0)[at];
        }
        return count;
    }

    int PaperLevel(std::size_t channel, std::size_t lightness, std::uint64_t count) const {
        std::uint64_t sum = 0;
        for (std::size_t at = lightness - kNeighbours; at <= lightness + kNeighbours && at < 256; ++at) {
            sum += channels_ == 3 ? counts_.Shades()[at].sums[channel] : counts_.Channel(0)[at] * at;
        }
        return static_cast<int>((sum + count / 2) / count);
    }

    std::vector<LevelsStep> FindWhite() {
        std::size_t paper = kDarkestPaper;
        for (std::size_t lightness = paper; lightness < 256; ++lightness) {
            paper = Near(lightness) > Near(paper) ? lightness : paper;
        }
        const std::uint64_t count = Near(paper);
        if (count * kPaperShare < counts_.Pixels()) {
            numbers_.messages.emplace_back(
                "--auto-white left out: no light colour covers enough of the page to be its paper");
            return {};
        }
        const ToneTables tables = Tables();
        std::vector<LevelsStep> steps;
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            const int level = PaperLevel(channel, paper, count);
            LevelsStep step;
            step.channel = channels_ == 3 ? static_cast<Channel>(channel + 1) : Channel::kAll;
            const int white = TableOf(tables, channel)[static_cast<std::size_t>(level)];
            step.white = std::max(white, kSmallestWhite);
            if (step.white < 255) {
                steps.push_back(ReachingWhite(step, white));
            }
        }
        return steps;
    }

    // Levels are cut to whole numbers, and the white point itself may come out at 254.
    static LevelsStep ReachingWhite(LevelsStep step, int level) {
        LevelsStep all = step;
        all.channel = Channel::kAll;
        const ToneStep steps[] = {all};
        const bool white = FoldToneSteps(steps, 8).red[static_cast<std::size_t>(level)] == 255;
        step.white -= white || step.white <= kSmallestWhite ? 0 : 1;
        return step;
    }

    void FindThreshold() {
        const std::optional<Parts> parts = PartByOtsu(AllChannels());
        if (!parts || parts->lightMean - parts->darkMean < kSmallestSpread) {
            numbers_.messages.push_back(
                "--auto-threshold left out: the page has one tone only, or tones too close for print and paper; " +
                NumberText(settings_.pixels.threshold) + " percent is used");
            return;
        }
        constexpr double kHundred = 100.0;
        numbers_.threshold = std::round((parts->level - 0.5) / 2.55 * kHundred) / kHundred;
    }

    const Settings& settings_;
    const PageCounts& counts_;
    const std::size_t channels_;
    std::vector<ToneStep> done_;
    AutoNumbers numbers_;
};

}  // namespace

AutoNumbers FindNumbers(const Settings& settings, const PageCounts& counts) {
    return Finder(settings, counts).Find();
}

Settings WithNumbers(Settings settings, const AutoNumbers& numbers) {
    const std::vector<ToneStep> tone = std::move(settings.tone);
    const std::vector<StepOrigin> origins = std::move(settings.toneOrigins);
    settings.tone.clear();
    settings.toneOrigins.clear();
    std::size_t next = 0;
    for (std::size_t i = 0; i < tone.size(); ++i) {
        if (!IsAutomatic(tone[i])) {
            settings.tone.push_back(tone[i]);
            settings.toneOrigins.push_back(i < origins.size() ? origins[i] : StepOrigin{{"tone"}});
            continue;
        }
        for (const LevelsStep& step : numbers.steps.at(next++)) {
            settings.tone.emplace_back(step);
            settings.toneOrigins.push_back({.options = {"levels"}, .typed = false, .automatic = true});
        }
    }
    settings.pixels.threshold = numbers.threshold.value_or(settings.pixels.threshold);
    settings.pixels.autoThreshold = false;
    return settings;
}

std::vector<GivenOption> WithNumbers(const std::vector<GivenOption>& options, const AutoNumbers& numbers) {
    std::vector<GivenOption> result;
    std::size_t next = 0;
    bool ended = false;  // an automatic step has ended the one before it
    for (const GivenOption& option : options) {
        if (option.name == "auto-levels" || option.name == "auto-white") {
            for (const LevelsStep& step : numbers.steps.at(next++)) {
                result.push_back(
                    {.name = "levels", .value = LevelsText(step), .newStep = true, .presetNo = option.presetNo});
            }
            ended = true;
        } else if (ToneStepList::Knows(option.name)) {
            result.push_back(option);
            result.back().newStep |= ended;
            ended = false;
        } else if (option.name == "auto-threshold") {
            if (numbers.threshold) {
                result.push_back(
                    {.name = "threshold", .value = NumberText(*numbers.threshold), .presetNo = option.presetNo});
            }
        } else if (option.name != "auto-margin") {
            result.push_back(option);
        }
    }
    return result;
}

std::vector<std::string> NumberOptions(const AutoNumbers& numbers) {
    std::vector<std::string> options;
    for (const std::vector<LevelsStep>& steps : numbers.steps) {
        for (const LevelsStep& step : steps) {
            options.push_back("--levels=" + LevelsText(step));
        }
    }
    if (numbers.threshold) {
        options.push_back("--threshold=" + NumberText(*numbers.threshold));
    }
    return options;
}

}  // namespace platen_tool
