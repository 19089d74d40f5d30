#include "programs/io/QuietThread.h"

#include <csignal>
#include <exception>

namespace platen_tool {

std::thread StartQuietThread(void (*work)(void* object), void* object) {
    // A new thread inherits the mask. Faults stay deliverable: the kernel would end the program without them.
    sigset_t asynchronous;
    sigset_t before;
    sigfillset(&asynchronous);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP}) {
        sigdelset(&asynchronous, fault);
    }
    pthread_sigmask(SIG_SETMASK, &asynchronous, &before);
    std::thread thread;
    try {
        thread = std::thread(work, object);
    } catch (const std::exception&) {
        // No memory, or no more threads for this user: the caller does the work itself.
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace platen_tool
