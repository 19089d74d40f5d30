// Lines of whole positions, made by a target of plain arrays, which any processor runs and which records what it is
// asked for. HorzPlan_test.cpp checks the numbers that every variant makes. This test checks how they are made: the
// slower of two paths gives the same numbers, so no other test notices where it is taken without need.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

#include "Sources/PX_Zoom/HorzPlan.h"
#include "Sources/PX_Zoom/kernels/ReciprocalAbove.inc"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace platen {
namespace {

using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// The operations are those of HorzLanes_ymm.inc, which explains them.

struct Words {
    std::array<uint32_t, 8> lane;
};
struct Singles {
    std::array<float, 8> lane;
};
struct ThreeVectors {
    Words first, second, third;
};
struct Control {
    std::int8_t bytes[16];
};

constexpr int kNone = -1;
constexpr size_t kRegister = 32;
constexpr bool kMakesSums = true;

// What the target was asked for.
struct Seen {
    struct Bytes {
        const void* begin;
        size_t count;
    };
    std::vector<Bytes> reads, writes;
    std::vector<const uint8_t*> fetched;
    int products = 0, pairProducts = 0, shuffles = 0, sumsOfShorts = 0, sumsOfAnyShorts = 0, conversions = 0;
    std::vector<int> factors;  // of TimesHigh16
};
Seen seen;

template <class Lane>
using Lanes = std::array<Lane, kRegister / sizeof(Lane)>;

template <class Lane>
Lanes<Lane> As(const Words& words) {
    return std::bit_cast<Lanes<Lane>>(words);
}

// The vector whose lanes are value(0), value(1), ...
template <class Lane, class Value>
Words Each(const Value& value) {
    Lanes<Lane> lanes;
    for (size_t i = 0; i < lanes.size(); ++i) {
        lanes[i] = static_cast<Lane>(value(i));
    }
    return std::bit_cast<Words>(lanes);
}

template <class Value>
Singles EachSingle(const Value& value) {
    Singles singles;
    for (size_t i = 0; i < singles.lane.size(); ++i) {
        singles.lane[i] = value(i);
    }
    return singles;
}

Words All(int32_t value) {
    return Each<uint32_t>([&](size_t) { return value; });
}
Singles AllSingles(float value) {
    return EachSingle([&](size_t) { return value; });
}

Words TwoHalves(const void* low, const void* high) {
    seen.reads.push_back({low, 16});
    seen.reads.push_back({high, 16});
    Words words;
    std::memcpy(words.lane.data(), low, 16);
    std::memcpy(words.lane.data() + 4, high, 16);
    return words;
}
Words SameHalves(const void* from) {
    return TwoHalves(from, from);
}
Words LoadAny(const void* from) {
    return TwoHalves(from, static_cast<const uint8_t*>(from) + 16);
}
Words Both(const Control& low, const Control& high) {
    return Each<uint8_t>([&](size_t i) { return (i < 16 ? low : high).bytes[i % 16]; });
}
Words Both(const Control& control) {
    return Both(control, control);
}
void StoreAny(uint32_t* to, const Words& words) {
    seen.writes.push_back({to, 32});
    std::memcpy(to, words.lane.data(), 32);
}
void StoreLowHalf(uint32_t* to, const Words& words) {
    seen.writes.push_back({to, 16});
    std::memcpy(to, words.lane.data(), 16);
}
void Prefetch(const uint8_t* from) {
    seen.fetched.push_back(from);
}

Words Add(const Words& a, const Words& b) {
    return Each<uint32_t>([&](size_t i) { return a.lane[i] + b.lane[i]; });
}
Words AddShorts(const Words& a, const Words& b) {
    return Each<uint16_t>([&](size_t i) { return As<uint16_t>(a)[i] + As<uint16_t>(b)[i]; });
}
Words Mul(const Words& a, const Words& b) {
    ++seen.products;
    return Each<uint32_t>([&](size_t i) { return a.lane[i] * b.lane[i]; });
}
Words SumOfProducts(const Words& a, const Words& b) {
    ++seen.pairProducts;
    const auto x = As<std::int16_t>(a);
    const auto y = As<std::int16_t>(b);
    return Each<uint32_t>([&](size_t i) {
        return static_cast<uint32_t>(x[2 * i] * y[2 * i]) + static_cast<uint32_t>(x[2 * i + 1] * y[2 * i + 1]);
    });
}
template <int kFactor>
Words TimesHigh16(const Words& a) {
    seen.factors.push_back(kFactor);
    return Each<uint32_t>([&](size_t i) { return a.lane[i] * kFactor >> 16; });
}
template <int kShift>
Words ShiftRight(const Words& a) {
    return Each<uint32_t>([&](size_t i) { return a.lane[i] >> kShift; });
}
template <int kShift>
Words ShiftRightShorts(const Words& a) {
    return Each<uint16_t>([&](size_t i) { return As<uint16_t>(a)[i] >> kShift; });
}

Words ShuffleBytes(const Words& words, const Words& control) {
    ++seen.shuffles;
    const auto bytes = As<uint8_t>(words);
    const auto take = As<uint8_t>(control);
    return Each<uint8_t>([&](size_t i) { return take[i] >= 128 ? 0 : bytes[i / 16 * 16 + take[i] % 16]; });
}
Words LowShorts(const Words& shorts) {
    return Each<uint32_t>([&](size_t i) { return As<uint16_t>(shorts)[i]; });
}
Words HighShorts(const Words& shorts) {
    return Each<uint32_t>([&](size_t i) { return As<uint16_t>(shorts)[8 + i]; });
}
Words LowEights(const Words& a, const Words& b) {
    return Each<uint32_t>([&](size_t i) { return (i % 4 < 2 ? a : b).lane[i / 4 * 4 + i % 2]; });
}
Words HighEights(const Words& a, const Words& b) {
    return Each<uint32_t>([&](size_t i) { return (i % 4 < 2 ? a : b).lane[i / 4 * 4 + 2 + i % 2]; });
}
Words PairsAdded(const Words& a, const Words& b) {
    return Each<uint32_t>([&](size_t i) {
        const size_t first = i / 4 * 4 + i % 2 * 2;
        return (i % 4 < 2 ? a : b).lane[first] + (i % 4 < 2 ? a : b).lane[first + 1];
    });
}
Words PairSums8(const Words& bytes) {
    return Each<uint16_t>([&](size_t i) { return As<uint8_t>(bytes)[2 * i] + As<uint8_t>(bytes)[2 * i + 1]; });
}
Words SumsOfShorts(const Words& shorts) {
    return Each<uint32_t>([&](size_t i) { return (shorts.lane[i] & 0xFFFF) + (shorts.lane[i] >> 16); });
}
Words PairSums16(const Words& shorts) {
    ++seen.sumsOfShorts;
    return SumsOfShorts(shorts);
}
Words PairSumsAny16(const Words& shorts) {
    ++seen.sumsOfAnyShorts;
    return SumsOfShorts(shorts);
}
// Number i of the 24 from `from` on is sample i % 3 of pixel i / 3, of which each vector has two.
ThreeVectors Threes(const Words (&pairs)[4]) {
    const auto eight = [&](size_t from) {
        return Each<uint32_t>([&](size_t i) {
            const size_t pixel = (from + i) / 3;
            return pairs[pixel / 2].lane[pixel % 2 * 4 + (from + i) % 3];
        });
    };
    return {eight(0), eight(8), eight(16)};
}

Singles ToSingles(const Words& words) {
    ++seen.conversions;
    return EachSingle([&](size_t i) { return static_cast<float>(words.lane[i]); });
}
Singles Product(const Singles& a, const Singles& b) {
    return EachSingle([&](size_t i) { return a.lane[i] * b.lane[i]; });
}
Words Truncated(const Singles& singles) {
    return Each<uint32_t>([&](size_t i) { return singles.lane[i]; });
}

}  // namespace
}  // namespace platen

