// Random command lines in a folder of pages, damaged ones and links among them. Whatever they say: no file changes
// that wasn't asked for, no output is half, none is left under a temporary name, and a failure has its code and its
// words.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "Sequences.h"
#include "Spawn.h"
#include "support/Random.h"

namespace platen_test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;
using Files = std::map<std::string, std::string>;

// Made once, and copied for every run.
class Pages {
  public:
    Pages() {
        WriteFile(folder_.File("a.ppm"), PnmPage(40, 30, true, 1));
        WriteFile(folder_.File("b.pgm"), PnmPage(33, 21, false, 2));
        Make({"a.ppm", "-o", "c.png"});
        WriteFile(folder_.File("two.ppm"), ReadFile(folder_.File("b.pgm")) + ReadFile(folder_.File("a.ppm")));
        Make({"two.ppm", "-o", "d.tif"});
        fs::remove(folder_.File("two.ppm"));
        Make({"b.pgm", "-o", "1.tif"});
        Make({"a.ppm", "-o", "e.jpg"});
        Make({"a.ppm", "--mode=lineart", "-o", "f.pbm", "--format=pnm"});
        Make({"--brightness=20", "--gamma=2", "--save-preset=own.toml"});
        WriteFile(folder_.File("half.png"), ReadFile(folder_.File("c.png")).substr(0, 200));
        WriteFile(folder_.File("empty.tif"), "");
        WriteFile(folder_.File("text.txt"), "not a page\n");
        fs::create_directory(folder_.File("sub"));
        fs::create_symlink("d.tif", folder_.File("link.tif"));
        fs::create_symlink("none.png", folder_.File("lost.png"));
        fs::create_hard_link(folder_.File("c.png"), folder_.File("hard.png"));
    }
    void CopyTo(const std::string& folder) const {
        for (const auto& entry : fs::directory_iterator(folder_.Path())) {
            const fs::path to = fs::path(folder) / entry.path().filename();
            if (entry.path().filename() != "hard.png") {
                fs::copy(entry.path(), to, fs::copy_options::copy_symlinks);
            }
        }
        fs::create_hard_link(fs::path(folder) / "c.png", fs::path(folder) / "hard.png");
    }

  private:
    void Make(const Words& words) const {
        Streams streams;
        streams.folder = folder_.Path();
        EXPECT_EQ(Spawn(words, streams).code, 0) << words[0];
    }

    Folder folder_;
};

Files FilesIn(const std::string& folder) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {  // of a link, what it leads to
            files[fs::relative(entry.path(), folder).string()] = ReadFile(entry.path().string());
        }
    }
    return files;
}

const Words kInputs = {"a.ppm",    "b.pgm",    "c.png",    "d.tif",    "e.jpg", "f.pbm", "half.png", "empty.tif",
                       "text.txt", "link.tif", "hard.png", "none.png", "sub",   "-",     "1.tif"};
const Words kOutputs = {"new.png",       "new.tif", "new.pdf",     "new.jpg",  "new.pgm",    "%s.png",
                        "%s.tif",        "sub/",    "p%d.png",     "%d.tif",   "sub/%s.jpg", "a.ppm",
                        "c.png",         "d.tif",   "link.tif",    "hard.png", "-",          "lost.png",
                        "nowhere/x.png", "sub",     "%s-%02d.pgm", "text.txt", "/dev/null"};
// %N: a number from the step.
const Words kOptions = {"--brightness=%N",
                        "--contrast=%N",
                        "--levels=%N,220",
                        "--gamma=0.%N",
                        "--curve-gamma=%N",
                        "--saturation=%N",
                        "--hue=%N",
                        "--lightness=%N",
                        "--sharpness=2",
                        "--mode=gray",
                        "--mode=lineart",
                        "--mode=color",
                        "--depth=16",
                        "--depth=1",
                        "--threshold=%N",
                        "--negative",
                        "--flatten",
                        "--scale=%N%",
                        "--scale=50%",
                        "--width=%N",
                        "--size=20x%N",
                        "--resolution=%N",
                        "--set-resolution=%N",
                        "--input-resolution=100",
                        "--shrink-only",
                        "--preset=own.toml",
                        "--preset=text-clean",
                        "--preset=%N",
                        "--save-preset=saved.toml",
                        "--save-preset=own.toml",
                        "--save-preset=a.ppm",
                        "--plot=plot.svg",
                        "--plot=c.png",
                        "--format=png",
                        "--format=tiff",
                        "--format=pdf",
                        "--format=jpeg",
                        "--format=pnm",
                        "--quality=%N",
                        "--compression=g4",
                        "--compression=lzw",
                        "--compression=jpeg",
                        "--compression=zstd:%N",
                        "--page=1",
                        "--page=2-",
                        "--page=%N",
                        "--jobs=2",
                        "--threads=1",
                        "--threads=3",
                        "-k",
                        "--stop-on-error",
                        "-f",
                        "-f",
                        "-f",
                        "--strip",
                        "--strict-stream",
                        "--max-side=%N",
                        "--max-pixels=%N",
                        "-n",
                        "--json",
                        "--stats",
                        "-v",
                        "--version",
                        "--order=tone,scale",
                        "--first-page-number=%N",
                        "--nonsense",
                        "-x%N"};

