// Every call of the system that a run makes on files fails, once and from there on, with each error that it has;
// and all reads and writes are short and interrupted. An older output stays as it was, nothing half is left, and a
// message says why; or the run does its work all the same. The calls of a whole run are replayed too, as if the
// power went off after each of them.
//
// PLATEN_FULL_SWEEPS=1 in the environment takes each call; otherwise a part, spread over the run.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "Spawn.h"

namespace platen_test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

struct Call {
    const char* name;
    std::vector<int> errors;
};

const std::vector<Call>& Calls() {
    static const std::vector<Call> calls = {{"read", {EIO, EINTR}},
                                            {"pread", {EIO, EINTR}},
                                            {"write", {ENOSPC, EIO, EINTR}},
                                            {"pwrite", {ENOSPC, EINTR}},
                                            {"open", {EMFILE, EACCES}},
                                            {"fopen", {EMFILE, EACCES, ENOMEM}},
                                            {"mkostemp", {ENOSPC}},
                                            {"rename", {EIO, EACCES}},
                                            {"fsync", {EIO, ENOSPC}},
                                            {"mmap", {ENOMEM}},
                                            {"ftruncate", {EIO}},
                                            {"lseek", {EIO}},
                                            {"close", {EIO, EINTR}},
                                            {"fstat", {EIO}}};
    return calls;
}

// A call as the log has it.
struct Logged {
    std::string name;
    int file;
    std::string path;
    std::string bytes;
    std::size_t count;
};

std::vector<Logged> ReadLog(const std::string& path) {
    std::istringstream in(ReadFile(path));
    std::vector<Logged> log;
    for (Logged call; in >> call.name >> call.file >> call.path >> call.count;) {
        in.get();
        call.bytes.clear();
        if (call.name == "write" || call.name == "pwrite") {
            call.bytes.resize(call.count);
            in.read(call.bytes.data(), static_cast<std::streamsize>(call.count));
        }
        log.push_back(call);
    }
    return log;
}

class FaultMatrix : public testing::Test {
  protected:
    FaultMatrix() {
        setenv("LD_PRELOAD", PLATEN_FAULTS, 1);
        setenv("TMPDIR", temporary.Path().c_str(), 1);
        setenv("FAULT_CLOCK", "1", 1);
        WriteFile(folder.File("page.ppm"), PnmPage(60, 50, true));
    }
    ~FaultMatrix() override {
        for (const char* name : {"LD_PRELOAD", "TMPDIR", "FAULT_CALL", "FAULT_AT", "FAULT_ERRNO", "FAULT_MODE",
                                 "FAULT_SHORT", "FAULT_CALLS", "FAULT_CLOCK"}) {
            unsetenv(name);
        }
    }

    Outcome Run(const Words& words) const {
        Streams streams;
        streams.folder = folder.Path();
        streams.input = input;
        return Spawn(words, streams);
    }

    void Make(const std::string& name, const Words& options = {}) const {
        Words words = {"page.ppm", "-o", name};
        words.insert(words.end(), options.begin(), options.end());
        ASSERT_EQ(Run(words).code, 0);
    }

    // `words` write to `output`, which exists, or to standard output where that is empty.
    void Sweep(const Words& words, const std::string& output) {
        if (!output.empty()) {
            WriteFile(folder.File(output), kOld);
        }
        setenv("FAULT_CALLS", temporary.File("calls").c_str(), 1);
        const Outcome outcome = Run(words);
        unsetenv("FAULT_CALLS");
        ASSERT_EQ(outcome.code, 0) << outcome.err;
        whole_ = output.empty() ? outcome.out : ReadFile(folder.File(output));
        std::map<std::string, int> counts;
        for (const Logged& call : ReadLog(temporary.File("calls"))) {
            ++counts[call.name];
        }
        fs::remove(temporary.File("calls"));
        listing_ = folder.Listing();
        int failed = 0;
        for (const Call& call : Calls()) {
            const int count = counts[call.name];
            for (int at = 1; at <= count; ++at) {
                for (const int error : call.errors) {
                    failed += Fault(words, output, call.name, at, error) ? 1 : 0;
                }
            }
        }
        EXPECT_GT(failed, 0);
        setenv("FAULT_SHORT", "1", 1);
        Prepare(output);
        const Outcome pieces = Run(words);
        unsetenv("FAULT_SHORT");
        EXPECT_EQ(pieces.code, 0) << pieces.err;
        EXPECT_TRUE((output.empty() ? pieces.out : ReadFile(folder.File(output))) == whole_) << "in pieces";
    }

    void Prepare(const std::string& output) const {
        if (!output.empty()) {
            WriteFile(folder.File(output), kOld);
        }
    }

