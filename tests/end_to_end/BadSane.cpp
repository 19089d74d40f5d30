// A SANE of its own for tests: a library under SANE's name with one device that misbehaves as BAD_SANE says. The
// program loads it in place of the real one.

#include <sane/sane.h>

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

std::string Fault() {
    const char* fault = std::getenv("BAD_SANE");
    return fault != nullptr ? fault : "";
}

constexpr SANE_Int kWidth = 20;
constexpr SANE_Int kLines = 4;
int started = 0;
int left = 0;  // bytes of the frame

// An interrupt that comes once the page is in its file, while the program tells so; a file tells that it has come.
std::thread interrupter;
void InterruptLater() {
    interrupter = std::thread([] {
        for (int i = 0; i < 1000 && !std::filesystem::exists("never.png"); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        kill(getpid(), SIGINT);
        std::ofstream("interrupted");
    });
}

const SANE_String_Const kModes[] = {"Gray Halftone", "Gray", "Color Lineart", "Color Halftone", "Color", nullptr};

SANE_Option_Descriptor Options(SANE_Int index) {
    SANE_Option_Descriptor option{};
    option.size = sizeof(SANE_Word);
    option.type = SANE_TYPE_INT;
    option.cap = SANE_CAP_SOFT_DETECT | (index == 0 ? 0 : SANE_CAP_SOFT_SELECT);
    if (Fault() == "no resolution" && (index == 1 || index == 2)) {
        option.name = "resolute";
        return option;
    }
    if (Fault() == "modes" && index == 3) {
        option.name = "mode";
        option.type = SANE_TYPE_STRING;
        option.size = 20;
        option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
        option.constraint.string_list = kModes;
        return option;
    }
    option.name = index == 0 ? "" : index == 1 ? "x-resolution" : index == 2 ? "y-resolution" : "stubborn";
    return option;
}

SANE_Option_Descriptor descriptors[4];
SANE_Word values[4] = {4, 100, 200, 0};

}  // namespace

