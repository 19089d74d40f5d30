#pragma once

#include <sys/types.h>

namespace platen_tool {

// From here on an interrupt (SIGINT, SIGTERM, SIGHUP) removes the unfinished output files, passes itself on to
// the working processes, and ends the program with 128 + its number: 130 for SIGINT. Writing to a closed pipe is
// an ordinary write error.
void InstallSignalHandlers();

// The working processes of --jobs, for the handler. At most kMostWorkers.
constexpr int kMostWorkers = 256;
void NoteWorker(pid_t worker);
void ForgetWorker(pid_t worker);

// In a fresh working process: it has no workers of its own.
void ForgetAllWorkers();

}  // namespace platen_tool
