#include "programs/options/PresetFile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "programs/options/Arguments.h"
#include "programs/options/Settings.h"
#include "programs/options/Toml.h"

namespace platen_tool {

namespace {

constexpr const char* kDescription = "description";
constexpr const char* kTone = "tone";
constexpr const char* kNoStep = "tone: has no step";
constexpr std::size_t kLargestFile = 256 * 1024;

bool HasControls(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

// A key as messages show it; TOML lets one hold anything.
std::string Shown(std::string_view text) {
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return shown;
}

// A table's keys in the order in which they stand in the file; the table itself keeps them sorted by name.
struct Entry {
    std::string_view key;
    toml::source_position at;
    const toml::node* value;
};

std::vector<Entry> InFileOrder(const toml::table& table) {
    std::vector<Entry> entries;
    for (const auto& [key, value] : table) {
        entries.push_back({key.str(), key.source().begin, &value});
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.at < b.at; });
    return entries;
}

class PresetReader {
  public:
    explicit PresetReader(const std::string& name) : name_(name) {}

    Preset Read(std::string_view text) {
        try {
            const toml::table file = toml::parse(text);
            for (const Entry& entry : InFileOrder(file)) {
                TakeTopKey(entry);
            }
        } catch (const toml::parse_error& error) {
            Refuse(error.source().begin, Shown(error.description()));
        }
        return std::move(preset_);
    }

  private:
    [[noreturn]] void Refuse(const toml::source_position& at, const std::string& text) const {
        throw Error(ExitCode::kUsage, name_ + ":" + std::to_string(at.line) + ": " + text);
    }

    // What a check of the options refuses gets its place in the file.
    template <typename Check>
    void WithPlace(const toml::source_position& at, Check check) const {
        try {
            check();
        } catch (const Error& error) {
            Refuse(at, error.what());
        }
    }

    void TakeTopKey(const Entry& entry) {
        if (entry.key == kDescription) {
            const auto text = entry.value->value<std::string>();
            if (!entry.value->is_string() || HasControls(*text)) {
                Refuse(entry.at, "description: must be one line of text");
            }
            preset_.description = *text;
        } else if (entry.key == kTone) {
            TakeSteps(entry);
        } else if (ToneStepList::Knows(entry.key)) {
            Refuse(entry.at, std::string(entry.key) + ": is a tone step and must be under [[tone]]");
        } else {
            TakeSetting(entry);
        }
    }

    void TakeSetting(const Entry& entry) {
        GivenOption option{std::string(entry.key), Value(entry)};
        WithPlace(entry.at, [&] { CheckOption(option); });
        preset_.options.push_back(std::move(option));
    }

    void TakeSteps(const Entry& entry) {
        const toml::array* steps = entry.value->as_array();
        if (steps == nullptr) {
            Refuse(entry.at, "tone: must be tables, [[tone]]");
        }
        if (steps->empty()) {
            Refuse(entry.at, kNoStep);
        }
        for (const toml::node& step : *steps) {
            if (!step.is_table()) {
                Refuse(step.source().begin, "tone: must be tables, [[tone]]");
            }
            TakeStep(*step.as_table());
        }
    }

    void TakeStep(const toml::table& table) {
        ToneStepList list;
        bool first = true;
        toml::source_position at = table.source().begin;
        for (const Entry& entry : InFileOrder(table)) {
            at = entry.at;
            const bool known = entry.key == kDescription || IsPresetOption(entry.key);
            if (known && !ToneStepList::Knows(entry.key)) {
                Refuse(at, std::string(entry.key) + ": is not a tone step and must be above the first [[tone]]");
            }
            GivenOption option{std::string(entry.key), Value(entry)};
            WithPlace(at, [&] { list.Take(option.name, option.value); });
            if (list.Count() > 1) {
                Refuse(at, option.name + ": a [[tone]] holds one step; this starts another");
            }
            option.newStep = first;
            first = false;
            preset_.options.push_back(std::move(option));
        }
        if (first) {
            Refuse(at, kNoStep);
        }
        WithPlace(at, [&] { list.Finish(); });
    }

    // The value as the command line would give it.
    std::string Value(const Entry& entry) const {
        const OptionSpec* spec = FindOption(entry.key);
        if (spec == nullptr || !spec->inPresets) {
            Refuse(entry.at, "unknown key '" + Shown(entry.key) +
                                 "'; presets hold options about the picture (see platen-presets(5))");
        }
        const std::string key(entry.key);
        if (spec->argument == nullptr) {
            const auto* flag = entry.value->as_boolean();  // which no number is
            if (flag == nullptr || !flag->get()) {
                Refuse(entry.at, key + ": can only be true; leave it out otherwise");
            }
            return {};
        }
        if (const auto* flag = entry.value->as_boolean(); spec->bare != nullptr && flag != nullptr && flag->get()) {
            return spec->bare;
        }
        const toml::array* list = entry.value->as_array();
        return list != nullptr ? Joined(entry, *list, spec->separator == ':' ? ':' : ',')
                               : Scalar(entry, *entry.value);
    }

