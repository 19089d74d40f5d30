// The HSV filter: calls in any order, and a host that edits every word of the contexts and of the lightness table.

#include <array>
#include <cstring>
#include <list>

#include "LineFilters/Hsv.h"
#include "Models.h"
#include "Variants.h"
#include "oracles/HsvOracle.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace platen_test {
namespace {

using Words = std::array<std::int32_t, 7>;  // hue, saturation, lightness, bits, width, height, bytes of a row

bool Accepted(const Words& w) {
    const auto within = [](std::int32_t value, std::int32_t limit) { return value <= limit && value >= -limit; };
    return (w[0] != 0 || w[1] != 0 || w[2] != 0) && within(w[0], 180) && within(w[1], 100) && within(w[2], 100) &&
           w[3] == 24 && w[4] != 0 && w[5] != 0 && w[6] != 0;
}

class HsvWalk {
  public:
    HsvWalk() {
        std::memcpy(table_.data(), gStorage, sizeof gStorage);
    }
    HsvWalk(const HsvWalk&) = delete;
    HsvWalk& operator=(const HsvWalk&) = delete;
    ~HsvWalk() {
        meter_.Host([&] {
            for (const Context& context : contexts_) {
                Disposehsv(context.handle);
            }
        });
    }

    void Run(const Steps& steps) {
        RunSteps(*this, kCalls, steps, [this] { CompareState(); });
    }

  private:
    struct Context {
        void* handle;
        Words words;
    };
    using Call = NamedCall<HsvWalk>;
    static const std::array<Call, 11> kCalls;

    Context* Any(const Step& step) {
        return contexts_.empty() ? nullptr : &*std::next(contexts_.begin(), step.who % contexts_.size());
    }
    static std::int32_t AnyWord(std::size_t which, Random& random) {
        static constexpr std::int32_t kLimits[] = {181, 101, 101};
        if (which < 3) {
            return random.OneIn(3) ? 0 : static_cast<std::int32_t>(random.Between(-kLimits[which], kLimits[which]));
        }
        if (which == 3) {
            return random.OneIn(6) ? static_cast<std::int32_t>(random.Between(0, 48)) : 24;
        }
        return which == 4 ? static_cast<std::int32_t>(random.Between(-2, 70))
                          : static_cast<std::int32_t>(random.OneIn(8) ? 0 : random.Next());
    }

    void SetUp(const Step& step) {
        if (contexts_.size() == 3) {
            return;
        }
        Random random(step.seed);
        Words words;
        for (std::size_t i = 0; i < words.size(); ++i) {
            words[i] = step.number % 16 == 0 || (i != 3 && i < 5) ? AnyWord(i, random) : i == 3 ? 24 : 1;
        }
        _SHsvParam param;
        std::memcpy(&param, words.data(), sizeof param);
        void* const untouched = this;
        void* handle = untouched;
        std::int32_t status = -1;
        meter_.Library([&] { status = SetupHsv(&param, &handle); });
        std::int32_t expected = -1;
        meter_.Model([&] { expected = !Accepted(words) ? 3 : meter_.Malloc() ? 0 : 1; });
        Agree(status == expected, "status " + std::to_string(status) + ", not " + std::to_string(expected));
        Agree((handle == untouched) == (status != 0), "the handle");
        if (status == 0) {
            contexts_.push_back({handle, words});
            const HsvOracle oracle(1, 0, words[2]);
            for (std::size_t i = 0; i < table_.size(); ++i) {
                table_[i] = static_cast<std::uint32_t>(oracle.Entry(static_cast<int>(i)));
            }
        }
    }

    void SetUpNothing(const Step&) {
        _SHsvParam param = {10, 0, 0, 24, 1, 1, 3};
        void* handle = nullptr;
        Agree(SetupHsv(nullptr, &handle) == 3 && SetupHsv(&param, nullptr) == 3 && handle == nullptr, "status");
    }

