#pragma once

#include <sane/sane.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// What a hook answers; nothing where the call's own work is wanted.
using Answer = std::optional<SANE_Status>;
using Calls = std::vector<std::string>;

// What a test makes of the stand-in scanner, beyond what its options say, and what it sees of it: the two are in
// one process. `standin_hooks` gives the only one.
struct StandInHooks {
    // The options of a device that is opened; their number may be made smaller. Any two can change places: a title
    // says what an option is, whatever its name.
    std::function<void(SANE_Option_Descriptor* options, SANE_Int& count)> describe;
    // Instead of the call's own work, where they answer something.
    std::function<Answer(const std::string& name, SANE_Action action, void* value, SANE_Int& info)> control;
    std::function<Answer(SANE_Byte* bytes, SANE_Int room, SANE_Int& count)> read;
    std::function<Answer()> start;
    std::function<SANE_Status(bool nonBlocking)> ioMode;
    // Before or after it.
    std::function<void()> cancel;
    std::function<void(SANE_Parameters& parameters)> parameters;
    // The option of this title has no description any more.
    std::string hidden;
    // A read gives so many bytes at most.
    std::size_t piece = 1009;

    // What was asked, where `records` says so: "NAME=VALUE", "NAME?" (get), "start", "cancel", "exit".
    bool records = false;
    Calls calls;
};

// The option of that title.
inline SANE_Option_Descriptor& OptionOf(SANE_Option_Descriptor* options, SANE_Int count, const std::string& title) {
    SANE_Int at = 0;
    while (at + 1 < count && title != options[at].title) {
        ++at;
    }
    return options[at];
}
