// Loaded before the program under test: makes calls of the system fail, as the environment says.
//
//   FAULT_ALLOCATION=N   the Nth allocation since main began has no memory; 0: none
//   FAULT_MODE=on        and none after it has
//   FAULT_REPORT=FILE    receives the number of allocations when the program ends
//   FAULT_FORK=ERRNO     fork fails with this error; "kill": it works, but the new process is killed at once
//   FAULT_PREAD=N        the Nth pread, and each after it, finds nothing
//   FAULT_READ=ERRNO     read fails with this error, but for the first bytes of a file
//   FAULT_THREAD=1       no thread can be started
//
// What the C++ runtime and the codecs take before main has begun is not counted: nobody could catch its failure.

#undef _FORTIFY_SOURCE  // with it the headers define the reading functions themselves

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The C library's own allocator, under the names that it keeps for those who stand in front of it.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};
std::atomic<long> g_reads{0};
long g_failing = 0;
bool g_staysOn = false;

const char* Setting(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool Fails() {
    if (!g_counting.load(std::memory_order_relaxed)) {
        return false;
    }
    const long number = g_allocations.fetch_add(1) + 1;
    const bool fails = g_failing != 0 && (number == g_failing || (g_staysOn && number > g_failing));
    if (fails) {
        errno = ENOMEM;
    }
    return fails;
}

using Main = int (*)(int, char**, char**);
Main g_main = nullptr;

int CountingMain(int count, char** words, char** environment) {
    g_failing = std::atol(Setting("FAULT_ALLOCATION"));
    g_staysOn = std::strcmp(Setting("FAULT_MODE"), "on") == 0;
    g_counting = true;
    const int result = g_main(count, words, environment);
    g_counting = false;
    const char* report = Setting("FAULT_REPORT");
    const int file = *report != '\0' ? open(report, O_WRONLY | O_CREAT | O_TRUNC, 0600) : -1;
    if (file >= 0) {
        char text[32];
        const int length = std::snprintf(text, sizeof text, "%ld", g_allocations.load());
        if (write(file, text, static_cast<std::size_t>(length)) != length) {
            _exit(99);
        }
        close(file);
    }
    return result;
}

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return Fails() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return Fails() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    return Fails() ? nullptr : __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Fails() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = Fails() ? nullptr : __libc_memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

int __libc_start_main(Main main, int count, char** words, void (*init)(), void (*fini)(), void (*linkerFini)(),
                      void* stackEnd) {
    using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
    g_main = main;
    return Next<Start>("__libc_start_main")(CountingMain, count, words, init, fini, linkerFini, stackEnd);
}

pid_t fork() {
    const char* setting = Setting("FAULT_FORK");
    if (*setting != '\0' && std::strcmp(setting, "kill") != 0) {
        errno = std::atoi(setting);
        return -1;
    }
    const pid_t process = Next<pid_t (*)()>("fork")();
    if (process == 0 && *setting != '\0') {
        kill(getpid(), SIGKILL);
    }
    return process;
}

ssize_t pread(int file, void* bytes, std::size_t count, off_t offset) {
    const long failing = std::atol(Setting("FAULT_PREAD"));
    if (failing != 0 && g_reads.fetch_add(1) + 1 >= failing) {
        return 0;
    }
    return Next<ssize_t (*)(int, void*, std::size_t, off_t)>("pread")(file, bytes, count, offset);
}

ssize_t read(int file, void* bytes, std::size_t count) {
    const int error = std::atoi(Setting("FAULT_READ"));
    if (error != 0 && lseek(file, 0, SEEK_CUR) > 0) {
        errno = error;
        return -1;
    }
    return Next<ssize_t (*)(int, void*, std::size_t)>("read")(file, bytes, count);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*), void* argument) {
    if (*Setting("FAULT_THREAD") != '\0') {
        return EAGAIN;
    }
    return Next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create")(
        thread, attributes, work, argument);
}

}  // extern "C"
