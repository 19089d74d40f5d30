#pragma once

#include <array>
#include <cstdint>

#include "ToneWorld/ToneWorld.h"
#include "oracles/ToneOracle.h"

// What the tests of the tone operations share.

namespace tone_test {

// The code of a text, built apart from the library's.
constexpr std::uint32_t Code(const char* text) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code * 256 + static_cast<std::uint8_t>(text[i]);
    }
    return code;
}

// A curve with three tables of its own.
struct Curve : _SToneCurve {
    std::array<std::array<std::uint8_t, 256>, 3> tables;

    explicit Curve(std::int32_t bits = 24) : _SToneCurve{} {
        depth = bits;
        redTable = tables[0].data();
        greenTable = tables[1].data();
        blueTable = tables[2].data();
        SetIdentity();
    }
    Curve(const Curve&) = delete;
    Curve& operator=(const Curve&) = delete;

    void SetIdentity() {
        for (auto& table : tables) {
            for (int i = 0; i < 256; ++i) {
                table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
            }
        }
    }

    // Whether the tables hold these values.
    bool Holds(const plain::Tables& expected) const {
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t i = 0; i < 256; ++i) {
                if (tables[c][i] != expected.t[c][i]) {
                    return false;
                }
            }
        }
        return true;
    }

    // Whether all three tables are f(0), f(1), ... f(255).
    template <class Function>
    bool Is(Function f) const {
        plain::Tables expected = plain::Tables::Identity();
        plain::Replace(expected, [&f](int i) { return static_cast<int>(f(i)); });
        return Holds(expected);
    }
    bool IsIdentity() const {
        return Holds(plain::Tables::Identity());
    }
};

// An operation that disposes of itself.
class Operation {
  public:
    using Setup = std::int32_t (*)(_SToneOperation*);

    Operation() {
        NewOperation(&op_);
    }
    explicit Operation(Setup setup) : Operation() {
        setup(op_);
    }
    ~Operation() {
        if (op_ != nullptr) {
            DisposeOperation(op_);
        }
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    template <class T>
    void Set(const char* key, T value) const {
        SetOperationProperty(op_, Code(key), sizeof value, &value);
    }
    template <class T>
    void Add(const char* key, T value) const {
        AddOperationProperty(op_, Code(key), sizeof value, &value);
    }
    template <class T>
    T Get(const char* key, T fallback) const {
        GetOperationProperty(op_, Code(key), sizeof fallback, &fallback);
        return fallback;
    }
    void SetAll(const plain::BrightnessContrast& s) const {
        Set("briT", s.brightness);
        Set("conT", s.contrast);
    }
    void SetAll(const plain::Level& s) const {
        Set("iMin", s.iMin);
        Set("iMid", s.iMid);
        Set("iMax", s.iMax);
        Set("oMin", s.oMin);
        Set("oMax", s.oMax);
    }
    std::int32_t Apply(_SToneCurve* curve) const {
        return op_->apply(op_, curve);
    }
    _SToneOperation* get() const {
        return op_;
    }
    // Hands the record to somebody else's care.
    _SToneOperation* release() {
        _SToneOperation* op = op_;
        op_ = nullptr;
        return op;
    }

  private:
    _SToneOperation* op_ = nullptr;
};

// A world that disposes of itself, and of its operations where the flag says so.
class World {
  public:
    explicit World(std::int32_t flag = 0) : flag_(flag) {
        NewToneWorld(&world_);
    }
    ~World() {
        DisposeToneWorld(world_, flag_);
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    void Add(const Operation& op) const {
        AddOperation(world_, op.get());
    }
    __OpaqeToneWorld* get() const {
        return world_;
    }

  private:
    __OpaqeToneWorld* world_ = nullptr;
    std::int32_t flag_;
};

}  // namespace tone_test
