#include "sane/Status.h"

#include <cstdio>
#include <cstdlib>

namespace platen_sane {

bool TellsMessages() {
    const char* level = std::getenv("SANE_DEBUG_PLATEN");
    return level != nullptr && std::atoi(level) > 0;
}

void Tell(const std::string& text) {
    if (TellsMessages()) {
        std::fprintf(stderr, "[platen] %s\n", text.c_str());
    }
}

}  // namespace platen_sane
