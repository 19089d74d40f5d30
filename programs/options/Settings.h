#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "programs/base/Compression.h"
#include "programs/base/Error.h"
#include "programs/base/ImageInfo.h"
#include "programs/io/LineReader.h"
#include "programs/options/Arguments.h"
#include "programs/options/ToneSteps.h"

namespace platen_tool {

enum class Adjustment { kTone, kHsv, kScale, kSharpen };

enum class PixelMode { kLineart, kGray, kColor };

struct HsvSettings {
    int saturation = 0;  // -100 to 100
    int hue = 0;         // -180 to 180
    int lightness = 0;   // -100 to 100

    bool Any() const {
        return saturation != 0 || hue != 0 || lightness != 0;
    }
};

// How the size was asked for: in one of four forms, or not at all.
struct SizeSettings {
    std::optional<double> scale;
    std::uint32_t width = 0;  // 0: from the height, with the proportions kept
    std::uint32_t height = 0;
    std::optional<Resolution> resolution;
    bool shrinkOnly = false;

    bool Any() const {
        return scale || width != 0 || height != 0 || resolution;
    }
};

// The part of a page that is kept, as the page is seen.
struct CropSettings {
    enum class Unit { kPixels, kMillimetres, kInches };

    double width = 0.0;
    double height = 0.0;
    double x = 0.0;  // of its left edge, from the page's
    double y = 0.0;
    Unit unit = Unit::kPixels;
};

// Of 8 bits a sample; white, where nothing is said.
struct Colour {
    std::array<std::uint8_t, 3> rgb = {255, 255, 255};
};

// How a page's pixels come out.
struct PixelSettings {
    std::optional<PixelMode> mode;
    std::optional<int> depth;  // 1, 8 or 16
    double threshold = 50.0;   // percent
    bool autoThreshold = false;
    bool dither = false;
    bool negative = false;
    std::optional<Colour> flatten;  // what alpha is laid over
};

// How the numbers of automatic settings are found.
struct AutomaticSettings {
    int margin = 0;           // percent of the width and of the height that each edge's strip takes, not counted
    bool sameForAll = false;  // the first page's numbers for the whole run
};

struct PageRange {
    std::uint32_t first = 1;
    std::uint32_t last = 0xFFFFFFFF;
};

// Where a tone step came from.
struct StepOrigin {
    std::vector<std::string> options;  // their names, without dashes
    bool typed = true;                 // on the command line itself; false: in a preset
    bool automatic = false;            // took the place of an automatic step
};

// The adjusting command's line, parsed and checked as far as that goes without the input.
struct Settings {
    std::vector<std::string> inputs;
    std::string output;
    std::vector<ToneStep> tone;
    std::vector<StepOrigin> toneOrigins;  // one for each of `tone`
    std::set<std::string> ofPresets;      // options whose value came with a preset
    HsvSettings hsv;
    int sharpness = 0;
    SizeSettings size;
    PixelSettings pixels;
    AutomaticSettings automatic;
    std::optional<int> rotate;  // degrees clockwise, after the orientation tag, which is reset
    std::optional<CropSettings> crop;
    std::array<Adjustment, 4> order = {Adjustment::kTone, Adjustment::kHsv, Adjustment::kScale,
                                       Adjustment::kSharpen};
    std::optional<Resolution> inputResolution;
    std::optional<Resolution> setResolution;
    bool strip = false;
    bool softwareTag = false;

    std::optional<Container> format;
    std::string formatName;  // as it was given
    int quality = 92;
    std::optional<Compression> compression;
    std::optional<PageRange> pages;
    unsigned long firstPageNumber = 1;  // the number of the first page written, for %d
    int jobs = 1;
    int threads = 0;        // 1 or 3 for each job; 0: 3 where the page and the machine are large enough
    bool keepGoing = true;  // with the next input after an error
    bool force = false;
    ReadOptions read;

    bool dryRun = false;
    bool stats = false;
    bool json = false;  // the statistics
    std::optional<std::string> plot;
    std::optional<std::string> savePreset;   // where the numbers of automatic settings go into it
    std::vector<GivenOption> presetOptions;  // what stands there beside them
    std::optional<bool> progress;            // nothing said: on a terminal
    bool verbose = false;

    bool Typed(const std::string& option) const {
        return ofPresets.count(option) == 0;
    }

    // Whether lines become black and white.
    bool ToLineart() const {
        return pixels.mode == PixelMode::kLineart || pixels.depth == 1;
    }

    // Whether numbers come from the page itself.
    bool AnyAutomatic() const {
        return std::any_of(tone.begin(), tone.end(), IsAutomatic) || (pixels.autoThreshold && ToLineart());
    }

    // Whether such numbers go into a file.
    bool WritesNumbers() const {
        return AnyAutomatic() && !dryRun && (plot || savePreset);
    }

    // Whether a stage was asked for that works on 8-bit samples only.
    bool NeedsEightBits() const {
        return !tone.empty() || hsv.Any() || sharpness != 0;
    }

    // Whether a stage was asked for that must know the page's height before its last line.
    bool NeedsHeight() const {
        return size.Any() || sharpness != 0 || rotate || crop;
    }
};

// What an option's function takes its value into.
struct OptionTarget {
    Settings& settings;
    ToneStepList& tone;
    unsigned& missing;  // of --order: a bit for each Adjustment that it leaves out
};

// What standard input and output are, for a command line that names no input or output.
struct Terminals {
    bool input = true;
    bool output = true;
};

// Checks each option and how they go together; a wrong one is an Error (kUsage).
Settings MakeSettings(const ParsedArguments& arguments, const Terminals& terminals);

// Checks one option's value by itself, as MakeSettings would.
void CheckOption(const GivenOption& option);

// The reading options alone, for sub-commands that only read; others are passed over.
ReadOptions MakeReadOptions(const std::vector<GivenOption>& options);

// What --page ends with where a file has too few pages.
Error NoSuchPage(unsigned long pages);

}  // namespace platen_tool
