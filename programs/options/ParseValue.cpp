#include "programs/options/ParseValue.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"

namespace platen_tool {

namespace {

constexpr std::int64_t kMostPixelsASide = 0x7FFFFFFF;

[[noreturn]] void Refuse(const std::string& text) {
    throw Error(ExitCode::kUsage, text);
}

std::string Dashed(const OptionSpec& spec) {
    return std::string("--") + spec.name;
}

// The word's place among words with one space between them.
std::size_t PlaceAmong(const OptionSpec& spec, std::string_view words, std::string_view text) {
    const auto list = SplitText(words, ' ');
    const auto found = std::find(list.begin(), list.end(), text);
    if (found != list.end()) {
        return static_cast<std::size_t>(found - list.begin());
    }
    std::string names;
    for (const std::string_view word : list) {
        names += std::string(names.empty() ? "" : ", ") + std::string(word);
    }
    Refuse(Dashed(spec) + ": '" + std::string(text) + "' is not one of " + names);
}

[[noreturn]] void RefuseColour(const OptionSpec& spec, const std::string& text) {
    Refuse(Dashed(spec) + ": '" + text + "' is not white, black or #RRGGBB");
}

// Two hexadecimal digits.
std::uint8_t ParseByte(const OptionSpec& spec, const std::string& text, std::size_t at) {
    unsigned value = 0;
    const char* end = text.data() + at + 2;
    const auto result = std::from_chars(text.data() + at, end, value, 16);
    if (result.ec != std::errc() || result.ptr != end) {
        RefuseColour(spec, text);
    }
    return static_cast<std::uint8_t>(value);
}

}  // namespace

int ParseInt(const OptionSpec& spec, std::string_view text) {
    return static_cast<int>(ParseWhole(Dashed(spec), text, static_cast<std::int64_t>(spec.range.low),
                                       static_cast<std::int64_t>(spec.range.high)));
}

double ParseDecimal(const OptionSpec& spec, std::string_view text) {
    return ParseNumber(Dashed(spec), text, spec.range.low, spec.range.high);
}

std::uint64_t ParseCount(const OptionSpec& spec, std::string_view text) {
    return static_cast<std::uint64_t>(ParseWhole(Dashed(spec), text, 1, INT64_MAX));
}

std::size_t ParseChoice(const OptionSpec& spec, std::string_view text) {
    return PlaceAmong(spec, spec.choices, text);
}

PixelMode ParseMode(const OptionSpec& spec, std::string_view text) {
    const std::string_view word = text == "grey" ? "gray" : text == "colour" ? "color" : text;
    return Choose(spec, word, {PixelMode::kLineart, PixelMode::kGray, PixelMode::kColor});
}

double ParseScale(const OptionSpec& spec, const std::string& text) {
    const bool percent = text.ends_with('%');
    const std::string number = percent ? text.substr(0, text.size() - 1) : text;
    return percent ? ParseNumber(Dashed(spec), number, 0.01, 100000.0) / 100.0
                   : ParseNumber(Dashed(spec), number, 0.0001, 1000.0);
}

std::uint32_t ParseSide(const OptionSpec& spec, std::string_view text) {
    return static_cast<std::uint32_t>(ParseWhole(Dashed(spec), text, 1, kMostPixelsASide));
}

void ParseSize(const OptionSpec& spec, std::string_view text, SizeSettings& size) {
    const auto parts = SplitText(text, 'x');
    if (parts.size() != 2) {
        Refuse(Dashed(spec) + ": '" + std::string(text) + "' is not WxH");
    }
    size.width = ParseSide(spec, parts[0]);
    size.height = ParseSide(spec, parts[1]);
}

CropSettings ParseCrop(const OptionSpec& spec, const std::string& text) {
    constexpr double kMostUnits = 1e6;
    CropSettings crop;
    std::string_view rest = text;
    const auto unit = [&](std::string_view name, CropSettings::Unit value) {
        if (rest.ends_with(name)) {
            rest.remove_suffix(name.size());
            crop.unit = value;
        }
    };
    unit("px", CropSettings::Unit::kPixels);
    unit("mm", CropSettings::Unit::kMillimetres);
    unit("in", CropSettings::Unit::kInches);
    const auto parts = SplitText(rest, '+');
    const auto sides = SplitText(parts.front(), 'x');
    if (sides.size() != 2 || (parts.size() != 1 && parts.size() != 3)) {
        Refuse(Dashed(spec) + ": '" + text + "' is not WxH+X+Y, optionally followed by mm or in");
    }
    const auto number = [&](std::string_view part, double least) {
        if (crop.unit == CropSettings::Unit::kPixels) {
            return static_cast<double>(
                ParseWhole(Dashed(spec), part, static_cast<std::int64_t>(least), kMostPixelsASide));
        }
        return ParseNumber(Dashed(spec), part, least / 1000.0, kMostUnits);
    };
    crop.width = number(sides[0], 1.0);
    crop.height = number(sides[1], 1.0);
    if (parts.size() == 3) {
        crop.x = number(parts[1], 0.0);
        crop.y = number(parts[2], 0.0);
    }
    return crop;
}

Resolution ParseResolution(const std::string& option, std::string_view text) {
    const auto parts = SplitText(text, 'x');
    if (parts.size() > 2) {
        Refuse("--" + option + ": '" + std::string(text) + "' is not DPI or XxY");
    }
    const Ratio x = ParseRatio("--" + option, parts.front());
    return {x, parts.size() == 2 ? ParseRatio("--" + option, parts[1]) : x};
}

PageRange ParsePages(const OptionSpec& spec, const std::string& text) {
    constexpr std::int64_t kLastPage = 0xFFFFFFFF;
    const auto parts = SplitText(text, '-');
    if (parts.size() > 2) {
        Refuse(Dashed(spec) + ": '" + text + "' is not N, N-M or N-");
    }
    PageRange range;
    range.first = static_cast<std::uint32_t>(ParseWhole(Dashed(spec), parts.front(), 1, kLastPage));
    range.last = range.first;
    if (parts.size() == 2 && parts[1].empty()) {
        range.last = static_cast<std::uint32_t>(kLastPage);
    } else if (parts.size() == 2) {
        range.last = static_cast<std::uint32_t>(ParseWhole(Dashed(spec), parts[1], range.first, kLastPage));
    }
    return range;
}

Compression ParseCompression(const OptionSpec& spec, const std::string& text) {
    using Kind = Compression::Kind;
    const std::size_t colon = text.find(':');
    const std::string word = text.substr(0, colon);
    Compression compression;
    compression.kind = Choose(spec, word,
                              {Kind::kNone, Kind::kLzw, Kind::kDeflate, Kind::kZstd, Kind::kPackBits, Kind::kGroup4,
                               Kind::kJpeg, Kind::kFast, Kind::kDefault, Kind::kBest});
    compression.text = text;
    if (colon != std::string::npos) {
        const int most = compression.kind == Kind::kDeflate ? 12
                         : compression.kind == Kind::kZstd  ? 19
                         : compression.kind == Kind::kJpeg  ? 100
                                                            : 0;
        if (most == 0) {
            Refuse(Dashed(spec) + ": '" + word +
                   "' takes no level; deflate (1..12), zstd (1..19) and jpeg (1..100) do");
        }
        compression.level = static_cast<int>(ParseWhole(Dashed(spec), text.substr(colon + 1), 1, most));
    }
    return compression;
}

Colour ParseColour(const OptionSpec& spec, const std::string& text) {
    if (text == "white") {
        return {};
    }
    const std::string digits = text == "black" ? "#000000" : text;
    if (digits.size() != 7 || digits[0] != '#') {
        RefuseColour(spec, text);
    }
    return {{ParseByte(spec, digits, 1), ParseByte(spec, digits, 3), ParseByte(spec, digits, 5)}};
}

std::array<Adjustment, 4> ParseOrder(const OptionSpec& spec, std::string_view text, unsigned& missing) {
    std::vector<Adjustment> list;
    for (const std::string_view part : SplitText(text, ',')) {
        const auto kind = static_cast<Adjustment>(PlaceAmong(spec, "tone hsv scale sharpen", part));
        if (std::find(list.begin(), list.end(), kind) != list.end()) {
            Refuse(Dashed(spec) + ": '" + std::string(part) + "' is given twice");
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

}  // namespace platen_tool
