// The scan command's pages, line by line from the stand-in scanner, and its runs over it.

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "StandInTest.h"
#include "programs/base/Error.h"
#include "programs/scan/ScanDevice.h"
#include "programs/scan/ScanFrame.h"
#include "programs/scan/ScanReader.h"

namespace platen_test {
namespace {

using Words = std::vector<std::string>;

constexpr std::size_t kWidth = 61;

// Frames of 50 lines; none may be started before the one before it was read to its end.
struct WholeFrames {
    explicit WholeFrames(StandInHooks& hooks) {
        hooks.start = [this]() -> Answer {
            EXPECT_TRUE(ended);
            ended = false;
            left = 50 * kWidth;
            return std::nullopt;
        };
        hooks.read = [this](SANE_Byte* to, SANE_Int room, SANE_Int& count) -> Answer {
            count = std::min({static_cast<SANE_Int>(left), room, SANE_Int{61}});
            std::fill_n(to, count, SANE_Byte{1});
            left -= static_cast<std::size_t>(count);
            ended = count == 0;
            return count > 0 ? SANE_STATUS_GOOD : SANE_STATUS_EOF;
        };
    }
    WholeFrames(const WholeFrames&) = delete;  // the hooks refer to it
    WholeFrames& operator=(const WholeFrames&) = delete;

    bool ended = true;
    std::size_t left = 0;
};

class ScanPages : public StandInTest {
  protected:
    // Frames of so many bytes, in pieces of any size; the height isn't known, or is announced.
    void Send(std::size_t bytes, SANE_Int lines) {
        Hooks().parameters = [lines](SANE_Parameters& parameters) { parameters.lines = lines; };
        Hooks().start = [this, bytes]() -> Answer {
            left_ = bytes;
            return std::nullopt;
        };
        Hooks().read = [this](SANE_Byte* to, SANE_Int room, SANE_Int& count) -> Answer {
            count = std::min(static_cast<SANE_Int>(left_), std::min(room, piece));
            std::fill_n(to, count, SANE_Byte{50});
            left_ -= static_cast<std::size_t>(count);
            return count > 0 ? SANE_STATUS_GOOD : SANE_STATUS_EOF;
        };
    }

    // The lines of all pages, as "3 5"; what ends it otherwise.
    static std::string LinesOf(std::optional<unsigned long> pages, const platen_tool::ReadOptions& options = {}) {
        std::string text;
        const std::string failure = Failure([&] {
            platen_tool::ScanDevice device(kBare);
            const auto reader = platen_tool::MakeScanReader(device, pages, options);
            do {
                std::vector<std::uint8_t> line(reader->Info().LineBytes());
                int lines = 0;
                while ((reader->Info().height == 0 || lines < static_cast<int>(reader->Info().height)) &&
                       reader->ReadLineOrEnd(line.data())) {
                    ++lines;
                }
                text += (text.empty() ? "" : " ") + std::to_string(lines);
            } while (reader->NextPage());
        });
        return failure == "done" ? text : failure;
    }

    SANE_Int piece = 1000;

