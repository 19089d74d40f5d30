#pragma once

#include <csetjmp>
#include <cstdio>

namespace platen_tool {

// The exit from a C codec that must not return from its error callback. A step is a plain function whose frame,
// like every frame of the codec above it, holds nothing that has a destructor; so the jump skips none. The text
// waits here until the caller, back in C++, throws it as an Error.
struct CodecGuard {
    using Step = void (*)(void* state);

    // Runs one step. False: the codec gave up, and `text` says why.
    bool Run(Step step, void* state) {
        if (setjmp(target) != 0) {
            return false;
        }
        step(state);
        return true;
    }

    // Called within a step only.
    [[noreturn]] void Fail(const char* why) {
        std::snprintf(text, sizeof text, "%s", why);
        std::longjmp(target, 1);
    }

    std::jmp_buf target;
    char text[300] = "";
    bool outOfMemory = false;  // set by an allocator: the caller throws std::bad_alloc, however the step ended
};

}  // namespace platen_tool
