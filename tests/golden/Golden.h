#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/Checksum.h"
#include "support/ForcedVariant.h"

namespace platen_test {

// One golden program: seeded cases, each a pure function of its number, folded into one constant in the source.
//
//   golden_<feature>            runs every case and compares; returns 1 on a difference
//   golden_<feature> NUMBER     runs that case alone and prints its results, so that the output of two machines or
//                               two releases can be compared line by line
//   golden_<feature> list [N]   prints the checksum after every N cases (1000), to find the first case that differs
//
// A case takes its settings from Random(number), feeds its results to `out` as numbers, never as bytes of wider
// values, and prints nothing itself.
class GoldenOutput {
  public:
    explicit GoldenOutput(bool print) : print_(print) {}

    // A setting or a result: both are part of the checksum.
    template <class Integer>
    void Add(const char* name, Integer number) {
        checksum_.Add(number);
        if (print_) {
            std::printf("%s %lld\n", name, static_cast<long long>(number));
        }
    }

    template <class Range>
    void AddAll(const char* name, const Range& numbers) {
        long long index = 0;
        for (const auto number : numbers) {
            checksum_.Add(number);
            if (print_) {
                std::printf("%s[%lld] %lld\n", name, index++, static_cast<long long>(number));
            }
        }
    }

    std::uint64_t Value() const {
        return checksum_.Value();
    }

  private:
    Checksum checksum_;
    bool print_;
};

using GoldenCase = void (*)(std::uint64_t number, GoldenOutput& out);

inline int RunOneGoldenCase(const char* argument, GoldenCase run) {
    char* end = nullptr;
    const std::uint64_t number = std::strtoull(argument, &end, 10);
    if (end == argument || *end != '\0') {
        std::fprintf(stderr, "not a case number: %s\n", argument);
        return 2;
    }
    GoldenOutput out(true);
    run(number, out);
    std::printf("checksum 0x%016llX\n", static_cast<unsigned long long>(out.Value()));
    return 0;
}

// The body of main().
inline int GoldenMain(int argc, char** argv, const char* name, std::uint64_t cases, std::uint64_t expected,
                      GoldenCase run) {
    ForceVariantFromEnvironment();
    const bool list = argc > 1 && std::strcmp(argv[1], "list") == 0;
    if (argc > 1 && !list) {
        return RunOneGoldenCase(argv[1], run);
    }
    const std::uint64_t step = list && argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1000;
    GoldenOutput all(false);
    for (std::uint64_t number = 0; number < cases; ++number) {
        GoldenOutput out(false);
        run(number, out);
        all.Add("case", out.Value());
        if (list && step != 0 && (number + 1) % step == 0) {
            std::printf("%llu 0x%016llX\n", static_cast<unsigned long long>(number + 1),
                        static_cast<unsigned long long>(all.Value()));
        }
    }
    std::printf("%s: %llu cases, 0x%016llX, expected 0x%016llX\n", name, static_cast<unsigned long long>(cases),
                static_cast<unsigned long long>(all.Value()), static_cast<unsigned long long>(expected));
    return all.Value() == expected ? 0 : 1;
}

}  // namespace platen_test
