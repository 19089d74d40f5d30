#pragma once

#include <functional>
#include <string>
#include <vector>

// Timing of things that are compared with each other: in each round every contestant runs once, so that what
// disturbs the machine for a while disturbs them all alike.

namespace platen_bench {

struct Contestant {
    std::string name;
    std::function<void()> run;
    std::function<void()> prepare;  // before every run, not timed; may be empty
};

struct Rounds {
    int count = 9;
    double minSeconds = 0.01;  // a round repeats a short run until it has taken this long
};

// What one contestant needed: seconds for a single run, one number a round.
class Timing {
  public:
    explicit Timing(std::vector<double> seconds);

    double Median() const;
    // The middle half of the rounds, over the median.
    double Spread() const;
    // How many times faster than `other` this is: the median of the rounds' own ratios.
    double RatioTo(const Timing& other) const;

  private:
    std::vector<double> rounds_;  // in the order they ran
    std::vector<double> sorted_;
};

// Processor time, of all the process's threads together: on a shared machine it is steadier than the clock on the
// wall, and a contestant with threads of its own gains nothing.
double ProcessorSeconds();

// One untimed run of each first.
std::vector<Timing> Measure(const std::vector<Contestant>& contestants, const Rounds& rounds);

// "gcc 12.2.0 -O3 -DNDEBUG", "x86-64, AMD EPYC"
std::string CompilerAndFlags();
std::string Processor();

// On the standard error stream: what makes the figures worthless.
void PrintWarnings();

}  // namespace platen_bench
