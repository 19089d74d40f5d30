#include <cstdlib>
#include <cstring>
#include <new>

#include "ToneWorld/World.h"
#include "c/platen.h"
#include "platen.hpp"

// Tone for C. Nothing here calls what throws in the library: an exception that crosses from one library into
// another is not safe everywhere (on Windows each has a runtime of its own). So lists and their nodes are made
// here, with the same types; what the library frees came from the same allocator.

namespace {

using PropertyList = std::list<_SPropertyData>;
using OperationList = std::list<_SToneOperation*>;

// Runs what takes list nodes; false where there was no memory for them.
template <class Call>
bool Managed(Call call) {
    try {
        call();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool Append(PropertyList& list, std::uint32_t key, std::uint32_t size, const void* value) {
    void* const block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) {
        return false;
    }
    std::memcpy(block, value, size);
    if (!Managed([&] { list.push_back({key, size, block}); })) {
        std::free(block);
        return false;
    }
    return true;
}

// A type's set-up: what the library's set-up functions stamp and add.
struct Default {
    std::uint32_t key;
    std::uint32_t size;
    union {
        std::int32_t whole;
        double number;
        float point[2];
    } value;
};

consteval Default Whole(std::uint32_t key, std::int32_t value = 0) {
    return {key, 4, {.whole = value}};
}

consteval Default Number(std::uint32_t key) {
    return {key, 8, {.number = 0}};
}

consteval Default Corner(std::uint32_t key, float level) {
    return {key, 8, {.point = {level, level}}};
}

constexpr Default kBrightnessContrast[] = {Whole(PLATEN_KEY_BRIGHTNESS), Whole(PLATEN_KEY_CONTRAST)};
constexpr Default kLevel[] = {Whole(PLATEN_KEY_INPUT_BLACK), Number(PLATEN_KEY_MID_TONE),
                              Whole(PLATEN_KEY_INPUT_WHITE), Whole(PLATEN_KEY_OUTPUT_BLACK),
                              Whole(PLATEN_KEY_OUTPUT_WHITE)};
constexpr Default kColorBalance[] = {Whole(PLATEN_KEY_SHADOWS_RED),     Whole(PLATEN_KEY_SHADOWS_GREEN),
                                     Whole(PLATEN_KEY_SHADOWS_BLUE),    Whole(PLATEN_KEY_MIDTONES_RED),
                                     Whole(PLATEN_KEY_MIDTONES_GREEN),  Whole(PLATEN_KEY_MIDTONES_BLUE),
                                     Whole(PLATEN_KEY_HIGHLIGHTS_RED),  Whole(PLATEN_KEY_HIGHLIGHTS_GREEN),
                                     Whole(PLATEN_KEY_HIGHLIGHTS_BLUE), Whole(PLATEN_KEY_BALANCE_FLAG)};
constexpr Default kCurves[] = {
    Whole(PLATEN_KEY_CURVE_STRENGTH),      Whole(PLATEN_KEY_CURVE_KIND, PLATEN_CURVE_SPLINE),
    Corner(PLATEN_KEY_CURVE_POINT_1, 0),   Corner(PLATEN_KEY_CURVE_POINT_2, 64),
    Corner(PLATEN_KEY_CURVE_POINT_3, 128), Corner(PLATEN_KEY_CURVE_POINT_4, 192),
    Corner(PLATEN_KEY_CURVE_POINT_5, 255)};

struct Type {
    std::uint32_t code;
    _SToneApplyFunction apply;
    std::span<const Default> properties;
};

const Type kTypes[] = {{PLATEN_TYPE_BRIGHTNESS_CONTRAST, ApplyBrightnessContrast, kBrightnessContrast},
                       {PLATEN_TYPE_LEVEL, ApplyLevel, kLevel},
                       {PLATEN_TYPE_COLOR_BALANCE, ApplyColorBalance, kColorBalance},
                       {PLATEN_TYPE_CURVES, ApplyCurves, kCurves}};

using OperationOwner = std::unique_ptr<_SToneOperation, platen::detail::DisposeOperationOf>;

// An operation with an empty property list; null if out of memory.
OperationOwner NewListed(std::uint32_t type, _SToneApplyFunction apply) {
    _SToneOperation* raw = nullptr;
    NewOperation(&raw);
    OperationOwner op(raw);
    if (op != nullptr) {
        op->properties = new (std::nothrow) PropertyList;
        if (op->properties == nullptr) {
            return nullptr;
        }
        op->type = type;
        op->apply = apply;
    }
    return op;
}

OperationOwner NewOfType(const Type& type) {
    OperationOwner op = NewListed(type.code, type.apply);
    for (const Default& property : type.properties) {
        if (op != nullptr && !Append(*op->properties, property.key, property.size, &property.value)) {
            op.reset();
        }
    }
    return op;
}

OperationOwner CopyOf(const _SToneOperation& source) {
    OperationOwner op = NewListed(source.type, source.apply);
    if (op == nullptr) {
        return nullptr;
    }
    if (source.properties == nullptr) {
        delete std::exchange(op->properties, nullptr);
        return op;
    }
    for (const _SPropertyData& property : *source.properties) {
        if (!Append(*op->properties, property.key, property.size, property.data)) {
            return nullptr;
        }
    }
    return op;
}

struct DisposeWorld {
    void operator()(__OpaqeToneWorld* world) const {
        DisposeToneWorld(world, 1);
    }
};

using WorldOwner = std::unique_ptr<__OpaqeToneWorld, DisposeWorld>;

WorldOwner NewWorld() {
    auto* const world = static_cast<__OpaqeToneWorld*>(std::malloc(sizeof(__OpaqeToneWorld)));
    if (world == nullptr) {
        return nullptr;
    }
    world->operations = new (std::nothrow) OperationList;
    if (world->operations == nullptr) {
        std::free(world);
        return nullptr;
    }
    return WorldOwner(world);
}

// Hands over what was made.
template <class Owner, class T>
std::int32_t Give(Owner owner, T** out) {
    *out = owner.release();
    return *out != nullptr ? PLATEN_DONE : PLATEN_OUT_OF_MEMORY;
}

// The element of a list at an index, or null.
template <class List>
auto At(List& list, std::size_t index) -> decltype(&list.front()) {
    for (auto& element : list) {
        if (index-- == 0) {
            return &element;
        }
    }
    return nullptr;
}

// The value of the first property with that key, or null where there is none of that size.
void* Find(const _SToneOperation* op, std::uint32_t key, std::uint32_t size) {
    if (op == nullptr || op->properties == nullptr) {
        return nullptr;
    }
    for (const _SPropertyData& property : *op->properties) {
        if (property.key == key) {
            return property.size == size ? property.data : nullptr;
        }
    }
    return nullptr;
}

template <class T>
std::int32_t SetValue(_SToneOperation* op, std::uint32_t key, const T& value) {
    void* const place = Find(op, key, sizeof value);
    if (place == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    std::memcpy(place, &value, sizeof value);
    return PLATEN_DONE;
}

template <class T>
std::int32_t GetValue(const _SToneOperation* op, std::uint32_t key, T* value) {
    const void* const place = Find(op, key, sizeof *value);
    if (place == nullptr || value == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    std::memcpy(value, place, sizeof *value);
    return PLATEN_DONE;
}

template <class Setting>
std::int32_t SetAll(_SToneOperation* op, const Setting& setting) {
    platen::ToneOperation operation(op);
    if (!operation.get<Setting>()) {
        return PLATEN_BAD_ARGUMENT;
    }
    return operation.trySet(setting) == platen::Status::done ? PLATEN_DONE : PLATEN_OUT_OF_RANGE;
}

}  // namespace

const char* platen_status_text(int32_t status) {
    switch (status) {
        case PLATEN_DONE:
            return "done";
        case PLATEN_OUT_OF_MEMORY:
            return "out of memory";
        case PLATEN_BAD_ARGUMENT:
            return "bad argument";
        case PLATEN_OUT_OF_RANGE:
            return "value out of range, or call out of order";
        default:
            return "unknown status";
    }
}

int32_t platen_world_new(__OpaqeToneWorld** out) {
    return out != nullptr ? Give(NewWorld(), out) : PLATEN_BAD_ARGUMENT;
}

int32_t platen_world_copy(__OpaqeToneWorld* source, __OpaqeToneWorld** out) {
    if (out == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    *out = nullptr;
    if (source == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    WorldOwner world = NewWorld();
    if (world == nullptr) {
        return PLATEN_OUT_OF_MEMORY;
    }
    for (const _SToneOperation* op : *source->operations) {
        OperationOwner copy = CopyOf(*op);
        if (copy == nullptr || platen_world_add(world.get(), copy.get()) != PLATEN_DONE) {
            return PLATEN_OUT_OF_MEMORY;
        }
        copy.release();
    }
    return Give(std::move(world), out);
}

int32_t platen_world_add(__OpaqeToneWorld* world, _SToneOperation* op) {
    if (world == nullptr || op == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    return Managed([&] { world->operations->push_back(op); }) ? PLATEN_DONE : PLATEN_OUT_OF_MEMORY;
}

size_t platen_world_count(const __OpaqeToneWorld* world) {
    return world != nullptr ? world->operations->size() : 0;
}

_SToneOperation* platen_world_at(const __OpaqeToneWorld* world, size_t index) {
    _SToneOperation** const place = world != nullptr ? At(*world->operations, index) : nullptr;
    return place != nullptr ? *place : nullptr;
}

int32_t platen_operation_new(uint32_t type, _SToneOperation** out) {
    if (out == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    *out = nullptr;
    for (const Type& known : kTypes) {
        if (known.code == type) {
            return Give(NewOfType(known), out);
        }
    }
    return PLATEN_BAD_ARGUMENT;
}

int32_t platen_operation_new_custom(uint32_t type, _SToneApplyFunction apply, _SToneOperation** out) {
    return out != nullptr ? Give(NewListed(type, apply), out) : PLATEN_BAD_ARGUMENT;
}

int32_t platen_operation_add_property(_SToneOperation* op, uint32_t key, uint32_t size, const void* value) {
    if (op == nullptr || op->properties == nullptr || value == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    return Append(*op->properties, key, size, value) ? PLATEN_DONE : PLATEN_OUT_OF_MEMORY;
}

size_t platen_operation_count(const _SToneOperation* op) {
    return op != nullptr && op->properties != nullptr ? op->properties->size() : 0;
}

_SPropertyData* platen_operation_at(const _SToneOperation* op, size_t index) {
    return op != nullptr && op->properties != nullptr ? At(*op->properties, index) : nullptr;
}

int32_t platen_set_int32(_SToneOperation* op, uint32_t key, int32_t value) {
    return SetValue(op, key, value);
}

int32_t platen_set_uint32(_SToneOperation* op, uint32_t key, uint32_t value) {
    return SetValue(op, key, value);
}

int32_t platen_set_double(_SToneOperation* op, uint32_t key, double value) {
    return SetValue(op, key, value);
}

int32_t platen_set_point(_SToneOperation* op, uint32_t key, float x, float y) {
    return SetValue(op, key, platen::Point{x, y});
}

int32_t platen_get_int32(const _SToneOperation* op, uint32_t key, int32_t* value) {
    return GetValue(op, key, value);
}

int32_t platen_get_uint32(const _SToneOperation* op, uint32_t key, uint32_t* value) {
    return GetValue(op, key, value);
}

int32_t platen_get_double(const _SToneOperation* op, uint32_t key, double* value) {
    return GetValue(op, key, value);
}

int32_t platen_get_point(const _SToneOperation* op, uint32_t key, float* x, float* y) {
    platen::Point point;
    if (x == nullptr || y == nullptr || GetValue(op, key, &point) != PLATEN_DONE) {
        return PLATEN_BAD_ARGUMENT;
    }
    *x = point.x;
    *y = point.y;
    return PLATEN_DONE;
}

int32_t platen_set_brightness_contrast(_SToneOperation* op, int32_t brightness, int32_t contrast) {
    return SetAll(op, platen::BrightnessContrast{.brightness = brightness, .contrast = contrast});
}

int32_t platen_set_level(_SToneOperation* op, uint32_t input_black, double mid_tone, uint32_t input_white,
                         uint32_t output_black, uint32_t output_white) {
    return SetAll(op, platen::Level{.inputBlack = input_black,
                                    .midTone = mid_tone,
                                    .inputWhite = input_white,
                                    .outputBlack = output_black,
                                    .outputWhite = output_white});
}

int32_t platen_set_color_balance(_SToneOperation* op, const int32_t amounts[9]) {
    if (amounts == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    const auto balance = [amounts](int i) { return platen::Balance{amounts[i], amounts[i + 1], amounts[i + 2]}; };
    return SetAll(op,
                  platen::ColorBalance{.shadows = balance(0), .midtones = balance(3), .highlights = balance(6)});
}

int32_t platen_set_gamma(_SToneOperation* op, int32_t strength) {
    return SetAll(op, platen::Curves{.kind = platen::Curves::Kind::gamma, .strength = strength});
}

int32_t platen_set_curve(_SToneOperation* op, int32_t kind, const float points[10]) {
    if (points == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    if (kind != PLATEN_CURVE_SPLINE && kind != PLATEN_CURVE_POLYLINE) {
        return PLATEN_OUT_OF_RANGE;
    }
    platen::Curves curves;
    curves.kind = static_cast<platen::Curves::Kind>(kind);
    for (platen::Point& point : curves.points) {
        point = {points[0], points[1]};
        points += 2;
    }
    return SetAll(op, curves);
}
