#include "programs/options/Settings.h"

#include <algorithm>

namespace platen_tool {

namespace {

[[noreturn]] void Refuse(const std::string& text) {
    throw Error(ExitCode::kUsage, text);
}

// A --curve-kind that waits for its curve has no step yet.
void NoteOrigin(Settings& s, const ToneStepList& tone, const GivenOption& option) {
    s.toneOrigins.resize(tone.Count(), {{}, option.presetNo == 0});
    if (!s.toneOrigins.empty() && !tone.WaitsForCurve()) {
        s.toneOrigins.back().options.push_back(option.name);
    }
}

void TakeOption(Settings& s, ToneStepList& tone, unsigned& missingStages, const GivenOption& option) {
    const OptionSpec* spec = FindOption(option.name);
    if (spec == nullptr || spec->take == nullptr) {
        return;  // the device's
    }
    if (option.newStep) {
        tone.EndStep();
    }
    if (option.presetNo == 0) {
        s.ofPresets.erase(option.name);
    } else {
        s.ofPresets.insert(option.name);
    }
    OptionTarget target{s, tone, missingStages};
    spec->take(*spec, option.value, target);
    if (ToneStepList::Knows(option.name)) {
        NoteOrigin(s, tone, option);
    }
}

void CheckSize(const ParsedArguments& given) {
    const int sizes = given.Given("scale") + given.Given("size") + (given.Given("width") || given.Given("height")) +
                      given.Given("resolution");
    if (sizes > 1) {
        Refuse("only one of --scale, --size, --width with --height, and --resolution can be given");
    }
    // A preset may say it for the case that a size is given beside it.
    const GivenOption* shrinkOnly = given.Last("shrink-only");
    if (shrinkOnly != nullptr && shrinkOnly->presetNo == 0 && sizes == 0) {
        Refuse("--shrink-only: no option scales the page");
    }
}

void CheckOrder(const Settings& s, unsigned missing) {
    const auto check = [&](Adjustment kind, bool used, const char* name) {
        if (used && (missing >> static_cast<int>(kind) & 1) != 0) {
            Refuse(std::string("--order: '") + name + "' is missing, but other options need it");
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
    if (p.autoThreshold && !s.ToLineart() && s.Typed("auto-threshold")) {
        Refuse("--auto-threshold: needs --mode=lineart");
    }
    if (p.dither && !s.ToLineart() && s.Typed("dither")) {
        Refuse("--dither: needs --mode=lineart");
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
        Refuse("--json: needs --stats");
    }
    if (s.output.empty() && !s.dryRun && !s.stats) {
        if (terminals.output) {
            Refuse("no output; give -o FILE");
        }
        s.output = "-";
    }
    if (s.automatic.sameForAll && !s.AnyAutomatic()) {
        Refuse("--same-for-all: needs an automatic setting");
    }
    if (s.output == "-" && s.plot == "-") {
        Refuse("--plot=-: the page goes to standard output; name a file");
    }
}

}  // namespace

ReadOptions MakeReadOptions(const std::vector<GivenOption>& options) {
    Settings s;
    ToneStepList tone;
    unsigned missingStages = 0;
    for (const GivenOption& option : options) {
        TakeOption(s, tone, missingStages, option);
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
    s.presetOptions = s.AnyAutomatic() && s.savePreset ? arguments.options : std::vector<GivenOption>();
    s.inputs = arguments.operands;
    CheckSize(arguments);
    CheckOrder(s, missingStages);
    CheckPixels(s);
    ResolveFiles(s, terminals);
    return s;
}

}  // namespace platen_tool