#include "Sources/PX_Zoom/kernels/HorzWhole_loop.inc"

namespace {

using platen::HorzPass;
using platen::HorzTarget;
using platen::LineSink;
using platen::Mode;
using platen::seen;
using platen_test::GuardedBuffer;
using platen_test::Random;
using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// Columns of k positions, each of n samples.
template <class S, size_t k, size_t n>
struct Format {
    using Sample = S;
    using Whole = platen::WholeLine<S, k, n>;
    using Step = typename Whole::Step;
    static constexpr size_t kRatio = k, kSamples = n;
    static constexpr bool kBytes = sizeof(Sample) == 1;
    static constexpr size_t kColumnBytes = k * n * sizeof(Sample);
    using LineOnly = LineSink<Mode::kLine, kBytes>;
};

template <class Run>
void ForEachFormat(const Run& run) {
    const auto one = [&]<class S, size_t k, size_t n>(Format<S, k, n> format) {
        SCOPED_TRACE(std::to_string(n) + " samples of " + std::to_string(sizeof(S)) + " by " + std::to_string(k));
        run(format);
    };
    const auto ratio = [&]<size_t k>(std::integral_constant<size_t, k>) {
        one(Format<uint8_t, k, 1>());
        one(Format<uint8_t, k, 3>());
        one(Format<uint8_t, k, 4>());
        one(Format<uint16_t, k, 3>());
        one(Format<uint16_t, k, 4>());
        if constexpr (k != 6) {  // which has no plan
            one(Format<uint16_t, k, 1>());
        }
    };
    ratio(std::integral_constant<size_t, 2>());
    ratio(std::integral_constant<size_t, 3>());
    ratio(std::integral_constant<size_t, 4>());
    ratio(std::integral_constant<size_t, 6>());
}

// A line of random samples with a page after it, and one for its numbers, `shift` bytes after a multiple of 32.
template <class F>
class Line {
  public:
    Line(size_t columns, size_t more, Random& random, size_t shift = 0)
        : columns_(columns),
          positions_(columns * F::kRatio + more),
          src_(positions_ * F::kSamples * sizeof(typename F::Sample)),
          numbers_(columns * F::kSamples + 16),
          sums_(numbers_.size()) {
        std::generate(src_.bytes().begin(), src_.bytes().end(), [&] { return random.Byte(); });
        const auto address = reinterpret_cast<std::uintptr_t>(numbers_.data());
        first_ = ((shift - address) & 31) / sizeof(uint32_t);
        seen = {};
    }

