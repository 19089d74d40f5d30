#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPlan.h"

// 64-bit processors only: on 32-bit x86 GCC 12 can drop such code. It computes an address from a null base and then
// takes the function for one without effects; tests/compiler/null_base.cpp has the fault, reduced. It dropped an
// earlier form of this pass. There the plain pass serves, as elsewhere.
#if defined(__x86_64__)

#include <emmintrin.h>

// What HorzTaps_loop.inc asks of a target, with 16-byte registers: four lanes are four columns of one sample, or
// one pixel of three or four samples.

namespace platen {
namespace {

using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

using Words = __m128i;
using Singles = __m128;
struct Doubles {
    __m128d low, high;  // lanes 0 and 1, 2 and 3
};

constexpr size_t kLanes = 4;

Words All(int32_t value) {
    return _mm_set1_epi32(value);
}
Doubles All(double value) {
    return {_mm_set1_pd(value), _mm_set1_pd(value)};
}

Words LoadAligned(const int32_t* from) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
}
Singles LoadAligned(const float* from) {
    return _mm_load_ps(from);
}
Doubles LoadAligned(const double* from) {
    return {_mm_load_pd(from), _mm_load_pd(from + 2)};
}

Words Add(Words a, Words b) {
    return _mm_add_epi32(a, b);
}
Words SumOfProducts(Words pairs, Words weights) {
    return _mm_madd_epi16(pairs, weights);
}

Singles ToSingles(Words words) {
    return _mm_cvtepi32_ps(words);
}
Doubles ToDoubles(Words words) {
    return {_mm_cvtepi32_pd(words), _mm_cvtepi32_pd(_mm_unpackhi_epi64(words, words))};
}
Words Truncated(Singles floats) {
    return _mm_cvttps_epi32(floats);
}
Words Truncated(Doubles doubles) {
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(doubles.low), _mm_cvttpd_epi32(doubles.high));
}
Singles Quotient(Singles a, Singles b) {
    return _mm_div_ps(a, b);
}
Doubles Quotient(Doubles a, Doubles b) {
    return {_mm_div_pd(a.low, b.low), _mm_div_pd(a.high, b.high)};
}
Doubles Product(Doubles a, Doubles b) {
    return {_mm_mul_pd(a.low, b.low), _mm_mul_pd(a.high, b.high)};
}
Doubles Add(Doubles a, Doubles b) {
    return {_mm_add_pd(a.low, b.low), _mm_add_pd(a.high, b.high)};
}

// Per column to per lane, for pixels of several samples.
Words Spread(const int32_t* columns) {
    return _mm_set1_epi32(*columns);
}
Singles Spread(const float* columns) {
    return _mm_set1_ps(*columns);
}
Doubles Spread(const double* columns) {
    return All(*columns);
}

Words Load4(const uint8_t* from) {
    int32_t word;
    __builtin_memcpy(&word, from, sizeof word);
    return _mm_cvtsi32_si128(word);
}

Words Load8(const uint8_t* from) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
}

// Four bytes from each of four places.
Words Gather4(const uint8_t* src, const int32_t* at) {
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(Load4(src + at[0]), Load4(src + at[1])),
                              _mm_unpacklo_epi32(Load4(src + at[2]), Load4(src + at[3])));
}

// From two registers the even or the odd 32-bit lanes.
Words Evens(Words a, Words b) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
}
Words Odds(Words a, Words b) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0xDD));
}

Words Biased(Words samples) {
    return _mm_xor_si128(samples, _mm_set1_epi16(-32768));
}

struct Taps {
    Words first, second;  // pairs of 16-bit taps 0 and 1, 2 and 3
};

// How four or two taps of a step's columns are fetched; what a column may read from its first tap on.
template <class Sample, int kSamples>
struct Fetch {
    static constexpr bool kWide = sizeof(Sample) == 2;
    static constexpr size_t kPixel = kSamples * sizeof(Sample);
    static constexpr size_t kFourTapsBytes = 3 * kPixel + 4 * sizeof(Sample);
    static constexpr size_t kTwoTapsBytes = kPixel + 4 * sizeof(Sample);

    static Taps Four(const uint8_t* src, const int32_t* at) {
        return {Two(src, at), Two(src + 2 * kPixel, at)};
    }
    static Words Two(const uint8_t* src, const int32_t* at) {
        if constexpr (kWide) {
            return Biased(_mm_unpacklo_epi16(Load8(src + *at), Load8(src + *at + kPixel)));
        } else {
            const Words bytes = _mm_unpacklo_epi8(Load4(src + *at), Load4(src + *at + kPixel));
            return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
        }
    }
    static void Put(uint32_t* out, Words pixel) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), pixel);
    }
};

