#include "programs/base/Numbers.h"

#include <charconv>
#include <cmath>
#include <numeric>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

[[noreturn]] void Refuse(std::string_view option, std::string_view text, const std::string& why) {
    throw Error(ExitCode::kUsage, std::string(option) + ": '" + std::string(text) + "' " + why);
}

// from_chars knows no plus sign.
std::string_view WithoutPlus(std::string_view text) {
    return text.size() > 1 && text[0] == '+' && text[1] != '-' ? text.substr(1) : text;
}

template <typename Number>
bool ReadWhole(std::string_view text, Number& value) {
    const std::string_view digits = WithoutPlus(text);
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

std::int64_t ParseWhole(std::string_view option, std::string_view text, std::int64_t low, std::int64_t high) {
    const std::string range = std::to_string(low) + " to " + std::to_string(high);
    std::int64_t value = 0;
    if (!ReadWhole(text, value)) {
        Refuse(option, text, "is not a whole number from " + range);
    }
    if (value < low || value > high) {
        Refuse(option, text, "is out of range; allowed: " + range);
    }
    return value;
}

double ParseNumber(std::string_view option, std::string_view text, double low, double high) {
    const std::string range = NumberText(low) + " to " + NumberText(high);
    double value = 0.0;
    if (!ReadWhole(text, value) || !std::isfinite(value)) {
        Refuse(option, text, "is not a number from " + range);
    }
    if (value < low || value > high) {
        Refuse(option, text, "is out of range; allowed: " + range);
    }
    return value;
}

Ratio ParseRatio(std::string_view option, std::string_view text) {
    constexpr std::size_t kMostDigits = 9;
    Ratio ratio{0, 1};
    std::size_t digits = 0;
    bool point = false;
    for (const char c : text) {
        if (c == '.' && !point) {
            point = true;
            continue;
        }
        if (c < '0' || c > '9' || ++digits > kMostDigits) {
            ratio.numerator = 0;
            break;
        }
        ratio.numerator = ratio.numerator * 10 + static_cast<std::uint64_t>(c - '0');
        ratio.denominator *= point ? 10 : 1;
    }
    if (ratio.numerator == 0) {
        Refuse(option, text, "is not a positive decimal number of at most nine digits");
    }
    const std::uint64_t common = std::gcd(ratio.numerator, ratio.denominator);
    return {ratio.numerator / common, ratio.denominator / common};
}

std::vector<std::string_view> SplitText(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(at + 1);
    }
}

std::string NumberText(double value) {
    char text[64];
    char* end = text + sizeof text;
    auto result = std::to_chars(text, end, value, std::chars_format::fixed);
    if (result.ec != std::errc()) {
        result = std::to_chars(text, end, value);  // too long to write out
    }
    return std::string(text, result.ptr);
}

}  // namespace platen_tool