    const uint8_t* src() const {
        return src_.data();
    }
    size_t bytes() const {
        return src_.size();
    }
    uint32_t* numbers() {
        return numbers_.data() + first_;
    }
    uint32_t* sums() {
        return sums_.data();
    }
    HorzPass Pass() const {
        return {nullptr, static_cast<int32_t>(columns_), static_cast<int32_t>(positions_),
                static_cast<int32_t>(F::kSamples), static_cast<int32_t>(sizeof(typename F::Sample))};
    }

    size_t Steps() {
        return F::Whole::Steps(typename F::LineOnly{numbers(), nullptr, 0}, src(), Pass());
    }

    // The average of a column's samples.
    uint32_t Average(size_t number) const {
        const size_t first = number / F::kSamples * F::kRatio * F::kSamples + number % F::kSamples;
        uint32_t sum = 0;
        for (size_t t = 0; t < F::kRatio; ++t) {
            typename F::Sample sample;
            std::memcpy(&sample, src() + (first + t * F::kSamples) * sizeof sample, sizeof sample);
            sum += sample;
        }
        return sum / F::kRatio;
    }

    // Whether these columns' numbers are there.
    bool Has(size_t first, size_t end) {
        for (size_t i = first * F::kSamples; i < end * F::kSamples; ++i) {
            if (numbers()[i] != Average(i)) {
                return false;
            }
        }
        return true;
    }

    // The indices of the numbers with which vectors of eight were stored in the line itself.
    std::vector<size_t> Stored() {
        std::vector<size_t> indices;
        for (const auto& [begin, count] : seen.writes) {
            const auto at = reinterpret_cast<std::uintptr_t>(begin) - reinterpret_cast<std::uintptr_t>(numbers());
            if (count == 32 && at < columns_ * F::kSamples * sizeof(uint32_t)) {
                indices.push_back(at / sizeof(uint32_t));
            }
        }
        return indices;
    }

