#include "programs/scan/SaneLibrary.h"

#include <dlfcn.h>

#include <string>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

constexpr const char* kFile = "libsane.so.1";

template <typename Function>
void Find(void* file, const char* name, Function& function) {
    void* symbol = dlsym(file, name);
    if (symbol == nullptr) {
        throw Error(ExitCode::kUnsupported, std::string("SANE's library lacks ") + name);
    }
    function = reinterpret_cast<Function>(symbol);
}

SaneLibrary Load() {
    SaneLibrary library{};
    void* file = dlopen(kFile, RTLD_NOW | RTLD_LOCAL);
    if (file == nullptr) {
        throw Error(ExitCode::kUnsupported, std::string("SANE's library can't be loaded: ") + dlerror());
    }
    Find(file, "sane_init", library.init);
    Find(file, "sane_exit", library.exit);
    Find(file, "sane_get_devices", library.getDevices);
    Find(file, "sane_open", library.open);
    Find(file, "sane_close", library.close);
    Find(file, "sane_get_option_descriptor", library.getOptionDescriptor);
    Find(file, "sane_control_option", library.controlOption);
    Find(file, "sane_get_parameters", library.getParameters);
    Find(file, "sane_start", library.start);
    Find(file, "sane_read", library.read);
    Find(file, "sane_cancel", library.cancel);
    Find(file, "sane_set_io_mode", library.setIoMode);
    Find(file, "sane_get_select_fd", library.getSelectFd);
    Find(file, "sane_strstatus", library.statusText);
    return library;
}

}  // namespace

const SaneLibrary& Sane() {
    static const SaneLibrary library = Load();
    return library;
}

}  // namespace platen_tool
