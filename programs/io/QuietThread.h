#pragma once

#include <thread>

namespace platen_tool {

// Starts a thread that leaves interrupts to the thread that calls. Where the system grants none the result isn't
// joinable.
std::thread StartQuietThread(void (*work)(void* object), void* object);

}  // namespace platen_tool
