#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "ToneFixture.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "oracles/ColorBalanceOracle.h"
#include "oracles/CurvesOracle.h"
#include "support/Random.h"

// Worlds of one to six operations with random settings, valid and not, against the plain rules applied one after
// the other.

namespace {

using platen_test::Random;
using tone_test::Curve;
using tone_test::Operation;
using tone_test::World;

// What an operation does, by the plain rules, and the library's operation with the same settings.
struct Link {
    std::unique_ptr<Operation> operation;
    virtual ~Link() = default;
    virtual void ApplyPlain(int depth, plain::Tables& tables) const = 0;
    virtual void Describe(std::ostream& stream) const = 0;
};

struct BrightnessContrastLink : Link {
    plain::BrightnessContrast settings;

    explicit BrightnessContrastLink(Random& random) {
        settings.brightness = static_cast<std::int32_t>(random.Between(-103, 103));
        settings.contrast = static_cast<std::int32_t>(random.Between(-103, 103));
        operation = std::make_unique<Operation>(SetupBrightnessContrastOperation);
        operation->SetAll(settings);
    }
    void ApplyPlain(int depth, plain::Tables& tables) const override {
        plain::Apply(settings, depth, tables);
    }
    void Describe(std::ostream& stream) const override {
        stream << "BrCn " << settings.brightness << ' ' << settings.contrast << '\n';
    }
};

struct LevelLink : Link {
    plain::Level settings;

    explicit LevelLink(Random& random) {
        settings.iMin = static_cast<std::uint32_t>(random.Between(0, 150));
        settings.iMax = static_cast<std::uint32_t>(random.Between(110, 256));
        settings.oMin = static_cast<std::uint32_t>(random.Between(0, 150));
        settings.oMax = static_cast<std::uint32_t>(random.Between(110, 256));
        settings.iMid = random.OneIn(4) ? 1.0 : static_cast<double>(random.Between(9, 1001)) / 100.0;
        operation = std::make_unique<Operation>(SetupLevelOperation);
        operation->SetAll(settings);
    }
    void ApplyPlain(int depth, plain::Tables& tables) const override {
        plain::Apply(settings, depth, tables);
    }
    void Describe(std::ostream& stream) const override {
        stream << "LeVe " << settings.iMin << ' ' << settings.iMid << ' ' << settings.iMax << ' ' << settings.oMin
               << ' ' << settings.oMax << '\n';
    }
};

struct ColorBalanceLink : Link {
    platen_test::ColorBalanceSetting settings;

    explicit ColorBalanceLink(Random& random) {
        static constexpr const char* kKeys[3][3] = {
            {"cbsR", "cbsG", "cbsB"}, {"cbmR", "cbmG", "cbmB"}, {"cbhR", "cbhG", "cbhB"}};
        operation = std::make_unique<Operation>(SetupColorBalanceOperation);
        for (std::size_t group = 0; group < 3; ++group) {
            const bool left = random.OneIn(3);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const std::int64_t amount =
                    random.OneIn(60) ? random.Between(-103, 103) : random.Between(-100, 100);
                settings.amounts[group][channel] = left ? 0 : static_cast<std::int32_t>(amount);
                operation->Set(kKeys[group][channel], settings.amounts[group][channel]);
            }
        }
    }
    void ApplyPlain(int depth, plain::Tables& tables) const override {
        platen_test::OracleColorBalance(settings, depth, tables.t[0], tables.t[1], tables.t[2]);
    }
    void Describe(std::ostream& stream) const override {
        stream << "CoBa";
        for (const auto& group : settings.amounts) {
            stream << ' ' << group[0] << ',' << group[1] << ',' << group[2];
        }
        stream << '\n';
    }
};

struct CurvesLink : Link {
    platen_test::CurvesSetting settings;

    explicit CurvesLink(Random& random) {
        static constexpr const char* kKeys[5] = {"cuP1", "cuP2", "cuP3", "cuP4", "cuP5"};
        settings.kind = static_cast<std::int32_t>(random.OneIn(20) ? 4 : random.Between(0, 3));
        settings.strength = static_cast<std::int32_t>(random.Between(-100, 100));
        for (std::size_t k = 0; k < 5; ++k) {
            const auto low = static_cast<std::int64_t>(4 * k);
            settings.points[k] = {static_cast<float>(random.Between(low, low + 239)),
                                  static_cast<float>(random.Between(0, 255))};
        }
        std::sort(settings.points.begin(), settings.points.end());
        operation = std::make_unique<Operation>(SetupCurvesOperation);
        operation->Set("curV", settings.strength);
        operation->Set("curS", settings.kind);
        for (std::size_t k = 0; k < 5; ++k) {
            operation->Set(kKeys[k], settings.points[k]);
        }
    }
    void ApplyPlain(int depth, plain::Tables& tables) const override {
        platen_test::OracleCurves(settings, depth, tables.t[0], tables.t[1], tables.t[2]);
    }
    void Describe(std::ostream& stream) const override {
        stream << "CuRv " << settings.kind << ' ' << settings.strength;
        for (const auto& point : settings.points) {
            stream << ' ' << point[0] << ',' << point[1];
        }
        stream << '\n';
    }
};

using MakeLink = std::unique_ptr<Link> (*)(Random&);
template <class T>
std::unique_ptr<Link> Make(Random& random) {
    return std::make_unique<T>(random);
}
// Every operation that chains are made of.
constexpr MakeLink kMakers[] = {Make<BrightnessContrastLink>, Make<LevelLink>, Make<ColorBalanceLink>,
                                Make<CurvesLink>};

// One world after the other, each held against the plain rules; stops at the first that differs.
void CompareChains(std::uint64_t seed, int rounds) {
    Random random(seed);
    for (int round = 0; round < rounds; ++round) {
        const World world;
        const std::int32_t depth = random.OneIn(10) ? 16 : random.OneIn(2) ? 8 : 24;
        plain::Tables expected = plain::Tables::Identity();
        std::vector<std::unique_ptr<Link>> links;
        std::ostringstream text;
        for (auto left = random.Between(1, 6); left > 0; --left) {
            const auto maker = static_cast<std::size_t>(random.Between(0, std::size(kMakers) - 1));
            links.push_back(kMakers[maker](random));
            world.Add(*links.back()->operation);
            links.back()->ApplyPlain(depth, expected);
            links.back()->Describe(text);
        }
        Curve curve(depth);
        ASSERT_EQ(0, MakeToneCurve(world.get(), &curve));
        ASSERT_TRUE(curve.Holds(expected)) << "round " << round << ", depth " << depth << '\n' << text.str();
        __OpaqeToneWorld* copy = nullptr;
        ASSERT_EQ(0, DuplicateToneWorld(world.get(), &copy));
        Curve again(depth);
        MakeToneCurve(copy, &again);
        ASSERT_EQ(curve.tables, again.tables);
        DisposeToneWorld(copy, 1);
    }
}

TEST(Chain, RandomChainsEqualThePlainRules) {
    CompareChains(6, 20000);
}

TEST(ToneWorldThreads, WorldsOnTwoThreads) {
    std::thread other([] { CompareChains(7, 500); });
    CompareChains(8, 500);
    other.join();
}

}  // namespace
