#pragma once

// The tone world: operations with settings, folded into three lookup tables. Part of platen.hpp.

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/ToneWorld.h"
#include "platen-cpp/Status.hpp"

namespace platen {
inline namespace hpp1 {

// Brightness acts first, contrast on the brightened values.
struct BrightnessContrast {
    std::int32_t brightness = 0;  // -100 to 100
    std::int32_t contrast = 0;    // -100 to 100

    constexpr Problem problem() const noexcept {
        return detail::first({detail::amount("BrightnessContrast: brightness", brightness),
                              detail::amount("BrightnessContrast: contrast", contrast)});
    }
    friend bool operator==(const BrightnessContrast&, const BrightnessContrast&) = default;
};

// The input range is stretched over 0 to 255, bent by the mid-tone, and squeezed into the output range. The
// defaults change nothing (the library's own, all zeros, are no valid setting).
struct Level {
    std::uint32_t inputBlack = 0;     // 0 to 247
    double midTone = 1.0;             // 0.1 to 9.99: below 1 darkens, above 1 lightens
    std::uint32_t inputWhite = 255;   // 8 to 255, at least 8 above inputBlack
    std::uint32_t outputBlack = 0;    // 0 to 247
    std::uint32_t outputWhite = 255;  // 8 to 255, at least 8 above outputBlack

    constexpr Problem problem() const noexcept {
        return detail::first(
            {detail::within("Level: inputBlack", inputBlack, 0, 247),
             detail::within("Level: midTone", midTone, 0.1, 9.99),
             detail::within("Level: inputWhite", inputWhite, 8, 255),
             detail::within("Level: outputBlack", outputBlack, 0, 247),
             detail::within("Level: outputWhite", outputWhite, 8, 255),
             detail::within("Level: inputWhite - inputBlack",
                            static_cast<double>(inputWhite) - static_cast<double>(inputBlack), 8, 255),
             detail::within("Level: outputWhite - outputBlack",
                            static_cast<double>(outputWhite) - static_cast<double>(outputBlack), 8, 255)});
    }
    friend bool operator==(const Level&, const Level&) = default;
};

// One amount for each channel, -100 to 100.
struct Balance {
    std::int32_t red = 0;
    std::int32_t green = 0;
    std::int32_t blue = 0;

    friend bool operator==(const Balance&, const Balance&) = default;
};

// Shifts each channel in three tonal ranges. Acts at Depth::color only.
struct ColorBalance {
    Balance shadows = {};
    Balance midtones = {};
    Balance highlights = {};

    constexpr Problem problem() const noexcept {
        return detail::first({detail::amount("ColorBalance: shadows.red", shadows.red),
                              detail::amount("ColorBalance: shadows.green", shadows.green),
                              detail::amount("ColorBalance: shadows.blue", shadows.blue),
                              detail::amount("ColorBalance: midtones.red", midtones.red),
                              detail::amount("ColorBalance: midtones.green", midtones.green),
                              detail::amount("ColorBalance: midtones.blue", midtones.blue),
                              detail::amount("ColorBalance: highlights.red", highlights.red),
                              detail::amount("ColorBalance: highlights.green", highlights.green),
                              detail::amount("ColorBalance: highlights.blue", highlights.blue)});
    }
    friend bool operator==(const ColorBalance&, const ColorBalance&) = default;
};

// A control point of Curves: input level and output level.
struct Point {
    float x = 0;
    float y = 0;

    friend bool operator==(const Point&, const Point&) = default;
};

// One curve for all channels: a smooth or a straight line through five points, or a gamma curve.
struct Curves {
    enum class Kind : std::int32_t { polyline = 1, gamma = 2, spline = 3 };

    Kind kind = Kind::spline;
    std::int32_t strength = 0;  // of the gamma curve, -100 to 100: positive ones brighten
    // Point i has x from 4 i to 239 + 4 i and y from 0 to 255; x rises from point to point.
    std::array<Point, 5> points = {{{0, 0}, {64, 64}, {128, 128}, {192, 192}, {255, 255}}};

    constexpr Problem problem() const noexcept {
        if (kind != Kind::polyline && kind != Kind::gamma && kind != Kind::spline) {
            return {"Curves: kind", static_cast<double>(kind), 1, 3};
        }
        if (const Problem found = detail::amount("Curves: strength", strength)) {
            return found;
        }
        constexpr const char* kX[] = {"Curves: points[0].x", "Curves: points[1].x", "Curves: points[2].x",
                                      "Curves: points[3].x", "Curves: points[4].x"};
        constexpr const char* kY[] = {"Curves: points[0].y", "Curves: points[1].y", "Curves: points[2].y",
                                      "Curves: points[3].y", "Curves: points[4].y"};
        for (std::size_t i = 0; i < points.size(); ++i) {
            const double x = static_cast<double>(points[i].x);
            const double lowest = static_cast<double>(4 * i);
            const Problem found = detail::first({detail::within(kX[i], x, lowest, 239 + lowest),
                                                 detail::within(kY[i], static_cast<double>(points[i].y), 0, 255),
                                                 detail::rule("Curves: points[].x must rise from point to point",
                                                              i == 0 || static_cast<double>(points[i - 1].x) < x)});
            if (found) {
                return found;
            }
        }
        return {};
    }
    friend bool operator==(const Curves&, const Curves&) = default;
};

namespace detail {

consteval std::uint32_t code(const char (&letters)[5]) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(letters[i]);
    }
    return value;
}

struct DisposeOperationOf {
    void operator()(_SToneOperation* op) const noexcept {
        DisposeOperation(op);
    }
};

template <class Setting>
struct Tone;  // type, set-up function, count of properties, and what goes over them, for each setting

template <>
struct Tone<BrightnessContrast> {
    static constexpr std::uint32_t kType = code("BrCn");
    static constexpr std::size_t kProperties = 2;
    static constexpr auto kSetUp = &SetupBrightnessContrastOperation;
    // Hands every property's key and member to `visit`.
    template <class Setting, class Visit>
    static void each(Setting& setting, Visit visit) {
        visit(code("briT"), setting.brightness);
        visit(code("conT"), setting.contrast);
    }
};

template <>
struct Tone<Level> {
    static constexpr std::uint32_t kType = code("LeVe");
    static constexpr std::size_t kProperties = 5;
    static constexpr auto kSetUp = &SetupLevelOperation;
    template <class Setting, class Visit>
    static void each(Setting& setting, Visit visit) {
        visit(code("iMin"), setting.inputBlack);
        visit(code("iMid"), setting.midTone);
        visit(code("iMax"), setting.inputWhite);
        visit(code("oMin"), setting.outputBlack);
        visit(code("oMax"), setting.outputWhite);
    }
};

template <>
struct Tone<ColorBalance> {
    static constexpr std::uint32_t kType = code("CoBa");
    static constexpr std::size_t kProperties = 10;  // with "cbsT", the host's own
    static constexpr auto kSetUp = &SetupColorBalanceOperation;
    template <class Setting, class Visit>
    static void each(Setting& setting, Visit visit) {
        visit(code("cbsR"), setting.shadows.red);
        visit(code("cbsG"), setting.shadows.green);
        visit(code("cbsB"), setting.shadows.blue);
        visit(code("cbmR"), setting.midtones.red);
        visit(code("cbmG"), setting.midtones.green);
        visit(code("cbmB"), setting.midtones.blue);
        visit(code("cbhR"), setting.highlights.red);
        visit(code("cbhG"), setting.highlights.green);
        visit(code("cbhB"), setting.highlights.blue);
    }
};

template <>
struct Tone<Curves> {
    static constexpr std::uint32_t kType = code("CuRv");
    static constexpr std::size_t kProperties = 7;
    static constexpr auto kSetUp = &SetupCurvesOperation;
    template <class Setting, class Visit>
    static void each(Setting& setting, Visit visit) {
        visit(code("curV"), setting.strength);
        visit(code("curS"), setting.kind);
        visit(code("cuP1"), setting.points[0]);
        visit(code("cuP2"), setting.points[1]);
        visit(code("cuP3"), setting.points[2]);
        visit(code("cuP4"), setting.points[3]);
        visit(code("cuP5"), setting.points[4]);
    }
};

static_assert(sizeof(Point) == 8 && sizeof(Curves::Kind) == 4, "the properties' own sizes");

}  // namespace detail

