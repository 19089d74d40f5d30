// Loaded before the program under test: makes calls of the system fail, as the environment says.
//
//   FAULT_ALLOCATION=N   the Nth allocation since main began has no memory; 0: none
//   FAULT_MODE=on        and none after it has
//   FAULT_REPORT=FILE    receives the number of allocations when the program ends
//   FAULT_FORK=ERRNO     fork fails with this error; "kill": it works, but the new process is killed at once
//   FAULT_PREAD=N        the Nth pread, and each after it, finds nothing
//   FAULT_READ=ERRNO     read fails with this error, but for the first bytes of a file
//   FAULT_THREAD=1       no thread can be started
//   FAULT_CALL=NAME      read, pread, write, pwrite, open, fopen, mkostemp, rename, fsync, mmap, ftruncate, lseek,
//                        close, fstat:
//                        of these calls since main began ...
//   FAULT_AT=N           ... the Nth fails, and with FAULT_MODE=on each after it ...
//   FAULT_ERRNO=ERRNO    ... with this error
//   FAULT_SHORT=1        reads and writes do a byte at a time, and every other one is interrupted first
//   FAULT_CLOCK=1        the clock stands still, for outputs that hold a date
//   FAULT_CALLS=FILE     receives what is called, a line each: the name, the descriptor or file, what was written
//   FAULT_MARKED=1       nothing counts before the program calls platen_faults(1), or after platen_faults(0)
//   FAULT_SPARE=NAME     allocations by the library whose file begins with this name have memory, and don't count
//
// What lies between platen_faults_pause(1) and platen_faults_pause(-1) never counts: the work of a test's stand-in.
// What the C++ runtime and the codecs take before main has begun is not counted: nobody could catch its failure.

#undef _FORTIFY_SOURCE  // with it the headers define the reading functions themselves

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

// The C library's own allocator, under the names that it keeps for those who stand in front of it.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

std::atomic<bool> g_counting{false};
std::atomic<int> g_paused{0};
std::atomic<long> g_allocations{0};
std::atomic<long> g_reads{0};
long g_failing = 0;
bool g_staysOn = false;

const char* Setting(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool Counts() {
    return g_counting.load(std::memory_order_relaxed) && g_paused.load(std::memory_order_relaxed) == 0;
}

// The code of the library of FAULT_SPARE.
std::uintptr_t g_spareBegin = 0;
std::uintptr_t g_spareEnd = 0;

int FindSpare(dl_phdr_info* info, std::size_t, void*) {
    const char* slash = std::strrchr(info->dlpi_name, '/');
    const char* name = slash != nullptr ? slash + 1 : info->dlpi_name;
    if (std::strncmp(name, Setting("FAULT_SPARE"), std::strlen(Setting("FAULT_SPARE"))) != 0) {
        return 0;
    }
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0) {
            g_spareBegin = info->dlpi_addr + part.p_vaddr;
            g_spareEnd = g_spareBegin + part.p_memsz;
        }
    }
    return 1;
}

bool Fails(void* caller) {
    const auto from = reinterpret_cast<std::uintptr_t>(caller);
    if (!Counts() || (from >= g_spareBegin && from < g_spareEnd)) {
        return false;
    }
    const long number = g_allocations.fetch_add(1) + 1;
    const bool fails = g_failing != 0 && (number == g_failing || (g_staysOn && number > g_failing));
    if (fails) {
        errno = ENOMEM;
    }
    return fails;
}

// ---- the calls of FAULT_CALL; a process of its own counts anew from its parent's count on

std::atomic<long> g_calls{0};
std::atomic<unsigned> g_short{0};
int g_log = -1;
const char* g_call = "";
long g_callAt = 0;
int g_callError = 0;
bool g_callsOn = false;
bool g_shortened = false;

// Notes the call. True where it shall fail, with errno set.
bool CallFails(const char* name, int file, const char* path, const void* bytes, std::size_t count) {
    if (!Counts()) {
        return false;
    }
    const bool chosen = std::strcmp(name, g_call) == 0;
    const long number = chosen ? g_calls.fetch_add(1) + 1 : 0;
    const bool fails = chosen && g_callAt != 0 && (number == g_callAt || (g_callsOn && number > g_callAt));
    if (g_log >= 0 && !fails) {
        char line[600];
        const int length =
            std::snprintf(line, sizeof line, "%s %d %s %zu\n", name, file, path != nullptr ? path : "-", count);
        const int before = errno;
        syscall(SYS_write, g_log, line, static_cast<std::size_t>(length));
        if (bytes != nullptr) {
            syscall(SYS_write, g_log, bytes, count);
        }
        errno = before;
    }
    if (fails) {
        errno = g_callError;
    }
    return fails;
}

// What a read or write may take; 0: interrupted.
std::size_t Shortened(std::size_t count) {
    if (!g_shortened || !Counts() || count == 0) {
        return count;
    }
    return g_short.fetch_add(1) % 2 == 0 ? 0 : (count + 2) / 3;
}

template <class Call>
ssize_t InPieces(std::size_t count, Call call) {
    const std::size_t part = Shortened(count);
    if (part == 0 && count != 0) {
        errno = EINTR;
        return -1;
    }
    return call(part);
}

using Main = int (*)(int, char**, char**);
Main g_main = nullptr;

