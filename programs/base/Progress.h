#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace platen_tool {

// How far a run is, in numbers.
struct ProgressState {
    std::size_t files = 1;  // of the run
    std::size_t filesDone = 0;
    bool parallel = false;  // several at a time: no single one is told
    std::string name;       // of the file at work
    unsigned long page = 1;
    std::uint32_t line = 0;
    std::uint32_t height = 0;  // 0: not known
    double share = 0.0;        // of the whole work that is done, 0 to 1; 0: not known
    double seconds = 0.0;      // since the run began
};

// One line about it, at most `columns` wide: "file 3 of 120, 12 %, 1:05 left: scan.tif, page 1, line 50 of 90".
std::string ProgressText(const ProgressState& state, std::size_t columns);

// That line on standard error, rewritten in place at most ten times a second and cleared in the end. Processes that
// are forked while it is there tell it how far they are.
class Progress {
  public:
    // weights  what each file counts
    Progress(bool on, std::vector<std::uint64_t> weights);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Several files at a time, each in a process of its own, which calls BecomeWorker and shows nothing.
    void BeParallel();
    void BecomeWorker();

    // `pages`: 0 where their number isn't known.
    void BeginFile(std::size_t file, const std::string& name, std::uint32_t pages);
    void Line(unsigned long page, std::uint32_t line, std::uint32_t height) {
        if (on_) {
            Note(page, line, height);
        }
    }
    void EndFile(std::size_t file);

    bool On() const {
        return on_;
    }
    void Show();

  private:
    using Share = std::atomic<std::uint16_t>;
    static constexpr std::uint16_t kWhole = 1000;

    void Note(unsigned long page, std::uint32_t line, std::uint32_t height);
    double WholeShare() const;

    bool on_;
    bool worker_ = false;
    const std::vector<std::uint64_t> weights_;
    const double begin_;
    ProgressState state_;
    std::size_t file_ = 0;
    std::uint32_t pages_ = 0;
    Share* shares_ = nullptr;  // of each file, in thousandths; shared with processes that are forked
    std::int64_t next_ = 0;    // no sooner than this, in nanoseconds
};

}  // namespace platen_tool
