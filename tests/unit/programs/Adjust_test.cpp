#include "programs/commands/Adjust.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <new>

#include "Expect.h"
#include "NumberedLines.h"
#include "io/Pages.h"
#include "programs/commands/AdjustInput.h"

// Several inputs, one after the other and in several processes, and how failures are told.

namespace platen_tool {
namespace {

using platen_test::RandomPage;
using platen_test::Scratch;

template <class Thrown>
std::string Told(const Thrown& thrown, const std::string& name, ExitCode expected) {
    testing::internal::CaptureStderr();
    try {
        throw thrown;
    } catch (...) {
        EXPECT_EQ(ReportFailure(name), expected);
    }
    return testing::internal::GetCapturedStderr();
}

TEST(ReportFailure, TellsWhatItWas) {
    EXPECT_EQ(Told(Error(ExitCode::kUsage, "wrong"), "a.png", ExitCode::kUsage), "platen: a.png: wrong\n");
    EXPECT_EQ(Told(Error(ExitCode::kUsage, "wrong"), "", ExitCode::kUsage), "platen: wrong\n");
    EXPECT_EQ(Told(Error(ExitCode::kInterrupted, ""), "a.png", ExitCode::kInterrupted), "");
    EXPECT_EQ(Told(Error(ExitCode::kBrokenPipe, "closed"), "a.png", ExitCode::kBrokenPipe), "");
    EXPECT_EQ(Told(std::bad_alloc(), "a.png", ExitCode::kFailed), "platen: a.png: out of memory\n");
    EXPECT_EQ(Told(std::logic_error("odd"), "", ExitCode::kFailed), "platen: internal error: odd\n");
}

ExitCode Adjust(const std::vector<std::string>& words) {
    const Settings settings = MakeSettings(ParseArguments(kAdjust, words), {});
    RunFiles files(settings.inputs);
    return RunAdjust(settings, files);
}

class AdjustTest : public testing::Test {
  protected:
    AdjustTest() {
        for (const char* name : {"a.pgm", "b.pgm", "c.pgm", "d.pgm"}) {
            platen_test::WritePages(scratch_ / name, {RandomPage(20, 10, 8, 1, 1)});
        }
        platen_test::PutFile(scratch_ / "bad.pgm", "P5 5 4 255\nshort");
    }

    // Exit code; what was told is in told_.
    int Run(std::vector<std::string> words, const std::vector<std::string>& inputs) {
        for (const std::string& input : inputs) {
            words.push_back(scratch_ / input);
        }
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        const auto code = static_cast<int>(Adjust(words));
        out_ = testing::internal::GetCapturedStdout();
        told_ = testing::internal::GetCapturedStderr();
        return code;
    }

    // Which of the outputs are there, by their letters; takes them away.
    std::string Outputs() {
        std::string names;
        for (const char* name : {"a", "b", "c", "d", "bad"}) {
            if (std::filesystem::remove(scratch_ / (std::string(name) + "-out.png"))) {
                names += name;
            }
        }
        return names;
    }

    std::string Template() const {
        return scratch_ / "%s-out.png";
    }

