#include "programs/scan/ScanDevice.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "programs/base/Report.h"
#include "programs/page/Geometry.h"
#include "programs/scan/OptionValue.h"
#include "programs/scan/SaneLibrary.h"
#include "programs/scan/ScanInterrupt.h"

namespace platen_tool {

namespace {

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

// How backends call the three modes. The earlier word counts more.
const std::vector<const char*>& ModeWords(PixelMode mode) {
    static const std::vector<const char*> kLineart = {"lineart",       "line art", "binary",
                                                      "black & white", "bitmap",   "monochrome"};
    static const std::vector<const char*> kGray = {"gray", "grey"};
    static const std::vector<const char*> kColor = {"color", "colour", "rgb"};
    return mode == PixelMode::kLineart ? kLineart : mode == PixelMode::kGray ? kGray : kColor;
}

// "Color" rather than "Color Lineart", and that rather than "24bit Color".
constexpr bool (*kMatches[])(const std::string& name, const std::string& word) = {
    [](const std::string& name, const std::string& word) { return name == word; },
    [](const std::string& name, const std::string& word) { return name.starts_with(word); },
    [](const std::string& name, const std::string& word) { return name.find(word) != std::string::npos; }};

std::optional<std::string> MatchMode(const SANE_Option_Descriptor& option, PixelMode mode) {
    if (option.type != SANE_TYPE_STRING || option.constraint_type != SANE_CONSTRAINT_STRING_LIST) {
        return std::nullopt;
    }
    for (const auto matches : kMatches) {
        for (const std::string word : ModeWords(mode)) {
            for (const SANE_String_Const* entry = option.constraint.string_list; *entry != nullptr; ++entry) {
                if (matches(Lower(*entry), word)) {
                    return *entry;
                }
            }
        }
    }
    return std::nullopt;
}

}  // namespace

void FailDevice(const std::string& what, SANE_Status status) {
    CheckInterrupt();
    const bool paper = status == SANE_STATUS_JAMMED || status == SANE_STATUS_COVER_OPEN;  // the words say it all
    throw Error(ExitCode::kDevice, (paper ? "" : what + ": ") + Sane().statusText(status));
}

SaneSession::SaneSession() {
    SANE_Int version = 0;
    const SANE_Status status = Sane().init(&version, nullptr);
    if (status != SANE_STATUS_GOOD) {
        FailDevice("SANE can't be started", status);
    }
}

SaneSession::~SaneSession() {
    Sane().exit();
}

std::string SaneSession::ListDevices() const {
    const SANE_Device** devices = nullptr;
    const SANE_Status status = Sane().getDevices(&devices, SANE_FALSE);
    if (status != SANE_STATUS_GOOD) {
        FailDevice("the devices can't be listed", status);
    }
    std::string text;
    for (; devices != nullptr && *devices != nullptr; ++devices) {
        const SANE_Device& device = **devices;
        text += std::string(device.name) + "  " + device.vendor + " " + device.model + " (" + device.type + ")\n";
    }
    return text;
}

ScanDevice::ScanDevice(const std::string& name) {
    const SANE_Status status = Sane().open(name.c_str(), &handle_);
    if (status != SANE_STATUS_GOOD) {
        FailDevice("can't be opened", status);
    }
    WatchInterrupts(handle_);
}

ScanDevice::~ScanDevice() {
    Sane().cancel(handle_);
    WatchInterrupts(nullptr);
    Sane().close(handle_);
}

ScanDevice::Found ScanDevice::Find(const std::string& name) const {
    SANE_Int count = 0;
    if (Sane().controlOption(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr) != SANE_STATUS_GOOD) {
        return {};
    }
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* option = Sane().getOptionDescriptor(handle_, i);
        if (option != nullptr && option->name != nullptr && option->type != SANE_TYPE_GROUP &&
            option->name == name) {
            return {i, option};
        }
    }
    return {};
}

