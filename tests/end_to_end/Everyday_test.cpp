#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "Spawn.h"

// What users do every day, and what they are told when it goes wrong.

namespace platen_test {
namespace {

using Words = std::vector<std::string>;

class Everyday : public testing::Test {
  protected:
    Everyday() {
        WriteFile(folder.File("grey.pgm"), PnmPage(40, 30, false));
        WriteFile(folder.File("colour.ppm"), PnmPage(40, 30, true));
        WriteFile(folder.File("bits.pbm"), "P4 16 2\nabcd");
        WriteFile(folder.File("pages.pgm"),
                  PnmPage(9, 9, false, 1) + PnmPage(8, 8, false, 2) + PnmPage(7, 7, false, 3));
    }

    Outcome Run(const Words& words) const {
        Streams streams;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }

    void ExpectRefused(const Words& words, int code, const std::string& message) const {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, code);
        EXPECT_EQ(outcome.err, "platen: " + message + "\n");
    }

    Folder folder;
};

TEST_F(Everyday, WhatIsMissingIsNamed) {
    ExpectRefused({"grey.pgm", "out.png"}, 2,
                  "no output: 'out.png' is taken as an input; name the output with -o FILE, for several inputs "
                  "with %s or %d in it");
    ExpectRefused({"pages.pgm", "-o", "x.png"}, 3,
                  "pages.pgm: a PNG holds one page; TIFF, PDF and PNM hold several, and %d in the output's name "
                  "writes each page to its own file");
    ExpectRefused({"bits.pbm", "-o", "x.jpg"}, 3,
                  "bits.pbm: JPEG can't hold 1-bit grey; --mode=gray converts the page, and PNG, TIFF and PNM hold "
                  "it as it is");
    ExpectRefused({"grey.pgm", "--depth=16", "-o", "x.jpg"}, 3,
                  "grey.pgm: JPEG can't hold 16-bit grey; --depth=8 converts the page, and PNG, TIFF and PNM hold "
                  "it as it is");
    ExpectRefused({"grey.pgm", "--max-pixels=9", "-o", "x.png"}, 1,
                  "grey.pgm: the page is too large: 40 x 30 pixels; allowed: 9 pixels in all (--max-pixels)");
    ExpectRefused({"grey.pgm", "--max-side=9", "-o", "x.png"}, 1,
                  "grey.pgm: the page is too large: 40 x 30 pixels; allowed: 9 on a side (--max-side)");
    ExpectRefused({"grey.pgm", "--json", "-o", "x.png"}, 2, "--json: needs --stats");
    EXPECT_EQ(Run({"grey.pgm", "--mode=grey", "-o", "x.png"}).code, 0);
    EXPECT_EQ(Run({"grey.pgm", "--mode=colour", "-o", "c.png"}).code, 0);
}

TEST_F(Everyday, AFolderTakesTheInputsNames) {
    std::filesystem::create_directory(folder.File("out"));
    EXPECT_EQ(Run({"grey.pgm", "colour.ppm", "-o", "out/"}).code, 0);
    EXPECT_EQ(Run({"grey.pgm", "--format=tiff", "-o", "out/"}).code, 0);
    EXPECT_EQ(Run({"grey.pgm", "--format=jpeg", "-o", "out/"}).code, 0);
    EXPECT_EQ(Run({"grey.pgm", "--format=png", "-n", "-o", "out/"}).code, 0);
    for (const char* name : {"grey.pgm", "colour.ppm", "grey.tif", "grey.jpg"}) {
        EXPECT_TRUE(std::filesystem::exists(folder.File(std::string("out/") + name))) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.File("out/grey.png")));
    EXPECT_TRUE(ReadFile(folder.File("out/grey.pgm")).ends_with(PnmPage(40, 30, false).substr(13)));
    ExpectRefused({"scan", "-d", "x", "-o", "out/"}, 2,
                  "-o: 'out/' is a folder, and a scan has no name of its own; name a file in the folder");
}

