#pragma once

#include <sys/types.h>

namespace platen_tool {

// From here on an interrupt (SIGINT, SIGTERM, SIGHUP, SIGQUIT) removes the unfinished output files, passes itself
// on to the working processes, and ends the program with 128 + its number: 130 for SIGINT. Writing to a closed pipe
// is an ordinary write error. May be called again where something else may have changed the handlers.
void InstallSignalHandlers();

// Called first by the handler, in its context; true where the program goes on and ends by itself. Null: none.
using InterruptHook = bool (*)(int number);
void SetInterruptHook(InterruptHook hook);

// The working processes of --jobs, for the handler. At most kMostWorkers.
constexpr int kMostWorkers = 256;
void NoteWorker(pid_t worker);
void ForgetWorker(pid_t worker);

// In a fresh working process: it has no workers of its own.
void ForgetAllWorkers();

}  // namespace platen_tool