ScanDevice::Found ScanDevice::FindUsable(const std::string& name) const {
    const Found found = Find(name);
    const bool usable = found.option != nullptr && SANE_OPTION_IS_ACTIVE(found.option->cap) &&
                        SANE_OPTION_IS_SETTABLE(found.option->cap);
    return usable ? found : Found{};
}

std::string ScanDevice::OptionNames() const {
    std::string text;
    SANE_Int count = 0;
    Sane().controlOption(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr);
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* option = Sane().getOptionDescriptor(handle_, i);
        if (option != nullptr && option->name != nullptr && option->name[0] != '\0' &&
            option->type != SANE_TYPE_GROUP && SANE_OPTION_IS_ACTIVE(option->cap)) {
            text += (text.empty() ? "" : ", ") + std::string(option->name);
        }
    }
    return text;
}

void ScanDevice::Set(const std::string& label, const std::string& name, const std::string& value) {
    const Found found = Find(name);
    if (found.option == nullptr) {
        throw Error(ExitCode::kUsage, label + ": the device has no such option; it has " + OptionNames());
    }
    if (!SANE_OPTION_IS_ACTIVE(found.option->cap)) {
        throw Error(
            ExitCode::kUsage,
            label + ": is inactive with the device's current settings; set another option first that enables it");
    }
    if (!SANE_OPTION_IS_SETTABLE(found.option->cap)) {
        throw Error(ExitCode::kUsage, label + ": is read-only");
    }
    OptionValue parsed = ParseOptionValue(label, *found.option, value);
    const bool single = parsed.action == SANE_ACTION_SET_VALUE && parsed.words.size() == 1;
    SANE_Int info = 0;
    const SANE_Status status =
        Sane().controlOption(handle_, found.index, parsed.action,
                             parsed.action == SANE_ACTION_SET_AUTO ? nullptr : parsed.Data(), &info);
    if (status != SANE_STATUS_GOOD) {
        FailDevice(label + ": the device refused '" + value + "'", status);
    }
    if ((info & SANE_INFO_INEXACT) != 0 && single) {
        TellInexact(label, name, value);
    }
}

void ScanDevice::TellInexact(const std::string& label, const std::string& name, const std::string& value) const {
    const auto now = CurrentNumber(name);
    if (now) {
        PrintMessage(
            {label, ": the device uses ", NumberText(std::round(*now * 1000.0) / 1000.0), " instead of ", value});
    }
}

bool ScanDevice::SetMode(PixelMode mode) {
    const Found found = FindUsable("mode");
    const auto name = found.option != nullptr ? MatchMode(*found.option, mode) : std::nullopt;
    if (name) {
        Set("--mode", "mode", *name);
        return true;
    }
    // No mode of that name; a grey one with 1 bit is the same.
    return mode == PixelMode::kLineart && SetMode(PixelMode::kGray) && SetDepth(1);
}

bool ScanDevice::SetDepth(int depth) {
    const Found found = FindUsable("depth");
    if (found.option == nullptr || found.option->type != SANE_TYPE_INT) {
        return false;
    }
    try {
        Set("--depth", "depth", std::to_string(depth));
    } catch (const Error& error) {
        if (error.Code() != ExitCode::kUsage) {
            throw;
        }
        return false;  // a depth that it lacks
    }
    return true;
}

void ScanDevice::SetResolution(const std::string& value) {
    const auto parts = SplitText(value, 'x');
    const std::string x(parts.front());
    const std::string y(parts.back());
    if (FindUsable("resolution").option != nullptr && x == y) {
        Set("--resolution", "resolution", x);
        // Where the axes have options of their own, these may have stayed as they were.
        if (FindUsable("y-resolution").option != nullptr && FindUsable("x-resolution").option == nullptr) {
            Set("--resolution", "y-resolution", y);
        }
        return;
    }
    const char* first = FindUsable("x-resolution").option != nullptr ? "x-resolution" : "resolution";
    if (FindUsable(first).option == nullptr) {
        throw Error(ExitCode::kUsage,
                    "--resolution: the device has no such option; --scale changes the size afterwards, and "
                    "--input-resolution states the pages' resolution");
    }
    if (FindUsable("y-resolution").option == nullptr) {
        throw Error(ExitCode::kUsage, "--resolution: '" + value + "': the device has one resolution for both axes");
    }
    Set("--resolution", first, x);
    Set("--resolution", "y-resolution", y);
}

