#include "programs/threads/Threads.h"

#include <sys/stat.h>

#include <algorithm>
#include <thread>

#include "programs/threads/LineRing.h"
#include "programs/threads/ThreadedReader.h"
#include "programs/threads/ThreadedWriter.h"

namespace platen_tool {

namespace {

// A page that fits into a ring has been read, or waits to be written, almost as soon as its thread runs.
constexpr std::uint64_t kSmallestPage = LineRing::kBatches * LineRing::kBatchBytes;

// Inputs that are worked on at the same time; a scan has none.
std::size_t Jobs(const Settings& settings) {
    return std::max<std::size_t>(1, std::min(static_cast<std::size_t>(settings.jobs), settings.inputs.size()));
}

// Two of three threads have most of the work: a job should find two processors.
bool WantsThreads(const Settings& settings) {
    if (settings.threads != 0) {
        return settings.threads > 1;
    }
    return std::thread::hardware_concurrency() >= 2 * Jobs(settings);
}

std::uint64_t SmallestPage(const Settings& settings) {
    return settings.threads == 0 ? kSmallestPage : 0;
}

// Whether a read can't wait for somebody to write something: such a read could not be ended when the lines are
// wanted no more. A TIFF from a pipe has been spooled.
bool ReadsFromDisk(const LineReader& reader, const std::string& input) {
    struct stat status {};
    const int result = input == "-" ? fstat(0, &status) : stat(input.c_str(), &status);
    return reader.FileContainer() == Container::kTiff || (result == 0 && S_ISREG(status.st_mode));
}

constexpr std::size_t kMostWorkers = 64;

}  // namespace

unsigned CompressionWorkers(const Settings& settings) {
    if (settings.threads != 0) {
        return static_cast<unsigned>(settings.threads);
    }
    return static_cast<unsigned>(
        std::clamp<std::size_t>(std::thread::hardware_concurrency() / Jobs(settings), 1, kMostWorkers));
}

std::unique_ptr<LineReader> WithThread(std::unique_ptr<LineReader> reader, const std::string& input,
                                       const Settings& settings) {
    if (!WantsThreads(settings) || !ReadsFromDisk(*reader, input)) {
        return reader;
    }
    return std::make_unique<ThreadedReader>(std::move(reader), SmallestPage(settings));
}

std::unique_ptr<LineWriter> WithThread(std::unique_ptr<LineWriter> writer, const Settings& settings) {
    if (!WantsThreads(settings)) {
        return writer;
    }
    return std::make_unique<ThreadedWriter>(std::move(writer), SmallestPage(settings));
}

}  // namespace platen_tool
