#include "programs/scan/ScanInterrupt.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

#include "programs/io/OutputFile.h"
#include "programs/io/Signals.h"
#include "programs/scan/SaneLibrary.h"

namespace platen_tool {

namespace {

std::atomic<SANE_Handle> watched{nullptr};
std::atomic<pid_t> owner{0};
std::atomic<pthread_t> caller{};
std::atomic<bool> inCall{false};
std::atomic<int> interrupt{0};
static_assert(std::atomic<SANE_Handle>::is_always_lock_free && std::atomic<pthread_t>::is_always_lock_free,
              "a signal handler reads them");

std::atomic<int> leavingCode{1};

void LeaveNow(int /*number*/) {
    RemovePartialOutputs();
    _exit(leavingCode);
}

// Within the handler every signal is held back, and the device's cancel might never return.
void AllowSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGALRM, SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        sigaddset(&set, number);
    }
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

// Backends start processes and threads of their own, which inherit the handler: the former just end, the latter
// pass the signal on to the thread that is in the device's call.
bool HandleInterrupt(int number) {
    if (getpid() != owner) {
        return false;
    }
    if (inCall && pthread_equal(pthread_self(), caller) == 0) {
        pthread_kill(caller, number);
        return true;
    }
    if (interrupt.exchange(number) != 0) {
        return false;
    }
    LimitLeaving(static_cast<ExitCode>(128 + number));
    if (inCall) {
        AllowSignals();
        Sane().cancel(watched);
    }
    return true;
}

}  // namespace

void WatchInterrupts(SANE_Handle device) {
    watched = device;
    owner = getpid();
    SetInterruptHook(device != nullptr ? HandleInterrupt : nullptr);
}

void LimitLeaving(ExitCode code) {
    constexpr unsigned kSeconds = 10;
    struct sigaction action {};
    action.sa_handler = LeaveNow;
    leavingCode = static_cast<int>(code);
    sigaction(SIGALRM, &action, nullptr);
    alarm(kSeconds);
}

void TakeTime() {
    alarm(0);
}

void CheckInterrupt() {
    const int number = interrupt;
    if (number != 0) {
        throw Error(static_cast<ExitCode>(128 + number), "");
    }
}

// A backend may put SIGTERM back to its default while it starts its reader, meant for a process of the reader's
// own.
DeviceCall::DeviceCall() {
    InstallSignalHandlers();
    caller = pthread_self();
    inCall = true;
    if (interrupt != 0) {
        inCall = false;
        CheckInterrupt();
    }
}

DeviceCall::~DeviceCall() {
    inCall = false;
    InstallSignalHandlers();
}

}  // namespace platen_tool