void ScanDevice::SetEdge(const std::string& label, const std::string& name, double millimetres) {
    const Found found = FindUsable(name);
    if (found.option == nullptr) {
        throw Error(ExitCode::kUsage, label + ": the device's area can't be set");
    }
    double perMillimetre = 1.0;
    if (found.option->unit == SANE_UNIT_PIXEL) {
        const auto resolution = CurrentResolution();
        if (!resolution) {
            throw Error(ExitCode::kUsage, label + ": the device measures in pixels and doesn't report their size");
        }
        perMillimetre = (name.ends_with('x') ? resolution->x : resolution->y).Value() / 25.4;
    }
    const double value = millimetres * perMillimetre;
    Set(label, name,
        NumberText(found.option->type == SANE_TYPE_INT ? std::round(value) : std::round(value * 1000.0) / 1000.0));
}

void ScanDevice::SetArea(const ScanArea& area) {
    const auto set = [this](const std::string& axis, const char* from, const char* length,
                            const std::optional<double>& begin, const std::optional<double>& size) {
        if (begin) {
            SetEdge(from, "tl-" + axis, *begin);
        }
        if (size) {
            const double start = begin ? *begin : CurrentMillimetres("tl-" + axis);
            SetEdge(length, "br-" + axis, start + *size);
        }
    };
    set("x", "--area-left", "--area-width", area.left, area.width);
    set("y", "--area-top", "--area-height", area.top, area.height);
}

double ScanDevice::CurrentMillimetres(const std::string& name) const {
    const Found found = Find(name);
    const double value = CurrentNumber(name).value_or(0.0);
    const auto resolution = CurrentResolution();
    const bool pixels = found.option != nullptr && found.option->unit == SANE_UNIT_PIXEL && resolution;
    return pixels ? value * 25.4 / (name.ends_with('x') ? resolution->x : resolution->y).Value() : value;
}

std::string ScanDevice::ValueText(SANE_Int index, const SANE_Option_Descriptor& option) const {
    if ((option.cap & SANE_CAP_SOFT_DETECT) == 0 || option.size <= 0) {
        return "";
    }
    constexpr SANE_Int kMostBytes = 1 << 20;
    constexpr std::size_t kMostWords = 8;
    if (option.size > kMostBytes) {
        return "";
    }
    std::vector<SANE_Word> words(static_cast<std::size_t>(option.size) / sizeof(SANE_Word) + 2);
    if (Sane().controlOption(handle_, index, SANE_ACTION_GET_VALUE, words.data(), nullptr) != SANE_STATUS_GOOD) {
        return "";
    }
    if (option.type == SANE_TYPE_STRING) {
        return reinterpret_cast<const char*>(words.data());
    }
    if (option.type == SANE_TYPE_BOOL) {
        return words[0] != SANE_FALSE ? "yes" : "no";
    }
    std::string text;
    for (std::size_t i = 0; i < WordCount(option); ++i) {
        if (i == kMostWords) {
            return text + ",...";
        }
        text += (i > 0 ? "," : "") + NumberText(std::round(WordNumber(option, words[i]) * 1e4) / 1e4);
    }
    return text;
}

