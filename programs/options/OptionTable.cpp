#include "programs/options/OptionTable.h"

#include <algorithm>
#include <array>

#include "programs/base/Numbers.h"
#include "programs/options/ParseValue.h"
#include "programs/options/ScanOptions.h"
#include "programs/options/Settings.h"

namespace platen_tool {

namespace {

constexpr const char* kColour = "Colour and sharpness (8 bits)";
constexpr const char* kPixels = "Pixels";
constexpr const char* kAutomatic = "Automatic settings";
constexpr const char* kPlace = "Crop and turn, done first; sizes refer to the result";
constexpr const char* kSize = "Size; the resolution tag follows";
constexpr const char* kOutput = "Input and output";
constexpr const char* kReport = "Reports";
constexpr const char* kCurveGroup = "platen curve";
constexpr const char* kInfoGroup = "platen info";
constexpr const char* kPresetGroup = "Presets: options kept in a file";
constexpr const char* kScanGroup = "platen scan";

constexpr unsigned kPageUsers = kAdjust | kScan;
constexpr unsigned kToneUsers = kPageUsers | kCurve;
constexpr unsigned kEvery = kToneUsers | kInfo | kPresets;

constexpr bool kInPresets = true;
constexpr bool kNotInPresets = false;

using S = const OptionSpec&;
using V = const std::string&;
using T = OptionTarget&;

// Tone options make steps, whose order counts.
void TakeToneOption(S o, V v, T t) {
    t.tone.Take(o.name, v);
}

// For what a sub-command reads itself.
void TakeByCommand(S, V, T) {}

void TakeFormat(S o, V v, T t) {
    t.settings.format =
        Choose(o, v, {Container::kPng, Container::kTiff, Container::kJpeg, Container::kPdf, Container::kPnm});
    t.settings.formatName = v;
}

constexpr OptionSpec Rare(OptionSpec spec) {
    spec.rare = true;
    return spec;
}

// clang-format off
constexpr std::array kTable = std::to_array<OptionSpec>({
    {"brightness", 0, "N", kToneGroup, nullptr, kToneUsers, TakeToneOption, kInPresets, {-100, 100}},
    {"contrast", 0, "N", kToneGroup, "%r; adjacent ones combine", kToneUsers,
     TakeToneOption, kInPresets, {-100, 100}},
    {"levels", 0, "[R|G|B:]LIST", kToneGroup, "BLACK,WHITE[,GAMMA[,OUTBLACK,OUTWHITE]]", kToneUsers,
     TakeToneOption, kInPresets, {}, nullptr, nullptr, nullptr, ','},
    {"gamma", 0, "G", kToneGroup, "%r; below 1: 255 (i/255)^(1/tan(.779 G))", kToneUsers,
     TakeToneOption, kInPresets, {0.1, 9.99}},
    {"curve", 0, "POINTS", kToneGroup, "five points x,y:x,y:x,y:x,y:x,y", kToneUsers,
     TakeToneOption, kInPresets, {}, nullptr, nullptr, nullptr, ':'},
    Rare({"curve-kind", 0, "KIND", kToneGroup, "how --curve joins its points: spline or polyline", kToneUsers,
     TakeToneOption, kInPresets, {}, nullptr, "spline polyline"}),
    Rare({"curve-gamma", 0, "N", kToneGroup, "%r, positive is lighter", kToneUsers,
     TakeToneOption, kInPresets, {-100, 100}}),
    {"balance-shadows", 0, "R,G,B", kToneGroup, "%r each; RGB only", kToneUsers,
     TakeToneOption, kInPresets, {-100, 100}, nullptr, nullptr, nullptr, ','},
    {"balance-midtones", 0, "R,G,B", kToneGroup, "the same for the midtones", kToneUsers,
     TakeToneOption, kInPresets, {-100, 100}, nullptr, nullptr, nullptr, ','},
    {"balance-highlights", 0, "R,G,B", kToneGroup, "the same for the highlights", kToneUsers,
     TakeToneOption, kInPresets, {-100, 100}, nullptr, nullptr, nullptr, ','},

    {"auto-levels", 0, "LOW,HIGH", kToneGroup, "--levels from the page; clip LOW,HIGH % (%b)", kPageUsers,
     TakeToneOption, kInPresets, {0, 49}, nullptr, nullptr, "0.5,0.5", ','},
    {"auto-white", 0, nullptr, kToneGroup, "--levels per channel that make the paper white", kPageUsers,
     TakeToneOption, kInPresets},

    Rare({"auto-margin", 0, "N", kAutomatic, "%r percent to ignore at each edge (%u)", kPageUsers,
     [](S o, V v, T t) { t.settings.automatic.margin = ParseInt(o, v); }, kInPresets, {0, 45}, "0"}),
    Rare({"same-for-all", 0, nullptr, kAutomatic, "use the first page's settings for all pages", kPageUsers,
     [](S, V, T t) { t.settings.automatic.sameForAll = true; }}),

    {"saturation", 0, "N", kColour, nullptr, kPageUsers,
     [](S o, V v, T t) { t.settings.hsv.saturation = ParseInt(o, v); }, kInPresets, {-100, 100}},
    {"lightness", 0, "N", kColour, "%r percent; RGB only", kPageUsers,
     [](S o, V v, T t) { t.settings.hsv.lightness = ParseInt(o, v); }, kInPresets, {-100, 100}},
    {"hue", 0, "N", kColour, "%r degrees; RGB only", kPageUsers,
     [](S o, V v, T t) { t.settings.hsv.hue = ParseInt(o, v); }, kInPresets, {-180, 180}},
    {"sharpness", 0, "N", kColour, "-2 or -1 softens, 1, 2 or 3 sharpens, 0 is off", kPageUsers,
     [](S o, V v, T t) { t.settings.sharpness = ParseInt(o, v); }, kInPresets, {-2, 3}, nullptr, "-2 -1 0 1 2 3"},
    Rare({"order", 0, "LIST", kColour, "order of stages (tone,hsv,scale,sharpen)", kPageUsers,
     [](S o, V v, T t) { t.settings.order = ParseOrder(o, v, t.missing); }, kInPresets}),

    {"mode", 0, "MODE", kPixels, "lineart, gray or color", kPageUsers,
     [](S o, V v, T t) { t.settings.pixels.mode = ParseMode(o, v); },
     kInPresets, {}, nullptr, "lineart gray color", nullptr, 0, TakeDeviceMode},
    {"depth", 0, "BITS", kPixels, "1, 8 or 16 bits per sample", kPageUsers,
     [](S o, V v, T t) { t.settings.pixels.depth = Choose(o, v, {1, 8, 16}); },
     kInPresets, {}, nullptr, "1 8 16", nullptr, 0, TakeDeviceDepth},
    {"threshold", 0, "N", kPixels, "%r percent; darker is black in lineart (%u)", kPageUsers,
     [](S o, V v, T t) {
         t.settings.pixels.threshold = ParseDecimal(o, v);
         t.settings.pixels.autoThreshold = false;
     },
     kInPresets, {0, 100}, "50", nullptr, nullptr, 0, TakeDeviceThreshold},
    Rare({"auto-threshold", 0, "METHOD", kPixels, "--threshold from the page's tones: %b", kPageUsers,
     [](S o, V v, T t) { t.settings.pixels.autoThreshold = Choose(o, v, {true}); },
     kInPresets, {}, nullptr, "otsu", "otsu"}),
    Rare({"dither", 0, nullptr, kPixels, "lineart by error diffusion", kPageUsers,
     [](S, V, T t) { t.settings.pixels.dither = true; }, kInPresets}),
    {"negative", 0, nullptr, kPixels, "swap black and white before anything else", kPageUsers,
     [](S, V, T t) { t.settings.pixels.negative = true; }, kInPresets},

    {"flatten", 0, "COLOUR", kPixels, "blend alpha with white, black or #RRGGBB (white)", kPageUsers,
     [](S o, V v, T t) { t.settings.pixels.flatten = ParseColour(o, v); },
     kInPresets, {}, nullptr, "white black", "white"},

    {"rotate", 0, "ANGLE", kPlace, "90, 180, 270; auto: follow the orientation tag", kPageUsers,
     [](S o, V v, T t) { t.settings.rotate = Choose(o, v, {90, 180, 270, 0}); },
     kInPresets, {}, nullptr, "90 180 270 auto"},
    {"crop", 0, "WxH+X+Y", kPlace, "the part to keep, in pixels; or ...mm, ...in", kPageUsers,
     [](S o, V v, T t) { t.settings.crop = ParseCrop(o, v); }, kInPresets},

    {"scale", 0, "S", kSize, "scale factor: 50% or 0.5", kPageUsers,
     [](S o, V v, T t) { t.settings.size.scale = ParseScale(o, v); }, kInPresets},
    {"size", 0, "WxH", kSize, "exact size in pixels", kPageUsers,
     [](S o, V v, T t) { ParseSize(o, v, t.settings.size); }, kInPresets},
    {"width", 0, "N", kSize, nullptr, kPageUsers,
     [](S o, V v, T t) { t.settings.size.width = ParseSide(o, v); }, kInPresets},
    {"height", 0, "N", kSize, "in pixels; one alone keeps the proportions", kPageUsers,
     [](S o, V v, T t) { t.settings.size.height = ParseSide(o, v); }, kInPresets},
    {"resolution", 0, "DPI", kSize, "resample to DPI, or to XxY", kPageUsers,
     [](S o, V v, T t) { t.settings.size.resolution = ParseResolution(o.name, v); },
     kInPresets, {}, nullptr, nullptr, nullptr, 0, TakeDeviceResolution},
    Rare({"input-resolution", 0, "DPI", kSize, "the input's resolution; overrides its tag", kPageUsers,
     [](S o, V v, T t) { t.settings.inputResolution = ParseResolution(o.name, v); }, kInPresets}),
    Rare({"set-resolution", 0, "DPI", kSize, "write this resolution without resampling", kPageUsers,
     [](S o, V v, T t) { t.settings.setResolution = ParseResolution(o.name, v); }, kInPresets}),
    {"shrink-only", 0, nullptr, kSize, "never enlarge", kPageUsers,
     [](S, V, T t) { t.settings.size.shrinkOnly = true; }, kInPresets},

    {"preset", 0, "NAME|FILE", kPresetGroup, "use the options stored in a preset", kToneUsers, TakeByCommand},
    Rare({"no-defaults", 0, nullptr, kPresetGroup, "ignore the file of default options, defaults.toml", kToneUsers,
     TakeByCommand}),
    {"save-preset", 0, "FILE", kPresetGroup, "store these options; needs no input", kToneUsers,
     [](S, V v, T t) { t.settings.savePreset = v; }},

    {"output", 'o', "FILE", kOutput, "'-' stdout; DIR/; %s input name; %d, %03d page", kPageUsers,
     [](S, V v, T t) { t.settings.output = v; }},
    Rare({"first-page-number", 0, "N", kOutput, "the number %d starts with (%u)", kPageUsers,
     [](S o, V v, T t) { t.settings.firstPageNumber = static_cast<unsigned long>(ParseInt(o, v)); },
     kNotInPresets, {0, 999999999}, "1"}),
    {"format", 0, "NAME", kOutput, "png, tiff, jpeg, pdf or pnm", kPageUsers,
     TakeFormat,
     kInPresets, {}, nullptr, "png tiff jpeg pdf pnm"},
    {"quality", 0, "N", kOutput, "JPEG quality, %r (%u)", kPageUsers,
     [](S o, V v, T t) { t.settings.quality = ParseInt(o, v); }, kInPresets, {1, 100}, "92"},
    {"compression", 0, "KIND", kOutput, "none, lzw, deflate[:9], zstd[:3], g4, best, ...", kPageUsers,
     [](S o, V v, T t) { t.settings.compression = ParseCompression(o, v); },
     kInPresets, {}, nullptr, "none lzw deflate zstd packbits g4 jpeg fast default best"},
    {"page", 0, "N[-[M]]", kOutput, "process only these pages", kAdjust,
     [](S o, V v, T t) { t.settings.pages = ParsePages(o, v); }},
    {"jobs", 'j', "N", kOutput, "inputs at a time, %r (%u)", kAdjust,
     [](S o, V v, T t) { t.settings.jobs = ParseInt(o, v); }, kNotInPresets, {1, 256}, "1"},
    Rare({"threads", 0, "N", kOutput, "threads per page, %r", kAdjust,
     [](S o, V v, T t) { t.settings.threads = ParseInt(o, v); }, kNotInPresets, {1, 64}}),
    {"keep-going", 'k', nullptr, kOutput, nullptr, kAdjust, [](S, V, T t) { t.settings.keepGoing = true; }},
    {"stop-on-error", 0, nullptr, kOutput, "after an error: next input (default), or stop", kAdjust,
     [](S, V, T t) { t.settings.keepGoing = false; }},
    {"force", 'f', nullptr, kOutput, "overwrite existing files", kToneUsers,
     [](S, V, T t) { t.settings.force = true; }},
    {"strip", 0, nullptr, kOutput, "omit profile, orientation, EXIF, XMP, IPTC, texts", kPageUsers,
     [](S, V, T t) { t.settings.strip = true; }, kInPresets},
    Rare({"software-tag", 0, nullptr, kOutput, "record in the Software tag what was done", kPageUsers,
     [](S, V, T t) { t.settings.softwareTag = true; }, kInPresets}),
    Rare({"strict-stream", 0, nullptr, kOutput, "fail where a temporary file would be needed", kPageUsers | kInfo,
     [](S, V, T t) { t.settings.read.strictStream = true; }}),
    Rare({"max-side", 0, "N", kOutput, "longest side of an input page (65535)", kPageUsers | kInfo,
     [](S o, V v, T t) { t.settings.read.limits.maxSide = ParseSide(o, v); }}),
    Rare({"max-pixels", 0, "N", kOutput, "most pixels of an input page (268435456)", kPageUsers | kInfo,
     [](S o, V v, T t) { t.settings.read.limits.maxPixels = ParseCount(o, v); }}),

    {"dry-run", 'n', nullptr, kReport, "print what would be done, write nothing", kPageUsers,
     [](S, V, T t) { t.settings.dryRun = true; }},
    {"stats", 0, nullptr, kReport, "print percentiles and a --levels that fits them", kPageUsers,
     [](S, V, T t) { t.settings.stats = true; }},
    {"json", 0, nullptr, kReport, "print it as JSON, for programs", kAdjust | kInfo,
     [](S, V, T t) { t.settings.json = true; }},
    {"plot", 0, "FILE", kReport, "draw the folded tone curve as SVG", kPageUsers,
     [](S, V v, T t) { t.settings.plot = v; }},
    {"progress", 0, nullptr, kReport, nullptr, kPageUsers, [](S, V, T t) { t.settings.progress = true; }},
    {"no-progress", 0, nullptr, kReport, "show progress; default on a terminal", kPageUsers,
     [](S, V, T t) { t.settings.progress = false; }},
    {"verbose", 'v', nullptr, kReport, "print more", kEvery, [](S, V, T t) { t.settings.verbose = true; }},
    {"version", 0, nullptr, kReport, nullptr, kEvery, TakeByCommand},
    {"help", 'h', "all", kReport, "print the version, or this text; all: every option", kEvery,
     TakeByCommand, kNotInPresets, {}, nullptr, nullptr, "common"},

    {"svg", 0, "FILE", kCurveGroup, "draw the folded curve; '-' is standard output", kCurve, TakeByCommand},
    {"table", 0, "FORM", kCurveGroup, "print the table: plain, c, csv or sane", kCurve,
     TakeByCommand, kNotInPresets, {}, nullptr, "plain c csv sane"},

    {"device", 'd', "NAME", kScanGroup, "the scanner (SANE_DEFAULT_DEVICE)", kScan,
     nullptr, kNotInPresets, {}, nullptr, nullptr, nullptr, 0, TakeDeviceName},
    {"list-devices", 'L', nullptr, kScanGroup, nullptr, kScan,
     nullptr, kNotInPresets, {}, nullptr, nullptr, nullptr, 0, TakeListDevices},
    {"list-options", 0, nullptr, kScanGroup, "list the scanners; list a scanner's options", kScan,
     nullptr, kNotInPresets, {}, nullptr, nullptr, nullptr, 0, TakeListOptions},
    {"set", 0, "NAME=VALUE", kScanGroup, "set a device option; lists are a,b,c or @FILE", kScan,
     nullptr, kNotInPresets, {}, nullptr, nullptr, nullptr, 0, TakeDeviceSet},
    {"area-left", 'l', "MM", kScanGroup, nullptr, kScan,
     nullptr, kNotInPresets, {0, 10000}, nullptr, nullptr, nullptr, 0, TakeDeviceArea},
    {"area-top", 't', "MM", kScanGroup, "where the area begins", kScan,
     nullptr, kNotInPresets, {0, 10000}, nullptr, nullptr, nullptr, 0, TakeDeviceArea},
    {"area-width", 'x', "MM", kScanGroup, nullptr, kScan,
     nullptr, kNotInPresets, {0, 10000}, nullptr, nullptr, nullptr, 0, TakeDeviceArea},
    {"area-height", 'y', "MM", kScanGroup, "its size", kScan,
     nullptr, kNotInPresets, {0, 10000}, nullptr, nullptr, nullptr, 0, TakeDeviceArea},
    Rare({"prompt", 0, nullptr, kScanGroup, "wait for Enter before each page; Ctrl-D ends", kScan,
     nullptr, kNotInPresets, {}, nullptr, nullptr, nullptr, 0, TakePrompt}),
    {"pages", 0, "N", kScanGroup, "pages from the feeder, or 'all' (%u)", kScan,
     nullptr, kNotInPresets, {1, 1000000}, "1", nullptr, nullptr, 0, TakeDevicePages},

    {"check", 0, nullptr, kInfoGroup, "read the pixels too, and report damage", kInfo, TakeByCommand},
});
// clang-format on

static_assert(std::all_of(kTable.begin(), kTable.end(),
                          [](S o) { return o.take != nullptr || o.takeForDevice != nullptr; }),
              "an option that nothing takes");

std::string OptionText(const OptionSpec& spec) {
    std::string text = spec.letter != 0 ? std::string("-") + spec.letter + " --" : std::string("--");
    text += spec.name;
    if (spec.bare != nullptr) {
        return text + "[=" + spec.argument + "]";
    }
    return spec.argument != nullptr ? text + "=" + spec.argument : text;
}

}  // namespace

std::span<const OptionSpec> OptionTable() {
    return kTable;
}

const OptionSpec* FindOption(std::string_view name) {
    const auto found =
        std::find_if(kTable.begin(), kTable.end(), [name](const OptionSpec& spec) { return name == spec.name; });
    return found != kTable.end() ? &*found : nullptr;
}

std::string OptionHelp(const OptionSpec& spec) {
    const OptionSpec* row = &spec;
    while (row->help == nullptr && row != &kTable.back()) {
        ++row;
    }
    std::string text = row->help != nullptr ? row->help : "";
    if (const std::size_t at = text.find("%r"); at != std::string::npos) {
        text.replace(at, 2, NumberText(row->range.low) + ".." + NumberText(row->range.high));
    }
    if (const std::size_t at = text.find("%u"); at != std::string::npos) {
        text.replace(at, 2, row->usual);
    }
    if (const std::size_t at = text.find("%b"); at != std::string::npos) {
        text.replace(at, 2, row->bare);
    }
    return text;
}

bool ReadByCommand(const OptionSpec& spec) {
    return spec.take == TakeByCommand;
}

std::string HelpText(CommandBit command, HelpExtent extent) {
    constexpr std::size_t kHelpColumn = 30;
    std::string text =
        "platen [OPTION...] [INPUT...] -o OUTPUT           adjust and scale scanned pages\n"
        "platen scan -d DEVICE [OPTION...] -o OUTPUT       see platen scan --help\n"
        "platen curve [TONE OPTION...] [--svg | --table]   see platen curve --help\n"
        "platen info [--json] FILE...                      see platen info --help\n"
        "platen presets [list | show NAME | check FILE...]\n"
        "Files are PNG, TIFF, JPEG, PNM or PAM, outputs also PDF; '-' is stdin or stdout.\n";
    const char* group = nullptr;
    std::string line = " ";
    for (const OptionSpec& spec : kTable) {
        const bool listed = extent == HelpExtent::kEveryOption || !spec.rare;
        if ((spec.commands & command) == 0 || !listed) {
            continue;
        }
        if (spec.group != group) {
            group = spec.group;
            text += std::string(group) + ":\n";
        }
        line += " " + OptionText(spec);
        if (spec.help != nullptr) {
            line += line.size() < kHelpColumn ? std::string(kHelpColumn - line.size(), ' ') : " ";
            line += OptionHelp(spec);
            for (std::size_t at = line.find('\n'); at != std::string::npos; at = line.find('\n', at + 1)) {
                line.insert(at + 1, kHelpColumn, ' ');
            }
            text += line + "\n";
            line = " ";
        }
    }
    return text;
}

}  // namespace platen_tool
