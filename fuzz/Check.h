#pragma once

#include <cstdio>
#include <cstdlib>

namespace platen_fuzz {

// Ends the run where a fuzz target's expectation fails.
inline void Check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

}  // namespace platen_fuzz