std::string ScanDevice::DescribeOptions() const {
    std::string text;
    SANE_Int count = 0;
    Sane().controlOption(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr);
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* option = Sane().getOptionDescriptor(handle_, i);
        if (option == nullptr) {
            continue;
        }
        const auto orNothing = [](const char* words) { return std::string(words != nullptr ? words : ""); };
        if (option->type == SANE_TYPE_GROUP) {
            text += orNothing(option->title) + ":\n";
            continue;
        }
        const bool active = SANE_OPTION_IS_ACTIVE(option->cap);
        text += "  " + orNothing(option->name);
        if (option->type != SANE_TYPE_BUTTON) {
            text += "=" + AllowedText(*option);
        }
        if (WordCount(*option) > 1) {
            text += " (" + std::to_string(WordCount(*option)) + " values)";
        }
        if ((option->cap & SANE_CAP_AUTOMATIC) != 0) {
            text += ", or auto";
        }
        const std::string value = active ? ValueText(i, *option) : "inactive";
        text += value.empty() ? "" : " [" + value + "]";
        text += SANE_OPTION_IS_SETTABLE(option->cap) ? "" : " [read only]";
        text += "\n";
        std::string about = orNothing(option->desc);
        std::replace_if(
            about.begin(), about.end(), [](unsigned char c) { return c < ' '; }, ' ');
        text += about.empty() ? "" : "        " + about + "\n";
    }
    return text;
}

std::optional<double> ScanDevice::CurrentNumber(const std::string& name) const {
    const Found found = Find(name);
    if (found.option == nullptr || !SANE_OPTION_IS_ACTIVE(found.option->cap) ||
        (found.option->cap & SANE_CAP_SOFT_DETECT) == 0 || WordCount(*found.option) != 1) {
        return std::nullopt;
    }
    SANE_Word word = 0;
    if (Sane().controlOption(handle_, found.index, SANE_ACTION_GET_VALUE, &word, nullptr) != SANE_STATUS_GOOD) {
        return std::nullopt;
    }
    return WordNumber(*found.option, word);
}

std::optional<std::string> ScanDevice::CurrentText(const std::string& name) const {
    const Found found = Find(name);
    if (found.option == nullptr || found.option->type != SANE_TYPE_STRING || found.option->size <= 0 ||
        !SANE_OPTION_IS_ACTIVE(found.option->cap)) {
        return std::nullopt;
    }
    std::vector<char> text(static_cast<std::size_t>(found.option->size) + 1);
    if (Sane().controlOption(handle_, found.index, SANE_ACTION_GET_VALUE, text.data(), nullptr) !=
        SANE_STATUS_GOOD) {
        return std::nullopt;
    }
    return std::string(text.data());
}

std::optional<Resolution> ScanDevice::CurrentResolution() const {
    const auto both = CurrentNumber("resolution");
    const auto x = CurrentNumber("x-resolution");
    const auto y = CurrentNumber("y-resolution");
    const auto first = x ? x : both;
    const auto second = y ? y : both ? both : x;
    if (!first || !second || *first <= 0.0 || *second <= 0.0) {
        return std::nullopt;
    }
    return Resolution{DpiRatio(*first), DpiRatio(*second)};
}

SANE_Status ScanDevice::Start() {
    SANE_Status status = SANE_STATUS_GOOD;
    {
        const DeviceCall call;
        status = Sane().start(handle_);
    }
    CheckInterrupt();
    return status;
}

SANE_Parameters ScanDevice::Parameters() const {
    SANE_Parameters parameters{};
    const SANE_Status status = Sane().getParameters(handle_, &parameters);
    if (status != SANE_STATUS_GOOD) {
        FailDevice("the page's size is not available", status);
    }
    return parameters;
}

SANE_Status ScanDevice::Read(SANE_Byte* bytes, std::size_t room, std::size_t& count) {
    SANE_Int length = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    {
        const DeviceCall call;
        status = Sane().read(handle_, bytes, static_cast<SANE_Int>(room), &length);
    }
    CheckInterrupt();
    count = status == SANE_STATUS_GOOD && length > 0 ? std::min(static_cast<std::size_t>(length), room) : 0;
    return status;
}

}  // namespace platen_tool
