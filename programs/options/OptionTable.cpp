#include "programs/options/OptionTable.h"

#include <algorithm>
#include <array>

namespace platen_tool {

namespace {

constexpr const char* kTone = "Tone, in the order given (8 bits)";
constexpr const char* kColour = "Colour and sharpness (8 bits)";
constexpr const char* kPixels = "Pixels";
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

constexpr std::array kTable = std::to_array<OptionSpec>({
    {"brightness", 0, "N", kTone, nullptr, kToneUsers, kInPresets},
    {"contrast", 0, "N", kTone, "-100..100; side by side they make one step", kToneUsers, kInPresets},
    {"levels", 0, "LIST", kTone, "BLACK,WHITE[,GAMMA[,OUTBLACK,OUTWHITE]]", kToneUsers, kInPresets},
    {"gamma", 0, "G", kTone, "0.1..9.99; below 1: 255 (i/255)^(1/tan(.779 G))", kToneUsers, kInPresets},
    {"curve", 0, "POINTS", kTone, "five points x,y:x,y:x,y:x,y:x,y", kToneUsers, kInPresets},
    {"curve-kind", 0, "KIND", kTone, "spline or polyline, for the --curve beside it", kToneUsers, kInPresets,
     "spline polyline"},
    {"curve-gamma", 0, "N", kTone, "-100..100, positive is lighter", kToneUsers, kInPresets},
    {"balance-shadows", 0, "R,G,B", kTone, "-100..100 each; RGB only", kToneUsers, kInPresets},
    {"balance-midtones", 0, "R,G,B", kTone, "the same for the midtones", kToneUsers, kInPresets},
    {"balance-highlights", 0, "R,G,B", kTone, "the same for the highlights", kToneUsers, kInPresets},

    {"saturation", 0, "N", kColour, "-100..100 percent; RGB only", kPageUsers, kInPresets},
    {"hue", 0, "N", kColour, "-180..180 degrees; RGB only", kPageUsers, kInPresets},
    {"lightness", 0, "N", kColour, "-100..100 percent; RGB only", kPageUsers, kInPresets},
    {"sharpness", 0, "N", kColour, "-2 or -1 softens, 1, 2 or 3 sharpens, 0 is off", kPageUsers, kInPresets,
     "-2 -1 0 1 2 3"},
    {"order", 0, "LIST", kColour, "the stages' order; usual: tone,hsv,scale,sharpen", kPageUsers, kInPresets},

    {"mode", 0, "MODE", kPixels, "lineart, gray or color", kPageUsers, kInPresets, "lineart gray color"},
    {"depth", 0, "BITS", kPixels, "1, 8 or 16 bits a sample", kPageUsers, kInPresets, "1 8 16"},
    {"threshold", 0, "N", kPixels, "0..100 percent; darker becomes black in lineart (50)", kPageUsers, kInPresets},
    {"negative", 0, nullptr, kPixels, "swap black and white before anything else", kPageUsers, kInPresets},

    {"flatten", 0, "COLOUR", kPixels, "lay alpha over white, black or #RRGGBB (white)", kPageUsers, kInPresets,
     "white black", "white"},

    {"scale", 0, "S", kSize, "50% or 0.5", kPageUsers, kInPresets},
    {"size", 0, "WxH", kSize, "exactly that many pixels", kPageUsers, kInPresets},
    {"width", 0, "N", kSize, nullptr, kPageUsers, kInPresets},
    {"height", 0, "N", kSize, "one alone keeps the proportions", kPageUsers, kInPresets},
    {"resolution", 0, "DPI", kSize, "DPI or XxY: resample to it", kPageUsers, kInPresets},
    {"input-resolution", 0, "DPI", kSize, "what the input has, whatever its tag says", kPageUsers, kInPresets},
    {"set-resolution", 0, "DPI", kSize, "write this tag, change no pixels for it", kPageUsers, kInPresets},
    {"shrink-only", 0, nullptr, kSize, "never enlarge", kPageUsers, kInPresets},

    {"preset", 0, "NAME|FILE", kPresetGroup, "act as if its options stood here", kToneUsers},
    {"save-preset", 0, "FILE", kPresetGroup, "keep what this command line says; needs no input", kToneUsers},

    {"output", 'o', "FILE", kOutput, "'-': standard output; DIR/; %s: input's name; %d, %03d: page", kPageUsers},
    {"first-page-number", 0, "N", kOutput, nullptr, kPageUsers},
    {"format", 0, "NAME", kOutput, "what %d begins with; png, tiff, jpeg, pdf or pnm", kPageUsers, kInPresets,
     "png tiff jpeg pdf pnm"},
    {"quality", 0, "N", kOutput, "1..100, JPEG (92)", kPageUsers, kInPresets},
    {"page", 0, "N[-[M]]", kOutput, "only these pages", kAdjust},
    {"jobs", 'j', "N", kOutput, "inputs worked on at a time, 1..256 (1)", kAdjust},
    {"threads", 0, "N", kOutput, "1..64 for a page; more than 1 read, adjust and compress together", kAdjust},
    {"keep-going", 'k', nullptr, kOutput, nullptr, kAdjust},
    {"stop-on-error", 0, nullptr, kOutput, "after an error go on with the next input (usual), or end", kAdjust},
    {"force", 'f', nullptr, kOutput, "overwrite existing files", kToneUsers},
    {"strip", 0, nullptr, kOutput, "drop the colour profile and the orientation tag", kPageUsers, kInPresets},
    {"strict-stream", 0, nullptr, kOutput, "refuse what needs a temporary file", kPageUsers | kInfo},
    {"max-side", 0, "N", kOutput, nullptr, kPageUsers | kInfo},
    {"max-pixels", 0, "N", kOutput, "largest page read (65535, 268435456)", kPageUsers | kInfo},

    {"dry-run", 'n', nullptr, kReport, "say what would be done, write nothing", kPageUsers},
    {"json", 0, nullptr, kReport, nullptr, kAdjust | kInfo},
    {"stats", 0, nullptr, kReport, "percentiles and suggested --levels; needs no output; as JSON", kPageUsers},
    {"plot", 0, "FILE", kReport, "draw the folded tone curve as SVG", kPageUsers},
    {"progress", 0, nullptr, kReport, nullptr, kPageUsers},
    {"no-progress", 0, nullptr, kReport, "a line about progress; usual on a terminal", kPageUsers},
    {"verbose", 'v', nullptr, kReport, "say more", kEvery},
    {"version", 0, nullptr, kReport, nullptr, kEvery},
    {"help", 'h', nullptr, kReport, "print the version, or this text", kEvery},

    {"svg", 0, "FILE", kCurveGroup, "draw the folded curve; '-' is standard output", kCurve},
    {"table", 0, "FORM", kCurveGroup, "print it: plain, c, csv, or sane (one list for a gamma option)", kCurve,
     kNotInPresets, "plain c csv sane"},

    {"device", 'd', "NAME", kScanGroup, "the scanner; else what SANE_DEFAULT_DEVICE names", kScan},
    {"list-devices", 'L', nullptr, kScanGroup, "print the scanners that are there", kScan},
    {"set", 0, "NAME=VALUE", kScanGroup, "set a device option; lists are a,b,c or @FILE", kScan},
    {"pages", 0, "N", kScanGroup, "pages from the feeder, or 'all' (1)", kScan},

    {"check", 0, nullptr, kInfoGroup, "read the pixels too, and say what is damaged", kInfo},
});

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

std::string HelpText(CommandBit command) {
    constexpr std::size_t kHelpColumn = 32;
    std::string text =
        "platen [OPTION...] [INPUT...] -o OUTPUT      adjust and scale scanned pages, line by line\n"
        "platen scan -d DEVICE [OPTION...] -o OUTPUT                  see platen scan --help\n"
        "platen curve [TONE OPTION...] [--svg=FILE | --table=FORM]    see platen curve --help\n"
        "platen info [--json] FILE...                                 see platen info --help\n"
        "platen presets [list | show NAME | check FILE...]\n"
        "Files are PNG, TIFF, JPEG, PNM or PAM, outputs PDF too; '-' is standard input or output.\n";
    const char* group = nullptr;
    std::string line = " ";
    for (const OptionSpec& spec : kTable) {
        if ((spec.commands & command) == 0) {
            continue;
        }
        if (spec.group != group) {
            group = spec.group;
            text += std::string(group) + ":\n";
        }
        line += " " + OptionText(spec);
        if (spec.help != nullptr) {
            line += line.size() < kHelpColumn ? std::string(kHelpColumn - line.size(), ' ') : " ";
            text += line + spec.help + "\n";
            line = " ";
        }
    }
    return text;
}

}  // namespace platen_tool
