// Calls of the tone world in any order, against a model of it: the operations' properties as lists of bytes, the
// worlds as lists of operations.

#include <iterator>
#include <memory>
#include <vector>

#include "ToneFuzz.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/Level.h"

namespace {

using platen_fuzz::Producer;
using platen_fuzz::Require;

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kBrCn = 0x4272436E;
constexpr std::uint32_t kLeVe = 0x4C655665;
// Keys of both operations and one of nobody.
constexpr std::uint32_t kKeys[] = {0x62726954, 0x636F6E54, 0x694D696E, 0x694D6964,
                                   0x694D6178, 0x6F4D696E, 0x6F4D6178, 0x6E6F6E65};

constexpr int kMostCurves = 8;  // they take most of the time

struct Property {
    std::uint32_t key;
    Bytes value;
};

struct Operation {
    _SToneOperation* op = nullptr;
    std::uint32_t type = 0;
    bool hasList = false;
    std::vector<Property> properties;

    Property* Find(std::uint32_t key) {
        for (Property& property : properties) {
            if (property.key == key) {
                return &property;
            }
        }
        return nullptr;
    }
    // The value as an operation reads it: at most as many bytes as both have.
    template <class T>
    T Read(std::uint32_t key) {
        T value{};
        if (const Property* property = Find(key)) {
            std::memcpy(&value, property->value.data(), std::min(sizeof value, property->value.size()));
        }
        return value;
    }
    void Default(std::uint32_t key, std::size_t size) {
        properties.push_back({key, Bytes(size)});
    }
};

struct World {
    __OpaqeToneWorld* world = nullptr;
    std::vector<Operation*> operations;
};

class Walk {
  public:
    explicit Walk(Producer& input) : input_(input) {
        NewWorld();
    }
    ~Walk() {
        // Worlds first, without their operations: each operation is disposed of once, whichever worlds hold it.
        for (const auto& world : worlds_) {
            DisposeToneWorld(world->world, 0);
        }
        for (const auto& operation : operations_) {
            DisposeOperation(operation->op);
        }
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    void Step() {
        switch (input_.Take<std::uint8_t>() % 13) {
            case 0:
                return NewOne();
            case 1:
                return SetUp(AnyOperation(), input_.Flip());
            case 2:
                return AddProperty(AnyOperation());
            case 3:
                return SetAProperty(AnyOperation());
            case 4:
                return GetAProperty(AnyOperation());
            case 5:
            case 6:
                return AddToWorld(AnyWorld(), AnyOperation());
            case 7:
                return RemoveFromWorld(AnyWorld(), AnyOperation());
            case 8:
                return Find(AnyWorld());
            case 9:
                return curves_++ < kMostCurves ? Duplicate(AnyWorld()) : DropWorld();
            case 10:
                return SetAllOf(AnyOperation());
            case 11:
                return DropWorld();
            default:
                return curves_++ < kMostCurves ? MakeCurve(AnyWorld()) : Find(AnyWorld());
        }
    }

  private:
    Operation* AnyOperation() {
        if (operations_.empty()) {
            NewOne();
        }
        return operations_[input_.Take<std::uint8_t>() % operations_.size()].get();
    }
    World* AnyWorld() {
        return worlds_[input_.Take<std::uint8_t>() % worlds_.size()].get();
    }
    std::uint32_t AnyKey() {
        return kKeys[input_.Take<std::uint8_t>() % std::size(kKeys)];
    }
    Bytes AnyValue(std::size_t size) {
        Bytes value(size);
        input_.Fill(value.data(), size);
        return value;
    }

    void NewWorld() {
        worlds_.push_back(std::make_unique<World>());
        Require(NewToneWorld(&worlds_.back()->world) == 0, "a world can be made");
    }

    void NewOne() {
        if (operations_.size() == 24) {
            return;
        }
        operations_.push_back(std::make_unique<Operation>());
        _SToneOperation*& op = operations_.back()->op;
        Require(NewOperation(&op) == 0, "an operation can be made");
        Require(op->type == 0 && op->properties == nullptr && op->apply == nullptr, "a new operation is zero");
    }

    // Once for each operation: a second time would leave the first list behind.
    static void SetUp(Operation* operation, bool level) {
        if (operation->hasList) {
            return;
        }
        const auto setup = level ? SetupLevelOperation : SetupBrightnessContrastOperation;
        Require(setup(operation->op) == 0, "set-up succeeds");
        operation->type = level ? kLeVe : kBrCn;
        operation->hasList = true;
        for (std::size_t i = level ? 2 : 0; i < (level ? 7u : 2u); ++i) {
            operation->Default(kKeys[i], i == 3 ? 8 : 4);
        }
    }

    void AddProperty(Operation* operation) {
        const std::uint32_t key = AnyKey();
        const Bytes value = AnyValue(1 + input_.Take<std::uint8_t>() % 40);
        AddOperationProperty(operation->op, key, static_cast<std::uint32_t>(value.size()), value.data());
        if (operation->hasList) {
            operation->properties.push_back({key, value});
        }
    }

    void SetAProperty(Operation* operation) {
        const std::uint32_t key = AnyKey();
        Property* property = operation->Find(key);
        const std::size_t most = property == nullptr ? 40 : property->value.size();
        const Bytes value = AnyValue(1 + input_.Take<std::uint8_t>() % most);
        SetOperationProperty(operation->op, key, static_cast<std::uint32_t>(value.size()), value.data());
        if (property != nullptr) {
            std::copy(value.begin(), value.end(), property->value.begin());
        }
    }

    void GetAProperty(Operation* operation) {
        const std::uint32_t key = AnyKey();
        const Property* property = operation->Find(key);
        Bytes expected(64, 0xA5);
        Bytes got = expected;
        GetOperationProperty(operation->op, key, input_.Take<std::uint32_t>(), got.data());
        if (property != nullptr) {
            std::copy(property->value.begin(), property->value.end(), expected.begin());
        }
        Require(got == expected, "a property reads as it was written");
    }

    // Sensible values, so that operations do something.
    void SetAllOf(Operation* operation) {
        if (!operation->hasList) {
            return;
        }
        if (operation->type == kBrCn) {
            const plain::BrightnessContrast s = platen_fuzz::TakeBrightnessContrast(input_);
            SetValue(operation, kKeys[0], s.brightness);
            SetValue(operation, kKeys[1], s.contrast);
        } else {
            const plain::Level s = platen_fuzz::TakeLevel(input_);
            SetValue(operation, kKeys[2], s.iMin);
            SetValue(operation, kKeys[3], s.iMid);
            SetValue(operation, kKeys[4], s.iMax);
            SetValue(operation, kKeys[5], s.oMin);
            SetValue(operation, kKeys[6], s.oMax);
        }
    }
    template <class T>
    static void SetValue(Operation* operation, std::uint32_t key, T value) {
        platen_fuzz::SetProperty(operation->op, key, value);
        std::memcpy(operation->Find(key)->value.data(), &value, sizeof value);
    }

    static void AddToWorld(World* world, Operation* operation) {
        if (world->operations.size() < 12) {
            AddOperation(world->world, operation->op);
            world->operations.push_back(operation);
        }
    }

    static void RemoveFromWorld(World* world, Operation* operation) {
        RemoveOperation(world->world, operation->op);
        std::erase(world->operations, operation);
    }

    void Find(World* world) {
        const std::uint32_t types[] = {kBrCn, kLeVe, 0, 0x436F4261};
        const std::uint32_t type = types[input_.Take<std::uint8_t>() % 4];
        const _SToneOperation* expected = nullptr;
        for (const Operation* operation : world->operations) {
            expected = operation->op;
            if (operation->type == type) {
                break;
            }
        }
        Require(GetOperation(world->world, type) == expected, "the first of a type, else the last, is found");
    }

    // The copy is compared, built into a curve, and disposed of with everything in it.
    void Duplicate(World* world) {
        __OpaqeToneWorld* copy = nullptr;
        Require(DuplicateToneWorld(world->world, &copy) == 0, "a world can be duplicated");
        const std::vector<Operation*>& sources = world->operations;
        Require((GetOperation(copy, 1) == nullptr) == sources.empty(), "a copy has as many operations");
        if (!sources.empty()) {
            const _SToneOperation* last = GetOperation(copy, 1);
            Require(last != sources.back()->op, "a copy has records of its own");
            CompareRecords(*sources.back()->op, *last);
        }
        CompareCurve(*world, copy);
        DisposeToneWorld(copy, 1);
    }

    static void CompareRecords(const _SToneOperation& source, const _SToneOperation& copy) {
        Require(source.type == copy.type && source.apply == copy.apply, "a copy has type and apply function");
        Require((source.properties == nullptr) == (copy.properties == nullptr),
                "a copy has a list like the source");
        if (source.properties == nullptr) {
            return;
        }
        Require(source.properties->size() == copy.properties->size(), "a copy has as many properties");
        auto theirs = copy.properties->begin();
        for (const _SPropertyData& ours : *source.properties) {
            Require(ours.key == theirs->key && ours.size == theirs->size && ours.data != theirs->data &&
                        std::memcmp(ours.data, theirs->data, ours.size) == 0,
                    "a copy has values of its own");
            ++theirs;
        }
    }

    void MakeCurve(World* world) {
        CompareCurve(*world, world->world);
    }

    void CompareCurve(const World& world, __OpaqeToneWorld* handle) {
        platen_fuzz::FuzzCurve curve(platen_fuzz::TakeDepth(input_));
        Require(MakeToneCurve(handle, &curve) == 0, "a curve is always made");
        plain::Tables expected = plain::Tables::Identity();
        for (Operation* operation : world.operations) {
            ApplyPlain(operation, curve.depth, expected);
        }
        Require(curve.Holds(expected), "the curve is the operations' in their order");
    }

    static void ApplyPlain(Operation* operation, std::int32_t depth, plain::Tables& tables) {
        if (operation->type == kBrCn) {
            const plain::BrightnessContrast s = {operation->Read<std::int32_t>(kKeys[0]),
                                                 operation->Read<std::int32_t>(kKeys[1])};
            plain::Apply(s, depth, tables);
        } else if (operation->type == kLeVe) {
            const plain::Level s = {operation->Read<std::uint32_t>(kKeys[2]), operation->Read<double>(kKeys[3]),
                                    operation->Read<std::uint32_t>(kKeys[4]),
                                    operation->Read<std::uint32_t>(kKeys[5]),
                                    operation->Read<std::uint32_t>(kKeys[6])};
            plain::Apply(s, depth, tables);
        }
    }

    // Drops the oldest world and makes a new one.
    void DropWorld() {
        if (worlds_.size() == 3) {
            DisposeToneWorld(worlds_.front()->world, 0);
            worlds_.erase(worlds_.begin());
        }
        NewWorld();
    }

    Producer& input_;
    int curves_ = 0;
    std::vector<std::unique_ptr<World>> worlds_;
    std::vector<std::unique_ptr<Operation>> operations_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    Walk walk(input);
    for (int step = 0; step < 300 && input.Left() != 0; ++step) {
        walk.Step();
    }
    return 0;
}