// BrightnessContrast, Level, ColorBalance, Curves.
template <class T>
concept ToneSetting = requires(const T& setting) {
    { setting.problem() } -> std::same_as<Problem>;
    detail::Tone<T>::kType;
};

// An operation of a ToneWorld: a reference, valid until the world removes the operation or dies.
class ToneOperation {
  public:
    ToneOperation() noexcept = default;
    explicit ToneOperation(_SToneOperation* op) noexcept : op_(op) {}

    explicit operator bool() const noexcept {
        return op_ != nullptr;
    }
    _SToneOperation* handle() const noexcept {
        return op_;
    }

    template <ToneSetting S>
    bool holds() const noexcept {
        return op_ != nullptr && op_->type == detail::Tone<S>::kType;
    }

    // The operation's values; none where it is of another kind or lacks one.
    template <ToneSetting S>
    std::optional<S> get() const noexcept {
        S setting;
        bool complete = holds<S>();
        if (complete) {
            detail::Tone<S>::each(setting, [&](std::uint32_t key, auto& member) {
                const _SPropertyData* const found = find(key, sizeof member);
                complete = complete && found != nullptr;
                if (found != nullptr) {
                    std::memcpy(&member, found->data, sizeof member);
                }
            });
        }
        return complete ? std::optional<S>(setting) : std::nullopt;
    }

