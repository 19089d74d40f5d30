#pragma once

#include <cstddef>
#include <cstdint>

#include "ToneWorld/ToneWorld.h"

// What the tone operations share. Not installed.

namespace platen {

// Statuses of the tone subsystem, see ToneWorld.h.
inline constexpr std::int32_t kToneDone = 0;
inline constexpr std::int32_t kToneOutOfMemory = 1;
inline constexpr std::int32_t kToneNullOperation = 2;
inline constexpr std::int32_t kToneOutOfRange = 3;

// The code of four characters, the first in the most significant byte, whatever the host's byte order.
consteval std::uint32_t FourCharacterCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code << 8 | static_cast<unsigned char>(text[i]);
    }
    return code;
}

// Copies the first matching property's value, at most `room` bytes of it. Unlike GetOperationProperty it can't
// overrun the destination, whatever size a host gave the property.
void ReadProperty(const _SToneOperation* op, std::uint32_t key, void* destination, std::size_t room);

// The property's value, or `fallback` (its default) where the property is missing.
template <class T>
T PropertyOr(const _SToneOperation* op, std::uint32_t key, T fallback) {
    ReadProperty(op, key, &fallback, sizeof fallback);
    return fallback;
}

// Stamps type and apply function and creates the empty property list, as every set-up function begins; gives the
// status that it ends with if that isn't kToneDone. What `properties` pointed to before is overwritten, not freed.
std::int32_t BeginSetup(_SToneOperation* op, std::uint32_t type, _SToneApplyFunction apply);

// Adds a property with its default.
template <class T>
void AddDefault(_SToneOperation* op, std::uint32_t key, T value) {
    AddOperationProperty(op, key, sizeof value, &value);
}

// Replaces every entry t of one table by mapping[t].
template <class Mapping>
void MapTable(std::uint8_t* table, const Mapping& mapping) {
    for (int i = 0; i < 256; ++i) {
        table[i] = static_cast<std::uint8_t>(mapping[table[i]]);
    }
}

// Replaces every entry of the three tables, red first. A buffer that serves as several tables is mapped once
// for each.
template <class Mapping>
void MapTables(_SToneCurve* curve, const Mapping& mapping) {
    MapTable(curve->redTable, mapping);
    MapTable(curve->greenTable, mapping);
    MapTable(curve->blueTable, mapping);
}

}  // namespace platen
