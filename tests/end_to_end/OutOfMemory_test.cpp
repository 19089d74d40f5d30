#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "Spawn.h"

// Every allocation of short runs fails, once alone and once with all that follow. The program ends with a code of
// its own and says why, or does its work all the same; it never crashes, and an error leaves no output.
//
// PLATEN_FULL_SWEEPS=1 in the environment fails each allocation; otherwise a part, spread over the run.

namespace platen_test {
namespace {

class OutOfMemory : public testing::Test {
  protected:
    OutOfMemory() {
        setenv("LD_PRELOAD", PLATEN_FAULTS, 1);
        WriteFile(folder.File("page.ppm"), PnmPage(40, 30, true));
    }
    ~OutOfMemory() override {
        for (const char* name : {"LD_PRELOAD", "FAULT_ALLOCATION", "FAULT_MODE", "FAULT_REPORT"}) {
            unsetenv(name);
        }
    }

    Outcome Run(const std::vector<std::string>& words) const {
        Streams streams;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }

    // An input of another kind, made by the program itself.
    void Make(const std::string& name, const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words = {"page.ppm", "-o", name};
        words.insert(words.end(), options.begin(), options.end());
        ASSERT_EQ(Run(words).code, 0);
    }

    // How many allocations the run makes. `output` is what it writes, or empty.
    long Count(const std::vector<std::string>& words) const {
        setenv("FAULT_ALLOCATION", "0", 1);
        setenv("FAULT_REPORT", configuration.File("count").c_str(), 1);
        const Outcome outcome = Run(words);
        unsetenv("FAULT_REPORT");
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return std::atol(ReadFile(configuration.File("count")).c_str());
    }

    // `most` of the allocations fail, about.
    void Sweep(const std::vector<std::string>& words, const std::string& output = "", long most = 60) {
        const long count = Count(words);
        EXPECT_GT(count, 20);
        const std::string whole = output.empty() ? Run(words).out : ReadFile(folder.File(output));
        const long step = std::getenv("PLATEN_FULL_SWEEPS") != nullptr ? 1 : count / most + 1;
        for (const char* mode : {"once", "on"}) {
            setenv("FAULT_MODE", mode, 1);
            for (long number = 1; number <= count; number += step) {
                if (!output.empty()) {
                    std::filesystem::remove(folder.File(output));
                }
                setenv("FAULT_ALLOCATION", std::to_string(number).c_str(), 1);
                Check(Run(words), output, whole, mode + std::string(" ") + std::to_string(number));
            }
        }
        setenv("FAULT_ALLOCATION", "0", 1);
    }

    Folder folder;
    Folder configuration;

