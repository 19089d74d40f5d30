#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

// Every text of the program's sources that a user may get to read must stand, word for word, in a test: what is not
// quoted was perhaps never seen. A text here is a literal of three words or more; what a source puts together of
// several literals, with names and numbers between them, counts by the piece.

namespace platen_test {
namespace {

using std::filesystem::path;

// No test can make the program say these.
const std::map<std::string, std::string> kUnseen = {
    {"the HSV filter refused a line", "the filter refuses wrong settings only, and has refused them before"},
    {"the sharpness filter refused a line", "the filter takes every line once it has been set up"},
    {"; the pages before it can't be kept: ", "a disk that fails when all pages have been written to it"},
    {"the page has too many lines", "after 4 294 967 295 of them"},
    {"this PNG layout isn't supported", "guards memory, should libpng give another form than it was asked for"},
    {"TIFF rows of this layout aren't supported", "guards memory, should libtiff count a row's bytes otherwise"},
    {"its tiles have an impossible size", "guards memory, should libtiff let such tiles pass"},
    {"the JPEG can't be written: ", "libjpeg's own words; a failing write has others"},
    {"the PNG can't be written: ", "libpng's own words; a failing write has others"},
    {"the PNG can't be written: its rows can't be compressed", "guards the stream, should zlib stop early"},
    {"the TIFF can't be written: a strip can't be compressed", "guards the file, should a codec refuse a strip"},
    {"its size can't be read: %s", "Faults_test makes it fail, and asks for the exit code only"},
    {": the device's area can't be set", "SANE's test device has an area"},
    {": the device measures in pixels and doesn't report their size", "SANE's test device counts millimetres"},
    {"this system's TIFF library can't write it", "Debian's has every kind that can be asked for"},
    {"the TIFF can't be opened: ", "libtiff's own words, without memory"},
};

// Tables of options, and drawings: their tests are their own.
const std::set<std::string> kOtherTexts = {"OptionTable.cpp", "OptionTable.h", "Completion.cpp", "CurvePlot.cpp",
                                           "PdfWriter.cpp"};

std::string Read(const path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.good()) << file;
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

std::vector<path> Sources(const path& folder) {
    std::vector<path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const path extension = entry.path().extension();
        if ((extension == ".cpp" || extension == ".h") &&
            kOtherTexts.count(entry.path().filename().string()) == 0) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Takes the string literals out of a source; those with nothing but space between them are one.
class Literals {
  public:
    explicit Literals(const std::string& source) : source_(source) {
        while (at_ < source_.size()) {
            Step();
        }
    }

    std::vector<std::string> texts;

  private:
    bool Here(const char* text) const {
        return source_.compare(at_, std::char_traits<char>::length(text), text) == 0;
    }

    void SkipPast(const char* end) {
        const std::size_t found = source_.find(end, at_);
        at_ = found == std::string::npos ? source_.size() : found + std::char_traits<char>::length(end);
    }

    void Step() {
        const char c = source_[at_];
        const bool atLineStart = at_ == 0 || source_[at_ - 1] == '\n';
        if (Here("//") || (c == '#' && atLineStart)) {
            SkipPast("\n");
        } else if (Here("static_assert")) {
            joins_ = false;
            SkipPast(";");
        } else if (Here("R\"(")) {
            joins_ = false;
            SkipPast(")\"");
        } else if (c == '\'') {
            joins_ = false;
            // Between digits it is no quote.
            const bool digits = at_ > 0 && std::isalnum(static_cast<unsigned char>(source_[at_ - 1])) != 0;
            ++at_;
            if (!digits) {
                Quoted('\'');
            }
        } else if (c == '"') {
            ++at_;
            const std::string text = Quoted('"');
            if (joins_) {
                texts.back() += text;
            } else {
                texts.push_back(text);
            }
            joins_ = true;
        } else {
            joins_ = joins_ && std::isspace(static_cast<unsigned char>(c)) != 0;
            ++at_;
        }
    }

    std::string Quoted(char quote) {
        std::string text;
        for (; at_ < source_.size() && source_[at_] != quote; ++at_) {
            if (source_[at_] == '\\') {
                ++at_;
                text += source_[at_] == 'n' ? '\n' : source_[at_];
            } else {
                text += source_[at_];
            }
        }
        ++at_;
        return text;
    }

    const std::string& source_;
    std::size_t at_ = 0;
    bool joins_ = false;
};

std::size_t Words(const std::string& text) {
    std::size_t words = 0;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        words +=
            std::any_of(word.begin(), word.end(), [](unsigned char c) { return std::isalpha(c) != 0; }) ? 1 : 0;
    }
    return words;
}

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

TEST(MessageSites, EveryTextStandsInATest) {
    std::string quoted;
    for (const char* folder : {"tests/end_to_end", "tests/unit/programs"}) {
        for (const path& file : Sources(path(PLATEN_SOURCES) / folder)) {
            if (file.filename() != "MessageSites_test.cpp") {
                for (const std::string& text : Literals(Read(file)).texts) {
                    quoted += text + '\0';
                }
            }
        }
    }
    std::size_t texts = 0;
    std::set<std::string> unseen;
    for (const path& file : Sources(path(PLATEN_SOURCES) / "programs")) {
        for (const std::string& text : Literals(Read(file)).texts) {
            if (Words(text) < 3) {
                continue;
            }
            ++texts;
            if (kUnseen.count(text) != 0) {
                unseen.insert(text);
            } else {
                EXPECT_NE(quoted.find(Trimmed(text)), std::string::npos) << file << ": \"" << text << "\"";
            }
        }
    }
    EXPECT_GT(texts, 200u);
    EXPECT_EQ(unseen.size(), kUnseen.size()) << "an exception that is none any more";
}

}  // namespace
}  // namespace platen_test
