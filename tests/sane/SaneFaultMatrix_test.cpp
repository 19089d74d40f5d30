// Every allocation and every call of the system that the SANE backend makes fails, once and from there on, while an
// application opens, sets, scans, cancels and closes (FaultyHost). The application goes on, hears a status, gets a
// page that is whole or none, and afterwards the next page: nothing of the scanner stays open.
//
// PLATEN_FULL_SWEEPS=1 in the environment takes each of them; otherwise a part, spread over the run.

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "Spawn.h"

namespace platen_test {
namespace {

struct Page {
    int status = -1;
    std::string bytes;  // their length and checksum

    bool operator==(const Page&) const = default;
};

struct Host {
    Outcome outcome;
    Page whole;
    Page faulty;
    Page after;
    int handles = -1;
    int descriptors = -1;
};

class SaneFaultMatrix : public testing::Test {
  protected:
    SaneFaultMatrix() {
        WriteFile(folder.File("dll.conf"), "platen\n");
        WriteFile(folder.File("platen.conf"),
                  "device standin:\nresolution 30 600\npresets \"" + folder.Path() + "\"\n");
        WriteFile(folder.File("own.toml"), "sharpness = 1\n\n[[tone]]\nlevels = [20, 230, 0.9]\n");
        WriteFile(folder.File("damaged.toml"), "sharpness = [ a\n");
        for (const auto& [name, value] :
             std::map<std::string, std::string>{{"SANE_CONFIG_DIR", folder.Path()},
                                                {"XDG_CONFIG_HOME", folder.Path()},
                                                {"XDG_DATA_HOME", folder.Path()},
                                                {"TMPDIR", temporary.Path()},
                                                {"LD_LIBRARY_PATH", PLATEN_BACKENDS},
                                                {"LD_PRELOAD", PLATEN_FAULTS},
                                                {"FAULT_MARKED", "1"},
                                                // It forgets the device that it has just opened.
                                                {"FAULT_SPARE", "libsane.so"}}) {
            Let(name, value);
        }
    }
    ~SaneFaultMatrix() override {
        RecordProperty("runs", runs_);
        for (const auto& [name, ignored] : set_) {
            unsetenv(name.c_str());
        }
    }

    void Let(const std::string& name, const std::string& value) {
        setenv(name.c_str(), value.c_str(), 1);
        set_[name] = value;
    }

    Host Run(const std::vector<std::string>& settings) {
        ++runs_;
        Streams streams;
        streams.program = PLATEN_FAULTY_HOST;
        Host host{Spawn(settings, streams), {}, {}, {}};
        std::istringstream lines(host.outcome.out);
        for (std::string name; lines >> name;) {
            if (name == "open") {
                lines >> host.handles >> host.descriptors;
                continue;
            }
            Page& page = name == "whole" ? host.whole : name == "faulty" ? host.faulty : host.after;
            std::string length;
            std::string sum;
            lines >> page.status >> length >> sum;
            page.bytes = length + " " + sum;
        }
        return host;
    }

    // True where the application was told of a failure.
    bool Check(const Host& host, const std::string& which) const {
        EXPECT_EQ(host.outcome.code, 0) << which << ": " << host.outcome.out << host.outcome.err;
        EXPECT_EQ(host.whole.status, SANE_STATUS_GOOD) << which;
        EXPECT_EQ(host.after, host.whole) << which << ": the next page";
        EXPECT_EQ(host.handles, 0) << which << ": the scanner stays open";
        EXPECT_EQ(host.descriptors, 0) << which << ": files stay open";
        EXPECT_EQ(temporary.Listing(), "") << which;
        if (host.faulty.status == SANE_STATUS_GOOD) {
            EXPECT_EQ(host.faulty, host.whole) << which << ": a page of other bytes without a word";
        }
        return host.faulty.status != SANE_STATUS_GOOD;
    }

    void SweepMemory(const std::vector<std::string>& settings, long most = 50) {
        Let("FAULT_REPORT", folder.File("count"));
        Check(Run(settings), "no fault");
        unsetenv("FAULT_REPORT");
        const long count = std::atol(ReadFile(folder.File("count")).c_str());
        EXPECT_GT(count, 20);
        const long step = std::getenv("PLATEN_FULL_SWEEPS") != nullptr ? 1 : count / most + 1;
        int told = 0;
        for (const std::string mode : {"once", "on"}) {
            Let("FAULT_MODE", mode);
            for (long number = 1; number <= count; number += step) {
                Let("FAULT_ALLOCATION", std::to_string(number));
                const Host host = Run(settings);
                const std::string which = "allocation " + mode + " " + std::to_string(number);
                if (Check(host, which)) {
                    ++told;
                    EXPECT_EQ(host.faulty.status, SANE_STATUS_NO_MEM) << which;
                }
            }
        }
        unsetenv("FAULT_ALLOCATION");
        unsetenv("FAULT_MODE");
        EXPECT_GT(told, 0);
    }