    Scratch scratch_;
    std::string told_;
    std::string out_;
};

TEST_F(AdjustTest, OneAfterTheOtherTheFirstFailureEndsItWhereThatIsWanted) {
    EXPECT_EQ(Run({"--gamma=2", "--stop-on-error", "-o", Template()}, {"a.pgm", "bad.pgm", "b.pgm"}), 1);
    EXPECT_EQ(Outputs(), "a");
    EXPECT_NE(told_.find("bad.pgm: "), std::string::npos) << told_;
    EXPECT_EQ(Run({"--gamma=2", "-o", Template()}, {"a.pgm", "bad.pgm", "b.pgm"}), 1);
    EXPECT_EQ(Outputs(), "ab");
}

TEST_F(AdjustTest, InSeveralProcessesTheFirstFailureStartsNoMoreWhereThatIsWanted) {
    EXPECT_EQ(Run({"--gamma=2", "--jobs=2", "-o", Template()}, {"a.pgm", "b.pgm", "c.pgm"}), 0);
    EXPECT_EQ(Outputs(), "abc");
    // One process each, so that the failure is known before the last input is due.
    EXPECT_EQ(Run({"--gamma=2", "--jobs=2", "--stop-on-error", "-o", Template()},
                  {"bad.pgm", "bad2.pgm", "a.pgm", "b.pgm", "c.pgm"}),
              1);
    EXPECT_EQ(Outputs().find('c'), std::string::npos);
    EXPECT_EQ(Run({"--gamma=2", "--jobs=2", "-o", Template()}, {"bad.pgm", "a.pgm", "b.pgm", "c.pgm"}), 1);
    EXPECT_EQ(Outputs(), "abc");
}

TEST_F(AdjustTest, OneInputNeedsNoProcessOfItsOwn) {
    EXPECT_EQ(Run({"--gamma=2", "--jobs=2", "-o", scratch_ / "a-out.png"}, {"a.pgm"}), 0);
    EXPECT_EQ(Outputs(), "a");
}

TEST_F(AdjustTest, SeveralInputsNeedNamesForTheirOutputs) {
    const auto refusal = [this](std::vector<std::string> words) {
        words.insert(words.end(), {scratch_ / "a.pgm", scratch_ / "b.pgm"});
        return UsageText([&] { Adjust(words); });
    };
    for (const char* dryRun : {"--verbose", "--dry-run"}) {
        EXPECT_EQ(refusal({"--jobs=2", "-o", "%d.png", dryRun}),
                  "--jobs: several inputs at a time need %s in the output's name");
        EXPECT_EQ(refusal({"-o", "out.png", dryRun}), "-o: several inputs need %s or %d in the output's name");
    }
}

TEST_F(AdjustTest, ADryRunNeedsNoOutput) {
    EXPECT_EQ(Run({"--dry-run", "--jobs=2"}, {"a.pgm", "b.pgm"}), 0);
    EXPECT_NE(out_.find("a.pgm, page 1\n"), std::string::npos) << out_;
    EXPECT_NE(out_.find("b.pgm, page 1\n"), std::string::npos) << out_;
}

TEST_F(AdjustTest, ADryRunWritesNothing) {
    const std::string plot = scratch_ / "plot.svg";
    EXPECT_EQ(Run({"--gamma=2", "--jobs=2", "--dry-run", "--plot=" + plot, "-o", Template()}, {"a.pgm", "b.pgm"}),
              0);
    EXPECT_NE(out_.find("b.pgm, page 1, to "), std::string::npos) << out_;
    EXPECT_EQ(Outputs(), "");
    EXPECT_FALSE(std::filesystem::exists(plot));
    EXPECT_EQ(Run({"--gamma=2", "--plot=" + plot, "-o", Template()}, {"a.pgm"}), 0);
    EXPECT_EQ(Outputs(), "a");
    EXPECT_TRUE(std::filesystem::exists(plot));
}

// Eight wide lines of unknown height. At their end the spool that holds them is cut down to three, so that the
// fourth can't be read back.
class SpoolBreaker : public NumberedLines {
  public:
    explicit SpoolBreaker(std::string folder) : NumberedLines(8), folder_(std::move(folder)) {
        info_.width = 40000;
    }
    bool ReadLineOrEnd(std::uint8_t* line) override {
        const bool more = NumberedLines::ReadLineOrEnd(line);
        if (!more) {
            BreakSpool();
        }
        return more;
    }

  private:
    void BreakSpool() {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code ignored;
            if (std::filesystem::read_symlink(entry, ignored).string().starts_with(folder_)) {
                const int descriptor = std::stoi(entry.path().filename().string());
                EXPECT_EQ(ftruncate(descriptor, static_cast<off_t>(3 * info_.LineBytes())), 0);
            }
        }
    }

    const std::string folder_;
};

// The writing thread, which waits for more lines, has not come to the disk's error yet.
TEST_F(AdjustTest, ASpoolThatFailsHidesNoEarlierErrorOfTheWriter) {
    const Settings settings = MakeSettings(
        ParseArguments(kAdjust, {"--sharpness=1", "--threads=3", "--format=pnm", "-o", "/dev/full", "in"}), {});
    const auto run = [&](const std::string& output) {
        unsigned long page = 1;
        return ErrorText(ExitCode::kFailed, [&] {
            const OutputName name(output);
            RunFiles files({});
            RunNumbers numbers(settings);
            AdjustSheets({settings, name, files, numbers}, {false, [] {}},
                         std::make_unique<SpoolBreaker>(scratch_ / ""), page);
        });
    };
    setenv("TMPDIR", (scratch_ / "").c_str(), 1);
    EXPECT_EQ(run("/dev/full"), "/dev/full: can't be written: No space left on device");
    EXPECT_EQ(run(scratch_ / "page"), "the temporary file can't be read back");
    unsetenv("TMPDIR");
}

TEST_F(AdjustTest, AFileThatChangesBetweenItsTwoReadingsIsAnError) {
    class EightLines : public NumberedLines {
      public:
        EightLines() : NumberedLines(8) {
            info_.height = 8;
        }
    };
    platen_test::WritePages(scratch_ / "file.pgm", {RandomPage(4, 9, 8, 1, 1)});
    const Settings settings = MakeSettings(ParseArguments(kAdjust, {"--auto-levels", "-o", "x", "in"}), {});
    const std::string input = scratch_ / "file.pgm";
    RunNumbers numbers(settings);
    AutomaticPages pages(settings, input, numbers);
    EightLines reader;
    std::optional<SpooledPage> spooled;
    std::string notice;
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { pages.Find(reader, 1, spooled, notice); }),
              "the file changed while it was being read");
}

TEST_F(AdjustTest, AMissingPageIsAnError) {
    EXPECT_EQ(Run({"--page=2", "-o", Template()}, {"a.pgm"}), 1);
    EXPECT_NE(told_.find("a.pgm: --page: there is only 1 page\n"), std::string::npos) << told_;
    platen_test::WritePages(scratch_ / "two.pgm", {RandomPage(20, 10, 8, 1, 1), RandomPage(20, 10, 8, 1, 2)});
    EXPECT_EQ(Run({"--page=3-4", "-o", Template()}, {"two.pgm"}), 1);
    EXPECT_NE(told_.find("two.pgm: --page: there are only 2 pages\n"), std::string::npos) << told_;
    EXPECT_EQ(Outputs(), "");
}

}  // namespace
}  // namespace platen_tool