std::string Filled(std::string word, const Step& step) {
    if (const std::size_t at = word.find("%N"); at != std::string::npos) {
        const auto number = static_cast<std::int32_t>(step.number % 300) - 100;
        word.replace(at, 2, std::to_string(step.seed % 4 == 0 ? number : std::abs(number)));
    }
    return word;
}

struct Line {
    Words words;
    Words inputs;
    Words outputs;  // as they were named: patterns, files
    bool force = false;
    bool dry = false;
};

Line CommandLine(const Steps& steps) {
    Line line;
    Words options;
    const auto option = [&](const std::string& word) {
        options.push_back(word);
        line.force = line.force || word == "-f";
        line.dry = line.dry || word == "-n";
    };
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& step = steps[i];
        const std::uint32_t kind = i == 0   ? 0
                                   : i == 1 ? 2
                                            : step.call % 7;  // mostly a line that could do something
        if (kind < 2) {
            line.inputs.push_back(kInputs[step.number % kInputs.size()]);
        } else if (kind < 3) {
            line.outputs.push_back(kOutputs[step.number % kOutputs.size()]);
        } else {
            option(Filled(kOptions[step.seed % kOptions.size()], step));
        }
    }
    // What may change files is in many lines.
    const std::uint32_t seed = steps.empty() ? 0 : steps[0].seed;
    if (seed % 3 == 1) {
        option("-f");
    }
    if (seed / 3 % 8 == 1) {
        option("-n");
    }
    if (seed / 24 % 4 == 1) {
        option("--save-preset=saved.toml");
    }
    if (seed / 96 % 6 == 1) {
        option("--plot=plot.svg");
    }
    if (seed / 576 % 8 == 1) {  // the first page's name is another input's
        line.inputs = {"a.ppm", "1.tif"};
        line.outputs = {"%d.tif"};
    }
    line.words = line.inputs;
    for (const std::string& output : line.outputs) {
        line.words.insert(line.words.end(), {"-o", output});
    }
    for (const std::string& word : options) {
        line.words.push_back(word);
        if (word.starts_with("--plot=") || word.starts_with("--save-preset=")) {
            line.outputs.push_back(word.substr(word.find('=') + 1));
        }
    }
    return line;
}

// The names that an output of this name may have, for an input.
std::set<std::string> NamesOf(const std::string& output, const std::string& input) {
    const std::string stem = input == "-" ? "stdin" : fs::path(input).stem().string();
    std::set<std::string> names;
    const std::string pattern = output == "sub/" || output == "sub" ? "sub/%s" : output;
    for (int number = -110; number < 310; ++number) {
        std::string name;
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            if (pattern.compare(i, 2, "%s") == 0) {
                name += stem;
                ++i;
            } else if (pattern.compare(i, 2, "%d") == 0) {
                name += std::to_string(number);
                ++i;
            } else if (pattern.compare(i, 4, "%02d") == 0) {
                name += (number >= 0 && number < 10 ? "0" : "") + std::to_string(number);
                i += 3;
            } else {
                name += pattern[i];
            }
        }
        names.insert(name);
        if (pattern == "sub/%s") {  // the format's ending is the program's
            for (const char* ending :
                 {".png", ".tif", ".tiff", ".jpg", ".pdf", ".ppm", ".pgm", ".pbm", ".pnm", ".pam"}) {
                names.insert(name + ending);
            }
        }
        if (pattern.find("%d") == std::string::npos && pattern.find("%0") == std::string::npos) {
            break;
        }
    }
    return names;
}

// Whether a file of this name holds the same file: links and hard links do.
bool SameFile(const std::string& folder, const std::string& a, const std::string& b) {
    std::error_code none;
    return a == b || fs::equivalent(fs::path(folder) / a, fs::path(folder) / b, none);
}

class CommandLineRun {
  public:
    CommandLineRun(const Pages& pages, const Steps& steps) : line_(CommandLine(steps)) {
        pages.CopyTo(folder_.Path());
        before_ = FilesIn(folder_.Path());
    }