    void Apply(const Step& step) {
        const Context* const context = Any(step);
        if (context == nullptr) {
            return;
        }
        Random random(step.seed);
        const auto width = static_cast<std::size_t>(std::max(context->words[4], 0));
        GuardedBuffer line(3 * width + 1);
        std::vector<std::uint8_t> expected(line.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            expected[i] = random.OneIn(4) && i >= 3 ? expected[i - 3 + step.number % 3] : random.Byte();
            line[i] = expected[i];
        }
        const std::size_t at = step.number % 2;
        std::int32_t status = -1;
        meter_.Library([&] { status = ApplyOneLineHsv(context->handle, line.data() + at); });
        meter_.Model([] {});
        const bool accepted = Accepted(context->words);
        Agree(status == (accepted ? 0 : 3), "status");
        if (accepted) {
            const HsvOracle oracle(context->words[0], context->words[1], 0);
            for (std::size_t i = at; i < at + 3 * width; i += 3) {
                std::uint8_t pixel[3];
                oracle.Apply(&expected[i], pixel);
                for (std::size_t k = 0; k < 3; ++k) {
                    expected[i + k] = static_cast<std::uint8_t>(table_[pixel[k]]);
                }
            }
        }
        Agree(std::memcmp(expected.data(), line.data(), expected.size()) == 0, "the line");
    }

    void ApplyNothing(const Step& step) {
        std::uint8_t line[3] = {1, 2, 3};
        Agree(ApplyOneLineHsv(nullptr, line) == 3, "status");
        if (const Context* const context = Any(step)) {
            Agree(ApplyOneLineHsv(context->handle, nullptr) == 3, "status");
        }
    }

    void Dispose(const Step& step) {
        Disposehsv(nullptr);
        if (const Context* const context = Any(step)) {
            meter_.Library([&] { Disposehsv(context->handle); });
            meter_.Model([&] { meter_.Free(); });
            contexts_.erase(std::next(contexts_.begin(), step.who % contexts_.size()));
        }
    }

    void Sectors(const Step& step) {
        const auto angle = static_cast<std::int32_t>(step.seed % 2 == 0 ? step.number : step.number - 200);
        const auto sector = [](std::int64_t a) { return a >= 300 ? 5 : static_cast<std::int32_t>(a / 60); };
        Agree(nowDegreeState(angle) == (angle < 0 ? 5 : sector(angle)), "nowDegreeState");
        Agree(afterDegreeState(angle) == sector(std::abs(std::int64_t{angle})), "afterDegreeState");
    }

    void FailNext(const Step& step) {
        meter_.FailMalloc(step.number % 2);
    }

    void EditWord(const Step& step) {
        if (Context* const context = Any(step)) {
            Random random(step.seed);
            const std::size_t which = step.number % 7;
            context->words[which] = AnyWord(which, random);
            std::memcpy(static_cast<std::uint8_t*>(context->handle) + 4 * which, &context->words[which], 4);
        }
    }

    void EditTable(const Step& step) {
        gStorage[step.who] = table_[step.who] = step.number;
    }

    void OtherVariant(const Step& step) {
        variants_.Use(step.number);
    }

    void CompareState() const {
        for (const Context& context : contexts_) {
            Agree(std::memcmp(context.handle, context.words.data(), sizeof context.words) == 0, "a context");
        }
        Agree(std::memcmp(table_.data(), gStorage, sizeof gStorage) == 0, "gStorage");
    }

    AnyVariant variants_;
    Meter meter_;
    std::list<Context> contexts_;
    std::array<std::uint32_t, 256> table_;
};

const std::array<HsvWalk::Call, 11> HsvWalk::kCalls = {{
    {"SetupHsv", &HsvWalk::SetUp},
    {"SetupHsv", &HsvWalk::SetUp},
    {"SetupHsv of nothing", &HsvWalk::SetUpNothing},
    {"ApplyOneLineHsv", &HsvWalk::Apply},
    {"ApplyOneLineHsv of nothing", &HsvWalk::ApplyNothing},
    {"Disposehsv", &HsvWalk::Dispose},
    {"sectors", &HsvWalk::Sectors},
    {"no memory", &HsvWalk::FailNext},
    {"another word", &HsvWalk::EditWord},
    {"another entry of gStorage", &HsvWalk::EditTable},
    {"another variant", &HsvWalk::OtherVariant},
}};

}  // namespace

void WalkHsvFilter(const Steps& steps) {
    HsvWalk walk;
    walk.Run(steps);
}

}  // namespace platen_test
