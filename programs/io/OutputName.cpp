#include "programs/io/OutputName.h"

#include <algorithm>
#include <map>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

std::string StemOf(std::string_view input) {
    if (input == "-") {
        return "stdin";
    }
    const std::string_view file = input.substr(input.rfind('/') + 1);
    const std::size_t dot = file.rfind('.');
    return std::string(dot == std::string_view::npos || dot == 0 ? file : file.substr(0, dot));
}

// With its dot; empty where there is none.
std::string EndingOf(std::string_view input) {
    const std::string_view file = input.substr(input.rfind('/') + 1);
    const std::size_t dot = file.rfind('.');
    return std::string(dot == std::string_view::npos || dot == 0 ? std::string_view() : file.substr(dot));
}

}  // namespace

void OutputName::Append(Piece::Kind kind, std::string text, unsigned digits) {
    hasName_ = hasName_ || kind == Piece::kName;
    hasPage_ = hasPage_ || kind == Piece::kPage;
    pieces_.push_back({kind, std::move(text), digits});
}

OutputName::OutputName(std::string_view text, std::string_view format) {
    const std::string whole(text);
    while (!text.empty()) {
        const std::size_t at = text.find('%');
        if (at != 0) {
            Append(Piece::kText, std::string(text.substr(0, at)), 0);
            text.remove_prefix(std::min(at, text.size()));
            continue;
        }
        text.remove_prefix(1);
        unsigned digits = 0;
        if (text.size() > 2 && text[0] == '0' && text[1] >= '1' && text[1] <= '9') {
            digits = static_cast<unsigned>(text[1] - '0');
            text.remove_prefix(2);
        }
        const char kind = text.empty() ? '\0' : text[0];
        if (kind == 'd') {
            Append(Piece::kPage, "", digits);
        } else if (kind == 's' && digits == 0) {
            Append(Piece::kName, "", 0);
        } else if (kind == '%' && digits == 0) {
            Append(Piece::kText, "%", 0);
        } else {
            throw Error(ExitCode::kUsage,
                        "-o: '" + whole + "' has a '%' that is not the start of %s, %d, %01d to %09d or %%");
        }
        text.remove_prefix(1);
    }
    if (whole.ends_with('/')) {
        Append(Piece::kName, "", 0);
        if (format.empty()) {
            Append(Piece::kEnding, "", 0);
        } else {
            std::string ending(".");
            ending += format == "tiff" ? "tif" : format == "jpeg" ? "jpg" : format;
            Append(Piece::kText, ending, 0);
        }
    }
}

std::string OutputName::Make(std::string_view input, unsigned long page) const {
    std::string name;
    for (const Piece& piece : pieces_) {
        if (piece.kind == Piece::kText) {
            name += piece.text;
        } else if (piece.kind == Piece::kName) {
            name += StemOf(input);
        } else if (piece.kind == Piece::kEnding) {
            name += EndingOf(input);
        } else {
            const std::string number = std::to_string(page);
            name += std::string(piece.digits > number.size() ? piece.digits - number.size() : 0, '0') + number;
        }
    }
    return name;
}

void CheckOutputName(const OutputName& name, const std::vector<std::string>& inputs) {
    if (inputs.size() > 1 && !name.HasName() && !name.HasPage()) {
        throw Error(ExitCode::kUsage, "-o: several inputs need %s or %d in the output's name");
    }
    if (!name.HasName()) {
        return;
    }
    std::map<std::string, std::string> seen;
    for (const std::string& input : inputs) {
        const auto [other, fresh] = seen.try_emplace(name.Make(input, 1), input);
        if (!fresh) {
            throw Error(ExitCode::kUsage,
                        "-o: '" + other->second + "' and '" + input + "' would both write '" + other->first + "'");
        }
    }
}

}  // namespace platen_tool
