#include "programs/options/Settings.h"

#include <algorithm>
#include <charconv>

#include "programs/base/Numbers.h"

namespace platen_tool {

namespace {

constexpr std::int64_t kMostPixelsASide = 0x7FFFFFFF;

[[noreturn]] void Refuse(const std::string& text) {
    throw Error(ExitCode::kUsage, text);
}

// One name out of a list, or an Error that shows the list.
template <typename Value>
Value Choose(const std::string& option, const std::string& text,
             std::initializer_list<std::pair<const char*, Value>> choices) {
    std::string names;
    for (const auto& [name, value] : choices) {
        if (text == name) {
            return value;
        }
        names += std::string(names.empty() ? "" : ", ") + name;
    }
    Refuse("--" + option + ": '" + text + "' is none of " + names);
}

double ParseScale(const std::string& text) {
    const bool percent = text.ends_with('%');
    const std::string number = percent ? text.substr(0, text.size() - 1) : text;
    return percent ? ParseNumber("--scale", number, 0.01, 100000.0) / 100.0
                   : ParseNumber("--scale", number, 0.0001, 1000.0);
}

std::uint32_t ParseSide(const std::string& option, std::string_view text) {
    return static_cast<std::uint32_t>(ParseWhole("--" + option, text, 1, kMostPixelsASide));
}

PageRange ParsePages(const std::string& text) {
    constexpr std::int64_t kLastPage = 0xFFFFFFFF;
    const auto parts = SplitText(text, '-');
    if (parts.size() > 2) {
        Refuse("--page: '" + text + "' is not N, N-M or N-");
    }
    PageRange range;
    range.first = static_cast<std::uint32_t>(ParseWhole("--page", parts.front(), 1, kLastPage));
    range.last = range.first;
    if (parts.size() == 2 && parts[1].empty()) {
        range.last = static_cast<std::uint32_t>(kLastPage);
    } else if (parts.size() == 2) {
        range.last = static_cast<std::uint32_t>(ParseWhole("--page", parts[1], range.first, kLastPage));
    }
    return range;
}

// The stages in LIST; those it leaves out come back as a mask, since only stages in use must be in it.
std::array<Adjustment, 4> ParseOrder(const std::string& text, unsigned& missing) {
    std::vector<Adjustment> list;
    for (const std::string_view part : SplitText(text, ',')) {
        const Adjustment kind = Choose<Adjustment>("order", std::string(part),
                                                   {{"tone", Adjustment::kTone},
                                                    {"hsv", Adjustment::kHsv},
                                                    {"scale", Adjustment::kScale},
                                                    {"sharpen", Adjustment::kSharpen}});
        if (std::find(list.begin(), list.end(), kind) != list.end()) {
            Refuse("--order: '" + std::string(part) + "' is there twice");
        }
        list.push_back(kind);
    }
    missing = 0;
    for (const Adjustment kind : {Adjustment::kTone, Adjustment::kHsv, Adjustment::kScale, Adjustment::kSharpen}) {
        if (std::find(list.begin(), list.end(), kind) == list.end()) {
            list.push_back(kind);
            missing |= 1u << static_cast<int>(kind);
        }
    }
    std::array<Adjustment, 4> order{};
    std::copy(list.begin(), list.end(), order.begin());
    return order;
}

// Two hexadecimal digits.
std::uint8_t ParseByte(const std::string& option, const std::string& text, std::size_t at) {
    unsigned value = 0;
    const char* end = text.data() + at + 2;
    const auto result = std::from_chars(text.data() + at, end, value, 16);
    if (result.ec != std::errc() || result.ptr != end) {
        Refuse(option + ": '" + text + "' is none of white, black and #RRGGBB");
    }
    return static_cast<std::uint8_t>(value);
}

Colour ParseColour(const std::string& option, const std::string& text) {
    if (text == "white") {
        return {};
    }
    const std::string digits = text == "black" ? "#000000" : text;
    if (digits.size() != 7 || digits[0] != '#') {
        Refuse(option + ": '" + text + "' is none of white, black and #RRGGBB");
    }
    return {{ParseByte(option, digits, 1), ParseByte(option, digits, 3), ParseByte(option, digits, 5)}};
}

bool TakePixelOption(Settings& s, const std::string& name, const std::string& value) {
    if (name == "mode") {
        s.pixels.mode = Choose<PixelMode>(
            name,
            value == "grey"     ? "gray"
            : value == "colour" ? "color"
                                : value,
            {{"lineart", PixelMode::kLineart}, {"gray", PixelMode::kGray}, {"color", PixelMode::kColor}});
    } else if (name == "depth") {
        s.pixels.depth = Choose<int>(name, value, {{"1", 1}, {"8", 8}, {"16", 16}});
    } else if (name == "threshold") {
        s.pixels.threshold = ParseNumber("--threshold", value, 0.0, 100.0);
    } else if (name == "negative") {
        s.pixels.negative = true;
    } else if (name == "flatten") {
        s.pixels.flatten = ParseColour("--flatten", value);
    } else if (name == "saturation") {
        s.hsv.saturation = static_cast<int>(ParseWhole("--saturation", value, -100, 100));
    } else if (name == "hue") {
        s.hsv.hue = static_cast<int>(ParseWhole("--hue", value, -180, 180));
    } else if (name == "lightness") {
        s.hsv.lightness = static_cast<int>(ParseWhole("--lightness", value, -100, 100));
    } else if (name == "sharpness") {
        s.sharpness = static_cast<int>(ParseWhole("--sharpness", value, -2, 3));
    } else {
        return false;
    }
    return true;
}

bool TakeSizeOption(Settings& s, const std::string& name, const std::string& value) {
    if (name == "scale") {
        s.size.scale = ParseScale(value);
    } else if (name == "size") {
        const auto parts = SplitText(value, 'x');
        if (parts.size() != 2) {
            Refuse("--size: '" + value + "' is not WxH");
        }
        s.size.width = ParseSide(name, parts[0]);
        s.size.height = ParseSide(name, parts[1]);
    } else if (name == "width") {
        s.size.width = ParseSide(name, value);
    } else if (name == "height") {
        s.size.height = ParseSide(name, value);
    } else if (name == "resolution") {
        s.size.resolution = ParseResolution(name, value);
    } else if (name == "input-resolution") {
        s.inputResolution = ParseResolution(name, value);
    } else if (name == "set-resolution") {
        s.setResolution = ParseResolution(name, value);
    } else if (name == "shrink-only") {
        s.size.shrinkOnly = true;
    } else {
        return false;
    }
    return true;
}

bool TakeFileOption(Settings& s, const std::string& name, const std::string& value) {
    if (name == "output") {
        s.output = value;
    } else if (name == "format") {
        s.formatName = value;
        s.format = Choose<Container>(name, value,
                                     {{"png", Container::kPng},
                                      {"tiff", Container::kTiff},
                                      {"jpeg", Container::kJpeg},
                                      {"pdf", Container::kPdf},
                                      {"pnm", Container::kPnm}});
    } else if (name == "quality") {
        s.quality = static_cast<int>(ParseWhole("--quality", value, 1, 100));
    } else if (name == "page") {
        s.pages = ParsePages(value);
    } else if (name == "first-page-number") {
        constexpr std::int64_t kMostNumber = 999'999'999;
        s.firstPageNumber = static_cast<unsigned long>(ParseWhole("--first-page-number", value, 0, kMostNumber));
    } else if (name == "jobs") {
        s.jobs = static_cast<int>(ParseWhole("--jobs", value, 1, 256));
    } else if (name == "threads") {
        s.threads = static_cast<int>(ParseWhole("--threads", value, 1, 64));
    } else if (name == "keep-going" || name == "stop-on-error") {
        s.keepGoing = name == "keep-going";
    } else if (name == "force") {
        s.force = true;
    } else if (name == "strip") {
        s.strip = true;
    } else if (name == "strict-stream") {
        s.read.strictStream = true;
    } else if (name == "max-side") {
        s.read.limits.maxSide = ParseSide(name, value);
    } else if (name == "max-pixels") {
        s.read.limits.maxPixels = static_cast<std::uint64_t>(ParseWhole("--max-pixels", value, 1, INT64_MAX));
    } else {
        return false;
    }
    return true;
}

bool TakeReportOption(Settings& s, const std::string& name, const std::string& value) {
    if (name == "dry-run") {
        s.dryRun = true;
    } else if (name == "stats") {
        s.stats = true;
    } else if (name == "json") {
        s.json = true;
    } else if (name == "plot") {
        s.plot = value;
    } else if (name == "progress" || name == "no-progress") {
        s.progress = name == "progress";
    } else if (name == "verbose") {
        s.verbose = true;
    } else {
        return false;
    }
    return true;
}

// A --curve-kind that waits for its curve has no step yet.
void NoteOrigin(Settings& s, const ToneStepList& tone, const GivenOption& option) {
    s.toneOrigins.resize(tone.Count(), {{}, option.presetNo == 0});
    if (!s.toneOrigins.empty() && !tone.WaitsForCurve()) {
        s.toneOrigins.back().options.push_back(option.name);
    }
}

void TakeOption(Settings& s, ToneStepList& tone, unsigned& missingStages, const GivenOption& option) {
    if (option.name == "order") {
        s.order = ParseOrder(option.value, missingStages);
        return;
    }
    if (option.newStep) {
        tone.EndStep();
    }
    if (option.presetNo == 0) {
        s.ofPresets.erase(option.name);
    } else {
        s.ofPresets.insert(option.name);
    }
    if (tone.Take(option.name, option.value)) {
        NoteOrigin(s, tone, option);
        return;
    }
    // Every option of the table belongs to one of these; the first that knows it takes it.
    TakePixelOption(s, option.name, option.value) || TakeSizeOption(s, option.name, option.value) ||
        TakeFileOption(s, option.name, option.value) || TakeReportOption(s, option.name, option.value);
}

void CheckSize(const ParsedArguments& given) {
    const int ways = given.Given("scale") + given.Given("size") + (given.Given("width") || given.Given("height")) +
                     given.Given("resolution");
    if (ways > 1) {
        Refuse("only one of --scale, --size, --width with --height, and --resolution can be given");
    }
    // A preset may say it for the case that a size is given beside it.
    const GivenOption* shrinkOnly = given.Last("shrink-only");
    if (shrinkOnly != nullptr && shrinkOnly->presetNo == 0 && ways == 0) {
        Refuse("--shrink-only: nothing is scaled");
    }
}

void CheckOrder(const Settings& s, unsigned missing) {
    const auto check = [&](Adjustment kind, bool used, const char* name) {
        if (used && (missing >> static_cast<int>(kind) & 1) != 0) {
            Refuse(std::string("--order: '") + name + "' is missing, and options ask for it");
        }
    };
    check(Adjustment::kTone, !s.tone.empty(), "tone");
    check(Adjustment::kHsv, s.hsv.Any(), "hsv");
    check(Adjustment::kScale, s.size.Any(), "scale");
    check(Adjustment::kSharpen, s.sharpness != 0, "sharpen");
}

void CheckPixels(const Settings& s) {
    const PixelSettings& p = s.pixels;
    if (p.depth == 16 && s.NeedsEightBits()) {
        Refuse("--depth=16: tone, colour and sharpness options work on 8 bits");
    }
    if (p.mode == PixelMode::kLineart && p.depth && p.depth != 1) {
        Refuse("--mode=lineart: has 1 bit, so --depth must be 1");
    }
    if (p.depth == 1 && p.mode == PixelMode::kColor) {
        Refuse("--depth=1: colour at 1 bit is not supported");
    }
}

void ResolveFiles(Settings& s, const Terminals& terminals) {
    if (s.inputs.empty()) {
        if (terminals.input) {
            Refuse("no input; see platen --help");
        }
        s.inputs.emplace_back("-");
    }
    if (std::count(s.inputs.begin(), s.inputs.end(), "-") > 1) {
        Refuse("standard input can be named only once");
    }
    if (s.json && !s.stats) {
        Refuse("--json: goes with --stats");
    }
    if (s.output.empty() && !s.dryRun && !s.stats) {
        if (terminals.output) {
            Refuse("no output: say -o FILE");
        }
        s.output = "-";
    }
    if (s.output == "-" && s.plot == "-") {
        Refuse("--plot=-: the page goes to standard output; name a file");
    }
}

}  // namespace

Resolution ParseResolution(const std::string& option, const std::string& text) {
    const auto parts = SplitText(text, 'x');
    if (parts.size() > 2) {
        Refuse("--" + option + ": '" + text + "' is not DPI or XxY");
    }
    const Ratio x = ParseRatio("--" + option, parts.front());
    return {x, parts.size() == 2 ? ParseRatio("--" + option, parts[1]) : x};
}

ReadOptions MakeReadOptions(const std::vector<GivenOption>& options) {
    Settings s;
    for (const GivenOption& option : options) {
        TakeFileOption(s, option.name, option.value);
    }
    return s.read;
}

void CheckOption(const GivenOption& option) {
    Settings s;
    ToneStepList tone;
    unsigned missingStages = 0;
    TakeOption(s, tone, missingStages, option);
}

Error NoSuchPage(unsigned long pages) {
    return {ExitCode::kFailed, pages == 1 ? std::string("--page: there is only 1 page")
                                          : "--page: there are only " + std::to_string(pages) + " pages"};
}

Settings MakeSettings(const ParsedArguments& arguments, const Terminals& terminals) {
    Settings s;
    ToneStepList tone;
    unsigned missingStages = 0;
    for (const GivenOption& option : arguments.options) {
        TakeOption(s, tone, missingStages, option);
    }
    s.tone = tone.Finish();
    s.inputs = arguments.operands;
    CheckSize(arguments);
    CheckOrder(s, missingStages);
    CheckPixels(s);
    ResolveFiles(s, terminals);
    return s;
}

}  // namespace platen_tool
