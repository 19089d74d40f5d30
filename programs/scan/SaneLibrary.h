#pragma once

#include <sane/sane.h>

namespace platen_tool {

// SANE's functions. The library is loaded when a scan asks for the first of them: with all that it brings along it
// would cost every other run of the program more than a megabyte.
struct SaneLibrary {
    decltype(&sane_init) init;
    decltype(&sane_exit) exit;
    decltype(&sane_get_devices) getDevices;
    decltype(&sane_open) open;
    decltype(&sane_close) close;
    decltype(&sane_get_option_descriptor) getOptionDescriptor;
    decltype(&sane_control_option) controlOption;
    decltype(&sane_get_parameters) getParameters;
    decltype(&sane_start) start;
    decltype(&sane_read) read;
    decltype(&sane_cancel) cancel;
    decltype(&sane_set_io_mode) setIoMode;
    decltype(&sane_get_select_fd) getSelectFd;
    decltype(&sane_strstatus) statusText;
};

// An Error (kUnsupported) where it isn't installed. Any thread may call it; once the library has been loaded,
// signal handlers too.
const SaneLibrary& Sane();

}  // namespace platen_tool