  private:
    void Check(const Outcome& outcome, const std::string& output, const std::string& whole,
               const std::string& which) const {
        const bool there = !output.empty() && std::filesystem::exists(folder.File(output));
        if (outcome.code == 0) {
            EXPECT_TRUE((output.empty() ? outcome.out : ReadFile(folder.File(output))) == whole) << which;
            return;
        }
        EXPECT_TRUE(outcome.code >= 1 && outcome.code <= 5) << which << ": " << outcome.code << " " << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("platen: ")) << which << ": " << outcome.err;
        EXPECT_FALSE(there) << which;
        EXPECT_NE(folder.Listing()[0], '.') << which << ": " << folder.Listing();
    }
};

TEST_F(OutOfMemory, IsSaid) {
    setenv("FAULT_ALLOCATION", "1", 1);
    const Outcome outcome = Run({"page.ppm", "-o", "out.png"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "platen: out of memory\n");
}

TEST_F(OutOfMemory, PngThroughAllStages) {
    Make("in.png", {"--set-resolution=300"});
    Sweep({"in.png", "--levels=10,240", "--saturation=20", "--scale=50%", "--sharpness=1", "-o", "out.png"},
          "out.png");
}

TEST_F(OutOfMemory, PngOnThreeThreads) {
    Make("in.png");
    Sweep({"in.png", "--threads=3", "--scale=50%", "-o", "out.png"}, "out.png");
}

TEST_F(OutOfMemory, AutomaticSettings) {
    WriteFile(folder.File("page.ppm"), PnmPage(40, 30, true));
    Sweep({"page.ppm", "--auto-white", "--auto-levels", "--stats", "-o", "out.png"}, "out.png");
}

TEST_F(OutOfMemory, TurnedPartsAndErrorDiffusion) {
    Sweep({"page.ppm", "--rotate=90", "--crop=20x30+3+4", "-o", "out.png"}, "out.png");
    Sweep({"page.ppm", "--rotate=180", "--mode=lineart", "--dither", "-o", "out.pbm"}, "out.pbm");
}

TEST_F(OutOfMemory, Tiff) {
    Make("in.tif", {"--set-resolution=300"});
    Sweep({"in.tif", "--gamma=2", "--stats", "-o", "out.tif"}, "out.tif");
}

// The codec library is shown a field that it doesn't know, warns of it, and takes memory for it. Every allocation
// fails here: it may be a single one that isn't survived.
TEST_F(OutOfMemory, TiffWithAFieldThatIsHidden) {
    Make("in.tif", {"--set-resolution=300"});
    const std::string unit("\x28\x01\x03\0\x01\0\0\0", 8);
    std::string bytes = ReadFile(folder.File("in.tif"));
    ASSERT_NE(bytes.find(unit), std::string::npos);
    bytes[bytes.find(unit)] = '\x31';  // the unit becomes the software's name
    WriteFile(folder.File("in.tif"), bytes);
    Sweep({"info", "in.tif"}, "", 1000);
}

TEST_F(OutOfMemory, BilevelTiff) {
    Make("in.tif", {"--mode=lineart"});
    Sweep({"in.tif", "--scale=50%", "-o", "out.tif"}, "out.tif");
}

TEST_F(OutOfMemory, Jpeg) {
    Make("in.jpg", {"--set-resolution=300"});
    Sweep({"in.jpg", "--brightness=10", "-o", "out.jpg"}, "out.jpg");
}

// EXIF, XMP and IPTC on their way from each format into another.
TEST_F(OutOfMemory, Descriptions) {
    Sweep({PLATEN_CORPUS "/jpeg_reader_fuzz/described.jpg", "--software-tag", "-o", "out.tif"}, "out.tif");
    Sweep({PLATEN_CORPUS "/tiff_reader_fuzz/described.tif", "-o", "out.png"}, "out.png");
    Sweep({PLATEN_CORPUS "/png_reader_fuzz/described.png", "-v", "-o", "out.jpg"}, "out.jpg");
}

// Little-CMS has no other answer to a lack of memory than that a profile can't be used.
TEST_F(OutOfMemory, ConvertedColours) {
    Sweep({PLATEN_CORPUS "/jpeg_reader_fuzz/inks.jpg", "-o", "out.ppm"}, "out.ppm");
    Sweep({PLATEN_CORPUS "/tiff_reader_fuzz/inks16.tif", "-o", "out.ppm"}, "out.ppm");
    Sweep({PLATEN_CORPUS "/tiff_reader_fuzz/lab.tif", "-o", "out.ppm"}, "out.ppm");
    Sweep({PLATEN_CORPUS "/tiff_reader_fuzz/ycbcr.tif", "-o", "out.ppm"}, "out.ppm");
}

TEST_F(OutOfMemory, Compressions) {
    for (const std::string kind : {"zstd", "deflate:9", "best"}) {
        Sweep({"page.ppm", "--compression=" + kind, "-o", "out.tif"}, "out.tif", 30);
    }
    Sweep({"page.ppm", "--compression=best", "-o", "out.png"}, "out.png", 30);
}

TEST_F(OutOfMemory, PnmToStandardOutput) {
    Sweep({"page.ppm", "--negative"});
}

TEST_F(OutOfMemory, PlotsAndPresets) {
    Sweep({"page.ppm", "--preset=book-yellowed", "--plot=out.svg", "-f", "-o", "out.pam"}, "out.pam");
}

TEST_F(OutOfMemory, Info) {
    Make("in.png", {"--set-resolution=300"});
    Sweep({"info", "--json", "in.png", "page.ppm"});
}

TEST_F(OutOfMemory, Curve) {
    Sweep({"curve", "--gamma=2", "--balance-midtones=10,0,-10", "--table=csv"});
}

TEST_F(OutOfMemory, Presets) {
    WriteFile(folder.File("own.toml"), "sharpness = 1\n\n[[tone]]\nlevels = [20, 230]\n");
    Sweep({"presets", "check", "own.toml"});
    Sweep({"presets"});
}

TEST_F(OutOfMemory, Help) {
    Sweep({"--help"});
}

}  // namespace
}  // namespace platen_test
