#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platen_tool {

// The -o argument: a plain file name, or a template.
//   %s            the input's name without folder and ending ("stdin" for standard input)
//   %d, %03d      the page's number in its input, from 1; without %s counting on over all inputs
//   %%            a percent sign
//   DIR/          a folder: the input's name in it, with the format's ending where one was asked for
class OutputName {
  public:
    // Any other percent sign is an Error (kUsage).
    //   format  "png", "tiff" and so on, or empty: for a folder's files
    explicit OutputName(std::string_view text, std::string_view format = {});

    bool HasName() const {
        return hasName_;
    }
    bool HasPage() const {
        return hasPage_;
    }
    std::string Make(std::string_view input, unsigned long page) const;

  private:
    struct Piece {
        enum Kind { kText, kName, kPage, kEnding } kind;
        std::string text;     // kText
        unsigned digits = 0;  // kPage: at least that many, filled with zeros
    };

    void Append(Piece::Kind kind, std::string text, unsigned digits);

    std::vector<Piece> pieces_;
    bool hasName_ = false;
    bool hasPage_ = false;
};

// Whether one template serves several inputs; an Error (kUsage) where two of them would write the same file.
void CheckOutputName(const OutputName& name, const std::vector<std::string>& inputs);

}  // namespace platen_tool
