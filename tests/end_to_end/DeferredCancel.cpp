// Loaded before a program that uses SANE's test device: its reading thread asks to be cancelled wherever it is, and
// one that is cancelled within the allocator or the loader keeps its lock, for which the program then waits
// for ever. So a thread stays as threads begin: it is cancelled only in calls that wait.

#include <pthread.h>

extern "C" int pthread_setcanceltype(int, int* before) {
    if (before != nullptr) {
        *before = PTHREAD_CANCEL_DEFERRED;
    }
    return 0;
}
