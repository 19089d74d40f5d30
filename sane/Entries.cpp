// The functions that SANE calls. They are this library's only names that can be seen from outside.

#include <sane/sane.h>

#include <memory>
#include <vector>

#include "sane/Configuration.h"
#include "sane/Handle.h"
#include "sane/Status.h"

#define PLATEN_SANE_API __attribute__((visibility("default")))

namespace platen_sane {

namespace {

Handle& Of(SANE_Handle handle) {
    return *static_cast<Handle*>(handle);
}

// What sane_get_devices gave last; it stays until the next call or the end.
struct DeviceList {
    Configuration configuration;
    std::vector<std::string> names;
    std::vector<SANE_Device> devices;
    std::vector<const SANE_Device*> pointers;
};

std::unique_ptr<DeviceList>& TheList() {
    static std::unique_ptr<DeviceList> list;
    return list;
}

// Devices that are reached over a network aren't local.
bool IsLocal(const std::string& name) {
    return !name.starts_with("net:");
}

std::unique_ptr<DeviceList> MakeList(bool localOnly) {
    auto list = std::make_unique<DeviceList>();
    list->configuration = ReadConfiguration();
    std::erase_if(list->configuration.devices,
                  [&](const ConfiguredDevice& device) { return localOnly && !IsLocal(device.name); });
    const std::vector<ConfiguredDevice>& devices = list->configuration.devices;
    list->names.reserve(devices.size());
    list->devices.reserve(devices.size());
    for (const ConfiguredDevice& device : devices) {
        list->names.push_back(device.name);
        list->devices.push_back(
            {list->names.back().c_str(), device.vendor.c_str(), device.model.c_str(), device.type.c_str()});
    }
    for (const SANE_Device& device : list->devices) {
        list->pointers.push_back(&device);
    }
    list->pointers.push_back(nullptr);
    return list;
}

SANE_Status Open(const std::string& name, SANE_Handle* handle) {
    Configuration configuration = ReadConfiguration();
    std::string device = name;
    if (device.empty()) {
        if (configuration.devices.empty()) {
            Tell("no device; name one as platen:NAME, or list some in platen.conf");
            return SANE_STATUS_INVAL;
        }
        device = configuration.devices.front().name;
    }
    *handle = new Handle(device, std::move(configuration));
    return SANE_STATUS_GOOD;
}

}  // namespace

}  // namespace platen_sane

using platen_sane::Guarded;
using platen_sane::Of;

extern "C" {

PLATEN_SANE_API SANE_Status sane_platen_init(SANE_Int* version, SANE_Auth_Callback /*authorize*/) {
    if (version != nullptr) {
        *version = SANE_VERSION_CODE(SANE_CURRENT_MAJOR, SANE_CURRENT_MINOR, PLATEN_SANE_BUILD);
    }
    return SANE_STATUS_GOOD;
}

PLATEN_SANE_API void sane_platen_exit() {
    platen_sane::TheList().reset();
}

PLATEN_SANE_API SANE_Status sane_platen_get_devices(const SANE_Device*** devices, SANE_Bool localOnly) {
    return Guarded([&] {
        if (devices == nullptr) {
            return SANE_STATUS_INVAL;
        }
        platen_sane::TheList() = platen_sane::MakeList(localOnly != SANE_FALSE);
        *devices = platen_sane::TheList()->pointers.data();
        return SANE_STATUS_GOOD;
    });
}

PLATEN_SANE_API SANE_Status sane_platen_open(SANE_String_Const name, SANE_Handle* handle) {
    return Guarded([&] {
        return handle != nullptr ? platen_sane::Open(name != nullptr ? name : "", handle) : SANE_STATUS_INVAL;
    });
}

PLATEN_SANE_API void sane_platen_close(SANE_Handle handle) {
    delete static_cast<platen_sane::Handle*>(handle);
}

PLATEN_SANE_API const SANE_Option_Descriptor* sane_platen_get_option_descriptor(SANE_Handle handle,
                                                                                SANE_Int option) {
    const SANE_Option_Descriptor* descriptor = nullptr;
    Guarded([&] {
        descriptor = Of(handle).Descriptor(option);
        return SANE_STATUS_GOOD;
    });
    return descriptor;
}

PLATEN_SANE_API SANE_Status sane_platen_control_option(SANE_Handle handle, SANE_Int option, SANE_Action action,
                                                       void* value, SANE_Int* info) {
    return Guarded([&] { return Of(handle).Control(option, action, value, info); });
}

PLATEN_SANE_API SANE_Status sane_platen_get_parameters(SANE_Handle handle, SANE_Parameters* parameters) {
    return Guarded([&] { return parameters != nullptr ? Of(handle).Parameters(*parameters) : SANE_STATUS_INVAL; });
}

PLATEN_SANE_API SANE_Status sane_platen_start(SANE_Handle handle) {
    return Guarded([&] { return Of(handle).Start(); });
}

PLATEN_SANE_API SANE_Status sane_platen_read(SANE_Handle handle, SANE_Byte* bytes, SANE_Int room, SANE_Int* count) {
    if (count == nullptr || (bytes == nullptr && room > 0)) {
        return SANE_STATUS_INVAL;
    }
    *count = 0;
    return Guarded([&] { return Of(handle).Read(bytes, room, *count); });
}

PLATEN_SANE_API void sane_platen_cancel(SANE_Handle handle) {
    Of(handle).Cancel();
}

PLATEN_SANE_API SANE_Status sane_platen_set_io_mode(SANE_Handle handle, SANE_Bool nonBlocking) {
    return Guarded([&] { return Of(handle).SetIoMode(nonBlocking); });
}

PLATEN_SANE_API SANE_Status sane_platen_get_select_fd(SANE_Handle handle, SANE_Int* descriptor) {
    return Guarded([&] { return descriptor != nullptr ? Of(handle).SelectFd(descriptor) : SANE_STATUS_INVAL; });
}

}  // extern "C"
