#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <numeric>

#include "ToneWorld/ToneWorld.h"

// What the tests of single tone operations share.

namespace platen_test {

using ToneTable = std::array<std::uint8_t, 256>;

inline ToneTable IdentityTable() {
    ToneTable table;
    std::iota(table.begin(), table.end(), std::uint8_t{0});
    return table;
}

constexpr std::uint32_t Code(const char* text) {
    return static_cast<std::uint32_t>(text[0]) << 24 | static_cast<std::uint32_t>(text[1]) << 16 |
           static_cast<std::uint32_t>(text[2]) << 8 | static_cast<std::uint32_t>(text[3]);
}

struct DisposeOfOperation {
    void operator()(_SToneOperation* op) const {
        DisposeOperation(op);
    }
};
using OperationPtr = std::unique_ptr<_SToneOperation, DisposeOfOperation>;

// A new operation after its set-up function.
inline OperationPtr MakeOperation(std::int32_t (*setup)(_SToneOperation*)) {
    _SToneOperation* op = nullptr;
    NewOperation(&op);
    setup(op);
    return OperationPtr(op);
}

template <class T>
void SetProperty(const OperationPtr& op, const char* key, const T& value) {
    SetOperationProperty(op.get(), Code(key), sizeof value, &value);
}

template <class T>
T GetProperty(const OperationPtr& op, const char* key) {
    T value{};
    GetOperationProperty(op.get(), Code(key), sizeof value, &value);
    return value;
}

// The three tables, at first the identity, and a curve that points to them.
struct Tables {
    ToneTable red = IdentityTable();
    ToneTable green = IdentityTable();
    ToneTable blue = IdentityTable();

    _SToneCurve Curve(std::int32_t depth) {
        return {0, 0, depth, red.data(), green.data(), blue.data(), 0, nullptr};
    }
    bool operator==(const Tables&) const = default;
};

}  // namespace platen_test