    void Run() {
        Streams streams;
        streams.folder = folder_.Path();
        streams.input = PnmPage(25, 20, true, 3);
        outcome_ = Spawn(line_.words, streams);
        after_ = FilesIn(folder_.Path());
        std::string words;
        for (const std::string& word : line_.words) {
            words += word + " ";
        }
        try {
            CheckOutcome();
            CheckFiles();
        } catch (const Differs& differs) {
            throw Differs("platen " + words + "\ncode " + std::to_string(outcome_.code) + "\n" + outcome_.err +
                          differs.what());
        }
    }

  private:
    void CheckOutcome() const {
        Agree(outcome_.code >= 0 && outcome_.code <= 3, "the code is one of those that the manual tells");
        Agree(outcome_.code == 0 || outcome_.err.find("platen: ") != std::string::npos, "a failure has a message");
        Agree(outcome_.err.empty() || outcome_.err.starts_with("platen: "), "the first line says whose it is");
        Agree(outcome_.err.find("std::") == std::string::npos && outcome_.err.find("what()") == std::string::npos,
              "a message is for people");
    }

    void CheckFiles() const {
        for (const auto& [name, bytes] : before_) {
            const auto now = after_.find(name);
            Agree(now != after_.end(), name + " is still there");
            if (now->second != bytes) {
                Agree(!line_.dry, name + " is changed by a dry run");
                Agree(line_.force, name + " is changed without --force");
                Agree(MayChange(name), name + " is changed by a page that isn't its own, or by nobody's wish");
                CheckWhole(name);
            }
        }
        for (const auto& [name, bytes] : after_) {
            if (before_.count(name) == 0) {
                Agree(!line_.dry, name + " is made by a dry run");
                Agree(fs::path(name).filename().string()[0] != '.', name + " remains");
                Agree(MayAppear(name), name + " is made by nobody's wish");
                CheckWhole(name);
            }
        }
    }

    bool IsInput(const std::string& name) const {
        return std::any_of(line_.inputs.begin(), line_.inputs.end(),
                           [&](const std::string& input) { return SameFile(folder_.Path(), input, name); });
    }
    // Whether the name is what the first input's first page has, that being another file.
    bool IsFirstPage(const std::string& output, const std::string& name) const {
        const std::string& first = line_.inputs[0];
        const bool numbered =
            output == "%d.tif" && std::none_of(line_.words.begin(), line_.words.end(), [](const auto& word) {
                return word.starts_with("--first-page-number");
            });
        return numbered && name == "1.tif" && !SameFile(folder_.Path(), first, name) &&
               outcome_.err.find("platen: " + first + ":") == std::string::npos;
    }
    // An input only by its own page, another file by any.
    bool MayChange(const std::string& name) const {
        for (const std::string& output : line_.outputs) {
            if (IsInput(name) && IsFirstPage(output, name)) {
                continue;
            }
            for (const std::string& input : line_.inputs) {
                if (IsInput(name) && !SameFile(folder_.Path(), input, name)) {
                    continue;
                }
                for (const std::string& made : NamesOf(output, input)) {
                    if (SameFile(folder_.Path(), made, name)) {
                        return true;
                    }
                }
            }
            if (!IsInput(name) && SameFile(folder_.Path(), output, name)) {
                return true;
            }
        }
        return false;
    }
    bool MayAppear(const std::string& name) const {
        return std::any_of(line_.outputs.begin(), line_.outputs.end(), [&](const std::string& output) {
            if (output == name || (output == "lost.png" && name == "none.png")) {
                return true;
            }
            return std::any_of(line_.inputs.begin(), line_.inputs.end(),
                               [&](const std::string& input) { return NamesOf(output, input).count(name) != 0; });
        });
    }

    void CheckWhole(const std::string& name) const {
        const std::string& bytes = after_.at(name);
        Agree(!bytes.empty(), name + " is empty");
        if (bytes.starts_with("<")) {
            Agree(bytes.ends_with("</svg>\n"), name + " is half an SVG");
        } else if (bytes.starts_with("%PDF")) {
            Agree(bytes.ends_with("%%EOF\n"), name + " is half a PDF");
        } else {
            Streams streams;
            streams.folder = folder_.Path();
            const bool preset = name.ends_with(".toml") || Spawn({"info", name}, streams).code != 0;
            const Outcome read = preset ? Spawn({"presets", "check", name}, streams)
                                        : Spawn({name, "-o", "-", "--format=pnm"}, streams);
            Agree(read.code == 0, name + " can't be read: " + read.err);
        }
    }

    Line line_;
    Folder folder_;
    Files before_;
    Files after_;
    Outcome outcome_;
};

TEST(CommandLines, ChangeNothingThatWasNotAskedFor) {
    const Pages pages;
    CheckSequences(
        "command lines", [&](const Steps& steps) { CommandLineRun(pages, steps).Run(); }, PLATEN_MODEL_SEQUENCES,
        12);
}

}  // namespace
}  // namespace platen_test