    // Gives the operation other values; the world's next tables have them. badArgument where the operation is of
    // another kind or the setting has a problem: nothing changes.
    template <ToneSetting S>
    Status trySet(const S& setting) noexcept {
        if (!get<S>() || setting.problem()) {
            return Status::badArgument;
        }
        write(setting);
        return Status::done;
    }

#if PLATEN_HPP_THROWS
    template <ToneSetting S>
    void set(const S& setting) {
        detail::check(setting.problem());
        detail::check(trySet(setting), "ToneOperation::set: the operation is of another kind");
    }
#endif

  private:
    friend class ToneWorld;

    template <ToneSetting S>
    void write(const S& setting) noexcept {
        detail::Tone<S>::each(setting, [&](std::uint32_t key, const auto& member) {
            SetOperationProperty(op_, key, sizeof member, &member);
        });
    }

    // The first property with that key, where it has that size.
    const _SPropertyData* find(std::uint32_t key, std::size_t size) const noexcept {
        if (op_->properties != nullptr) {
            for (const _SPropertyData& property : *op_->properties) {
                if (property.key == key) {
                    return property.size == size ? &property : nullptr;
                }
            }
        }
        return nullptr;
    }

    _SToneOperation* op_ = nullptr;
};

// What tables are for: bits per pixel of the image. At Depth::gray ColorBalance does nothing.
enum class Depth : std::int32_t { gray = 8, color = 24 };

// The three lookup tables that a world folds into. At Depth::gray all three are equal.
struct ToneTables {
    std::array<std::uint8_t, 256> red;
    std::array<std::uint8_t, 256> green;
    std::array<std::uint8_t, 256> blue;

    // Maps a line of three samples a pixel in place; bytes past the last whole pixel stay.
    void mapRgb(std::span<std::uint8_t> line) const noexcept {
        for (std::size_t i = 0; i + 3 <= line.size(); i += 3) {
            line[i] = red[line[i]];
            line[i + 1] = green[line[i + 1]];
            line[i + 2] = blue[line[i + 2]];
        }
    }

    // Maps a line of one sample a pixel in place.
    void mapGray(std::span<std::uint8_t> line) const noexcept {
        for (std::uint8_t& sample : line) {
            sample = red[sample];
        }
    }
};

// An ordered list of tone operations, which it owns, and which it folds into tables. Copies are deep. A world that
// is default-made or moved from is empty.
class ToneWorld {
  public:
    ToneWorld() noexcept = default;
    ToneWorld(ToneWorld&& other) noexcept : world_(std::exchange(other.world_, nullptr)) {}
    ToneWorld& operator=(ToneWorld&& other) noexcept {
        std::swap(world_, other.world_);
        return *this;
    }
    ~ToneWorld() {
        DisposeToneWorld(world_, 1);
    }

#if PLATEN_HPP_THROWS
    template <ToneSetting... Settings>
    requires(sizeof...(Settings) > 0) explicit ToneWorld(const Settings&... settings) : ToneWorld() {
        (add(settings), ...);
    }
    ToneWorld(const ToneWorld& other) : ToneWorld() {
        detail::check(tryCopy(other), "ToneWorld");
    }
    ToneWorld& operator=(const ToneWorld& other) {
        ToneWorld copy(other);
        std::swap(world_, copy.world_);
        return *this;
    }

