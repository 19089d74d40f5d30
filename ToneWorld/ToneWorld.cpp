#include "ToneWorld/ToneWorld.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ToneWorld/Property.h"
#include "ToneWorld/World.h"

namespace {

using platen::kToneDone;
using platen::kToneOutOfMemory;

using OperationList = std::list<_SToneOperation*>;

// The first property with the key, or null.
_SPropertyData* FindProperty(const _SToneOperation* op, std::uint32_t key) {
    if (op->properties == nullptr) {
        return nullptr;
    }
    for (_SPropertyData& property : *op->properties) {
        if (property.key == key) {
            return &property;
        }
    }
    return nullptr;
}

// Appends a copy of the value; false when there is no memory for it.
bool AppendCopy(std::list<_SPropertyData>& list, std::uint32_t key, std::uint32_t size, const void* value) {
    void* block = std::malloc(size);
    if (block == nullptr) {
        return false;
    }
    std::memcpy(block, value, size);
    list.push_back({key, size, block});
    return true;
}

}  // namespace

namespace platen {

void ReadProperty(const _SToneOperation* op, std::uint32_t key, void* destination, std::size_t room) {
    if (const _SPropertyData* property = FindProperty(op, key)) {
        std::memcpy(destination, property->data, std::min<std::size_t>(property->size, room));
    }
}

std::int32_t BeginSetup(_SToneOperation* op, std::uint32_t type, _SToneApplyFunction apply) {
    if (op == nullptr) {
        return kToneNullOperation;
    }
    op->type = type;
    op->apply = apply;
    op->properties = new std::list<_SPropertyData>;
    return op->properties == nullptr ? kToneOutOfMemory : kToneDone;
}

}  // namespace platen

std::int32_t NewToneWorld(__OpaqeToneWorld** out) {
    auto* world = static_cast<__OpaqeToneWorld*>(std::malloc(sizeof(__OpaqeToneWorld)));
    if (world == nullptr) {
        return kToneOutOfMemory;
    }
    world->operations = nullptr;
    world->operations = new OperationList;
    if (world->operations == nullptr) {
        std::free(world);
        return kToneOutOfMemory;
    }
    *out = world;
    return kToneDone;
}

void DisposeToneWorld(__OpaqeToneWorld* world, std::int32_t flag) {
    if (world == nullptr) {
        return;
    }
    if (flag != 0) {
        for (_SToneOperation* op : *world->operations) {
            DisposeOperation(op);
        }
    }
    delete world->operations;
    std::free(world);
}

std::int32_t DuplicateToneWorld(__OpaqeToneWorld* source, __OpaqeToneWorld** out) {
    if (NewToneWorld(out) != kToneDone) {
        return kToneOutOfMemory;
    }
    std::int32_t status = kToneDone;
    for (const _SToneOperation* op : *source->operations) {
        _SToneOperation* copy = nullptr;
        status = NewOperation(&copy);
        if (status != kToneDone) {
            return status;
        }
        *copy = *op;  // the list pointer is the source's until the copy has a list of its own
        if (op->properties != nullptr) {
            auto* properties = new std::list<_SPropertyData>;
            if (properties == nullptr) {
                return kToneOutOfMemory;
            }
            for (const _SPropertyData& property : *op->properties) {
                if (!AppendCopy(*properties, property.key, property.size, property.data)) {
                    // Record, list and values so far are left behind, as the header says.
                    return kToneOutOfMemory;  // NOLINT(clang-analyzer-*)
                }
            }
            copy->properties = properties;
        }
        AddOperation(*out, copy);
    }
    return status;
}

void AddOperation(__OpaqeToneWorld* world, _SToneOperation* op) {
    world->operations->push_back(op);
}

void RemoveOperation(__OpaqeToneWorld* world, _SToneOperation* op) {
    world->operations->remove(op);
}

_SToneOperation* GetOperation(__OpaqeToneWorld* world, std::uint32_t type) {
    _SToneOperation* examined = nullptr;
    for (_SToneOperation* op : *world->operations) {
        examined = op;
        if (op->type == type) {
            break;
        }
    }
    return examined;
}

std::int32_t MakeToneCurve(__OpaqeToneWorld* world, _SToneCurve* curve) {
    for (int i = 0; i < 256; ++i) {
        curve->redTable[i] = static_cast<std::uint8_t>(i);
        curve->greenTable[i] = static_cast<std::uint8_t>(i);
        curve->blueTable[i] = static_cast<std::uint8_t>(i);
    }
    for (_SToneOperation* op : *world->operations) {
        if (op->apply != nullptr) {
            op->apply(op, curve);
        }
    }
    return kToneDone;
}

std::int32_t NewOperation(_SToneOperation** out) {
    auto* op = static_cast<_SToneOperation*>(std::malloc(sizeof(_SToneOperation)));
    *out = op;
    if (op == nullptr) {
        return kToneOutOfMemory;
    }
    std::memset(op, 0, sizeof *op);  // every byte, the padding too
    return kToneDone;
}

void DisposeOperation(_SToneOperation* op) {
    if (op->properties != nullptr) {
        for (const _SPropertyData& property : *op->properties) {
            std::free(property.data);
        }
        delete op->properties;
    }
    std::free(op);
}

void AddOperationProperty(_SToneOperation* op, std::uint32_t key, std::uint32_t size, const void* value) {
    if (op->properties != nullptr) {
        AppendCopy(*op->properties, key, size, value);
    }
}

void GetOperationProperty(_SToneOperation* op, std::uint32_t key, std::uint32_t /*size*/, void* destination) {
    if (const _SPropertyData* property = FindProperty(op, key)) {
        std::memcpy(destination, property->data, property->size);
    }
}

void SetOperationProperty(_SToneOperation* op, std::uint32_t key, std::uint32_t size, const void* value) {
    if (_SPropertyData* property = FindProperty(op, key)) {
        std::memcpy(property->data, value, size);
    }
}
