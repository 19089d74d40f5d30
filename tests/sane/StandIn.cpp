// A SANE backend for tests, found under the name "standin": a scanner that does what its options say, and fails
// when they say so. Its page is a pattern that each pixel's place gives.
//
//   fault = "CALL STATUS SKIP"   the call after the next SKIP of CALL (start, read, parameters, control) answers
//                                STATUS; "hang" as CALL: reads wait for a cancel; "vanish": everything fails from
//                                then on; "" ends it
//
// With STANDIN_CALLS it writes to that file what it is asked for (see StandIn.h).
// With STANDIN_PAGE in the environment it has that page (P5 or P6, 8 bits) on its glass, and 300 dpi only: for the
// pictures of docs/scanning.md.

#include <sane/sane.h>
#include <sane/saneopts.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>

#include "StandIn.h"

#define EXPORT extern "C" __attribute__((visibility("default")))

// Of the library that makes calls fail, where it is loaded: this scanner fails on demand only.
extern "C" void platen_faults_pause(int more) __attribute__((weak));

namespace {

struct NoFaults {
    NoFaults() {
        Pause(1);
    }
    ~NoFaults() {
        Pause(-1);
    }
    NoFaults(const NoFaults&) = delete;
    NoFaults& operator=(const NoFaults&) = delete;

    static void Pause(int more) {
        if (platen_faults_pause != nullptr) {
            platen_faults_pause(more);
        }
    }
};

enum Option : SANE_Int {
    kCount,
    kMode,
    kDepth,
    kResolution,
    kYResolution,
    kSource,
    kUnknown,
    kPreview,
    kFault,
    kEnd
};

constexpr SANE_Int kText = 40;
const SANE_String_Const kModes[] = {"Gray", "Color", "Passes", "Strange", nullptr};
const SANE_String_Const kSources[] = {"Flatbed", "ADF", nullptr};
const SANE_Word kDepths[] = {3, 1, 8, 16};
const SANE_Word kResolutions[] = {3, 75, 150, 300};
constexpr SANE_Int kPagesInFeeder = 3;

const SANE_Word kPageResolution[] = {1, 300};

std::atomic<int> opened{0};

StandInHooks hooks;
std::mutex callsMutex;

bool Records() {
    return hooks.records || std::getenv("STANDIN_CALLS") != nullptr;
}

void Note(const std::string& call) {
    if (!Records()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(callsMutex);
    hooks.calls.push_back(call);
    if (const char* file = std::getenv("STANDIN_CALLS")) {
        std::ofstream(file, std::ios::app) << call << "\n";
    }
}

// The page on the glass.
struct Page {
    bool colour = false;
    SANE_Int width = 0;
    SANE_Int height = 0;
    std::string samples;
};

bool ReadPage(const char* path, Page& page) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    int most = 0;
    file >> magic >> page.width >> page.height >> most;
    file.get();
    page.samples.assign(std::istreambuf_iterator<char>(file), {});
    page.colour = magic == "P6";
    return most == 255 && page.samples.size() == static_cast<std::size_t>(page.width) *
                                                     static_cast<std::size_t>(page.height) * (page.colour ? 3 : 1);
}

struct Scanner {
    std::string mode = "Gray";
    std::string source = "Flatbed";
    SANE_Word depth = 8;
    SANE_Word resolution = 75;
    SANE_Word yResolution = 75;
    SANE_Word unknownHeight = SANE_FALSE;
    SANE_Word preview = SANE_FALSE;
    std::string call;
    int status = 0;
    int skip = 0;
    bool vanished = false;
    bool scanning = false;
    std::atomic<bool> cancelled{false};
    int pass = 0;
    int fed = 0;
    std::size_t sent = 0;
    bool hasPage = false;
    Page page;
    SANE_Option_Descriptor options[kEnd]{};
    const char* names[kEnd]{};
    SANE_Int count = kEnd;