TEST_F(Everyday, PagesToTheEnd) {
    EXPECT_EQ(Run({"pages.pgm", "--page=2-", "-o", "p%d.pgm"}).code, 0);
    EXPECT_TRUE(ReadFile(folder.File("p1.pgm")).starts_with("P5\n8 8\n"));
    EXPECT_TRUE(ReadFile(folder.File("p2.pgm")).starts_with("P5\n7 7\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.File("p3.pgm")));
    ExpectRefused({"pages.pgm", "--page=2-3-4", "-o", "x.tif"}, 2, "--page: '2-3-4' is not N, N-M or N-");
}

TEST_F(Everyday, StatisticsNeedNoOutput) {
    const Outcome plain = Run({"--stats", "grey.pgm", "colour.ppm"});
    EXPECT_EQ(plain.code, 0);
    EXPECT_EQ(plain.err, "");
    EXPECT_EQ(plain.out.find("grey.pgm:\n  percentiles "), 0u) << plain.out;
    EXPECT_NE(plain.out.find("\ncolour.ppm:\n  percentiles "), std::string::npos) << plain.out;
    EXPECT_EQ(plain.out.find("grey.pgm", 1), std::string::npos) << "its name stands there once";
    const Outcome json = Run({"--stats", "--json", "colour.ppm", "grey.pgm"});
    EXPECT_EQ(json.out.find("{\"file\": \"colour.ppm\", \"percentiles\": {\"red\": {\"0.5\": "), 0u) << json.out;
    EXPECT_NE(json.out.find("}, \"levels\": ["), std::string::npos);
    EXPECT_NE(json.out.find("], \"pages\": 1, \"lines\": 30, \"megabytesPerSecond\": "), std::string::npos);
    EXPECT_EQ(std::count(json.out.begin(), json.out.end(), '\n'), 2);
    const Outcome beside = Run({"--stats", "grey.pgm", "-o", "x.png"});
    EXPECT_EQ(beside.err.find("platen: grey.pgm:\n  percentiles "), 0u) << beside.err;
    EXPECT_EQ(beside.out, "");
    EXPECT_EQ(Run({"--stats", "--json", "-f", "grey.pgm", "-o", "x.png"}).err.find("{\"file\""), 0u);
}

TEST_F(Everyday, ADryRunSaysWhatItWouldDraw) {
    const std::string text = Run({"-n", "--plot=x.svg", "--brightness=10", "grey.pgm", "-o", "y.png"}).out;
    EXPECT_EQ(text.find("plot, to x.svg\n  tone      brightness 10\n"), 0u) << text;
    EXPECT_NE(Run({"-n", "--plot=x.svg", "grey.pgm"}).out.find("nothing: the curve is a straight line"),
              std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.File("x.svg")));
}

TEST_F(Everyday, InfoReadsHeadersAndCheckReadsAll) {
    std::string cut = ReadFile(folder.File("pages.pgm"));
    EXPECT_EQ(Run({"colour.ppm", "-o", "whole.png"}).code, 0);
    const std::string png = ReadFile(folder.File("whole.png"));
    WriteFile(folder.File("cut.png"), png.substr(0, png.size() - 100));
    EXPECT_EQ(Run({"info", "cut.png"}).code, 0);
    EXPECT_EQ(Run({"info", "--check", "cut.png"}).code, 1);
    EXPECT_EQ(Run({"info", "--check", "whole.png", "pages.pgm"}).code, 0);
    EXPECT_EQ(Run({"info", "pages.pgm"}).out, Run({"info", "--check", "pages.pgm"}).out);
    cut.pop_back();
    WriteFile(folder.File("cut.pgm"), cut);
    ExpectRefused({"info", "cut.pgm"}, 1, "cut.pgm: the PNM is damaged: the file ends before the last line");
    // From a pipe, where nothing can be passed over unread.
    Streams piped;
    piped.input = ReadFile(folder.File("pages.pgm"));
    EXPECT_EQ(Spawn({"info", "-"}, piped).out,
              "-: PNM\n  page 1: 9 x 9, 8-bit grey, no resolution\n  page 2: 8 x 8, 8-bit grey, no resolution\n"
              "  page 3: 7 x 7, 8-bit grey, no resolution\n");
}

// A full disk beneath $TMPDIR: here, a limit on the size of files that the spool comes to and the output doesn't.
TEST_F(Everyday, AFullTemporaryFolderIsNotCalledTheOutput) {
    Streams streams;
    streams.folder = folder.Path();
    streams.program = "sh";
    WriteFile(folder.File("large.ppm"), PnmPage(900, 900, true));
    const Outcome outcome =
        Spawn({"-c", "ulimit -f 8; " PLATEN_PROGRAM " large.ppm --format=tiff -o - | cat >/dev/null"}, streams);
    EXPECT_EQ(outcome.err, "platen: large.ppm: the temporary file can't be written: File too large\n");
}

// The program at a terminal of so many columns; what it wrote there.
std::string AtTerminal(const Words& words, unsigned short columns, const std::string& where) {
    winsize size{24, columns, 0, 0};
    int terminal = -1;
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process == 0) {
        if (chdir(where.c_str()) != 0) {
            _exit(126);
        }
        std::vector<char*> pointers = {const_cast<char*>(PLATEN_PROGRAM)};
        for (const std::string& word : words) {
            pointers.push_back(const_cast<char*>(word.c_str()));
        }
        pointers.push_back(nullptr);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    std::string text;
    char bytes[4096];
    for (ssize_t count = 0; (count = read(terminal, bytes, sizeof bytes)) > 0;) {
        text.append(bytes, static_cast<std::size_t>(count));
    }
    close(terminal);
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0) << text;
    return text;
}

TEST_F(Everyday, TheProgressIsOneLineHoweverNarrowTheTerminal) {
    Words inputs;
    for (int i = 0; i < 4; ++i) {
        inputs.push_back("a-scan-with-a-rather-long-name-" + std::to_string(i) + ".ppm");
        WriteFile(folder.File(inputs.back()), PnmPage(500, 900, true, i));
    }
    for (const char* jobs : {"--jobs=1", "--jobs=2"}) {
        for (const unsigned short columns : {std::uint16_t{40}, std::uint16_t{60}, std::uint16_t{80}}) {
            Words words = inputs;
            words.insert(words.end(), {"-f", jobs, "--progress", "--scale=2", "-o", "out-%s.png"});
            const std::string text = AtTerminal(words, columns, folder.Path());
            EXPECT_EQ(text.find('\n'), std::string::npos) << text;
            EXPECT_NE(text.find(jobs == std::string("--jobs=1") ? "file 1 of 4" : " of 4 files"), std::string::npos)
                << text;
            std::size_t widest = 0;
            for (std::size_t at = 0; at < text.size();) {
                const std::size_t end = std::min(text.find('\r', at), text.size());
                widest = std::max(widest, end - at);
                at = end + 1;
            }
            EXPECT_LT(widest, columns) << text;
            EXPECT_GT(widest, 10u);
        }
    }
}

}  // namespace
}  // namespace platen_test
