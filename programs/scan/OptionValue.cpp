#include "programs/scan/OptionValue.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "programs/io/InputFile.h"

namespace platen_tool {

namespace {

constexpr double kFixedOne = 65536.0;

[[noreturn]] void Refuse(const std::string& label, const std::string& text) {
    throw Error(ExitCode::kUsage, label + ": " + text);
}

bool IsNumeric(const SANE_Option_Descriptor& option) {
    return option.type == SANE_TYPE_INT || option.type == SANE_TYPE_FIXED;
}

const char* UnitText(SANE_Unit unit) {
    switch (unit) {
        case SANE_UNIT_PIXEL:
            return " pixels";
        case SANE_UNIT_BIT:
            return " bits";
        case SANE_UNIT_MM:
            return " mm";
        case SANE_UNIT_DPI:
            return " dpi";
        case SANE_UNIT_PERCENT:
            return " %";
        case SANE_UNIT_MICROSECOND:
            return " microseconds";
        default:
            return "";
    }
}

std::string WordText(const SANE_Option_Descriptor& option, SANE_Word word) {
    return NumberText(std::round(WordNumber(option, word) * 10000.0) / 10000.0);
}

std::string RangeText(const SANE_Option_Descriptor& option) {
    const SANE_Range& range = *option.constraint.range;
    std::string text = WordText(option, range.min) + " to " + WordText(option, range.max) + UnitText(option.unit);
    if (range.quant != 0 && !(option.type == SANE_TYPE_INT && range.quant == 1)) {
        text += " in steps of " + WordText(option, range.quant);
    }
    return text;
}

std::string WordListText(const SANE_Option_Descriptor& option) {
    const SANE_Word* list = option.constraint.word_list;
    std::string text;
    for (SANE_Word i = 1; i <= list[0]; ++i) {
        text += (i > 1 ? ", " : "") + WordText(option, list[i]);
    }
    return text + UnitText(option.unit);
}

std::string StringListText(const SANE_Option_Descriptor& option) {
    std::string text;
    for (const SANE_String_Const* entry = option.constraint.string_list; *entry != nullptr; ++entry) {
        text += (text.empty() ? "" : ", ") + std::string(*entry);
    }
    return text;
}

bool Permitted(const SANE_Option_Descriptor& option, SANE_Word word) {
    if (option.constraint_type == SANE_CONSTRAINT_RANGE) {
        return word >= option.constraint.range->min && word <= option.constraint.range->max;
    }
    if (option.constraint_type == SANE_CONSTRAINT_WORD_LIST) {
        const SANE_Word* list = option.constraint.word_list;
        return std::find(list + 1, list + 1 + std::max<SANE_Word>(list[0], 0), word) !=
               list + 1 + std::max<SANE_Word>(list[0], 0);
    }
    return true;
}

// 12.1 is no multiple of 1/65536, and devices differ in which neighbour they list: the closest listed word or end
// of the range that prints the same.
SANE_Word Snap(const SANE_Option_Descriptor& option, SANE_Word word) {
    const auto near = [word](SANE_Word other) { return std::abs(std::int64_t{word} - other) <= 2; };
    if (option.constraint_type == SANE_CONSTRAINT_RANGE) {
        const SANE_Range& range = *option.constraint.range;
        return near(range.min) ? range.min : near(range.max) ? range.max : word;
    }
    if (option.constraint_type == SANE_CONSTRAINT_WORD_LIST) {
        for (SANE_Word i = 1; i <= option.constraint.word_list[0]; ++i) {
            if (near(option.constraint.word_list[i])) {
                return option.constraint.word_list[i];
            }
        }
    }
    return word;
}

SANE_Word ParseWord(const std::string& label, const SANE_Option_Descriptor& option, std::string_view text) {
    SANE_Word word = 0;
    try {
        if (option.type == SANE_TYPE_INT) {
            word = static_cast<SANE_Word>(ParseWhole(label, text, INT32_MIN, INT32_MAX));
        } else {
            constexpr double kLow = -32768.0;
            constexpr double kHigh = 32767.9999;
            word = static_cast<SANE_Word>(std::llround(ParseNumber(label, text, kLow, kHigh) * kFixedOne));
        }
    } catch (const Error&) {
        Refuse(label, "'" + std::string(text) +
                          "' is not a number that the device takes; allowed: " + AllowedText(option));
    }
    if (option.type == SANE_TYPE_FIXED) {
        word = Snap(option, word);
    }
    if (!Permitted(option, word)) {
        Refuse(label, "'" + std::string(text) + "' is out of range; allowed: " + AllowedText(option));
    }
    return word;
}

// The text of a list's file, with every run of separators made one comma.
std::string ReadList(const std::string& label, const std::string& path) {
    constexpr std::size_t kMost = 4'000'000;
    InputFile file(path);
    std::string text;
    for (int c = file.Get(); c >= 0; c = file.Get()) {
        const bool separator = c == ',' || c == ' ' || (c >= '\t' && c <= '\r');
        if (!separator) {
            text += static_cast<char>(c);
        } else if (!text.empty() && text.back() != ',') {
            text += ',';
        }
        if (text.size() > kMost) {
            Refuse(label, "'" + path + "' is too long for a list of numbers");
        }
    }
    file.CheckReadError();
    if (!text.empty() && text.back() == ',') {
        text.pop_back();
    }
    return text;
}

bool IsGammaTable(const SANE_Option_Descriptor& option) {
    return option.name != nullptr && std::string_view(option.name).ends_with("gamma-table") &&
           option.type == SANE_TYPE_INT && option.constraint_type == SANE_CONSTRAINT_RANGE && WordCount(option) > 1;
}

// level / most of the span, to the nearest. The product can pass 64 bits with a huge table.
std::int64_t ScaleLevel(std::int64_t level, std::int64_t span, std::int64_t most) {
    const double exact = static_cast<double>(level) * static_cast<double>(span) / static_cast<double>(most);
    return static_cast<std::int64_t>(std::floor(exact + 0.5));
}

// Entry i of n stands for the level i * 255 / (n - 1), and levels 0 to 255 for the device's range.
OptionValue StretchTable(const std::string& label, const SANE_Option_Descriptor& option,
                         const std::vector<std::string_view>& parts) {
    constexpr std::int64_t kLast = 255;
    std::vector<std::int64_t> levels;
    for (const std::string_view part : parts) {
        levels.push_back(ParseWhole(label, part, 0, kLast));
    }
    const auto steps = static_cast<std::int64_t>(WordCount(option)) - 1;
    const std::int64_t low = option.constraint.range->min;
    const std::int64_t span = std::max<std::int64_t>(option.constraint.range->max - low, 0);
    OptionValue result;
    for (std::int64_t i = 0; i <= steps; ++i) {
        const std::int64_t at = i * kLast / steps;
        const std::int64_t next = std::min(at + 1, kLast);
        const std::int64_t past = i * kLast % steps;  // steps-ths of the way to the next level
        const std::int64_t level =
            levels[static_cast<std::size_t>(at)] * (steps - past) + levels[static_cast<std::size_t>(next)] * past;
        result.words.push_back(static_cast<SANE_Word>(low + ScaleLevel(level, span, kLast * steps)));
    }
    return result;
}

OptionValue ParseWords(const std::string& label, const SANE_Option_Descriptor& option, const std::string& value) {
    const std::string list = value.starts_with('@') ? ReadList(label, value.substr(1)) : value;
    const auto parts = SplitText(list, ',');
    const std::size_t count = WordCount(option);
    constexpr std::size_t kTableSize = 256;
    if (parts.size() == kTableSize && count != kTableSize && IsGammaTable(option)) {
        return StretchTable(label, option, parts);
    }
    if (parts.size() != count) {
        const bool empty = list.empty();
        Refuse(label, "has " + std::to_string(empty ? 0 : parts.size()) +
                          (parts.size() == 1 && !empty ? " value" : " values") + "; the device wants " +
                          std::to_string(count) + ", each " + AllowedText(option));
    }
    OptionValue result;
    for (const std::string_view part : parts) {
        result.words.push_back(ParseWord(label, option, part));
    }
    return result;
}

OptionValue ParseBool(const std::string& label, const std::string& value) {
    for (const char* yes : {"yes", "true", "on"}) {
        if (value == yes) {
            return {SANE_ACTION_SET_VALUE, {SANE_TRUE}, {}};
        }
    }
    for (const char* no : {"no", "false", "off"}) {
        if (value == no) {
            return {SANE_ACTION_SET_VALUE, {SANE_FALSE}, {}};
        }
    }
    Refuse(label, "'" + value + "' is neither yes nor no");
}

OptionValue ParseText(const std::string& label, const SANE_Option_Descriptor& option, const std::string& value) {
    if (option.constraint_type == SANE_CONSTRAINT_STRING_LIST) {
        const SANE_String_Const* entry = option.constraint.string_list;
        while (*entry != nullptr && value != *entry) {
            ++entry;
        }
        if (*entry == nullptr) {
            Refuse(label, "'" + value + "' is not one of " + AllowedText(option));
        }
    }
    const auto size = static_cast<std::size_t>(std::max<SANE_Int>(option.size, 0));
    if (value.size() >= size) {
        Refuse(label, "'" + value + "' is too long; the device takes at most " +
                          std::to_string(size == 0 ? 0 : size - 1) + " bytes");
    }
    OptionValue result;
    result.text.assign(size, '\0');
    std::copy(value.begin(), value.end(), result.text.begin());
    return result;
}

}  // namespace

double WordNumber(const SANE_Option_Descriptor& option, SANE_Word word) {
    return option.type == SANE_TYPE_FIXED ? word / kFixedOne : word;
}

std::size_t WordCount(const SANE_Option_Descriptor& option) {
    return IsNumeric(option) && option.size > 0 ? static_cast<std::size_t>(option.size) / sizeof(SANE_Word) : 0;
}

std::string AllowedText(const SANE_Option_Descriptor& option) {
    if (option.type == SANE_TYPE_BOOL) {
        return "yes or no";
    }
    switch (option.constraint_type) {
        case SANE_CONSTRAINT_RANGE:
            return RangeText(option);
        case SANE_CONSTRAINT_WORD_LIST:
            return WordListText(option);
        case SANE_CONSTRAINT_STRING_LIST:
            return StringListText(option);
        default:
            break;
    }
    if (option.type == SANE_TYPE_INT) {
        return std::string("whole numbers") + UnitText(option.unit);
    }
    return option.type == SANE_TYPE_FIXED ? std::string("numbers") + UnitText(option.unit) : "any text";
}

OptionValue ParseOptionValue(const std::string& label, const SANE_Option_Descriptor& option,
                             const std::string& value) {
    const bool automatic = (option.cap & SANE_CAP_AUTOMATIC) != 0;
    const bool listed = option.type == SANE_TYPE_STRING && option.constraint_type == SANE_CONSTRAINT_STRING_LIST;
    if (automatic && value == "auto" && !listed) {
        return {SANE_ACTION_SET_AUTO, {0}, {}};
    }
    switch (option.type) {
        case SANE_TYPE_BOOL:
            return ParseBool(label, value);
        case SANE_TYPE_INT:
        case SANE_TYPE_FIXED:
            return ParseWords(label, option, value);
        case SANE_TYPE_STRING:
            return ParseText(label, option, value);
        case SANE_TYPE_BUTTON:
            if (!value.empty()) {
                Refuse(label, "is a button and takes no value");
            }
            return {SANE_ACTION_SET_VALUE, {0}, {}};
        default:
            Refuse(label, "is a heading, not an option");
    }
}

}  // namespace platen_tool
