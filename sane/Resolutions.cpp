#include "sane/Resolutions.h"

#include <algorithm>
#include <cmath>

#include "programs/page/Geometry.h"
#include "sane/Status.h"

namespace platen_sane {

namespace {

constexpr const char* kNames[] = {"resolution", "x-resolution", "y-resolution"};
constexpr int kLowestDpi = 25;
constexpr int kMostDpi = 32767;  // of a fixed-point number
constexpr SANE_Word kFixedOne = 65536;

// One settable number out of a range or a list: only such an option can be drawn out.
bool IsUsual(const SANE_Option_Descriptor& option) {
    const bool number = option.type == SANE_TYPE_INT || option.type == SANE_TYPE_FIXED;
    const bool range = option.constraint_type == SANE_CONSTRAINT_RANGE && option.constraint.range != nullptr;
    const bool list = option.constraint_type == SANE_CONSTRAINT_WORD_LIST &&
                      option.constraint.word_list != nullptr && option.constraint.word_list[0] > 0;
    return number && option.size == sizeof(SANE_Word) && (range || list) && option.unit != SANE_UNIT_PIXEL;
}

struct Span {
    SANE_Word low;
    SANE_Word high;
};

Span DeviceSpan(const SANE_Option_Descriptor& option) {
    if (option.constraint_type == SANE_CONSTRAINT_RANGE) {
        return {option.constraint.range->min, option.constraint.range->max};
    }
    const SANE_Word* list = option.constraint.word_list;
    const auto [low, high] = std::minmax_element(list + 1, list + 1 + list[0]);
    return {*low, *high};
}

SANE_Word Unit(const SANE_Option_Descriptor& option) {
    return option.type == SANE_TYPE_FIXED ? kFixedOne : 1;
}

}  // namespace

Resolutions::Resolutions(Device& device, const Configuration& configuration)
    : device_(device), configuration_(configuration) {
    for (std::size_t i = 0; i < axes_.size(); ++i) {
        Axis& axis = axes_[i];
        axis.option = device.Find(kNames[i]);
        const SANE_Option_Descriptor* option = axis.option > 0 ? device.Descriptor(axis.option) : nullptr;
        if (option == nullptr || !IsUsual(*option)) {
            axis.option = 0;
            continue;
        }
        ReadBack(axis);
        axis.asked = axis.actual;
    }
}

bool Resolutions::Owns(SANE_Int option) const {
    return option > 0 &&
           std::any_of(axes_.begin(), axes_.end(), [option](const Axis& axis) { return axis.option == option; });
}

Resolutions::Axis* Resolutions::Find(SANE_Int option) {
    const auto found =
        std::find_if(axes_.begin(), axes_.end(), [option](const Axis& axis) { return axis.option == option; });
    return found != axes_.end() ? &*found : nullptr;
}

void Resolutions::Refresh(Axis& axis) {
    const SANE_Option_Descriptor* option = device_.Descriptor(axis.option);
    if (option == nullptr || !IsUsual(*option)) {
        return;  // as it was
    }
    axis.shown = *option;
    const Span own = DeviceSpan(*option);
    const SANE_Word unit = Unit(*option);
    const SANE_Word most = unit == 1 ? kMostDpi : kMostDpi * kFixedOne;
    const SANE_Word lowest = configuration_.lowestDpi.value_or(kLowestDpi) * unit;
    const SANE_Word highest = configuration_.highestDpi ? *configuration_.highestDpi * unit
                              : own.high > most / 2     ? most
                                                        : own.high * 2;
    axis.range = {std::min(own.low, lowest), std::max(own.high, highest), unit == 1 ? 1 : 0};
    axis.shown.constraint_type = SANE_CONSTRAINT_RANGE;
    axis.shown.constraint.range = &axis.range;
}

const SANE_Option_Descriptor* Resolutions::Descriptor(SANE_Int option) {
    Axis* axis = Find(option);
    if (axis == nullptr) {
        return nullptr;
    }
    Refresh(*axis);
    return &axis->shown;
}

void Resolutions::ReadBack(Axis& axis) {
    const auto word = device_.Word(axis.option);
    axis.known = word && *word > 0;
    if (axis.known) {
        axis.actual = *word;
    }
}

SANE_Word Resolutions::Suitable(const Axis& axis, SANE_Word asked) const {
    const SANE_Option_Descriptor* option = device_.Descriptor(axis.option);
    if (option == nullptr || !IsUsual(*option)) {
        return asked;
    }
    const Span own = DeviceSpan(*option);
    if (asked >= own.high) {
        return own.high;
    }
    if (asked <= own.low) {
        return own.low;
    }
    if (option->constraint_type == SANE_CONSTRAINT_WORD_LIST) {
        const SANE_Word* list = option->constraint.word_list;
        SANE_Word best = own.high;
        for (SANE_Word i = 1; i <= list[0]; ++i) {
            best = list[i] >= asked ? std::min(best, list[i]) : best;
        }
        return best;
    }
    const SANE_Word step = std::max(option->constraint.range->quant, 1);
    const std::int64_t above = std::int64_t{asked} - own.low + step - 1;
    return static_cast<SANE_Word>(std::min<std::int64_t>(own.low + above / step * step, own.high));
}

SANE_Status Resolutions::SetDevice(Axis& axis, SANE_Word value, SANE_Int& info) {
    SANE_Int told = 0;
    const SANE_Status status = device_.Control(axis.option, SANE_ACTION_SET_VALUE, &value, told);
    info |= told & ~SANE_INFO_INEXACT;  // the page is scaled to what was asked for
    if (status == SANE_STATUS_GOOD) {
        axis.actual = value;  // where it can't be read back
        ReadBack(axis);
    }
    return status;
}

SANE_Status Resolutions::Set(Axis& axis, SANE_Word asked, SANE_Int& info) {
    Refresh(axis);
    const SANE_Word wanted = std::clamp(asked, axis.range.min, axis.range.max);
    const Axis before = axis;
    const SANE_Status status = SetDevice(axis, Suitable(axis, wanted), info);
    if (status != SANE_STATUS_GOOD) {
        return status;
    }
    axis.asked = wanted;
    axis.chosen = true;
    info |= SANE_INFO_RELOAD_PARAMS | (wanted != asked ? SANE_INFO_INEXACT : 0);
    for (Axis& other : axes_) {
        if (other.option != 0 && &other != &axis) {
            FollowAxis(other, axis, before, info);
        }
    }
    return SANE_STATUS_GOOD;
}

// Devices may set the other axis along with this one.
void Resolutions::FollowAxis(Axis& other, const Axis& axis, const Axis& before, SANE_Int& info) {
    const Axis old = other;
    ReadBack(other);
    const bool agreed = old.actual == before.actual && old.asked == before.asked;
    if (&axis == &axes_[0] && axis.actual != before.actual) {
        follow_ = other.actual == axis.actual;
    }
    if (other.actual != old.actual) {
        other.asked = other.actual == axis.actual ? axis.asked : other.actual;
    } else if (&axis == &axes_[0] && follow_ && agreed && axis.actual == before.actual) {
        other.asked = axis.asked;
    }
    if (other.asked != old.asked) {
        other.chosen = axis.chosen;
        info |= SANE_INFO_RELOAD_OPTIONS;
    }
}

SANE_Status Resolutions::Control(SANE_Int option, SANE_Action action, void* value, SANE_Int& info) {
    Axis& axis = *Find(option);
    info = 0;
    if (action == SANE_ACTION_SET_AUTO) {
        const SANE_Status status = device_.Control(option, action, value, info);
        for (Axis& one : axes_) {
            if (status == SANE_STATUS_GOOD && one.option != 0) {
                ReadBack(one);
                one.asked = one.actual;
                one.chosen = false;
            }
        }
        return status;
    }
    if (value == nullptr) {
        return SANE_STATUS_INVAL;
    }
    auto* word = static_cast<SANE_Word*>(value);
    if (action == SANE_ACTION_SET_VALUE) {
        const SANE_Status status = Set(axis, *word, info);
        if (status == SANE_STATUS_GOOD) {
            *word = axis.asked;
        }
        return status;
    }
    const SANE_Status status = device_.Control(option, action, value, info);
    if (status == SANE_STATUS_GOOD && axis.chosen) {
        *word = axis.asked;
    }
    return status;
}

void Resolutions::Follow(SANE_Int& info) {
    for (Axis& axis : axes_) {
        if (axis.option == 0) {
            continue;
        }
        const SANE_Option_Descriptor* option = device_.Descriptor(axis.option);
        ReadBack(axis);
        if (!axis.chosen) {
            axis.asked = axis.actual;
        } else if (option != nullptr && SANE_OPTION_IS_ACTIVE(option->cap) &&
                   SANE_OPTION_IS_SETTABLE(option->cap) && axis.actual != Suitable(axis, axis.asked)) {
            // Where it refuses, the page is scaled from what it has.
            SetDevice(axis, Suitable(axis, axis.asked), info);
        }
    }
}

void Resolutions::Ask(const platen_tool::Resolution& resolution, SANE_Int& info) {
    for (std::size_t i = 0; i < axes_.size(); ++i) {
        Axis& axis = axes_[i];
        const SANE_Option_Descriptor* option = axis.option != 0 ? device_.Descriptor(axis.option) : nullptr;
        if (option == nullptr || !SANE_OPTION_IS_ACTIVE(option->cap) || !SANE_OPTION_IS_SETTABLE(option->cap)) {
            continue;
        }
        const platen_tool::Ratio& ratio = i == 2 ? resolution.y : resolution.x;
        Check(Set(axis, static_cast<SANE_Word>(std::lround(ratio.Value() * Unit(*option))), info));
        info |= SANE_INFO_RELOAD_OPTIONS;
    }
}

void Resolutions::SetForPreview(int dpi) {
    for (Axis& axis : axes_) {
        const SANE_Option_Descriptor* option = axis.option != 0 ? device_.Descriptor(axis.option) : nullptr;
        axis.previewed =
            option != nullptr && SANE_OPTION_IS_ACTIVE(option->cap) && SANE_OPTION_IS_SETTABLE(option->cap);
        if (axis.previewed) {
            SANE_Int info = 0;
            SANE_Word value = Suitable(axis, dpi * Unit(*option));
            device_.Control(axis.option, SANE_ACTION_SET_VALUE, &value, info);
        }
    }
}

void Resolutions::Restore() {
    for (Axis& axis : axes_) {
        if (axis.previewed && axis.known) {
            SANE_Int info = 0;
            SANE_Word value = axis.actual;
            device_.Control(axis.option, SANE_ACTION_SET_VALUE, &value, info);
        }
    }
}

double Resolutions::Number(const Axis& axis, SANE_Word word) const {
    const SANE_Option_Descriptor* option = device_.Descriptor(axis.option);
    return option != nullptr ? static_cast<double>(word) / Unit(*option) : 0.0;
}

// Axes that are inactive now say nothing.
const Resolutions::Axis* Resolutions::X() const {
    return axes_[1].known ? &axes_[1] : axes_[0].known ? &axes_[0] : nullptr;
}

const Resolutions::Axis* Resolutions::Y() const {
    return axes_[2].known ? &axes_[2] : X();
}

std::optional<platen_tool::Resolution> Resolutions::Actual() const {
    const Axis* x = X();
    const Axis* y = Y();
    if (x == nullptr || y == nullptr) {
        return std::nullopt;
    }
    return platen_tool::Resolution{platen_tool::DpiRatio(Number(*x, x->actual)),
                                   platen_tool::DpiRatio(Number(*y, y->actual))};
}

std::optional<platen_tool::Resolution> Resolutions::Asked() const {
    const Axis* x = X();
    const Axis* y = Y();
    if (x == nullptr || y == nullptr) {
        return std::nullopt;
    }
    return platen_tool::Resolution{platen_tool::DpiRatio(Number(*x, x->asked)),
                                   platen_tool::DpiRatio(Number(*y, y->asked))};
}

}  // namespace platen_sane
