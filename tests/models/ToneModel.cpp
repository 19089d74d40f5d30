// The tone world: calls in any order, requests for memory that fail, and a host that edits types, apply functions,
// property lists, keys, sizes and values between them.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <list>
#include <optional>

#include "Models.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/World.h"
#include "oracles/ColorBalanceOracle.h"
#include "oracles/CurvesOracle.h"
#include "oracles/ToneOracle.h"
#include "support/Random.h"
#include "support/ToneTables.h"

namespace platen_test {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct ModelProperty {
    std::uint32_t key;
    Bytes value;
};
using ModelList = std::vector<ModelProperty>;

struct Kind {
    const char* type;
    std::int32_t (*setup)(_SToneOperation*);
    _SToneApplyFunction apply;
    std::vector<ModelProperty> defaults;
};

template <class T>
Bytes BytesOf(const T& value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

ModelProperty Whole(const char* key, std::int32_t value = 0) {
    return {Code(key), BytesOf(value)};
}

ModelProperty Point(const char* key, float level) {
    return {Code(key), BytesOf(std::array<float, 2>{level, level})};
}

// What a host's own function does; its status is anything.
std::int32_t InvertRed(_SToneOperation*, _SToneCurve* curve) {
    for (int i = 0; i < 256; ++i) {
        curve->redTable[i] = static_cast<std::uint8_t>(255 - curve->redTable[i]);
    }
    return 77;
}

const std::array<Kind, 4> kKinds = {{
    {"BrCn", SetupBrightnessContrastOperation, ApplyBrightnessContrast, {Whole("briT"), Whole("conT")}},
    {"LeVe",
     SetupLevelOperation,
     ApplyLevel,
     {Whole("iMin"), {Code("iMid"), BytesOf(0.0)}, Whole("iMax"), Whole("oMin"), Whole("oMax")}},
    {"CoBa",
     SetupColorBalanceOperation,
     ApplyColorBalance,
     {Whole("cbsR"), Whole("cbsG"), Whole("cbsB"), Whole("cbmR"), Whole("cbmG"), Whole("cbmB"), Whole("cbhR"),
      Whole("cbhG"), Whole("cbhB"), Whole("cbsT")}},
    {"CuRv",
     SetupCurvesOperation,
     ApplyCurves,
     {Whole("curV"), Whole("curS", 3), Point("cuP1", 0), Point("cuP2", 64), Point("cuP3", 128), Point("cuP4", 192),
      Point("cuP5", 255)}},
}};
const std::array<_SToneApplyFunction, 6> kApplies = {
    nullptr, ApplyBrightnessContrast, ApplyLevel, ApplyColorBalance, ApplyCurves, InvertRed};

struct ModelOperation {
    _SToneOperation* op = nullptr;
    std::uint32_t type = 0;
    _SToneApplyFunction apply = nullptr;
    std::optional<ModelList> list;

    ModelProperty* Find(std::uint32_t key) {
        for (std::size_t i = 0; list && i < list->size(); ++i) {
            if ((*list)[i].key == key) {
                return &(*list)[i];
            }
        }
        return nullptr;
    }
    // As an operation reads it: the value's first bytes, the default's where it has fewer.
    template <class T>
    T Read(const char* key, T value = {}) {
        if (const ModelProperty* property = Find(Code(key)); property != nullptr && !property->value.empty()) {
            std::memcpy(&value, property->value.data(), std::min(sizeof value, property->value.size()));
        }
        return value;
    }
};

struct ModelWorld {
    __OpaqeToneWorld* world = nullptr;
    std::vector<ModelOperation*> operations;
};

// A host's tables: three of four buffers, or the same one several times.
struct Curve {
    std::array<std::array<std::uint8_t, 256>, 4> buffers{};
    std::array<std::size_t, 4> at = {0, 1, 2, 3};  // red, green, blue, copy
    std::int32_t depth = 24;
    std::uint8_t copyCurve = 0;

    _SToneCurve Record() {
        return {11,
                22,
                depth,
                buffers[at[0]].data(),
                buffers[at[1]].data(),
                buffers[at[2]].data(),
                copyCurve,
                buffers[at[3]].data()};
    }
};

Curve AnyCurve(const Step& step) {
    Random random(step.seed);
    Curve curve;
    for (auto& buffer : curve.buffers) {
        for (auto& entry : buffer) {
            entry = random.Byte();
        }
    }
    static constexpr std::int32_t kDepths[] = {24, 8, 24, 16, 8, 0, -24, 32};
    static constexpr std::array<std::size_t, 4> kSame[] = {{0, 1, 2, 3}, {0, 1, 2, 3}, {0, 1, 2, 3}, {0, 0, 2, 3},
                                                           {1, 1, 1, 3}, {0, 2, 2, 3}, {0, 1, 2, 3}, {2, 1, 2, 3}};
    curve.depth = kDepths[step.number % 8];
    curve.at = kSame[step.number / 8 % 8];
    curve.copyCurve = static_cast<std::uint8_t>(step.number / 64 % 3);
    return curve;
}

// What an apply function makes of the tables.
std::int32_t ModelApply(_SToneApplyFunction apply, ModelOperation& op, Curve& curve) {
    auto& buffers = curve.buffers;
    auto& red = buffers[curve.at[0]];
    auto& green = buffers[curve.at[1]];
    auto& blue = buffers[curve.at[2]];
    if (apply == InvertRed) {
        for (auto& entry : red) {
            entry = static_cast<std::uint8_t>(255 - entry);
        }
        return 77;
    }
    if (apply == ApplyColorBalance) {
        ColorBalanceSetting setting;
        for (std::size_t i = 0; i < 9; ++i) {
            const char key[] = {'c', 'b', "smh"[i / 3], "RGB"[i % 3], 0};
            setting.amounts[i / 3][i % 3] = op.Read<std::int32_t>(key);
        }
        return OracleColorBalance(setting, curve.depth, red, green, blue);
    }
    if (apply == ApplyCurves) {
        CurvesSetting setting;
        setting.strength = op.Read<std::int32_t>("curV");
        setting.kind = op.Read<std::int32_t>("curS", 3);
        for (std::size_t k = 0; k < 5; ++k) {
            const char key[] = {'c', 'u', 'P', static_cast<char>('1' + k), 0};
            setting.points[k] = op.Read(key, setting.points[k]);
        }
        const std::int32_t status = OracleCurves(setting, curve.depth, red, green, blue);
        if (status == 0 && (curve.depth == 8 || curve.depth == 24)) {
            if (curve.copyCurve == 1) {
                buffers[curve.at[3]] = OracleCurvesMaster(setting);
            }
            if (setting.kind == 0) {
                Bytes& value = op.Find(Code("curS"))->value;
                const Bytes three = BytesOf(std::int32_t{3});
                std::copy_n(three.begin(), std::min(three.size(), value.size()), value.begin());
            }
        }
        return status;
    }
    plain::Tables tables;
    for (std::size_t i = 0; i < 3; ++i) {
        tables.at[i] = i;
        for (std::size_t k = 0; k < i; ++k) {
            tables.at[i] = curve.at[k] == curve.at[i] ? tables.at[k] : tables.at[i];
        }
        std::copy(buffers[curve.at[i]].begin(), buffers[curve.at[i]].end(), tables.t[i].begin());
    }
    const std::int32_t status =
        apply == ApplyLevel
            ? plain::Apply(plain::Level{op.Read<std::uint32_t>("iMin"), op.Read<double>("iMid"),
                                        op.Read<std::uint32_t>("iMax"), op.Read<std::uint32_t>("oMin"),
                                        op.Read<std::uint32_t>("oMax")},
                           curve.depth, tables)
            : plain::Apply(plain::BrightnessContrast{op.Read<std::int32_t>("briT"), op.Read<std::int32_t>("conT")},
                           curve.depth, tables);
    for (std::size_t i = 0; i < 3; ++i) {
        std::transform(tables.t[tables.at[i]].begin(), tables.t[tables.at[i]].end(), buffers[curve.at[i]].begin(),
                       [](int entry) { return static_cast<std::uint8_t>(entry); });
    }
    return status;
}

class ToneWalk {
  public:
    ToneWalk() = default;
    ToneWalk(const ToneWalk&) = delete;
    ToneWalk& operator=(const ToneWalk&) = delete;
    ~ToneWalk() {
        meter_.Host([&] {
            for (ModelWorld& world : worlds_) {
                DisposeToneWorld(world.world, 0);
            }
            for (ModelOperation& op : operations_) {
                DisposeOperation(op.op);
            }
        });
    }

    void Run(const Steps& steps) {
        RunSteps(*this, kCalls, steps, [this] { CompareState(); });
    }

  private:
    using Call = NamedCall<ToneWalk>;
    static const std::array<Call, 24> kCalls;

    ModelOperation* Operation(const Step& step) {
        if (operations_.empty()) {
            NewOne({});
        }
        return operations_.empty() ? nullptr : &*std::next(operations_.begin(), step.who % operations_.size());
    }
    ModelWorld* World(const Step& step) {
        if (worlds_.empty()) {
            NewAWorld({});
        }
        return worlds_.empty() ? nullptr : &*std::next(worlds_.begin(), (step.who >> 4) % worlds_.size());
    }
    // One of the keys that operations read, or of none.
    static std::uint32_t Key(std::uint32_t number) {
        std::uint32_t left = number % 26;
        for (const Kind& kind : kKinds) {
            if (left < kind.defaults.size()) {
                return kind.defaults[left].key;
            }
            left -= static_cast<std::uint32_t>(kind.defaults.size());
        }
        return left == 0 ? Code("none") : number;
    }
    // Something that the key's operation may take, or any bytes.
    static Bytes Value(std::uint32_t key, const Step& step) {
        Random random(step.seed);
        if (step.seed % 8 == 0) {
            Bytes bytes(step.number / 32 % 12);
            std::generate(bytes.begin(), bytes.end(), [&] { return random.Byte(); });
            return bytes;
        }
        if (key == Code("iMid")) {
            static constexpr double kMiddles[] = {1.0, 0.1, 9.99, 0.0, 10.0, 5.0};
            return BytesOf(random.OneIn(2) ? kMiddles[random.Next() % 6] : random.Fraction() * 10.2);
        }
        if (key >> 8 == Code("cuP1") >> 8) {
            const float x = static_cast<float>(64 * static_cast<int>((key & 0xFF) - '1'));
            const auto near = static_cast<float>(random.Between(-40, 40)) / (random.OneIn(3) ? 3.0f : 1.0f);
            return BytesOf(std::array<float, 2>{std::clamp(x + near, 0.0f, 255.0f),
                                                static_cast<float>(random.Between(0, 255))});
        }
        if (key == Code("curS")) {
            return BytesOf(static_cast<std::int32_t>(random.Between(0, 4)));
        }
        if (key == Code("iMax") || key == Code("oMax") || key == Code("iMin") || key == Code("oMin")) {
            const bool top = (key & 0xFF) == 'x';
            return BytesOf(static_cast<std::int32_t>(top ? random.Between(100, 257) : random.Between(-1, 120)));
        }
        return BytesOf(static_cast<std::int32_t>(random.Between(-102, 102)));
    }

    // ---- calls

    void NewAWorld(const Step&) {
        if (worlds_.size() == 4) {
            return;
        }
        __OpaqeToneWorld* const untouched = reinterpret_cast<__OpaqeToneWorld*>(this);
        __OpaqeToneWorld* made = untouched;
        std::int32_t status = -1;
        meter_.Library([&] { status = NewToneWorld(&made); });
        std::int32_t expected = -1;
        meter_.Model([&] { expected = ModelNewWorld(); });
        Agree(status == expected && (made != untouched) == (status == 0), "status and handle");
        if (status == 0) {
            worlds_.push_back({made, {}});
        }
    }
    std::int32_t ModelNewWorld() {
        if (!meter_.Malloc()) {
            return 1;
        }
        meter_.New();
        return 0;
    }

    void NewOne(const Step&) {
        if (operations_.size() == 10) {
            return;
        }
        _SToneOperation* op = reinterpret_cast<_SToneOperation*>(this);
        std::int32_t status = -1;
        meter_.Library([&] { status = NewOperation(&op); });
        std::int32_t expected = -1;
        meter_.Model([&] { expected = meter_.Malloc() ? 0 : 1; });
        Agree(status == expected && (op != nullptr) == (status == 0), "status and record");
        if (status == 0) {
            operations_.push_back({op, 0, nullptr, {}});
        }
    }

    void SetUp(const Step& step) {
        ModelOperation* const op = Operation(step);
        const Kind& kind = kKinds[step.number % 4];
        if (op == nullptr) {
            return;
        }
        const auto* const before = op->op->properties;
        meter_.Host([&] { DropList(op->op); });  // set-up overwrites it, and frees nothing
        if (before != nullptr) {
            op->op->properties = nullptr;
        }
        op->list.reset();
        std::int32_t status = -1;
        meter_.Library([&] { status = kind.setup(op->op); });
        meter_.Model([&] {
            op->type = Code(kind.type);
            op->apply = kind.apply;
            meter_.New();
            op->list.emplace();
            for (const ModelProperty& property : kind.defaults) {
                if (meter_.Malloc()) {
                    meter_.New();
                    op->list->push_back(property);
                }
            }
            Agree(status == 0, "status");
        });
    }

    void SetUpNothing(const Step& step) {
        Agree(kKinds[step.number % 4].setup(nullptr) == 2, "status");
    }

    void AddAProperty(const Step& step) {
        ModelOperation* const op = Operation(step);
        if (op == nullptr || (op->list && op->list->size() > 14)) {
            return;
        }
        const std::uint32_t key = Key(step.number);
        Bytes value = Value(key, step);
        const auto size = static_cast<std::uint32_t>(value.size());
        value.reserve(1);
        meter_.Library([&] { AddOperationProperty(op->op, key, size, value.data()); });
        meter_.Model([&] {
            if (op->list && meter_.Malloc()) {
                meter_.New();
                op->list->push_back({key, value});
            }
        });
    }

    void SetAProperty(const Step& step) {
        ModelOperation* const op = Operation(step);
        if (op == nullptr) {
            return;
        }
        // A key that it has, mostly.
        const std::uint32_t key = op->list && !op->list->empty() && step.seed % 5 != 0
                                      ? (*op->list)[step.number % op->list->size()].key
                                      : Key(step.number);
        ModelProperty* const property = op->Find(key);
        Bytes value = Value(key, step);
        if (property != nullptr && value.size() > property->value.size()) {
            value.resize(property->value.size());  // more would overrun the block: the host's to know
        }
        value.reserve(1);
        const auto size = static_cast<std::uint32_t>(value.size());
        meter_.Library([&] { SetOperationProperty(op->op, key, size, value.data()); });
        meter_.Model([&] {
            if (property != nullptr) {
                std::copy(value.begin(), value.end(), property->value.begin());
            }
        });
    }

    void GetAProperty(const Step& step) {
        ModelOperation* const op = Operation(step);
        if (op == nullptr) {
            return;
        }
        const std::uint32_t key = Key(step.number);
        Bytes got(64, 0xA5);
        Bytes expected = got;
        meter_.Library([&] { GetOperationProperty(op->op, key, step.seed, got.data()); });
        meter_.Model([&] {
            if (const ModelProperty* property = op->Find(key)) {
                std::copy(property->value.begin(), property->value.end(), expected.begin());
            }
        });
        Agree(got == expected, "the value");
    }

    void AddToWorld(const Step& step) {
        ModelWorld* const world = World(step);
        ModelOperation* const op = Operation(step);
        if (world == nullptr || op == nullptr || world->operations.size() > 8) {
            return;
        }
        meter_.Library([&] { AddOperation(world->world, op->op); });
        meter_.Model([&] {
            meter_.New();
            world->operations.push_back(op);
        });
    }

    void RemoveFrom(ModelWorld& world, ModelOperation* op) {
        meter_.Library([&] { RemoveOperation(world.world, op->op); });
        meter_.Model([&] { meter_.Free(std::erase(world.operations, op)); });
    }
    void RemoveFromWorld(const Step& step) {
        ModelWorld* const world = World(step);
        ModelOperation* const op = Operation(step);
        if (world != nullptr && op != nullptr) {
            RemoveFrom(*world, op);
        }
    }

    void FindInWorld(const Step& step) {
        ModelWorld* const world = World(step);
        if (world == nullptr) {
            return;
        }
        const std::uint32_t type = step.seed % 4 == 0 ? step.number : Code(kKinds[step.number % 4].type);
        const _SToneOperation* expected = nullptr;
        for (const ModelOperation* op : world->operations) {
            expected = op->op;
            if (op->type == type) {
                break;
            }
        }
        Agree(GetOperation(world->world, type) == expected, "the operation");
    }

    void Make(const Step& step) {
        if (ModelWorld* const world = World(step)) {
            MakeOf(*world, step);
        }
    }
    void MakeOf(ModelWorld& world, const Step& step) {
        Curve curve = AnyCurve(step);
        Curve expected = curve;
        _SToneCurve record = curve.Record();
        const _SToneCurve before = record;
        std::int32_t status = -1;
        meter_.Library([&] { status = MakeToneCurve(world.world, &record); });
        meter_.Model([&] {
            for (std::size_t i = 0; i < 3; ++i) {
                auto& table = expected.buffers[expected.at[i]];
                for (std::size_t k = 0; k < 256; ++k) {
                    table[k] = static_cast<std::uint8_t>(k);
                }
            }
            for (ModelOperation* op : world.operations) {
                if (op->apply != nullptr) {
                    ModelApply(op->apply, *op, expected);
                }
            }
        });
        Agree(status == 0, "status");
        Agree(curve.buffers == expected.buffers, "the tables");
        Agree(std::memcmp(&before, &record, sizeof record) == 0, "the record");
    }

    // Directly, on tables of anything, by any operation's function.
    void Apply(const Step& step) {
        ModelOperation* const op = Operation(step);
        if (op == nullptr) {
            return;
        }
        _SToneApplyFunction const apply =
            step.seed % 4 == 0 || op->apply == nullptr ? kApplies[1 + step.seed / 4 % 4] : op->apply;
        Curve curve = AnyCurve(step);
        Curve expected = curve;
        _SToneCurve record = curve.Record();
        std::int32_t status = -1;
        meter_.Library([&] { status = apply(op->op, &record); });
        std::int32_t wanted = -1;
        meter_.Model([&] { wanted = ModelApply(apply, *op, expected); });
        Agree(status == wanted, "status " + std::to_string(status) + ", not " + std::to_string(wanted));
        Agree(curve.buffers == expected.buffers, "the tables");
    }

    // The copy is compared, made into a curve and disposed of, whole or not.
    void Duplicate(const Step& step) {
        ModelWorld* const source = World(step);
        if (source == nullptr) {
            return;
        }
        __OpaqeToneWorld* const untouched = reinterpret_cast<__OpaqeToneWorld*>(this);
        __OpaqeToneWorld* made = untouched;
        std::int32_t status = -1;
        meter_.Library([&] { status = DuplicateToneWorld(source->world, &made); });
        std::deque<ModelOperation> copies;
        ModelWorld copy;
        std::int32_t expected = -1;
        bool exists = false;
        meter_.Model([&] { expected = ModelDuplicate(*source, copies, copy, exists); });
        Agree(status == expected, "status");
        Agree(exists == (made != untouched), "the handle");
        if (!exists) {
            return;
        }
        copy.world = made;
        Agree(made->operations->size() == copies.size(), "operations of the copy");
        std::size_t i = 0;
        for (_SToneOperation* op : *made->operations) {
            Agree(op != source->operations[i]->op, "a copy has a record of its own");
            copies[i].op = op;
            CompareOperation(copies[i++]);
        }
        MakeOf(copy, step);
        DisposeWithOperations(copy);
    }
    std::int32_t ModelDuplicate(ModelWorld& source, std::deque<ModelOperation>& copies, ModelWorld& copy,
                                bool& exists) {
        if (ModelNewWorld() != 0) {
            return 1;
        }
        exists = true;
        for (const ModelOperation* op : source.operations) {
            if (!meter_.Malloc()) {
                return 1;
            }
            if (op->list) {
                meter_.New();
                for (std::size_t i = 0; i < op->list->size(); ++i) {
                    if (!meter_.Malloc()) {
                        return 1;
                    }
                    meter_.New();
                }
            }
            meter_.New();
            copies.push_back(*op);
            copy.operations.push_back(&copies.back());
        }
        return 0;
    }

    void DisposeWithOperations(ModelWorld& world) {
        meter_.Library([&] { DisposeToneWorld(world.world, 1); });
        meter_.Model([&] {
            meter_.Free(2);
            for (const ModelOperation* op : world.operations) {
                meter_.Free(1 + BlocksOf(*op));
            }
        });
    }
    static std::size_t BlocksOf(const ModelOperation& op) {
        return 1 + (op.list ? 1 + 2 * op.list->size() : 0);
    }

    void DisposeOfWorld(const Step& step) {
        ModelWorld* const world = World(step);
        if (world == nullptr) {
            return;
        }
        const auto flag = static_cast<std::int32_t>(step.number);
        if (flag != 0) {
            // Each of them once, and in no other world.
            for (ModelOperation* op : std::vector<ModelOperation*>(world->operations)) {
                for (ModelWorld& other : worlds_) {
                    if (&other != world) {
                        RemoveFrom(other, op);
                    }
                }
                if (std::count(world->operations.begin(), world->operations.end(), op) > 1) {
                    RemoveFrom(*world, op);
                }
            }
        }
        meter_.Library([&] { DisposeToneWorld(world->world, flag); });
        meter_.Model([&] {
            meter_.Free(2 + world->operations.size());
            if (flag != 0) {
                for (const ModelOperation* op : world->operations) {
                    meter_.Free(BlocksOf(*op));
                }
            }
        });
        if (flag != 0) {
            std::erase_if(operations_, [&](ModelOperation& op) {
                return std::count(world->operations.begin(), world->operations.end(), &op) != 0;
            });
        }
        worlds_.erase(std::find_if(worlds_.begin(), worlds_.end(), [&](ModelWorld& w) { return &w == world; }));
    }

    void DisposeOfNothing(const Step& step) {
        DisposeToneWorld(nullptr, static_cast<std::int32_t>(step.number));
    }

    void DisposeOfOperation(const Step& step) {
        ModelOperation* const op = Operation(step);
        if (op == nullptr) {
            return;
        }
        for (ModelWorld& world : worlds_) {
            RemoveFrom(world, op);
        }
        meter_.Library([&] { DisposeOperation(op->op); });
        meter_.Model([&] { meter_.Free(BlocksOf(*op)); });
        operations_.remove_if([&](ModelOperation& candidate) { return &candidate == op; });
    }

    void FailNext(const Step& step) {
        if (step.seed % 2 == 0) {
            meter_.FailMalloc(step.number % 12);
        } else {
            meter_.FailNew(step.number % 12);
        }
    }

    // ---- a host's edits

    void EditType(const Step& step) {
        if (ModelOperation* const op = Operation(step)) {
            op->type = op->op->type = step.seed % 2 == 0 ? step.number : Code(kKinds[step.number % 4].type);
        }
    }
    void EditApply(const Step& step) {
        if (ModelOperation* const op = Operation(step)) {
            op->apply = op->op->apply = kApplies[step.number % kApplies.size()];
        }
    }
    void SwapLists(const Step& step) {
        ModelOperation* const one = Operation(step);
        ModelOperation* const other = Operation({0, step.number, 0, 0});
        if (one != nullptr && other != nullptr) {
            std::swap(one->op->properties, other->op->properties);
            std::swap(one->list, other->list);
        }
    }
    void EditList(const Step& step) {
        ModelOperation* const op = Operation(step);
        if (op == nullptr || !op->list || op->list->empty()) {
            return;
        }
        const std::size_t k = step.number % op->list->size();
        const auto real = std::next(op->op->properties->begin(), static_cast<std::ptrdiff_t>(k));
        const auto model = op->list->begin() + static_cast<std::ptrdiff_t>(k);
        switch (step.seed % 5) {
            case 0:  // another key
                real->key = model->key = Key(step.seed / 5);
                break;
            case 1:  // fewer bytes
                real->size = step.seed / 5 % (real->size + 1);
                model->value.resize(real->size);
                break;
            case 2: {  // a block of its own
                model->value = Value(real->key, step);
                const Bytes& value = model->value;
                real->size = static_cast<std::uint32_t>(value.size());
                meter_.Host([&] {
                    std::free(real->data);
                    real->data = std::malloc(value.size() + 1);
                });
                std::copy(value.begin(), value.end(), static_cast<std::uint8_t*>(real->data));
                break;
            }
            case 3:  // without it
                meter_.Host([&] {
                    std::free(real->data);
                    op->op->properties->erase(real);
                });
                op->list->erase(model);
                break;
            default:
                op->op->properties->reverse();
                std::reverse(op->list->begin(), op->list->end());
                break;
        }
    }

    // ---- state

    static void DropList(_SToneOperation* op) {
        if (op->properties != nullptr) {
            for (const _SPropertyData& property : *op->properties) {
                std::free(property.data);
            }
            delete op->properties;
        }
    }

    static void CompareOperation(const ModelOperation& op) {
        Agree(op.op->type == op.type, "type");
        Agree(op.op->apply == op.apply, "apply function");
        Agree((op.op->properties != nullptr) == op.list.has_value(), "property list");
        if (!op.list) {
            return;
        }
        Agree(op.op->properties->size() == op.list->size(), "count of properties");
        auto real = op.op->properties->begin();
        for (const ModelProperty& property : *op.list) {
            Agree(real->key == property.key && real->size == property.value.size(), "a property's key and size");
            Agree(property.value.empty() || std::memcmp(real->data, property.value.data(), real->size) == 0,
                  "a property's value");
            ++real;
        }
    }
    void CompareState() const {
        for (const ModelOperation& op : operations_) {
            CompareOperation(op);
        }
        for (const ModelWorld& world : worlds_) {
            Agree(std::equal(world.world->operations->begin(), world.world->operations->end(),
                             world.operations.begin(), world.operations.end(),
                             [](const _SToneOperation* real, const ModelOperation* op) { return real == op->op; }),
                  "a world's operations");
        }
    }

    Meter meter_;
    std::list<ModelOperation> operations_;
    std::list<ModelWorld> worlds_;
};

const std::array<ToneWalk::Call, 24> ToneWalk::kCalls = {{
    {"NewToneWorld", &ToneWalk::NewAWorld},
    {"NewOperation", &ToneWalk::NewOne},
    {"set-up", &ToneWalk::SetUp},
    {"set-up of nothing", &ToneWalk::SetUpNothing},
    {"AddOperationProperty", &ToneWalk::AddAProperty},
    {"SetOperationProperty", &ToneWalk::SetAProperty},
    {"SetOperationProperty", &ToneWalk::SetAProperty},
    {"SetOperationProperty", &ToneWalk::SetAProperty},
    {"GetOperationProperty", &ToneWalk::GetAProperty},
    {"AddOperation", &ToneWalk::AddToWorld},
    {"AddOperation", &ToneWalk::AddToWorld},
    {"RemoveOperation", &ToneWalk::RemoveFromWorld},
    {"GetOperation", &ToneWalk::FindInWorld},
    {"MakeToneCurve", &ToneWalk::Make},
    {"apply", &ToneWalk::Apply},
    {"DuplicateToneWorld", &ToneWalk::Duplicate},
    {"DisposeToneWorld", &ToneWalk::DisposeOfWorld},
    {"DisposeToneWorld(null)", &ToneWalk::DisposeOfNothing},
    {"DisposeOperation", &ToneWalk::DisposeOfOperation},
    {"no memory", &ToneWalk::FailNext},
    {"another type", &ToneWalk::EditType},
    {"another apply function", &ToneWalk::EditApply},
    {"lists swapped", &ToneWalk::SwapLists},
    {"another list", &ToneWalk::EditList},
}};

}  // namespace

void WalkToneWorld(const Steps& steps) {
    ToneWalk walk;
    walk.Run(steps);
}

}  // namespace platen_test