  private:
    std::size_t left_ = 0;
};

TEST_F(ScanPages, LinesThatEndWithinOneAreAFailure) {
    Send(3 * kWidth, -1);
    EXPECT_EQ(LinesOf(1), "3");
    Send(3 * kWidth + 1, -1);
    EXPECT_EQ(LinesOf(1), "4 the device ended the page within line 4");
    Send(3 * kWidth - 1, -1);
    EXPECT_EQ(LinesOf(1), "4 the device ended the page within line 3");
    Send(3 * kWidth, 4);
    EXPECT_EQ(LinesOf(1), "4 the device ended the page within line 4 of 4");
    Send(kWidth - 1, 1);
    EXPECT_EQ(LinesOf(1), "4 the device ended the page within line 1 of 1");
    Send(0, -1);
    EXPECT_EQ(LinesOf(1), "4 the device sent a page without lines");
    // What comes after the last line is read and left.
    Send(5 * kWidth + 7, 3);
    EXPECT_EQ(LinesOf(2), "3 3");
    for (const SANE_Int bytes : {1, 60, 61, 62}) {
        piece = bytes;
        Send(3 * kWidth, -1);
        EXPECT_EQ(LinesOf(2), "3 3");
    }
}

// The limit is each page's own.
TEST_F(ScanPages, PagesOfUnknownHeightHaveALimitEach) {
    platen_tool::ReadOptions options;
    options.limits.maxSide = 100;
    Send(100 * kWidth, -1);
    EXPECT_EQ(LinesOf(3, options), "100 100 100");
    Send(101 * kWidth, -1);
    EXPECT_EQ(LinesOf(3, options).find("1 the page is too large: 61 x 101 pixels; allowed: 100 on a side"), 0u)
        << LinesOf(3, options);
}

TEST_F(ScanPages, PagesAreCounted) {
    platen_tool::ScanDevice device(kBare);
    EXPECT_EQ(platen_tool::MakeScanReader(device, 1, {})->PageCount(), 1u);
    EXPECT_EQ(platen_tool::MakeScanReader(device, 2, {})->PageCount(), 0u);  // the feeder may hold fewer
    EXPECT_EQ(platen_tool::MakeScanReader(device, std::nullopt, {})->PageCount(), 0u);
}

TEST_F(ScanPages, WhatTheFirstReadSaysCounts) {
    for (const auto& [status, message] : {std::pair{SANE_STATUS_JAMMED, "4 Document feeder jammed"},
                                          {SANE_STATUS_IO_ERROR, "4 the scan failed: Error during device I/O"},
                                          {SANE_STATUS_NO_DOCS, "5 Document feeder out of documents"}}) {
        int calls = 0;
        Hooks().read = [&calls, status = status](SANE_Byte*, SANE_Int, SANE_Int& count) -> Answer {
            count = 0;
            return calls++ == 0 ? Answer(status) : std::nullopt;
        };
        EXPECT_EQ(LinesOf(1), message);
    }
    // Nothing so far is no end.
    int calls = 0;
    Hooks().read = [&calls](SANE_Byte*, SANE_Int, SANE_Int& count) -> Answer {
        count = 0;
        return calls++ < 5 ? Answer(SANE_STATUS_GOOD) : std::nullopt;
    };
    EXPECT_EQ(LinesOf(1), "47");
    EXPECT_GT(calls, 5);
}

// A page is read to its end before the next one is started.
TEST_F(ScanPages, AFrameIsReadToItsEnd) {
    Hooks().records = true;
    const WholeFrames frames(Hooks());
    EXPECT_EQ(LinesOf(3), "47 47 47");
    EXPECT_TRUE(frames.ended);
}

// The same of a page of three passes.
class ScanPasses : public ScanPages {
  protected:
    static std::string PagesOf(unsigned long pages, const platen_tool::ReadOptions& options = {}) {
        std::string text;
        const std::string failure = Failure([&] {
            platen_tool::ScanDevice device(kBare);
            device.Set("", "mode", "Passes");
            const auto reader = platen_tool::MakeScanReader(device, pages, options);
            do {
                const platen_tool::ImageInfo& info = reader->Info();
                std::vector<std::uint8_t> line(info.LineBytes());
                std::uint32_t lines = 0;
                while (reader->ReadLineOrEnd(line.data())) {
                    ++lines;
                }
                EXPECT_FALSE(reader->ReadLineOrEnd(line.data()));
                EXPECT_EQ(lines, info.height);
                text +=
                    (text.empty() ? "" : " ") + std::to_string(info.samplesPerPixel) + "x" + std::to_string(lines);
            } while (reader->NextPage());
        });
        return failure == "done" ? text : failure;
    }
};

TEST_F(ScanPasses, HaveTheirHeightInTheEnd) {
    Hooks().parameters = [](SANE_Parameters& parameters) { parameters.lines = -1; };
    EXPECT_EQ(PagesOf(2), "3x47 3x47");
    for (const std::size_t lines : std::initializer_list<std::size_t>{1, 2, 100}) {
        platen_tool::ReadOptions options;
        options.limits.maxSide = 100;
        Send(lines * kWidth, -1);
        EXPECT_EQ(PagesOf(1, options), "3x" + std::to_string(lines));
    }
}

TEST_F(ScanPasses, MustBeAlike) {
    const std::string differ = "4 the device's three passes differ in size";
    int started = 0;
    Hooks().start = [&]() -> Answer {
        ++started;
        return std::nullopt;
    };
    const std::pair<const char*, void (*)(SANE_Parameters&)> passes[] = {
        {"narrow", [](SANE_Parameters& p) { p.pixels_per_line -= 1; }},
        {"deep", [](SANE_Parameters& p) { p.depth = 1; }},
        {"low", [](SANE_Parameters& p) { p.lines -= 1; }}};
    for (const auto& [name, change] : passes) {
        for (const int wrong : {1, 2, 3}) {
            started = 0;
            Hooks().parameters = [&started, wrong, change = change](SANE_Parameters& parameters) {
                if (started == wrong) {
                    change(parameters);
                }
            };
            EXPECT_EQ(PagesOf(1), differ) << name << wrong;
        }
    }
    // One without lines.
    Hooks().parameters = [](SANE_Parameters& parameters) { parameters.lines = -1; };
    Hooks().read = [](SANE_Byte*, SANE_Int, SANE_Int& count) -> Answer {
        count = 0;
        return SANE_STATUS_EOF;
    };
    EXPECT_EQ(PagesOf(1), differ);
}

TEST_F(ScanPasses, AreReadToTheirEnd) {
    const WholeFrames frames(Hooks());
    EXPECT_EQ(PagesOf(2), "3x47 3x47");
    EXPECT_TRUE(frames.ended);
}

// A page of three passes may be followed by one of a single frame.
TEST_F(ScanPasses, EndWithTheirPage) {
    int started = 0;
    Hooks().start = [&]() -> Answer {
        ++started;
        return std::nullopt;
    };
    Hooks().parameters = [&](SANE_Parameters& parameters) {
        if (started > 3) {
            parameters.format = SANE_FRAME_GRAY;
        }
    };
    EXPECT_EQ(PagesOf(2), "3x47 1x47");
    EXPECT_EQ(started, 4);
}

TEST_F(ScanPages, ALimitOfPixelsIsForTheLinesThatCome) {
    platen_tool::ReadOptions options;
    options.limits.maxPixels = 2 * kWidth - 1;
    Send(kWidth, -1);
    EXPECT_EQ(LinesOf(1, options), "1");
    Send(2 * kWidth, -1);
    EXPECT_EQ(LinesOf(1, options).find("1 the page is too large"), 0u);
}

// Runs of the program over the stand-in, which writes down what it was asked for.
class ScanRuns : public StandInTest {
  protected:
    ScanRuns() {
        setenv("STANDIN_CALLS", calls_.c_str(), 1);
    }
    ~ScanRuns() override {
        unsetenv("STANDIN_CALLS");
    }