    // True where the run failed.
    bool Fault(const Words& words, const std::string& output, const char* call, int at, int error) const {
        bool failed = false;
        for (const char* mode : {"once", "on"}) {
            if (error == EINTR && *mode == 'o' && mode[1] == 'n' && mode[2] == '\0') {
                continue;  // a call that is interrupted for ever
            }
            const std::string which =
                std::string(call) + " " + std::to_string(at) + " " + mode + " " + strerror(error);
            Prepare(output);
            setenv("FAULT_CALL", call, 1);
            setenv("FAULT_AT", std::to_string(at).c_str(), 1);
            setenv("FAULT_ERRNO", std::to_string(error).c_str(), 1);
            setenv("FAULT_MODE", mode, 1);
            const Outcome outcome = Run(words);
            for (const char* name : {"FAULT_CALL", "FAULT_AT", "FAULT_ERRNO", "FAULT_MODE"}) {
                unsetenv(name);
            }
            const std::string result = output.empty() ? outcome.out : ReadFile(folder.File(output));
            if (outcome.code == 0) {
                EXPECT_TRUE(result == whole_) << which << ": half an output";
            } else {
                failed = true;
                EXPECT_TRUE(outcome.code >= 1 && outcome.code <= 3) << which << ": " << outcome.code;
                EXPECT_TRUE(outcome.err.starts_with("platen: ")) << which << ": " << outcome.err;
                EXPECT_TRUE(output.empty() || result == kOld) << which << ": the old output is gone";
            }
            EXPECT_FALSE(error == EINTR && outcome.code != 0) << which << ": " << outcome.err;
            EXPECT_EQ(folder.Listing(), listing_) << which;
            EXPECT_EQ(temporary.Listing(), "") << which;
        }
        return failed;
    }

    const std::string kOld = "an older output\n";
    Folder folder;
    Folder temporary;
    std::string input;

  private:
    std::string whole_;
    std::string listing_;
};

TEST_F(FaultMatrix, PngToPng) {
    Make("in.png");
    Sweep({"in.png", "--levels=10,240", "--scale=50%", "-f", "-o", "out.png"}, "out.png");
}

TEST_F(FaultMatrix, PngOnThreeThreads) {
    Make("in.png");
    Sweep({"in.png", "--gamma=2", "--threads=3", "-f", "-o", "out.png"}, "out.png");
}

TEST_F(FaultMatrix, TiffToTiff) {
    Make("in.tif", {"--compression=lzw"});
    Sweep({"in.tif", "--gamma=2", "-f", "-o", "out.tif"}, "out.tif");
}

TEST_F(FaultMatrix, PipedTiffToPdf) {
    Make("in.tif");
    input = ReadFile(folder.File("in.tif"));
    Sweep({"-", "--scale=50%", "-f", "-o", "out.pdf"}, "out.pdf");
}

TEST_F(FaultMatrix, JpegToJpeg) {
    Make("in.jpg");
    Sweep({"in.jpg", "--brightness=10", "-f", "-o", "out.jpg"}, "out.jpg");
}

TEST_F(FaultMatrix, PnmToStandardOutput) {
    Sweep({"page.ppm", "--negative", "-o", "-"}, "");
}

TEST_F(FaultMatrix, Plots) {
    Sweep({"curve", "--gamma=2", "--svg=out.svg", "-f"}, "out.svg");
}

TEST_F(FaultMatrix, PresetsThatAreRead) {
    WriteFile(folder.File("own.toml"), "sharpness = 1\n\n[[tone]]\nlevels = [20, 230]\n");
    Sweep({"page.ppm", "--preset=own.toml", "-f", "-o", "out.ppm"}, "out.ppm");
}

TEST_F(FaultMatrix, SavedPresets) {
    Sweep({"--gamma=2", "--save-preset=out.toml", "-f"}, "out.toml");
}

// What the disk may hold after a loss of power at any point: a name that was given and all that fsync had waited
// for. Data that no fsync covers may be there or not; so a rename is only safe after one.
TEST_F(FaultMatrix, APowerCutLeavesTheOldOutputOrTheNew) {
    Make("in.tif");
    for (const std::string output : {"out.png", "out.tif", "out.pdf", "out.jpg", "out.ppm"}) {
        WriteFile(folder.File(output), kOld);
        setenv("FAULT_CALLS", temporary.File("calls").c_str(), 1);
        ASSERT_EQ(Run({"in.tif", "--gamma=2", "-f", "-o", output}).code, 0);
        unsetenv("FAULT_CALLS");
        std::map<int, std::string> pathOf;
        std::map<std::string, std::string> written;
        std::map<std::string, std::string> durable;
        std::map<int, std::size_t> place;
        int renames = 0;
        for (const Logged& call : ReadLog(temporary.File("calls"))) {
            if (call.name == "made") {
                pathOf[call.file] = call.path;
                place[call.file] = 0;
            } else if (call.name == "rename") {
                ++renames;
                ASSERT_TRUE(written.count(call.path) != 0) << output;
                EXPECT_TRUE(durable[call.path] == written[call.path])
                    << output << ": renamed before the disk has all of it";
                EXPECT_TRUE(durable[call.path] == ReadFile(folder.File(output))) << output;
                EXPECT_EQ(written.count(output), 0u) << output << ": written under its own name";
            } else if (pathOf.count(call.file) == 0) {
                continue;
            } else if (call.name == "write" || call.name == "pwrite") {
                std::string& bytes = written[pathOf[call.file]];
                const std::size_t at = call.name == "write" ? place[call.file] : std::stoul(call.path);
                EXPECT_EQ(renames, 0) << output << ": written after it has its name";
                bytes.resize(std::max(bytes.size(), at + call.count));
                bytes.replace(at, call.count, call.bytes);
                place[call.file] += call.name == "write" ? call.count : 0;
            } else if (call.name == "ftruncate") {
                written[pathOf[call.file]].resize(call.count);
            } else if (call.name == "fsync") {
                durable[pathOf[call.file]] = written[pathOf[call.file]];
            } else if (call.name == "close") {
                pathOf.erase(call.file);
            }
        }
        EXPECT_EQ(renames, 1) << output;
        fs::remove(temporary.File("calls"));
    }
}

}  // namespace
}  // namespace platen_test