  private:
    size_t columns_, positions_;
    GuardedBuffer src_;
    std::vector<uint32_t> numbers_, sums_;
    size_t first_ = 0;
};

class HorzWhole : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::endian::native != std::endian::little) {
            GTEST_SKIP() << "shuffles are for processors whose first byte is the lowest";
        }
    }
};

// One too many, and the last step of a line would be left to the stack; one too few, and it would leave the line.
TEST_F(HorzWhole, AStepReadsTheBytesThatItSays) {
    ForEachFormat([]<class F>(F) {
        const GuardedBuffer src(F::Step::kReads);
        seen = {};
        F::Step::Do(src.data(), [](size_t, const platen::Words&) {});
        const uint8_t* last = src.data();
        for (const auto& [begin, count] : seen.reads) {
            last = std::max(last, static_cast<const uint8_t*>(begin) + count);
        }
        EXPECT_EQ(last - src.data(), static_cast<std::ptrdiff_t>(F::Step::kReads));
    });
}

// Steps go on for as long as there are columns for one more, and the line holds the bytes that it reads.
TEST_F(HorzWhole, StepsMakeEveryColumnThatTheyCan) {
    Random random(30);
    ForEachFormat([&]<class F>(F) {
        for (size_t columns = 1; columns <= 40; ++columns) {
            for (size_t more = 0; more < 7; ++more) {
                Line<F> line(columns, more, random);
                const size_t made = line.Steps();
                ASSERT_LE(made, columns);
                ASSERT_TRUE(line.Has(0, made)) << columns << " columns and " << more;
                if (made + F::Step::kColumns <= columns) {
                    ASSERT_GT(made * F::kColumnBytes + F::Step::kReads, line.bytes())
                        << columns << " columns and " << more;
                }
            }
        }
    });
}

// Where the line begins in the middle of a vector, some columns come first, so that no store after them crosses two
// lines of the cache.
TEST_F(HorzWhole, StoresAreAlignedWhereTheLineIsTo16Bytes) {
    Random random(31);
    ForEachFormat([&]<class F>(F) {
        for (const size_t shift : {size_t{0}, size_t{16}}) {
            Line<F> line(60, 6, random, shift);
            const size_t made = line.Steps();
            EXPECT_TRUE(line.Has(0, made));
            const size_t head = shift == 0 ? 0 : F::kSamples == 3 ? 12 : 4;  // numbers
            const std::vector<size_t> stored = line.Stored();
            EXPECT_GE(std::count_if(stored.begin(), stored.end(), [&](size_t i) { return i >= head; }), 4);
            for (const size_t index : stored) {
                if (index >= head) {
                    EXPECT_EQ((reinterpret_cast<std::uintptr_t>(line.numbers()) + 4 * index) % 32, 0u) << index;
                }
            }
        }
    });
}

// The columns that come first may be all that there are, and are not made where there are fewer. The line has the
// bytes that one step reads.
TEST_F(HorzWhole, TheFirstColumnsMayBeTheWholeLine) {
    Random random(32);
    ForEachFormat([&]<class F>(F) {
        constexpr size_t kHead = F::kSamples == 4 ? 1 : 4;
        constexpr size_t kPosition = F::kColumnBytes / F::kRatio;
        const size_t positions = (F::Step::kReads + kPosition - 1) / kPosition;
        Line<F> whole(kHead, positions - kHead * F::kRatio, random, 16);
        EXPECT_EQ(whole.Steps(), kHead);
        EXPECT_TRUE(whole.Has(0, kHead));
        Line<F> fewer(kHead - 1, positions - (kHead - 1) * F::kRatio, random, 16);
        EXPECT_EQ(fewer.Steps(), 0u);
        EXPECT_TRUE(seen.writes.empty());
    });
}

