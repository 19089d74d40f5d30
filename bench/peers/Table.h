#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "bench/peers/Peer.h"

// What platen_peers prints: a block for each kind of work, ours first, and whether the goal is reached.

namespace platen_peers {

using platen_bench::Contestant;
using platen_bench::Rounds;
using platen_bench::Timing;

struct Options {
    std::string filter;
    Rounds rounds{7, 0.02};
    int lines = platen_bench::kPageHeight;
};

// The ratio to the best peer that is the goal. Speeds are in million samples per second.
struct Goal {
    double avx512 = 0;
    double avx2 = 0;
    bool isSpeed = false;
};

// At most this many times the copies alone is good enough, whatever the peer does.
constexpr double kCopiesLimit = 1.6;

struct Work {
    std::string name;
    double samples = 0;
    Goal goal;
    Contestant ours;
    const Image* result = nullptr;      // null: not comparable, exactly or by sense
    std::optional<Contestant> copies;   // the copies alone
    std::optional<Contestant> measure;  // instead of peers: ours may take `goal` times as long
    Peers peers;
};

class Table {
  public:
    explicit Table(const Options& options) : options_(options) {}

    bool Wants(const std::string& name) const {
        return name.find(options_.filter) != std::string::npos;
    }
    int Lines() const {
        return options_.lines;
    }
    void Run(Work& work);
    void PrintMarkdown() const;

  private:
    std::string Verdict(const Work& work, const std::vector<Timing>& timings) const;

    Options options_;
    std::vector<std::string> rows_;
};

// One number by a printf format.
std::string Format(const char* format, double value);

}  // namespace platen_peers
