#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Spawn.h"

namespace platen_test {

// Whether this build has a sanitizer that takes memory of its own, so that a program's peak says nothing.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kInstrumented = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool kInstrumented = true;
#else
constexpr bool kInstrumented = false;
#endif
#else
constexpr bool kInstrumented = false;
#endif

// The megabytes that --stats reports of a run, from the system's own count for the process; a parent's view would
// count the test's own memory before the program's start.
inline double PeakMegabytes(const Outcome& outcome) {
    const std::string label = "peak memory";
    const std::size_t at = outcome.err.find(label);
    EXPECT_NE(at, std::string::npos) << outcome.err;
    const double megabytes = at == std::string::npos ? 1e9 : std::stod(outcome.err.substr(at + label.size()));
    EXPECT_GT(megabytes, 1.0);
    return megabytes;
}

// Of a bilevel page of 16 x 16 that goes through the same libraries to half its size. How much of these is mapped
// differs by some tenths of a megabyte from run to run and more between machines: a large page is compared with
// this one.
inline double PeakMegabytesOfASmallPage(const Folder& folder, const std::string& ending) {
    const std::string page = folder.File("small." + ending);
    WriteFile(folder.File("small.pbm"), "P4\n16 16\n" + std::string(32, '\x0F'));
    EXPECT_TRUE(ending == "pbm" || Spawn({folder.File("small.pbm"), "-o", page}).code == 0);
    return PeakMegabytes(Spawn({page, "--stats", "--scale=50%", "-o", folder.File("smaller." + ending)}));
}

}  // namespace platen_test