    // How often the calls are made that may fail.
    std::map<std::string, int> Count(const std::vector<std::string>& settings) {
        Let("FAULT_CALLS", folder.File("calls"));
        Check(Run(settings), "no fault");
        unsetenv("FAULT_CALLS");
        std::map<std::string, int> counts;
        std::istringstream log(ReadFile(folder.File("calls")));
        std::string name;
        std::string file;
        std::string path;
        std::size_t bytes = 0;
        while (log >> name >> file >> path >> bytes) {
            ++counts[name];
            log.get();
            log.ignore(name == "write" || name == "pwrite" ? static_cast<std::streamsize>(bytes) : 0);
        }
        return counts;
    }

    void SweepCalls(const std::vector<std::string>& settings, const std::vector<std::string>& expected) {
        static const std::vector<std::pair<std::string, std::vector<int>>> kCalls = {
            {"read", {EIO, EINTR}},     {"pread", {EIO, EINTR}},
            {"write", {ENOSPC, EINTR}}, {"pwrite", {ENOSPC, EINTR}},
            {"open", {EMFILE}},         {"fopen", {EMFILE, EACCES, ENOMEM}},
            {"mkostemp", {ENOSPC}},     {"mmap", {ENOMEM}},
            {"ftruncate", {EIO}},       {"lseek", {EIO}},
            {"close", {EIO}},           {"fstat", {EIO}}};
        const auto counts = Count(settings);
        for (const std::string& name : expected) {
            EXPECT_TRUE(counts.count(name) != 0) << name << " isn't called";
        }
        for (const auto& [name, errors] : kCalls) {
            const int count = counts.count(name) != 0 ? counts.at(name) : 0;
            const int step = std::getenv("PLATEN_FULL_SWEEPS") != nullptr ? 1 : count / 12 + 1;
            for (int at = 1; at <= count; at += step) {
                for (const int error : errors) {
                    Fail(settings, name, at, error);
                }
            }
        }
        Let("FAULT_SHORT", "1");
        const Host host = Run(settings);
        unsetenv("FAULT_SHORT");
        EXPECT_FALSE(Check(host, "in pieces"));
    }

    Folder folder;
    Folder temporary;

  private:
    void Fail(const std::vector<std::string>& settings, const std::string& call, int at, int error) {
        for (const std::string mode : {"once", "on"}) {
            if (error == EINTR && mode == "on") {
                continue;  // a call that is interrupted for ever
            }
            Let("FAULT_CALL", call);
            Let("FAULT_AT", std::to_string(at));
            Let("FAULT_ERRNO", std::to_string(error));
            Let("FAULT_MODE", mode);
            const std::string which = call + " " + std::to_string(at) + " " + mode + " " + strerror(error);
            const bool told = Check(Run(settings), which);
            EXPECT_FALSE(told && error == EINTR) << which;
            for (const char* name : {"FAULT_CALL", "FAULT_AT", "FAULT_ERRNO", "FAULT_MODE"}) {
                unsetenv(name);
            }
        }
    }

    std::map<std::string, std::string> set_;
    int runs_ = 0;
};

// One for each road that a frame's bytes can take, as in SaneFaults_test.
const std::vector<std::string> kAsItIs = {"mode=Color"};
const std::vector<std::string> kTone = {"mode=Color", "contrast=20"};
const std::vector<std::string> kScaled = {"mode=Gray", "resolution=111"};
const std::vector<std::string> kPreset = {"mode=Color", "platen-preset=own"};
const std::vector<std::string> kPasses = {"mode=Passes", "saturation=10"};
const std::vector<std::string> kUnknownHeight = {"mode=Color", "unknown-height=1", "platen-sharpness=1",
                                                 "resolution=50"};
const std::vector<std::string> kAuto = {"mode=Gray", "platen-auto"};

TEST_F(SaneFaultMatrix, MemoryForABarePage) {
    SweepMemory(kAsItIs);
}

TEST_F(SaneFaultMatrix, MemoryForTones) {
    SweepMemory(kTone);
}

TEST_F(SaneFaultMatrix, MemoryForAScaledPage) {
    SweepMemory(kScaled);
}

TEST_F(SaneFaultMatrix, MemoryForAPreset) {
    SweepMemory(kPreset);
}

TEST_F(SaneFaultMatrix, MemoryForPassesThatAreKept) {
    SweepMemory(kPasses);
}

TEST_F(SaneFaultMatrix, MemoryForAPageOfUnknownHeight) {
    SweepMemory(kUnknownHeight);
}

TEST_F(SaneFaultMatrix, MemoryForAutomaticLevels) {
    SweepMemory(kAuto);
}

TEST_F(SaneFaultMatrix, CallsForAPreset) {
    SweepCalls(kPreset, {"fopen"});
}

TEST_F(SaneFaultMatrix, CallsForPassesThatAreKept) {
    SweepCalls(kPasses, {"pread", "pwrite"});
}

TEST_F(SaneFaultMatrix, CallsForAPageOfUnknownHeight) {
    SweepCalls(kUnknownHeight, {"pread", "pwrite"});
}

}  // namespace
}  // namespace platen_test
