// What the program's three threads gain: a colour page of A4 at 600 dpi, TIFF to TIFF at one half. Each round takes
// every stage alone and the whole once, by the clock on the wall; the whole can't be faster than its slower codec
// stage alone. The files lie in memory where that exists: a disk's moods are no stage of the program.
//
//   tool_threads [--rounds=N] [--folder=DIR]

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/Arguments.h"
#include "bench/Image.h"
#include "bench/Measure.h"
#include "programs/commands/AdjustInput.h"
#include "programs/io/LineReader.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"
#include "programs/page/PagePlan.h"
#include "programs/page/Pipeline.h"

namespace platen_bench {
namespace {

using namespace platen_tool;

constexpr std::uint32_t kWidth = 4960;
constexpr std::uint32_t kHeight = 7016;

struct Compression {
    const char* name;
    int tag;
};
constexpr Compression kCompressions[] = {{"none", 1}, {"lzw", 5}, {"deflate", 8}};

enum Stage { kDecode, kAdjust, kEncode, kOneThread, kThreeThreads, kStages };
constexpr const char* kStageNames[] = {"decode", "adjust", "encode", "1 thread", "3 threads"};

ImageInfo PageInfo(std::uint32_t width, std::uint32_t height) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    info.samplesPerPixel = 3;
    return info;
}

void Encode(const std::string& path, const ImageInfo& info, const std::uint8_t* lines, int compression) {
    WriteOptions options;
    options.tiffCompression = compression;
    options.force = true;
    const auto writer = OpenWriter(path, options);
    writer->BeginPage(info);
    for (std::uint32_t y = 0; y < info.height; ++y) {
        writer->WriteLine(lines + y * info.LineBytes());
    }
    writer->EndPage();
    writer->Commit();
}

// Into `lines`, or past it where that is empty.
void Decode(const std::string& path, std::vector<std::uint8_t>& lines) {
    const auto reader = OpenReader(path, {});
    const std::size_t lineBytes = reader->Info().LineBytes();
    std::vector<std::uint8_t> line(lineBytes);
    for (std::uint32_t y = 0; y < reader->Info().height; ++y) {
        reader->ReadLine(lines.empty() ? line.data() : lines.data() + y * lineBytes);
    }
    reader->NextPage();
}

class NullStage : public platen_tool::Stage {
  public:
    void Take(std::uint8_t*) override {}
};

Settings HalfSize(const std::string& input, const std::string& output, int threads) {
    Settings settings;
    settings.inputs = {input};
    settings.output = output;
    settings.size.scale = 0.5;
    settings.threads = threads;
    settings.force = true;
    settings.progress = false;
    return settings;
}

// Seconds on the wall, and of processors, all threads together.
struct Cost {
    double clock;
    double processor;
};

class Bench {
  public:
    Bench(const std::filesystem::path& folder, const Compression& compression, const Image& page)
        : page_(page),
          compression_(compression.tag),
          input_(folder / "tool-threads-in.tif"),
          output_(folder / "tool-threads-out.tif") {
        Encode(input_, PageInfo(kWidth, kHeight), page.Data(), compression_);
        Whole(1);
        small_.resize(std::size_t{kWidth / 2} * (kHeight / 2) * 3);
        Decode(output_, small_);
    }
    ~Bench() {
        std::filesystem::remove(input_);
        std::filesystem::remove(output_);
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    Cost Measured(int stage) {
        const auto begin = std::chrono::steady_clock::now();
        const double processor = ProcessorSeconds();
        Run(stage);
        const std::chrono::duration<double> clock = std::chrono::steady_clock::now() - begin;
        return {clock.count(), ProcessorSeconds() - processor};
    }

  private:
    void Run(int stage) {
        std::vector<std::uint8_t> nowhere;
        switch (stage) {
            case kDecode:
                return Decode(input_, nowhere);
            case kAdjust:
                return Adjust();
            case kEncode:
                return Encode(output_, PageInfo(kWidth / 2, kHeight / 2), small_.data(), compression_);
            default:
                return Whole(stage == kOneThread ? 1 : 3);
        }
    }

    void Adjust() const {
        const PagePlan plan = PlanPage(HalfSize(input_, output_, 1), PageInfo(kWidth, kHeight));
        NullStage end;
        Pipeline pipeline(plan, end);
        std::vector<std::uint8_t> line(page_.RowBytes());
        for (int y = 0; y < page_.Height(); ++y) {
            std::copy_n(page_.Row(y), line.size(), line.data());
            pipeline.Take(line.data());
        }
    }

    void Whole(int threads) const {
        unsigned long page = 1;
        const Settings settings = HalfSize(input_, output_, threads);
        const OutputName name(output_);
        RunFiles files(settings.inputs);
        RunNumbers numbers(settings);
        AdjustInput({settings, name, files, numbers}, 0, page);
    }

    const Image& page_;
    const int compression_;
    const std::string input_;
    const std::string output_;
    std::vector<std::uint8_t> small_;
};

double Median(const std::vector<double>& values) {
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
}

double Least(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

// A row of milliseconds; what three threads gain, and what they need beside the slower codec stage.
void PrintRow(const char* name, const char* what, const std::vector<double> (&seconds)[kStages],
              double (*pick)(const std::vector<double>&)) {
    double of[kStages];
    std::printf("%-8s %-10s", name, what);
    for (int stage = 0; stage < kStages; ++stage) {
        of[stage] = pick(seconds[stage]);
        std::printf(" %9.1f", of[stage] * 1e3);
    }
    std::printf(" %8.2fx %9.2fx\n", of[kOneThread] / of[kThreeThreads],
                of[kThreeThreads] / std::max(of[kDecode], of[kEncode]));
}

// What two processors that nobody else uses could do at best: the least processor time of the longest stage, or
// half of what three threads need in all.
void PrintBound(const char* name, const std::vector<double> (&processor)[kStages]) {
    const double codec = std::max(Least(processor[kDecode]), Least(processor[kEncode]));
    const double longest = std::max(codec, Least(processor[kAdjust]));
    const double bound = std::max(longest, Least(processor[kThreeThreads]) / 2);
    std::printf("%-8s two free processors at best: %.1f, %.2fx the slower codec stage\n", name, bound * 1e3,
                bound / codec);
}

void PrintLoad(const char* when) {
    double load[1] = {-1};
    if (getloadavg(load, 1) == 1) {
        std::printf("load %s: %.1f on %ld processors\n", when, load[0], sysconf(_SC_NPROCESSORS_ONLN));
    }
}

int Main(int count, char** words) {
    const Arguments arguments(count, words, "tool_threads [--rounds=N] [--folder=DIR]", {"--rounds", "--folder"});
    const int rounds = arguments.Number("--rounds", 9);
    const bool memory = access("/dev/shm", W_OK) == 0;
    const std::string usual = memory ? "/dev/shm" : std::filesystem::temp_directory_path().string();
    const std::filesystem::path folder = arguments.Has("--folder") ? arguments.Text("--folder") : usual;
    PrintWarnings();
    std::printf("%s\n%s\n", CompilerAndFlags().c_str(), Processor().c_str());
    PrintLoad("before");
    std::printf("RGB %u x %u to one half, TIFF to TIFF, milliseconds, %d rounds\n", kWidth, kHeight, rounds);
    std::printf("%-19s", "");
    for (const char* name : kStageNames) {
        std::printf(" %9s", name);
    }
    std::printf(" %9s %10s\n", "1 / 3", "3 / codec");
    const Image page = MakePage(kWidth, kHeight, 24);
    for (const Compression& compression : kCompressions) {
        Bench bench(folder, compression, page);
        std::vector<double> clock[kStages];
        std::vector<double> processor[kStages];
        for (int round = 0; round < rounds; ++round) {
            for (int stage = 0; stage < kStages; ++stage) {
                const Cost cost = bench.Measured(stage);
                clock[stage].push_back(cost.clock);
                processor[stage].push_back(cost.processor);
            }
        }
        PrintRow(compression.name, "least", clock, Least);
        PrintRow(compression.name, "median", clock, Median);
        PrintRow(compression.name, "processor", processor, Least);
        PrintBound(compression.name, processor);
        std::fflush(stdout);
    }
    PrintLoad("after");
    return 0;
}

}  // namespace
}  // namespace platen_bench

int main(int count, char** words) {
    try {
        return platen_bench::Main(count, words);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tool_threads: %s\n", error.what());
        return 1;
    }
}