    Scanner() {
        const auto add = [this](Option option, const char* name, SANE_Value_Type type, SANE_Int size) {
            SANE_Option_Descriptor& d = options[option];
            names[option] = name;
            d.name = name;
            d.title = name;
            d.desc = "";
            d.type = type;
            d.size = size;
            d.cap = SANE_CAP_SOFT_DETECT | (option == kCount ? 0 : SANE_CAP_SOFT_SELECT);
        };
        add(kCount, "", SANE_TYPE_INT, sizeof(SANE_Word));
        add(kMode, SANE_NAME_SCAN_MODE, SANE_TYPE_STRING, kText);
        add(kDepth, SANE_NAME_BIT_DEPTH, SANE_TYPE_INT, sizeof(SANE_Word));
        add(kResolution, SANE_NAME_SCAN_RESOLUTION, SANE_TYPE_INT, sizeof(SANE_Word));
        add(kYResolution, SANE_NAME_SCAN_Y_RESOLUTION, SANE_TYPE_INT, sizeof(SANE_Word));
        add(kSource, SANE_NAME_SCAN_SOURCE, SANE_TYPE_STRING, kText);
        add(kUnknown, "unknown-height", SANE_TYPE_BOOL, sizeof(SANE_Word));
        add(kPreview, SANE_NAME_PREVIEW, SANE_TYPE_BOOL, sizeof(SANE_Word));
        add(kFault, "fault", SANE_TYPE_STRING, kText);
        options[kMode].constraint_type = SANE_CONSTRAINT_STRING_LIST;
        options[kMode].constraint.string_list = kModes;
        options[kSource].constraint_type = SANE_CONSTRAINT_STRING_LIST;
        options[kSource].constraint.string_list = kSources;
        options[kDepth].constraint_type = SANE_CONSTRAINT_WORD_LIST;
        options[kDepth].constraint.word_list = kDepths;
        for (const Option option : {kResolution, kYResolution}) {
            options[option].unit = SANE_UNIT_DPI;
            options[option].constraint_type = SANE_CONSTRAINT_WORD_LIST;
            options[option].constraint.word_list = kResolutions;
        }
        const char* path = std::getenv("STANDIN_PAGE");
        hasPage = path != nullptr && ReadPage(path, page);
        if (hasPage) {
            mode = page.colour ? "Color" : "Gray";
            resolution = yResolution = kPageResolution[1];
            options[kResolution].constraint.word_list = kPageResolution;
            options[kYResolution].cap |= SANE_CAP_INACTIVE;
        }
        if (hooks.describe) {
            hooks.describe(options, count);
        }
    }

    Option Kind(SANE_Int option) const {
        return static_cast<Option>(std::find(names, names + kEnd, options[option].title) - names);
    }

    // What a call answers in place of its work.
    SANE_Status Fault(const char* name) {
        if (vanished) {
            return SANE_STATUS_IO_ERROR;
        }
        if (call != name) {
            return SANE_STATUS_GOOD;
        }
        if (skip-- > 0) {
            return SANE_STATUS_GOOD;
        }
        call.clear();
        return static_cast<SANE_Status>(status);
    }

    SANE_Parameters Parameters() const {
        SANE_Parameters p{};
        p.pixels_per_line = hasPage ? page.width : 61 * resolution / 75;
        p.lines = unknownHeight != SANE_FALSE ? -1 : Height();
        p.depth = mode == "Strange" ? 12 : depth;
        p.last_frame = mode == "Passes" && pass < 3 ? SANE_FALSE : SANE_TRUE;
        p.format = mode == "Color"    ? SANE_FRAME_RGB
                   : mode == "Passes" ? static_cast<SANE_Frame>(SANE_FRAME_RED + std::max(pass, 1) - 1)
                                      : SANE_FRAME_GRAY;
        const SANE_Int samples = mode == "Color" ? 3 : 1;
        p.bytes_per_line = p.depth == 1 ? (p.pixels_per_line + 7) / 8 * samples
                                        : p.pixels_per_line * samples * ((p.depth + 7) / 8);
        return p;
    }

    SANE_Int Height() const {
        return hasPage ? page.height : 47 * yResolution / 75;
    }

    std::size_t FrameBytes() const {
        const SANE_Parameters p = Parameters();
        return static_cast<std::size_t>(p.bytes_per_line) * static_cast<std::size_t>(Height());
    }

    void* Value(SANE_Int option) {
        switch (option) {
            case kDepth:
                return &depth;
            case kResolution:
                return &resolution;
            case kYResolution:
                return &yResolution;
            case kUnknown:
                return &unknownHeight;
            case kPreview:
                return &preview;
            default:
                return nullptr;
        }
    }

    void SetFault(const std::string& text) {
        char name[kText] = "";
        status = 0;
        skip = 0;
        std::sscanf(text.c_str(), "%39s %d %d", name, &status, &skip);
        call = name;
        vanished = call == "vanish";
    }

