#include "programs/base/Progress.h"

#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "programs/base/Report.h"

namespace platen_tool {

namespace {

std::string TimeText(double seconds) {
    const auto whole = static_cast<unsigned long>(seconds);
    char text[40];
    if (whole < 3600) {
        std::snprintf(text, sizeof text, "%lu:%02lu", whole / 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%lu:%02lu:%02lu", whole / 3600, whole / 60 % 60, whole % 60);
    }
    return text;
}

std::string Head(const ProgressState& state) {
    constexpr double kFirstSecond = 1.0;  // before, what comes is anybody's guess
    constexpr double kFirstShare = 0.01;
    std::string head;
    const auto add = [&head](const std::string& part) { head += (head.empty() ? "" : ", ") + part; };
    if (state.parallel) {
        add(std::to_string(state.filesDone) + " of " + std::to_string(state.files) + " files");
    } else if (state.files > 1) {
        add("file " + std::to_string(std::min(state.filesDone + 1, state.files)) + " of " +
            std::to_string(state.files));
    }
    if (state.share > 0.0) {
        add(std::to_string(static_cast<int>(state.share * 100.0)) + " %");
    }
    if (state.seconds > kFirstSecond && state.share > kFirstShare) {
        add(TimeText(state.seconds * (1.0 - state.share) / state.share) + " left");
    }
    return head;
}

// The length of the character at `at` as UTF-8 has it; 1 for what is none.
std::size_t CharacterBytes(const std::string& text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t bytes = first >= 0xF0 && first < 0xF8 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 1;
    if (first >= 0xF8 || at + bytes > text.size()) {
        return 1;
    }
    const auto follows = [&](std::size_t i) { return (static_cast<unsigned char>(text[at + i]) & 0xC0) == 0x80; };
    for (std::size_t i = 1; i < bytes; ++i) {
        if (!follows(i)) {
            return 1;
        }
    }
    return bytes;
}

// As much as fits. Characters of three and four bytes are counted as two columns wide, as many of them are; what is
// no character, or would move the cursor, becomes a question mark.
std::string Cut(const std::string& text, std::size_t columns) {
    std::string cut;
    std::size_t used = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t bytes = CharacterBytes(text, at);
        const auto first = static_cast<unsigned char>(text[at]);
        const bool shown = bytes == 1
                               ? first >= 0x20 && first < 0x7F
                               : bytes > 2 || first != 0xC2 || static_cast<unsigned char>(text[at + 1]) >= 0xA0;
        used += bytes > 2 ? 2 : 1;
        if (used > columns) {
            break;
        }
        cut += shown ? text.substr(at, bytes) : "?";
        at += bytes;
    }
    return cut;
}

}  // namespace

std::string ProgressText(const ProgressState& state, std::size_t columns) {
    std::string text = Head(state);
    if (!state.parallel) {
        text += (text.empty() ? "" : ": ") + state.name + ", page " + std::to_string(state.page) + ", line " +
                std::to_string(state.line);
        text += state.height != 0 ? " of " + std::to_string(state.height) : "";
    }
    return Cut(text, columns);
}

Progress::Progress(bool on, std::vector<std::uint64_t> weights)
    : on_(on && !weights.empty()), weights_(std::move(weights)), begin_(Now()) {
    state_.files = weights_.size();
    if (on_) {
        void* memory = mmap(nullptr, weights_.size() * sizeof(Share), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        on_ = memory != MAP_FAILED;
        shares_ = on_ ? static_cast<Share*>(memory) : nullptr;
    }
}

Progress::~Progress() {
    if (on_) {
        ClearProgressLine();
        munmap(shares_, weights_.size() * sizeof(Share));
    }
}

void Progress::BeParallel() {
    state_.parallel = true;
}

void Progress::BecomeWorker() {
    worker_ = true;
    if (on_) {
        ExpectForeignProgress();
    }
}

void Progress::BeginFile(std::size_t file, const std::string& name, std::uint32_t pages) {
    file_ = file;
    pages_ = pages;
    state_.name = name;
    state_.filesDone = file;
}

void Progress::EndFile(std::size_t file) {
    if (on_) {
        shares_[file] = kWhole;
        ++state_.filesDone;
    }
}

double Progress::WholeShare() const {
    double done = 0.0;
    double all = 0.0;
    for (std::size_t i = 0; i < weights_.size(); ++i) {
        const auto weight = static_cast<double>(weights_[i]);
        done += weight * shares_[i] / kWhole;
        all += weight;
    }
    return all > 0.0 ? done / all : 0.0;
}

void Progress::Note(unsigned long page, std::uint32_t line, std::uint32_t height) {
    constexpr std::int64_t kInterval = 100'000'000;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const std::int64_t time = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
    if (time < next_) {
        return;
    }
    next_ = time + kInterval;
    state_.page = page;
    state_.line = line;
    state_.height = height;
    const bool known = height != 0 && (pages_ != 0 || page == 1);
    const double pages = pages_ != 0 ? pages_ : 1;
    const double share = known ? (static_cast<double>(page - 1) + static_cast<double>(line) / height) / pages : 0.0;
    shares_[file_] = static_cast<std::uint16_t>(std::min(share, 1.0) * kWhole);
    if (!worker_) {
        Show();
    }
}

void Progress::Show() {
    state_.share = WholeShare();
    state_.seconds = Now() - begin_;
    const std::size_t columns = TerminalColumns() - 1;  // in the last one the cursor would go on to the next line
    const std::string text = ProgressText(state_, columns);
    ShowProgressLine(text, std::min(columns, text.size()));
}

}  // namespace platen_tool