    Outcome Run(Words words, const std::string& input = "") const {
        words.insert(words.begin(), {"scan", "-d", "standin:"});
        std::remove(calls_.c_str());
        Streams streams;
        streams.folder = folder.Path();
        streams.input = input;
        return Spawn(words, streams);
    }

    Calls AllCalls() const {
        std::string text;
        if (std::FILE* file = std::fopen(calls_.c_str(), "r")) {
            for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
                text += static_cast<char>(c);
            }
            std::fclose(file);
        }
        Calls calls;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find('\n', at);
            calls.push_back(text.substr(at, end - at));
            at = end + 1;
        }
        return calls;
    }

    // What the device was asked to set, and how often it started.
    Calls Asked() const {
        Calls calls = AllCalls();
        std::erase_if(calls, [](const std::string& call) {
            return call.ends_with('?') || call == "cancel" || call == "exit";
        });
        return calls;
    }

    Calls AskedBy(const Words& words) const {
        const Outcome outcome = Run(Plus({"-n", "-o", "x.tif"}, words));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return Asked();
    }

    static Words Plus(Words first, const Words& second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }

  private:
    Folder log_;  // beside the outputs
    const std::string calls_ = log_.File("calls");
};

TEST_F(ScanRuns, TheDeviceIsAskedForWhatItCanDo) {
    EXPECT_EQ(AskedBy({"--depth=16"}), Calls{"depth=16"});
    EXPECT_EQ(AskedBy({"--depth=8"}), Calls{"depth=8"});
    EXPECT_EQ(AskedBy({"--mode=color"}), Calls{"mode=Color"});
    EXPECT_EQ(AskedBy({"--mode=gray"}), Calls{"mode=Gray"});
    const Calls lineart = {"mode=Gray", "depth=1"};
    EXPECT_EQ(AskedBy({"--depth=1"}), lineart);
    EXPECT_EQ(AskedBy({"--mode=lineart"}), lineart);
    // A threshold of one's own, and tones, want greys.
    for (const char* grey : {"--gamma=2", "--threshold=50", "--auto-threshold", "--dither"}) {
        EXPECT_EQ(AskedBy({"--depth=1", grey}), Calls{"mode=Gray"}) << grey;
        EXPECT_EQ(AskedBy({"--mode=lineart", grey}), Calls{"mode=Gray"}) << grey;
    }
    EXPECT_EQ(AskedBy({"--resolution=150"}), (Calls{"resolution=150", "y-resolution=150"}));
    EXPECT_EQ(AskedBy({"--resolution=150x75"}), (Calls{"resolution=150", "y-resolution=75"}));
    EXPECT_EQ(AskedBy({"--set", "source=ADF", "--set", "preview=yes"}), (Calls{"source=ADF", "preview=1"}));
}

TEST_F(ScanRuns, SaneIsEnded) {
    for (const Words& words : {Words{"-n"}, Words{"--list-options"}, Words{"-o", "p.pgm"}, Words{"-o", "p.pgm"}}) {
        Run(words);  // the last one fails
        ASSERT_FALSE(AllCalls().empty());
        EXPECT_EQ(AllCalls().back(), "exit");
    }
}

