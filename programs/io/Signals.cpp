#include "programs/io/Signals.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "programs/io/OutputFile.h"

namespace platen_tool {

namespace {

// Written by the program, read by the handler.
std::atomic<pid_t> workers[kMostWorkers];
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads it");

std::atomic<InterruptHook> interruptHook{nullptr};
static_assert(std::atomic<InterruptHook>::is_always_lock_free, "a signal handler reads it");

void Replace(pid_t from, pid_t to) {
    for (auto& worker : workers) {
        if (worker == from) {
            worker = to;
            return;
        }
    }
}

void Interrupted(int number) {
    const int before = errno;
    const InterruptHook hook = interruptHook;
    if (hook != nullptr && hook(number)) {
        errno = before;
        return;
    }
    for (const auto& worker : workers) {
        const pid_t id = worker;
        if (id > 0) {
            kill(id, number);
        }
    }
    RemovePartialOutputs();
    _exit(128 + number);
}

}  // namespace

void InstallSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = Interrupted;
    sigfillset(&action.sa_mask);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction before {};
        // A program started with nohup stays so.
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaction(number, &action, nullptr);
        }
    }
    // A write that finds no reader, or goes beyond the limit on a file's size, fails with an error instead.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void SetInterruptHook(InterruptHook hook) {
    interruptHook = hook;
}

void NoteWorker(pid_t worker) {
    Replace(0, worker);
}

void ForgetWorker(pid_t worker) {
    Replace(worker, 0);
}

void ForgetAllWorkers() {
    for (auto& worker : workers) {
        worker = 0;
    }
}

}  // namespace platen_tool
