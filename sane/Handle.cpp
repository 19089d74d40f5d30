#include "sane/Handle.h"

#include <dlfcn.h>

#include <set>

#include "programs/options/ParseValue.h"
#include "programs/scan/DeviceLine.h"
#include "sane/AutoLevels.h"
#include "sane/Status.h"

namespace platen_sane {

namespace {

std::set<std::string> Names(const Device& device) {
    std::set<std::string> names;
    for (SANE_Int i = 1; i < device.Count(); ++i) {
        const SANE_Option_Descriptor* option = device.Descriptor(i);
        if (option != nullptr && option->name != nullptr) {
            names.insert(option->name);
        }
    }
    return names;
}

// The tool's folders; those that the configuration names; and the folder of the presets that came with this
// library, wherever the two were put.
std::vector<std::string> PresetFolders(const Configuration& configuration) {
    std::vector<std::string> folders = configuration.presetFolders;
    Dl_info self{};
    if (dladdr(reinterpret_cast<void*>(&PresetFolders), &self) != 0 && self.dli_fname != nullptr) {
        const std::string path = self.dli_fname;
        const std::string folder = path.substr(0, path.find_last_of('/') + 1);
        folders.push_back(folder + PLATEN_SANE_PRESETS);        // installed
        folders.push_back(folder + "../share/platen/presets");  // in the build tree
    }
    return folders;
}

}  // namespace

Handle::Handle(const std::string& device, Configuration configuration)
    : configuration_(std::move(configuration)),
      device_(device),
      resolutions_(device_, configuration_),
      adjustments_(Names(device_), platen_tool::FindAllPresets(PresetFolders(configuration_))) {
    SANE_Int info = 0;
    FollowPage(info);
    ChooseFirstPreset(FirstPreset(configuration_, device));
}

// A missing preset is no reason not to scan.
void Handle::ChooseFirstPreset(std::string name) {
    if (name.empty()) {
        return;
    }
    SANE_Int info = 0;
    name.resize(static_cast<std::size_t>(adjustments_.Descriptor(Setting::kPreset)->size), '\0');
    const SANE_Status status =
        Guarded([&] { return ControlOurs(Setting::kPreset, SANE_ACTION_SET_VALUE, name.data(), info); });
    if (status != SANE_STATUS_GOOD) {
        Tell("platen.conf: the preset " + std::string(name.c_str()) + " can't be used");
    }
}

Handle::~Handle() = default;

const SANE_Option_Descriptor* Handle::Descriptor(SANE_Int option) {
    const SANE_Int count = device_.Count();
    if (option < 0 || option >= count + kSettings) {
        return nullptr;
    }
    if (option >= count) {
        return adjustments_.Descriptor(static_cast<Setting>(option - count));
    }
    return resolutions_.Owns(option) ? resolutions_.Descriptor(option) : device_.Descriptor(option);
}

SANE_Status Handle::Control(SANE_Int option, SANE_Action action, void* value, SANE_Int* info) {
    const SANE_Int count = device_.Count();
    SANE_Int told = 0;
    SANE_Status status = SANE_STATUS_INVAL;
    if (option == kOptionCount) {
        if (action == SANE_ACTION_GET_VALUE && value != nullptr) {
            *static_cast<SANE_Int*>(value) = count + kSettings;
            status = SANE_STATUS_GOOD;
        }
    } else if (option > 0 && option < count) {
        status = ControlDevice(option, action, value, told);
    } else if (option >= count && option < count + kSettings) {
        status = ControlOurs(static_cast<Setting>(option - count), action, value, told);
    }
    if (info != nullptr) {
        *info = told;
    }
    return status;
}

SANE_Status Handle::ControlDevice(SANE_Int option, SANE_Action action, void* value, SANE_Int& info) {
    const SANE_Status status = resolutions_.Owns(option) ? resolutions_.Control(option, action, value, info)
                                                         : device_.Control(option, action, value, info);
    if (action == SANE_ACTION_GET_VALUE) {
        return status;
    }
    if ((info & SANE_INFO_RELOAD_OPTIONS) != 0) {
        resolutions_.Follow(info);
    }
    FollowPage(info);
    return status;
}

SANE_Status Handle::ControlOurs(Setting setting, SANE_Action action, void* value, SANE_Int& info) {
    info = 0;
    if (action == SANE_ACTION_GET_VALUE) {
        return adjustments_.Control(setting, action, value, info);
    }
    if (Sending()) {
        return SANE_STATUS_DEVICE_BUSY;
    }
    if (setting == Setting::kAuto) {
        if (action != SANE_ACTION_SET_VALUE || !SANE_OPTION_IS_ACTIVE(adjustments_.Descriptor(setting)->cap)) {
            return SANE_STATUS_INVAL;
        }
        cancelled_ = false;
        const SANE_Status status = FindLevels(device_, resolutions_, adjustments_, cancelled_);
        info = SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS;
        return status;
    }
    const SANE_Status status = adjustments_.Control(setting, action, value, info);
    if (status == SANE_STATUS_GOOD && setting == Setting::kPreset) {
        AskPresetResolution(info);
        FollowPage(info);
    }
    return status;
}

// A preset's resolution becomes what is asked of the device.
void Handle::AskPresetResolution(SANE_Int& info) {
    for (const platen_tool::GivenOption& option : adjustments_.PresetSize()) {
        if (option.name == "resolution") {
            resolutions_.Ask(platen_tool::ParseResolution(option.name, option.value), info);
        }
    }
}

// Which adjustments can act depends on the page that the device would send now.
void Handle::FollowPage(SANE_Int& info) {
    SANE_Parameters parameters{};
    if (Sending() || device_.Parameters(parameters) != SANE_STATUS_GOOD) {
        return;
    }
    const bool known = platen_tool::IsKnownPage(parameters);
    const platen_tool::ImageInfo page = known ? platen_tool::PageInfo(parameters) : platen_tool::ImageInfo{};
    if (adjustments_.Follow(page, known)) {
        info |= SANE_INFO_RELOAD_OPTIONS;
    }
}

SANE_Status Handle::Parameters(SANE_Parameters& parameters) {
    if (!Sending()) {
        SANE_Parameters device{};
        const SANE_Status status = device_.Parameters(device);
        if (status != SANE_STATUS_GOOD) {
            return status;
        }
        parameters = PlanFrame(device, adjustments_, resolutions_).application;
        return SANE_STATUS_GOOD;
    }
    if (plan_.route == Route::kPass) {
        return device_.Parameters(parameters);
    }
    parameters = plan_.application;
    return SANE_STATUS_GOOD;
}

SANE_Status Handle::Start() {
    reader_.reset();
    sending_ = false;
    cancelled_ = false;
    const SANE_Status status = device_.Start();
    if (status != SANE_STATUS_GOOD) {
        return status;
    }
    try {
        Begin();
    } catch (...) {
        reader_.reset();
        device_.Cancel();
        throw;
    }
    sending_ = true;
    return SANE_STATUS_GOOD;
}

void Handle::Begin() {
    SANE_Parameters parameters{};
    Check(device_.Parameters(parameters));
    plan_ = PlanFrame(parameters, adjustments_, resolutions_);
    if (plan_.route != Route::kPass) {
        if (TellsMessages()) {
            Tell("the page as made by: " + plan_.command);
        }
        reader_.emplace(device_, plan_, adjustments_, cancelled_);
    }
}

SANE_Status Handle::Read(SANE_Byte* bytes, SANE_Int room, SANE_Int& count) {
    count = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    if (reader_ && !cancelled_) {
        status = reader_->Read(bytes, room, count);
    } else {
        status = device_.Read(bytes, room, count);
        if (reader_ && status == SANE_STATUS_GOOD) {
            status = SANE_STATUS_CANCELLED;  // its bytes are not the application's
        }
    }
    if (status != SANE_STATUS_GOOD) {
        count = 0;
        sending_ = false;
    }
    return status;
}

SANE_Status Handle::SetIoMode(SANE_Bool nonBlocking) {
    if (!reader_) {
        return device_.SetIoMode(nonBlocking);
    }
    // Lines are held back, so the device's state does not say what can be read from here.
    return nonBlocking == SANE_FALSE ? SANE_STATUS_GOOD : SANE_STATUS_UNSUPPORTED;
}

SANE_Status Handle::SelectFd(SANE_Int* descriptor) {
    return reader_ ? SANE_STATUS_UNSUPPORTED : device_.SelectFd(descriptor);
}

void Handle::Cancel() {
    cancelled_ = true;
    device_.Cancel();
}

}  // namespace platen_sane
