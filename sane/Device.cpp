#include "sane/Device.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "sane/Status.h"

namespace platen_sane {

Device::Device(const std::string& name) : sane_(platen_tool::Sane()) {
    Check(sane_.open(name.c_str(), &handle_));
    const SANE_Status status = sane_.controlOption(handle_, kOptionCount, SANE_ACTION_GET_VALUE, &count_, nullptr);
    if (status != SANE_STATUS_GOOD || count_ < 1) {
        sane_.close(handle_);
        throw StatusError(status != SANE_STATUS_GOOD ? status : SANE_STATUS_INVAL);
    }
}

Device::~Device() {
    sane_.close(handle_);
}

SANE_Status Device::Read(SANE_Byte* bytes, SANE_Int room, SANE_Int& count) {
    count = 0;
    const SANE_Status status = sane_.read(handle_, bytes, room, &count);
    count = status == SANE_STATUS_GOOD ? std::clamp(count, 0, room) : 0;
    return status;
}

SANE_Int Device::Find(const char* name) const {
    for (SANE_Int i = 1; i < count_; ++i) {
        const SANE_Option_Descriptor* option = Descriptor(i);
        if (option != nullptr && option->name != nullptr && option->type != SANE_TYPE_GROUP &&
            std::strcmp(option->name, name) == 0) {
            return i;
        }
    }
    return 0;
}

std::optional<SANE_Word> Device::Word(SANE_Int option) {
    const SANE_Option_Descriptor* descriptor = option > 0 ? Descriptor(option) : nullptr;
    SANE_Word word = 0;
    SANE_Int info = 0;
    if (descriptor == nullptr || descriptor->size != sizeof word || !SANE_OPTION_IS_ACTIVE(descriptor->cap) ||
        (descriptor->cap & SANE_CAP_SOFT_DETECT) == 0 || descriptor->type == SANE_TYPE_STRING ||
        descriptor->type == SANE_TYPE_BUTTON || descriptor->type == SANE_TYPE_GROUP ||
        Control(option, SANE_ACTION_GET_VALUE, &word, info) != SANE_STATUS_GOOD) {
        return std::nullopt;
    }
    return word;
}

std::optional<std::string> Device::Text(SANE_Int option) {
    const SANE_Option_Descriptor* descriptor = option > 0 ? Descriptor(option) : nullptr;
    if (descriptor == nullptr || descriptor->type != SANE_TYPE_STRING || descriptor->size <= 0 ||
        !SANE_OPTION_IS_ACTIVE(descriptor->cap)) {
        return std::nullopt;
    }
    std::vector<char> text(static_cast<std::size_t>(descriptor->size) + 1);
    SANE_Int info = 0;
    if (Control(option, SANE_ACTION_GET_VALUE, text.data(), info) != SANE_STATUS_GOOD) {
        return std::nullopt;
    }
    return std::string(text.data());
}

}  // namespace platen_sane