    SANE_Status SetText(SANE_Int option, const std::string& text, SANE_Int& info) {
        if (option == kFault) {
            SetFault(text);
        } else if (option == kMode) {
            mode = text;
            info = SANE_INFO_RELOAD_PARAMS;
        } else {
            source = text;
        }
        return SANE_STATUS_GOOD;
    }

    SANE_Status SetWord(SANE_Int place, SANE_Word word, SANE_Int& info) {
        const Option option = Kind(place);
        if (options[place].constraint_type == SANE_CONSTRAINT_WORD_LIST) {
            const SANE_Word* list = options[place].constraint.word_list;
            if (std::find(list + 1, list + 1 + list[0], word) == list + 1 + list[0]) {
                return SANE_STATUS_INVAL;
            }
        }
        *static_cast<SANE_Word*>(Value(option)) = word;
        info = SANE_INFO_RELOAD_PARAMS;
        if (option == kResolution) {
            yResolution = word;
            info |= SANE_INFO_RELOAD_OPTIONS;
        }
        return SANE_STATUS_GOOD;
    }
};

Scanner& Of(SANE_Handle handle) {
    return *static_cast<Scanner*>(handle);
}

}  // namespace

// Handles that are open, for tests.
EXPORT int standin_opened() {
    return opened;
}

EXPORT StandInHooks* standin_hooks() {
    return &hooks;
}

EXPORT SANE_Status sane_standin_init(SANE_Int* version, SANE_Auth_Callback /*authorize*/) {
    *version = SANE_VERSION_CODE(1, 0, 0);
    return SANE_STATUS_GOOD;
}

EXPORT void sane_standin_exit() {
    Note("exit");
}

EXPORT SANE_Status sane_standin_get_devices(const SANE_Device*** list, SANE_Bool /*local*/) {
    static const SANE_Device* none[] = {nullptr};
    *list = none;
    return SANE_STATUS_GOOD;
}

EXPORT SANE_Status sane_standin_open(SANE_String_Const name, SANE_Handle* handle) {
    const NoFaults noFaults;
    if (std::strncmp(name, "fails ", 6) == 0) {
        return static_cast<SANE_Status>(std::atoi(name + 6));
    }
    *handle = new Scanner;
    ++opened;
    return SANE_STATUS_GOOD;
}

EXPORT void sane_standin_close(SANE_Handle handle) {
    const NoFaults noFaults;
    --opened;
    delete &Of(handle);
}

EXPORT const SANE_Option_Descriptor* sane_standin_get_option_descriptor(SANE_Handle handle, SANE_Int option) {
    Scanner& scanner = Of(handle);
    const bool inside = option >= 0 && option < scanner.count;
    const bool there = inside && (hooks.hidden.empty() || hooks.hidden != scanner.options[option].title);
    return there ? &scanner.options[option] : nullptr;
}

EXPORT SANE_Status sane_standin_control_option(SANE_Handle handle, SANE_Int option, SANE_Action action, void* value,
                                               SANE_Int* info) {
    const NoFaults noFaults;
    Scanner& scanner = Of(handle);
    if (option < 0 || option >= scanner.count) {
        return SANE_STATUS_INVAL;
    }
    SANE_Int told = 0;
    const Option kind = scanner.Kind(option);
    const SANE_Option_Descriptor& description = scanner.options[option];
    const bool sets = action == SANE_ACTION_SET_VALUE && value != nullptr;
    const bool text = description.type == SANE_TYPE_STRING;
    if (Records()) {
        std::string call = description.title;
        call += sets ? '=' : '?';
        if (sets) {
            call += text ? static_cast<char*>(value) : std::to_string(*static_cast<SANE_Word*>(value));
        }
        Note(call);
    }
    if (hooks.control) {
        const Answer status = hooks.control(description.title, action, value, told);
        if (status) {
            if (info != nullptr) {
                *info = told;
            }
            return *status;
        }
    }
    if (value == nullptr || action == SANE_ACTION_SET_AUTO) {
        return SANE_STATUS_INVAL;
    }
    const bool isFault = kind == kFault;
    const SANE_Status fault = isFault ? SANE_STATUS_GOOD : scanner.Fault("control");
    if (fault != SANE_STATUS_GOOD) {
        return fault;
    }
    SANE_Status status = SANE_STATUS_GOOD;
    if (kind == kCount) {
        *static_cast<SANE_Word*>(value) = scanner.count;
    } else if (text) {
        if (sets) {
            status = scanner.SetText(kind, static_cast<char*>(value), told);
        } else {
            const std::string now = kind == kMode ? scanner.mode : kind == kSource ? scanner.source : "";
            std::memcpy(value, now.c_str(), now.size() + 1);
        }
    } else if (sets) {
        status = scanner.SetWord(option, *static_cast<SANE_Word*>(value), told);
    } else {
        std::memcpy(value, scanner.Value(kind), sizeof(SANE_Word));
    }
    if (info != nullptr) {
        *info = told;
    }
    return status;
}