template <>
struct Fetch<uint8_t, 1> {
    static constexpr size_t kFourTapsBytes = 4;
    static constexpr size_t kTwoTapsBytes = 4;

    static Taps Four(const uint8_t* src, const int32_t* at) {
        return InPairs(Gather4(src, at));
    }
    static Words Two(const uint8_t* src, const int32_t* at) {
        return Four(src, at).first;
    }
    static void Put(uint32_t* out, Words columns) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), columns);
    }

  private:
    static Taps InPairs(Words bytes) {
        const Words low = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
        const Words high = _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
        return {Evens(low, high), Odds(low, high)};
    }
};

template <>
struct Fetch<uint16_t, 1> {
    static constexpr size_t kFourTapsBytes = 8;
    static constexpr size_t kTwoTapsBytes = 4;

    static Taps Four(const uint8_t* src, const int32_t* at) {
        const Words low = _mm_unpacklo_epi64(Load8(src + at[0]), Load8(src + at[1]));
        const Words high = _mm_unpacklo_epi64(Load8(src + at[2]), Load8(src + at[3]));
        return {Biased(Evens(low, high)), Biased(Odds(low, high))};
    }
    static Words Two(const uint8_t* src, const int32_t* at) {
        return Biased(Gather4(src, at));
    }
    static void Put(uint32_t* out, Words columns) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), columns);
    }
};

}  // namespace
}  // namespace platen

#include "Sources/PX_Zoom/kernels/HorzTaps_loop.inc"

namespace platen {
namespace {

// Four columns of grey: the first tap's place in its window, clamped as all places are; then `moved` is set.
Words ThreeTaps(const uint8_t* src, size_t last, const uint8_t* block, const uint32_t* places, size_t c,
                bool& moved) {
    const uint8_t* const in = block + kPlanVector + 16;
    int32_t at[4];
    for (size_t i = 0; i < 4; ++i) {
        const size_t place = size_t{places[c / 4]} + in[c + i];
        at[i] = static_cast<int32_t>(place < last ? place : last);
        moved |= place > last;
    }
    const Taps taps = Fetch<uint8_t, 1>::Four(src, at);
    const Words pair = LoadAligned(reinterpret_cast<const int32_t*>(block) + c);
    const Words third = _mm_unpacklo_epi16(Load8(block + kPlanVector + 2 * c), _mm_setzero_si128());
    const Words ones = All(0x00010001);
    const Words sums = Add(SumOfProducts(taps.first, pair), SumOfProducts(taps.second, third));
    return Divisors<uint8_t>::Divide(sums, ToSingles(Add(SumOfProducts(ones, pair), SumOfProducts(ones, third))));
}

// Columns from the block on in which four bytes would leave the line are made by their records.
void FollowThreeTaps(uint32_t* out, const uint8_t* src, const HorzPass& pass, const HorzPlan& plan) {
    const size_t last = static_cast<size_t>(pass.srcWidth) - 4;
    size_t made = plan.columns;
    for (size_t b = 0; b < plan.count; ++b) {
        const uint8_t* const block = plan.blocks + b * 2 * kPlanVector;
        const size_t first = FirstOf(b, plan);
        bool moved = false;
        for (size_t c = 0; c < kPlanColumns; c += 4) {
            Fetch<uint8_t, 1>::Put(out + first + c, ThreeTaps(src, last, block, plan.places + 2 * b, c, moved));
        }
        made = moved && first < made ? first : made;
    }
    if (made < plan.columns) {
        reference::ExpandColumns(out, src, pass, static_cast<int32_t>(made));
    }
}

void Follow(const HorzTarget& to, const uint8_t* src, const HorzPass& pass, const HorzPlan& plan) {
    if (plan.kind == kPairsDivided) {
        FollowThreeTaps(to.line, src, pass, plan);
    } else {
        FollowTaps(to.line, src, pass, plan);
    }
}

}  // namespace

constinit const HorzKernels kHorz_sse2 = {.kinds = PlanBit(kPairsDivided) | PlanBit(kTaps) | PlanBit(kTapsDivided),
                                          .sums = 0,
                                          .follow = Follow,
                                          .keepU8 = Keep<uint8_t>,
                                          .keepU16 = Keep<uint16_t>};

}  // namespace platen

#else

namespace platen {

constinit const HorzKernels kHorz_sse2 = {
    .kinds = 0, .sums = 0, .follow = nullptr, .keepU8 = nullptr, .keepU16 = nullptr};

}  // namespace platen

#endif