// Each of the cache's lines that a step 2 KB further on reads is asked for once.
TEST_F(HorzWhole, AStepFetchesWhatALaterOneReads) {
    Random random(33);
    ForEachFormat([&]<class F>(F) {
        Line<F> line(F::Step::kColumns, 20, random);
        ASSERT_EQ(line.Steps(), F::Step::kColumns);
        const size_t bytes = F::Step::kColumns * F::kColumnBytes;
        ASSERT_EQ(seen.fetched.size(), (bytes + 63) / 64);
        for (size_t i = 0; i < seen.fetched.size(); ++i) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(seen.fetched[i]),
                      reinterpret_cast<std::uintptr_t>(line.src()) + 2048 + 64 * i);
        }
    });
}

// The cheapest operations that there are for a ratio: several others would give the same numbers.
TEST_F(HorzWhole, AStepComputesNoMoreThanItsRatioNeeds) {
    Random random(34);
    ForEachFormat([&]<class F>(F) {
        const bool byThrees = F::kRatio % 3 == 0;
        Line<F> line(F::Step::kColumns, 20, random);
        ASSERT_EQ(line.Steps(), F::Step::kColumns);
        // Quotients by 2 and 4 are shifts, those of bytes by 3 and 6 products of whole numbers.
        EXPECT_EQ(seen.conversions != 0, !F::kBytes && byThrees);
        EXPECT_EQ(seen.factors.empty(), !F::kBytes || !byThrees);
        if (F::kBytes && F::kRatio == 2) {  // a pair of bytes is all
            EXPECT_EQ(seen.sumsOfShorts, 0);
        }
        if (F::kBytes && F::kSamples == 3 && F::kRatio == 4) {  // sixteen bytes hold all of a pixel's
            EXPECT_EQ(seen.shuffles, 4);
        }
        if (!F::kBytes && F::kSamples != 1) {  // of two pixels at once; a third position is alone in its lane
            EXPECT_EQ(seen.sumsOfAnyShorts, 4 * static_cast<int>(F::kRatio / 2));
        }
    });
}

// The proof that quotients of bytes are exact is for the next number above 2^16 / k.
TEST_F(HorzWhole, QuotientsOfBytesHaveTheFactorsOfTheProof) {
    Random random(35);
    ForEachFormat([&]<class F>(F) {
        Line<F> line(F::Step::kColumns, 20, random);
        ASSERT_EQ(line.Steps(), F::Step::kColumns);
        for (const int factor : seen.factors) {
            EXPECT_EQ(factor * static_cast<int>(F::kRatio), 65536 + 2);
        }
    });
}

// A mode, and whether its products are those of 16-bit numbers.
struct Choice {
    Mode mode;
    bool narrow;
    bool operator==(const Choice&) const = default;
};

template <class Sample>
Choice SinkFor(const HorzTarget& to) {
    Choice choice = {};
    platen::WithSink<Sample>(to, {nullptr, 8, 16, 1, sizeof(Sample)},
                             [&]<Mode kMode, bool kNarrow>(const LineSink<kMode, kNarrow>&) {
                                 choice = {kMode, kNarrow};
                             });
    return choice;
}

// The line's numbers go to the sum as they are made. Only where a weight of bytes is none of pmaddwd's factors are
// they read again.
TEST_F(HorzWhole, SumsAreMadeAlongWithTheLine) {
    uint32_t line[8] = {};
    uint32_t sum[8] = {};
    for (const int32_t weight : {0, 1, 32766, 32767}) {
        EXPECT_EQ(SinkFor<uint8_t>({line, sum, weight, true}), (Choice{Mode::kFirst, true})) << weight;
        EXPECT_EQ(SinkFor<uint8_t>({line, sum, weight, false}), (Choice{Mode::kMore, true})) << weight;
    }
    for (const int32_t weight : {32768, 65535, -1, -32768}) {
        EXPECT_EQ(SinkFor<uint8_t>({line, sum, weight, true}), (Choice{Mode::kLine, true})) << weight;
    }
    for (const int32_t weight : {0, 1, 32767, 32768, 1 << 30, -1}) {
        EXPECT_EQ(SinkFor<uint16_t>({line, sum, weight, true}), (Choice{Mode::kFirst, false})) << weight;
        EXPECT_EQ(SinkFor<uint16_t>({line, sum, weight, false}), (Choice{Mode::kMore, false})) << weight;
    }
    EXPECT_EQ(SinkFor<uint8_t>({line, nullptr, 5, true}), (Choice{Mode::kLine, true}));
    EXPECT_EQ(SinkFor<uint16_t>({line, nullptr, 5, true}), (Choice{Mode::kLine, false}));
}