EXPORT SANE_Status sane_standin_get_parameters(SANE_Handle handle, SANE_Parameters* parameters) {
    const NoFaults noFaults;
    const SANE_Status fault = Of(handle).Fault("parameters");
    if (fault != SANE_STATUS_GOOD) {
        return fault;
    }
    *parameters = Of(handle).Parameters();
    if (hooks.parameters) {
        hooks.parameters(*parameters);
    }
    return SANE_STATUS_GOOD;
}

EXPORT SANE_Status sane_standin_start(SANE_Handle handle) {
    const NoFaults noFaults;
    Scanner& scanner = Of(handle);
    Note("start");
    if (hooks.start) {
        const Answer status = hooks.start();
        if (status) {
            return *status;
        }
    }
    const SANE_Status fault = scanner.Fault("start");
    if (fault != SANE_STATUS_GOOD) {
        return fault;
    }
    if (scanner.source == "ADF" && scanner.pass % 3 == 0 && scanner.fed++ == kPagesInFeeder) {
        scanner.fed = 0;
        return SANE_STATUS_NO_DOCS;
    }
    scanner.pass = scanner.mode == "Passes" ? scanner.pass % 3 + 1 : 0;
    scanner.sent = 0;
    scanner.scanning = true;
    scanner.cancelled = false;
    return SANE_STATUS_GOOD;
}

EXPORT SANE_Status sane_standin_read(SANE_Handle handle, SANE_Byte* bytes, SANE_Int room, SANE_Int* count) {
    const NoFaults noFaults;
    Scanner& scanner = Of(handle);
    if (hooks.read) {
        const Answer status = hooks.read(bytes, room, *count);
        if (status) {
            return *status;
        }
    }
    *count = 0;
    while (scanner.call == "hang" && !scanner.cancelled) {
        usleep(1000);
    }
    if (scanner.cancelled) {
        return SANE_STATUS_CANCELLED;
    }
    const SANE_Status fault = scanner.Fault("read");
    if (fault != SANE_STATUS_GOOD) {
        return fault;
    }
    if (!scanner.scanning) {
        return SANE_STATUS_INVAL;
    }
    const std::size_t left = scanner.FrameBytes() - scanner.sent;
    if (left == 0) {
        scanner.scanning = false;
        return SANE_STATUS_EOF;
    }
    // Pieces that are no whole lines.
    const std::size_t part = std::min({left, static_cast<std::size_t>(room), hooks.piece});
    for (std::size_t i = 0; i < part; ++i) {
        const std::size_t at = scanner.sent + i;
        const std::size_t pattern = 40 + (at * 7 + at / 61 * 3 + static_cast<std::size_t>(scanner.pass) * 50) % 200;
        bytes[i] = static_cast<SANE_Byte>(scanner.hasPage ? scanner.page.samples[at] : static_cast<char>(pattern));
    }
    scanner.sent += part;
    *count = static_cast<SANE_Int>(part);
    return SANE_STATUS_GOOD;
}

EXPORT void sane_standin_cancel(SANE_Handle handle) {
    Note("cancel");
    if (hooks.cancel) {
        hooks.cancel();
    }
    Scanner& scanner = Of(handle);
    scanner.cancelled = true;
    scanner.scanning = false;
    scanner.pass = 0;
}

EXPORT SANE_Status sane_standin_set_io_mode(SANE_Handle /*handle*/, SANE_Bool nonBlocking) {
    return hooks.ioMode ? hooks.ioMode(nonBlocking != SANE_FALSE) : SANE_STATUS_GOOD;
}

EXPORT SANE_Status sane_standin_get_select_fd(SANE_Handle /*handle*/, SANE_Int* descriptor) {
    *descriptor = 0;
    return SANE_STATUS_GOOD;
}
