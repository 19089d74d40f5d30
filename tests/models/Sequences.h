#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/AllocationLedger.h"

// Random sequences of calls, and what their tests share.

namespace platen_test {

// A call or an edit, on what, with what. Any four numbers are a step: what they mean is for the walk to say, in the
// state that it has reached. Smaller numbers are simpler, and are what a failing sequence shrinks to.
struct Step {
    std::uint32_t call;
    std::uint32_t who;
    std::uint32_t number;
    std::uint32_t seed;
};

using Steps = std::vector<Step>;

// Ends a walk that differs from its model.
struct Differs : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void Agree(bool same, const std::string& what) {
    if (!same) {
        throw Differs(what);
    }
}

// Runs `walk` with random sequences until one throws, and then with simpler ones, as far as they still do. The seed
// is always the same, unless PLATEN_MODEL_SEED gives another; PLATEN_MODEL_SEQUENCES says how many, if not
// `sequences`.
//   size   most steps of a sequence
void CheckSequences(const char* name, const std::function<void(const Steps&)>& walk,
                    int sequences = PLATEN_MODEL_SEQUENCES, int size = 100);

// A call that a walk can make, and its name for messages.
template <class Walk>
struct NamedCall {
    const char* name;
    void (Walk::*run)(const Step&);
};

// Makes each step's call, and compares after it; a difference is told with the step's number and the call's name.
template <class Walk, std::size_t kCount, class Compare>
void RunSteps(Walk& walk, const std::array<NamedCall<Walk>, kCount>& calls, const Steps& steps, Compare compare) {
    for (std::size_t number = 0; number < steps.size(); ++number) {
        const NamedCall<Walk>& call = calls[steps[number].call % kCount];
        try {
            (walk.*call.run)(steps[number]);
            compare();
        } catch (const Differs& differs) {
            throw Differs(std::to_string(number) + ", " + call.name + ": " + differs.what());
        }
    }
}

// What a call takes from malloc and from new, and which request of it fails: once by the ledger, once by the model.
class Meter {
  public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    // The ledger's part: the call between begins with the next request being the first.
    template <class Call>
    void Library(Call call) {
        const std::size_t mallocs = ledger_.Mallocs();
        const std::size_t news = ledger_.News();
        ledger_.FailNone();
        if (failMalloc_ != kNone) {
            ledger_.FailOnly(failMalloc_);
        }
        if (failNew_ != kNone) {
            ledger_.FailOnlyNew(failNew_);
        }
        threw_ = false;
        ledger_.Resume();
        try {
            call();
        } catch (const std::bad_alloc&) {
            threw_ = true;
        }
        ledger_.Pause();
        ledger_.FailNone();
        mallocs_ = ledger_.Mallocs() - mallocs;
        news_ = ledger_.News() - news;
    }
    // The model's part; Malloc and New say whether the request is met, Threw that the call ends by an exception.
    template <class Call>
    void Model(Call call) {
        modelMallocs_ = 0;
        modelNews_ = 0;
        bool threw = false;
        try {
            call();
        } catch (const NoMemory&) {
            threw = true;
        }
        Agree(threw == threw_, threw ? "the call doesn't throw" : "the call throws");
        Agree(modelMallocs_ == mallocs_,
              "requests to malloc: " + std::to_string(mallocs_) + ", not " + std::to_string(modelMallocs_));
        Agree(modelNews_ == news_,
              "requests to new: " + std::to_string(news_) + ", not " + std::to_string(modelNews_));
        failMalloc_ = kNone;
        failNew_ = kNone;
        Agree(ledger_.Outstanding() == held_,
              "blocks held: " + std::to_string(ledger_.Outstanding()) + ", not " + std::to_string(held_));
    }
    bool Malloc() {
        const bool met = modelMallocs_++ != failMalloc_;
        held_ += met ? 1u : 0u;
        return met;
    }
    void New() {
        if (modelNews_++ == failNew_) {
            throw NoMemory();
        }
        ++held_;
    }
    bool NothrowNew() {
        const bool met = modelNews_++ != failNew_;
        held_ += met ? 1u : 0u;
        return met;
    }
    void Free(std::size_t blocks = 1) {
        held_ -= blocks;
    }

    // The next call's request that fails.
    void FailMalloc(std::uint32_t index) {
        failMalloc_ = index;
    }
    void FailNew(std::uint32_t index) {
        failNew_ = index;
    }

    // A host's own blocks, which the library may give back or the host the library's.
    template <class Call>
    void Host(Call call) {
        ledger_.Resume();
        call();
        ledger_.Pause();
        held_ = ledger_.Outstanding();
    }

    Meter() {
        ledger_.Pause();
    }
    ~Meter() {
        ledger_.FreeOutstanding();  // what calls leave, as their headers say
    }

  private:
    struct NoMemory {};

    AllocationLedger ledger_;
    std::size_t mallocs_ = 0;
    std::size_t news_ = 0;
    std::size_t modelMallocs_ = 0;
    std::size_t modelNews_ = 0;
    std::size_t held_ = 0;
    std::uint32_t failMalloc_ = kNone;
    std::uint32_t failNew_ = kNone;
    bool threw_ = false;
};

}  // namespace platen_test