TEST_F(ScanRuns, TheListIsOfTheConfiguration) {
    WriteFile(configuration.File("platen.conf"), "device standin: Maker Model\n");
    const Outcome outcome = Spawn({"scan", "-L"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "platen:standin:  Maker Model (adjusting scanner)\n");
}

// No sheet is pulled for a page whose name is taken, as far as the pages are known.
TEST_F(ScanRuns, AllNamesAreLookedAtFirst) {
    for (const auto& [name, starts] : {std::pair{"p1.pgm", 0}, {"p2.pgm", 0}, {"p3.pgm", 0}, {"p4.pgm", 3}}) {
        Folder other;
        WriteFile(other.File(name), "older");
        const Outcome outcome = Run({"--pages=3", "-o", other.File("p%d.pgm")});
        EXPECT_EQ(outcome.code, starts == 0 ? 1 : 0) << name;
        EXPECT_EQ(Asked(), Calls(static_cast<std::size_t>(starts), "start")) << name;
        EXPECT_EQ(ReadFile(other.File(name)), "older");
    }
    // Until the feeder is empty: the first one.
    for (const auto& [name, starts] : {std::pair{"p1.pgm", 0}, {"p2.pgm", 1}}) {
        Folder other;
        WriteFile(other.File(name), "older");
        const Outcome outcome = Run({"--set", "source=ADF", "--pages=all", "-o", other.File("p%d.pgm")});
        EXPECT_EQ(outcome.code, 1) << name;
        const Calls calls = Asked();
        EXPECT_GE(std::count(calls.begin(), calls.end(), "start"), starts) << name;
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "start") == 0, starts == 0) << name;
    }
    // The run's other files count, too.
    const Outcome plot = Run({"--pages=3", "--gamma=2", "--plot=p2.pgm", "-o", "p%d.pgm"});
    EXPECT_EQ(plot.code, 2) << plot.err;
    EXPECT_EQ(Asked(), Calls{});
    EXPECT_EQ(folder.Listing(), "");
}

TEST_F(ScanRuns, ThePlotIsDrawn) {
    const Outcome outcome = Run({"--gamma=2", "--plot=curve.svg", "-o", "p.pgm"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(folder.Listing(), "curve.svg p.pgm");
    EXPECT_EQ(ReadFile(folder.File("curve.svg")).find("<svg"), 0u);
    // One that is there already is found before the page.
    EXPECT_EQ(Run({"--gamma=2", "--plot=curve.svg", "-o", "q.pgm"}).code, 1);
    EXPECT_EQ(Asked(), Calls{});
}

TEST_F(ScanRuns, ADryRunNeedsNoOutput) {
    const Outcome outcome = Run({"-n"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find("standin:, page 1\n  input     61 x 47, 8-bit grey, 75 dpi\n"), 0u) << outcome.out;
    EXPECT_EQ(Run({"-n", "-o", "x.pgm"}).out.find("standin:, page 1, to x.pgm\n"), 0u);
}

// Standard input that can't be read has ended.
TEST_F(ScanRuns, APromptWithoutStandardInputEnds) {
    Streams streams;
    streams.folder = folder.Path();
    streams.program = "sh";
    const char* other = std::getenv("PLATEN_TEST_PROGRAM");
    const std::string program = other != nullptr ? other : PLATEN_PROGRAM;
    const Outcome outcome =
        Spawn({"-c", program + " scan -d standin: --prompt --pages=all -o p%d.pgm <."}, streams);
    EXPECT_EQ(outcome.code, 5) << outcome.err;
    EXPECT_EQ(folder.Listing(), "");
    EXPECT_EQ(Asked(), Calls{});
}

TEST_F(ScanRuns, AnInterruptEndsThePrompt) {
    RunningProgram program({"scan", "-d", "standin:", "--prompt", "--pages=all", "-o", folder.File("p%d.pgm")});
    for (int i = 0; i < 1000 && AllCalls().empty(); ++i) {
        usleep(10000);
    }
    usleep(200000);  // until it waits
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(AllCalls().back(), "exit");  // by itself, and not by the limit on that
    const Calls calls = Asked();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "start"), 0);
}

TEST_F(ScanRuns, ThreePassesAreJoinedPageByPage) {
    const Outcome outcome = Run({"--set", "mode=Passes", "--pages=2", "-o", "p.tif"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    const std::string info = Spawn({"info", folder.File("p.tif")}).out;
    EXPECT_NE(info.find("page 2: 61 x 47, 8-bit RGB"), std::string::npos) << info;
    EXPECT_EQ(info.find("page 3"), std::string::npos);
    const Calls calls = Asked();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "start"), 6);
}

}  // namespace
}  // namespace platen_test