    // Appends an operation with these values.
    template <ToneSetting S>
    ToneOperation add(const S& setting) {
        detail::check(setting.problem());
        ToneOperation op;
        detail::check(tryAdd(setting, &op), "ToneWorld::add");
        return op;
    }
#else
    ToneWorld(const ToneWorld&) = delete;
    ToneWorld& operator=(const ToneWorld&) = delete;
#endif

    // As add; the new operation goes to *added. On failure the world is as it was.
    template <ToneSetting S>
    Status tryAdd(const S& setting, ToneOperation* added = nullptr) noexcept {
        if (setting.problem()) {
            return Status::badArgument;
        }
        return detail::guarded([&] {
            _SToneOperation* raw = nullptr;
            if ((world_ == nullptr && NewToneWorld(&world_) != 0) || NewOperation(&raw) != 0) {
                return Status::outOfMemory;
            }
            std::unique_ptr<_SToneOperation, detail::DisposeOperationOf> op(raw);
            // Where memory ran out a set-up says nothing, and properties are missing.
            if (detail::Tone<S>::kSetUp(raw) != 0 || raw->properties->size() != detail::Tone<S>::kProperties) {
                return Status::outOfMemory;
            }
            ToneOperation(raw).write(setting);
            AddOperation(world_, raw);
            op.release();
            if (added != nullptr) {
                *added = ToneOperation(raw);
            }
            return Status::done;
        });
    }

    // Replaces this world by a deep copy. On failure it is as it was.
    Status tryCopy(const ToneWorld& other) noexcept {
        ToneWorld copy;
        const Status status = other.world_ == nullptr ? Status::done : detail::guarded([&] {
            return DuplicateToneWorld(other.world_, &copy.world_) == 0 ? Status::done : Status::outOfMemory;
        });
        if (status == Status::done) {
            std::swap(world_, copy.world_);
        }
        return status;
    }

    // The first operation of that kind, or an empty reference.
    template <ToneSetting S>
    ToneOperation find() const noexcept {
        _SToneOperation* const op = world_ != nullptr ? GetOperation(world_, detail::Tone<S>::kType) : nullptr;
        return ToneOperation(op).template holds<S>() ? ToneOperation(op) : ToneOperation();
    }

    // Takes an operation out of the world and ends its life. `op` must be one of this world's.
    void remove(ToneOperation op) noexcept {
        RemoveOperation(world_, op.handle());
        DisposeOperation(op.handle());
    }

    // Folds the operations, in the order of adding, into three tables. An empty world gives the identity.
    ToneTables tables(Depth depth = Depth::color) const noexcept {
        ToneTables tables;
        fold(tables, depth, nullptr);
        return tables;
    }

    // The same, and the curve of the last Curves operation by itself; where there is none `curve` stays as it is.
    ToneTables tables(Depth depth, std::span<std::uint8_t, 256> curve) const noexcept {
        ToneTables tables;
        fold(tables, depth, curve.data());
        return tables;
    }

    // The library's world, for its functions; null while nothing was added.
    __OpaqeToneWorld* handle() const noexcept {
        return world_;
    }

  private:
    void fold(ToneTables& tables, Depth depth, std::uint8_t* curveCopy) const noexcept {
        _SToneCurve curve = {};
        curve.depth = static_cast<std::int32_t>(depth);
        curve.redTable = tables.red.data();
        curve.greenTable = tables.green.data();
        curve.blueTable = tables.blue.data();
        curve.copyCurve = curveCopy != nullptr ? 1 : 0;
        curve.curveCopy = curveCopy;
        if (world_ != nullptr) {
            MakeToneCurve(world_, &curve);
            return;
        }
        for (std::size_t i = 0; i < 256; ++i) {
            tables.red[i] = tables.green[i] = tables.blue[i] = static_cast<std::uint8_t>(i);
        }
    }

    __OpaqeToneWorld* world_ = nullptr;
};

}  // namespace hpp1
}  // namespace platen