// Products of 32-bit numbers take twice as long as those of 16-bit ones.
TEST_F(HorzWhole, BytesAreWeighedByTheQuickerProduct) {
    Random random(36);
    ForEachFormat([&]<class F>(F) {
        for (const size_t shift : {size_t{0}, size_t{16}}) {
            Line<F> line(32, 20, random, shift);
            using Sink = LineSink<Mode::kMore, F::kBytes>;
            const size_t made = F::Whole::Steps(Sink{line.numbers(), line.sums(), 7}, line.src(), line.Pass());
            EXPECT_TRUE(line.Has(0, made));
            for (size_t i = 0; i < made * F::kSamples; ++i) {
                ASSERT_EQ(line.sums()[i], 7 * line.Average(i));
            }
            EXPECT_EQ(seen.products != 0, !F::kBytes);
            EXPECT_EQ(seen.pairProducts != 0, F::kBytes);
        }
    });
}

// The columns that are left: few samples one by one, more by steps on the stack, of which there may be several.
TEST_F(HorzWhole, LeftColumnsAreMadeOneByOneWhereTheyAreFew) {
    Random random(37);
    ForEachFormat([&]<class F>(F) {
        for (size_t first = 0; first <= 16; first += 8) {
            for (size_t left = 0; left <= 40; ++left) {
                Line<F> line(first + left, 0, random);
                F::Whole::Rest(line.numbers(), line.src(), first, first + left);
                ASSERT_TRUE(line.Has(first, first + left)) << left << " from " << first;
                ASSERT_EQ(seen.writes.empty(), left * F::kRatio * F::kSamples <= 48) << left << " from " << first;
            }
        }
    });
}

// One by one columns are averages of any number of positions, not only of those that have steps.
TEST_F(HorzWhole, ColumnsMadeOneByOneAreAveragesOfAnyNumber) {
    const uint8_t src[18] = {255, 254, 253, 7, 250, 200, 3, 91, 17, 0, 254, 253, 77, 250, 201, 30, 91, 177};
    for (size_t k = 1; k <= 9; ++k) {
        uint32_t line[2] = {};
        platen::OneByOne<uint8_t>(line, src, 1, k, 0, 2);
        for (size_t c = 0; c < 2; ++c) {
            const auto sum = std::accumulate(src + c * k, src + c * k + k, size_t{0});
            EXPECT_EQ(line[c], sum / k) << k;
        }
    }
}

// A whole line: the steps' vectors go to the line itself.
TEST_F(HorzWhole, ALineIsMadeByStepsAndThenTheRest) {
    Random random(38);
    ForEachFormat([&]<class F>(F) {
        constexpr int32_t kKinds[] = {0, 0, platen::kWhole2, platen::kWhole3, platen::kWhole4, 0, platen::kWhole6};
        for (size_t columns = 8; columns <= 41; columns += 3) {
            Line<F> line(columns, 0, random);
            const size_t made = line.Steps();
            const size_t stored = line.Stored().size();
            seen = {};
            std::fill_n(line.numbers(), columns * F::kSamples, 0xA5A5A5A5u);
            const platen::HorzPlan plan = {kKinds[F::kRatio], nullptr, nullptr, 0, columns};
            const HorzTarget to = {line.numbers(), line.sums(), 9, true};
            platen::FollowWhole(to, line.src(), line.Pass(), plan);
            EXPECT_TRUE(line.Has(0, columns));
            EXPECT_EQ(line.Stored().size(), stored) << made << " of " << columns << " columns";
            for (size_t i = 0; i < columns * F::kSamples; ++i) {
                ASSERT_EQ(line.sums()[i], 9 * line.Average(i)) << i;
            }
        }
    });
}

}  // namespace