int CountingMain(int count, char** words, char** environment) {
    g_failing = std::atol(Setting("FAULT_ALLOCATION"));
    g_staysOn = std::strcmp(Setting("FAULT_MODE"), "on") == 0;
    g_call = Setting("FAULT_CALL");
    g_callAt = std::atol(Setting("FAULT_AT"));
    g_callError = std::atoi(Setting("FAULT_ERRNO"));
    g_callsOn = g_staysOn;
    g_shortened = *Setting("FAULT_SHORT") != '\0';
    if (*Setting("FAULT_CALLS") != '\0') {
        g_log = open(Setting("FAULT_CALLS"), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    }
    g_counting = *Setting("FAULT_MARKED") == '\0';
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

void platen_faults(int on) {
    if (*Setting("FAULT_SPARE") != '\0') {
        dl_iterate_phdr(FindSpare, nullptr);
    }
    g_counting = on != 0;
}

void platen_faults_pause(int more) {
    g_paused += more;
}

void* malloc(std::size_t size) {
    return Fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return Fails(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    return Fails(__builtin_return_address(0)) ? nullptr : __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Fails(__builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = Fails(__builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, size);
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
    if (CallFails("pread", file, nullptr, nullptr, count)) {
        return -1;
    }
    return InPieces(count, [&](std::size_t part) {
        return Next<ssize_t (*)(int, void*, std::size_t, off_t)>("pread")(file, bytes, part, offset);
    });
}

ssize_t read(int file, void* bytes, std::size_t count) {
    const int error = std::atoi(Setting("FAULT_READ"));
    if (error != 0 && lseek(file, 0, SEEK_CUR) > 0) {
        errno = error;
        return -1;
    }
    if (CallFails("read", file, nullptr, nullptr, count)) {
        return -1;
    }
    return InPieces(count, [&](std::size_t part) {
        return Next<ssize_t (*)(int, void*, std::size_t)>("read")(file, bytes, part);
    });
}

ssize_t write(int file, const void* bytes, std::size_t count) {
    if (file == STDERR_FILENO) {
        return syscall(SYS_write, file, bytes, count);  // messages arrive
    }
    if (CallFails("write", file, nullptr, bytes, count)) {
        return -1;
    }
    return InPieces(count, [&](std::size_t part) { return syscall(SYS_write, file, bytes, part); });
}

ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t offset) {
    char at[24];
    std::snprintf(at, sizeof at, "%lld", static_cast<long long>(offset));
    if (CallFails("pwrite", file, at, bytes, count)) {
        return -1;
    }
    return InPieces(count, [&](std::size_t part) {
        return Next<ssize_t (*)(int, const void*, std::size_t, off_t)>("pwrite")(file, bytes, part, offset);
    });
}

int open(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : mode_t{0};
    va_end(list);
    if (CallFails("open", -1, path, nullptr, 0)) {
        return -1;
    }
    return Next<int (*)(const char*, int, ...)>("open")(path, flags, mode);
}

std::FILE* fopen(const char* path, const char* mode) {
    return CallFails("fopen", -1, path, nullptr, 0)
               ? nullptr
               : Next<std::FILE* (*)(const char*, const char*)>("fopen")(path, mode);
}

int mkostemp(char* pattern, int flags) {
    if (CallFails("mkostemp", -1, pattern, nullptr, 0)) {
        return -1;
    }
    const int file = Next<int (*)(char*, int)>("mkostemp")(pattern, flags);
    CallFails("made", file, pattern, nullptr, 0);
    return file;
}

int rename(const char* from, const char* to) {
    return CallFails("rename", -1, from, nullptr, 0) ? -1
                                                     : Next<int (*)(const char*, const char*)>("rename")(from, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    return CallFails("rename", -1, from, nullptr, 0) ? -1
                                                     : Next<int (*)(int, const char*, int, const char*, unsigned)>(
                                                           "renameat2")(fromFolder, from, toFolder, to, flags);
}

std::time_t time(std::time_t* now) noexcept {
    const std::time_t value =
        *Setting("FAULT_CLOCK") != '\0' ? 1000000000 : Next<std::time_t (*)(std::time_t*)>("time")(nullptr);
    if (now != nullptr) {
        *now = value;
    }
    return value;
}

int fsync(int file) {
    return CallFails("fsync", file, nullptr, nullptr, 0) ? -1 : Next<int (*)(int)>("fsync")(file);
}

void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) {
    return CallFails("mmap", file, nullptr, nullptr, 0)
               ? MAP_FAILED
               : Next<void* (*)(void*, std::size_t, int, int, int, off_t)>("mmap")(address, size, protection, flags,
                                                                                   file, offset);
}

int ftruncate(int file, off_t size) {
    return CallFails("ftruncate", file, nullptr, nullptr, static_cast<std::size_t>(size))
               ? -1
               : Next<int (*)(int, off_t)>("ftruncate")(file, size);
}

off_t lseek(int file, off_t offset, int from) {
    return CallFails("lseek", file, nullptr, nullptr, 0)
               ? -1
               : Next<off_t (*)(int, off_t, int)>("lseek")(file, offset, from);
}

// It is closed all the same, as the system does.
int close(int file) {
    const bool fails = CallFails("close", file, nullptr, nullptr, 0);
    const int error = errno;
    const int result = Next<int (*)(int)>("close")(file);
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

int fstat(int file, struct stat* status) noexcept {
    return CallFails("fstat", file, nullptr, nullptr, 0) ? -1
                                                         : Next<int (*)(int, struct stat*)>("fstat")(file, status);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*), void* argument) {
    if (*Setting("FAULT_THREAD") != '\0') {
        return EAGAIN;
    }
    return Next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create")(
        thread, attributes, work, argument);
}

}  // extern "C"