extern "C" {

SANE_Status sane_init(SANE_Int* /*version*/, SANE_Auth_Callback /*authorize*/) {
    for (SANE_Int i = 0; i < 4; ++i) {
        descriptors[i] = Options(i);
    }
    return Fault() == "init" ? SANE_STATUS_ACCESS_DENIED : SANE_STATUS_GOOD;
}

void sane_exit() {
    if (interrupter.joinable()) {
        interrupter.join();
    }
}

SANE_Status sane_get_devices(const SANE_Device*** /*list*/, SANE_Bool /*local*/) {
    return SANE_STATUS_NO_MEM;
}

SANE_Status sane_open(SANE_String_Const /*name*/, SANE_Handle* handle) {
    *handle = values;
    return SANE_STATUS_GOOD;
}

void sane_close(SANE_Handle /*handle*/) {}

const SANE_Option_Descriptor* sane_get_option_descriptor(SANE_Handle /*handle*/, SANE_Int index) {
    return index >= 0 && index < 4 ? &descriptors[index] : nullptr;
}

SANE_Status sane_control_option(SANE_Handle /*handle*/, SANE_Int index, SANE_Action action, void* value,
                                SANE_Int* /*info*/) {
    if (action == SANE_ACTION_SET_VALUE && index == 3) {
        return SANE_STATUS_DEVICE_BUSY;
    }
    SANE_Word& word = values[index];
    std::memcpy(action == SANE_ACTION_SET_VALUE ? &word : value, action == SANE_ACTION_SET_VALUE ? value : &word,
                sizeof word);
    return SANE_STATUS_GOOD;
}

SANE_Status sane_get_parameters(SANE_Handle /*handle*/, SANE_Parameters* p) {
    const std::string fault = Fault();
    *p = {SANE_FRAME_GRAY, SANE_TRUE, kWidth, kWidth, kLines, 8};
    if (fault == "parameters" || (fault == "later parameters" && started > 0)) {
        return SANE_STATUS_IO_ERROR;
    }
    if (fault == "interrupt before") {
        std::raise(SIGINT);
    }
    if (fault == "frame") {
        p->format = static_cast<SANE_Frame>(0x0B);
    } else if (fault == "depth") {
        p->depth = 12;
    } else if (fault == "short line") {
        p->bytes_per_line = kWidth - 1;
    } else if (fault == "no lines" || fault == "interrupt after") {
        p->lines = -1;
    } else if (fault == "pass" || fault == "grey pass" || fault == "same pass" || fault == "pass size") {
        p->format = started < 2            ? SANE_FRAME_RED
                    : fault == "grey pass" ? SANE_FRAME_GRAY
                    : fault == "same pass" ? SANE_FRAME_RED
                                           : SANE_FRAME_BLUE;
        p->lines = fault == "pass size" && started == 2 ? kLines - 1 : kLines;
    }
    return SANE_STATUS_GOOD;
}

SANE_Status sane_start(SANE_Handle /*handle*/) {
    ++started;
    left = Fault() == "no lines" ? 0 : Fault() == "half line" ? kWidth + 5 : kWidth * kLines;
    if (Fault() == "interrupt at start" && started == 2) {
        std::raise(SIGINT);
        return SANE_STATUS_NO_DOCS;
    }
    if (const char* log = std::getenv("BAD_SANE_LOG")) {
        std::ofstream(log, std::ios::app) << started << "\n";
    }
    if (Fault() == "interrupt at sheet 8" && started == 8) {
        std::raise(SIGINT);
        return SANE_STATUS_CANCELLED;
    }
    if (Fault() == "jam at sheet 8" && started == 8) {
        return SANE_STATUS_JAMMED;
    }
    if (Fault() == "empty after 10" && started == 11) {
        return SANE_STATUS_NO_DOCS;
    }
    if (Fault() == "empty" || (Fault() == "then empty" && started == 3)) {
        return SANE_STATUS_NO_DOCS;
    }
    if (Fault() == "start" || (Fault() == "pass" && started == 2)) {
        return SANE_STATUS_IO_ERROR;
    }
    if (Fault() == "jam" || (Fault() == "second jam" && started == 2)) {
        return SANE_STATUS_JAMMED;
    }
    return SANE_STATUS_GOOD;
}

SANE_Status sane_read(SANE_Handle /*handle*/, SANE_Byte* bytes, SANE_Int room, SANE_Int* count) {
    *count = left < room ? left : room;
    *count = *count < 7 ? *count : 7;
    if (Fault() == "empty read" || (Fault() == "then empty read" && started == 3)) {
        *count = 0;
        return SANE_STATUS_NO_DOCS;
    }
    if (*count == 0) {
        if (Fault() == "interrupt after") {
            InterruptLater();
        }
        return SANE_STATUS_EOF;
    }
    if (started == 8 && left <= kWidth * kLines / 2) {
        if (Fault() == "jam within sheet 8") {
            *count = 0;
            return SANE_STATUS_JAMMED;
        }
        if (Fault() == "interrupt within sheet 8") {
            std::raise(SIGINT);
        }
    }
    const bool sheets = Fault().find("sheet 8") != std::string::npos || Fault() == "empty after 10";
    std::memset(bytes, sheets ? started : 0x80, static_cast<std::size_t>(*count));  // sheets tell their number
    left -= *count;
    return SANE_STATUS_GOOD;
}

void sane_cancel(SANE_Handle /*handle*/) {}

SANE_Status sane_set_io_mode(SANE_Handle /*handle*/, SANE_Bool nonBlocking) {
    return nonBlocking == SANE_FALSE ? SANE_STATUS_GOOD : SANE_STATUS_UNSUPPORTED;
}

SANE_Status sane_get_select_fd(SANE_Handle /*handle*/, SANE_Int* /*descriptor*/) {
    return SANE_STATUS_UNSUPPORTED;
}

SANE_String_Const sane_strstatus(SANE_Status status) {
    static const char* const kWords[] = {"good", "unsupported", "cancelled", "busy",  "invalid", "end",
                                         "jam",  "empty",       "cover",     "input", "memory",  "denied"};
    return kWords[status];
}

}  // extern "C"