    // A list's members; those of a curve are points, which are lists.
    std::string Joined(const Entry& entry, const toml::array& list, char separator) const {
        std::string text;
        for (std::size_t i = 0; i < list.size(); ++i) {
            const toml::array* point = separator == ':' ? list[i].as_array() : nullptr;
            text += i > 0 ? std::string(1, separator) : std::string();
            text += point != nullptr ? Joined(entry, *point, ',') : Scalar(entry, list[i]);
        }
        return text;
    }

    std::string Scalar(const Entry& entry, const toml::node& node) const {
        if (const auto* whole = node.as_integer()) {
            return std::to_string(whole->get());
        }
        if (const auto* number = node.as_floating_point()) {
            return NumberText(number->get());
        }
        if (const auto* text = node.as_string(); text != nullptr && !HasControls(text->get())) {
            return text->get();
        }
        Refuse(entry.at, std::string(entry.key) + ": must be a number, a string or a list of them");
    }

    const std::string& name_;
    Preset preset_;
};

// A number in TOML's form, or a quoted text. What comes here has been through the options' checks, but quoting
// takes any text.
std::string TomlScalar(std::string_view text) {
    std::string_view digits = text.starts_with('+') ? text.substr(1) : text;
    double number = 0.0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec == std::errc() && result.ptr == digits.data() + digits.size() && std::abs(number) < 1e15) {
        return NumberText(number);
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "\"";
}

std::string TomlList(std::string_view text, char separator) {
    std::string list = "[";
    for (const std::string_view part : SplitText(text, separator)) {
        list += list.size() > 1 ? ", " : "";
        list += separator == ':' ? TomlList(part, ',') : TomlScalar(part);
    }
    return list + "]";
}

std::string TomlLine(const GivenOption& option) {
    const OptionSpec& spec = *FindOption(option.name);
    const bool flag = spec.argument == nullptr;
    std::string value = flag ? std::string("true") : TomlScalar(option.value);
    const bool oneChannel = spec.separator == ',' && option.value.find(':') != std::string::npos;  // "R:0,255"
    if (spec.separator != 0 && !oneChannel) {
        value = TomlList(option.value, spec.separator);
    }
    return option.name + " = " + value + "\n";
}

// The tone options as [[tone]] tables. An option that begins a step closes the table before it; a --curve-kind
// whose curve is still to come waits for that curve's table.
std::string StepsText(std::span<const GivenOption> options) {
    std::string text;
    std::string waiting;
    ToneStepList list;
    for (const GivenOption& option : options) {
        if (option.newStep) {
            list.EndStep();
        }
        const std::size_t before = list.Count();
        if (!list.Take(option.name, option.value)) {
            continue;
        }
        if (list.WaitsForCurve() && option.name == "curve-kind") {
            waiting = TomlLine(option);
            continue;
        }
        if (list.Count() > before) {
            text += "\n[[tone]]\n";
        }
        text += TomlLine(option);
        if (option.name == "curve") {
            text += waiting;
            waiting.clear();
        }
    }
    return text;
}

}  // namespace

bool IsPresetOption(std::string_view name) {
    const OptionSpec* spec = FindOption(name);
    return spec != nullptr && spec->inPresets;
}

Preset ParsePreset(std::string_view text, const std::string& name) {
    return PresetReader(name).Read(text);
}

std::string ReadPresetFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) {
        if (errno == ENOMEM) {
            throw std::bad_alloc();
        }
        throw Error(ExitCode::kFailed, path + ": " + std::strerror(errno));
    }
    std::string text(kLargestFile + 1, '\0');
    errno = 0;
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    if (std::ferror(file.get()) != 0) {
        throw Error(ExitCode::kFailed, path + ": " + std::strerror(errno));
    }
    if (text.size() > kLargestFile) {
        throw Error(ExitCode::kFailed, path + ": is too large for a preset");
    }
    return text;
}

std::string PresetText(std::span<const GivenOption> options) {
    // Of a setting given twice the last counts, and a key can stand only once.
    std::string settings;
    for (auto option = options.begin(); option != options.end(); ++option) {
        const auto sameName = [&](const GivenOption& other) { return other.name == option->name; };
        if (IsPresetOption(option->name) && !ToneStepList::Knows(option->name) &&
            std::none_of(option + 1, options.end(), sameName)) {
            settings += TomlLine(*option);
        }
    }
    const std::string steps = StepsText(options);
    if (settings.empty() && steps.empty()) {
        return "# no settings\n";  // an empty file could be one that was cut off
    }
    return settings.empty() ? steps.substr(1) : settings + steps;
}

}  // namespace platen_tool
