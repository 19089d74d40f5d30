// An application for SaneFaultMatrix_test: opens the stand-in scanner through the backend, sets what its arguments
// say (NAME=VALUE; NAME alone is pressed), scans a page, cancels a second one in the middle and closes, while calls
// of the system fail as the environment says (see Faults.cpp). Then nothing fails any more, and it scans again.
//
// It prints a line for each of both: the first status that wasn't GOOD, the page's length and its checksum; at the
// end how many of the scanner's handles and of its own descriptors are still open. A status that SANE doesn't have,
// a count that is none, a call that never ends: it ends with abort.

#include <dirent.h>
#include <dlfcn.h>
#include <sane/sane.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// Of the library that makes calls fail.
extern "C" void platen_faults(int on) __attribute__((weak));
extern "C" void platen_faults_pause(int more) __attribute__((weak));

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// What the host itself takes never fails.
struct Pause {
    Pause() {
        if (platen_faults_pause != nullptr) {
            platen_faults_pause(1);
        }
    }
    ~Pause() {
        if (platen_faults_pause != nullptr) {
            platen_faults_pause(-1);
        }
    }
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
};

struct Run {
    SANE_Status first = SANE_STATUS_GOOD;  // that wasn't GOOD
    std::size_t length = 0;
    std::uint64_t sum = 14695981039346656037u;

    bool Note(SANE_Status status) {
        Require(status >= SANE_STATUS_GOOD && status <= SANE_STATUS_ACCESS_DENIED);
        if (first == SANE_STATUS_GOOD) {
            first = status;
        }
        return status == SANE_STATUS_GOOD;
    }
    void Add(const SANE_Byte* bytes, SANE_Int count) {
        length += static_cast<std::size_t>(count);
        for (SANE_Int i = 0; i < count; ++i) {
            sum = (sum ^ bytes[i]) * 1099511628211u;
        }
    }
};

SANE_Int Find(SANE_Handle handle, const std::string& name, SANE_Int count) {
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* option = sane_get_option_descriptor(handle, i);
        if (option != nullptr && option->name != nullptr && option->type != SANE_TYPE_GROUP &&
            name == option->name) {
            return i;
        }
    }
    return 0;
}

// The setting's value, as its option takes it.
void Fill(const SANE_Option_Descriptor* descriptor, const std::string& setting, SANE_Byte* value,
          std::size_t room) {
    Require(descriptor != nullptr && descriptor->size >= 0 && static_cast<std::size_t>(descriptor->size) <= room);
    const std::size_t equals = setting.find('=');
    std::memset(value, 0, room);
    if (descriptor->type == SANE_TYPE_STRING) {
        Require(setting.size() - equals - 1 < static_cast<std::size_t>(descriptor->size));
        std::memcpy(value, setting.c_str() + equals + 1, setting.size() - equals - 1);
    } else if (equals != std::string::npos) {
        const SANE_Word word = std::atoi(setting.c_str() + equals + 1);
        std::memcpy(value, &word, sizeof word);
    }
}

void Set(SANE_Handle handle, const std::string& setting, Run& run) {
    SANE_Int count = 0;
    if (!run.Note(sane_control_option(handle, 0, SANE_ACTION_GET_VALUE, &count, nullptr))) {
        return;
    }
    SANE_Int option = 0;
    static SANE_Byte value[1024];
    {
        const Pause pause;
        option = Find(handle, setting.substr(0, setting.find('=')), count);
        Fill(sane_get_option_descriptor(handle, option), setting, value, sizeof value);
    }
    run.Note(sane_control_option(handle, option, SANE_ACTION_SET_VALUE, value, nullptr));
}

// Reads a frame to its end, or `most` calls long.
SANE_Status ReadFrame(SANE_Handle handle, int most, Run& run) {
    static SANE_Byte bytes[700];
    SANE_Status status = SANE_STATUS_GOOD;
    for (int calls = 0; status == SANE_STATUS_GOOD && calls < most; ++calls) {
        SANE_Int count = -1;
        status = sane_read(handle, bytes, sizeof bytes, &count);
        Require(count >= 0 && count <= static_cast<SANE_Int>(sizeof bytes));
        Require(status == SANE_STATUS_GOOD || count == 0);
        Require(calls < 100000);
        run.Add(bytes, count);
    }
    return status;
}

void ScanPage(SANE_Handle handle, Run& run) {
    for (bool last = false; !last;) {
        SANE_Parameters parameters{};
        if (!run.Note(sane_start(handle)) || !run.Note(sane_get_parameters(handle, &parameters))) {
            return;
        }
        last = parameters.last_frame != SANE_FALSE;
        const SANE_Status status = ReadFrame(handle, 1 << 20, run);
        if (status != SANE_STATUS_EOF) {
            run.Note(status);
            return;
        }
    }
}

// Whatever the first lines were, nothing comes after a cancel.
void CancelPage(SANE_Handle handle, Run& run) {
    Run ignored;
    const SANE_Status started = sane_start(handle);
    if (run.Note(started)) {
        const SANE_Status status = ReadFrame(handle, 2, ignored);
        run.Note(status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : status);
    }
    sane_cancel(handle);
    SANE_Byte byte = 0;
    SANE_Int count = -1;
    ignored.Note(sane_read(handle, &byte, 1, &count));
    Require(count <= 0);
}

Run Scan(const std::vector<std::string>& settings) {
    Run run;
    const SANE_Device** list = nullptr;
    run.Note(sane_get_devices(&list, SANE_FALSE));
    SANE_Handle handle = nullptr;
    if (!run.Note(sane_open("platen:standin:", &handle))) {
        return run;
    }
    for (const std::string& setting : settings) {
        Set(handle, setting, run);
    }
    ScanPage(handle, run);
    CancelPage(handle, run);
    sane_close(handle);
    return run;
}

void Print(const char* name, const Run& run) {
    std::printf("%s %d %zu %016llx\n", name, static_cast<int>(run.first), run.length,
                static_cast<unsigned long long>(run.sum));
}

int Descriptors() {
    int count = 0;
    DIR* folder = opendir("/proc/self/fd");
    Require(folder != nullptr);
    while (readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    alarm(60);
    const std::vector<std::string> settings(argv + 1, argv + argc);
    Require(sane_init(nullptr, nullptr) == SANE_STATUS_GOOD);
    // Once without a fault: SANE's own library loads the backends only now, and doesn't survive a lack of memory
    // there.
    const Run whole = Scan(settings);
    Require(whole.first == SANE_STATUS_GOOD && whole.length > 0);
    const int descriptors = Descriptors();

    Require(platen_faults != nullptr);
    platen_faults(1);
    const Run faulty = Scan(settings);
    platen_faults(0);
    const int left = Descriptors() - descriptors;
    const Run after = Scan(settings);
    Print("whole", whole);
    Print("faulty", faulty);
    Print("after", after);

    void* library = dlopen(PLATEN_STANDIN, RTLD_NOW | RTLD_NOLOAD);
    Require(library != nullptr);
    auto* opened = reinterpret_cast<int (*)()>(dlsym(library, "standin_opened"));
    Require(opened != nullptr);
    std::printf("open %d %d\n", opened(), left);
    sane_exit();
    return std::fflush(stdout) == 0 ? 0 : 1;
}
