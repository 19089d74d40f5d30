#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/HorzPass.h"

// 64-bit processors only: on 32-bit x86 GCC 12 takes a block's function for one without effects, though its own
// dump of it ends in the store, and drops the calls (its late analyses: -fno-ipa-pure-const with -fno-ipa-modref
// gives right results). There the plain pass serves, as elsewhere.
#if defined(__x86_64__)

#include <emmintrin.h>

// What HorzPass_loop.inc asks of a target, with 16-byte registers: four lanes are four columns of one sample, or
// one pixel of three or four samples.

namespace platen {
namespace {

using std::int32_t;
using std::size_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

using Words = __m128i;
using Floats = __m128;
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

Words Load(const int32_t* from) {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
}
Floats Load(const float* from) {
    return _mm_load_ps(from);
}
Doubles Load(const double* from) {
    return {_mm_load_pd(from), _mm_load_pd(from + 2)};
}
void Store(int32_t* to, Words words) {
    _mm_store_si128(reinterpret_cast<__m128i*>(to), words);
}
void Store(float* to, Floats floats) {
    _mm_store_ps(to, floats);
}
void Store(double* to, Doubles doubles) {
    _mm_store_pd(to, doubles.low);
    _mm_store_pd(to + 2, doubles.high);
}

Words Add(Words a, Words b) {
    return _mm_add_epi32(a, b);
}
Words Subtract(Words a, Words b) {
    return _mm_sub_epi32(a, b);
}
Words Equal(Words a, Words b) {
    return _mm_cmpeq_epi32(a, b);
}
Words And(Words a, Words b) {
    return _mm_and_si128(a, b);
}
Words Or(Words a, Words b) {
    return _mm_or_si128(a, b);
}
Words Pick(Words mask, Words yes, Words no) {
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}
Words High(Words words) {
    return _mm_slli_epi32(words, 16);
}
Words SumOfProducts(Words pairs, Words weights) {
    return _mm_madd_epi16(pairs, weights);
}

Floats ToFloats(Words words) {
    return _mm_cvtepi32_ps(words);
}
Doubles ToDoubles(Words words) {
    return {_mm_cvtepi32_pd(words), _mm_cvtepi32_pd(_mm_unpackhi_epi64(words, words))};
}
Words Truncated(Floats floats) {
    return _mm_cvttps_epi32(floats);
}
Words Truncated(Doubles doubles) {
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(doubles.low), _mm_cvttpd_epi32(doubles.high));
}
Floats Quotient(Floats a, Floats b) {
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
Floats Spread(const float* columns) {
    return _mm_set1_ps(*columns);
}
Doubles Spread(const double* columns) {
    return All(*columns);
}

Words Sixteen(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

struct Records {
    Words start, startWeight, wholeEnd, endWeight, weightSum;
};

// Four records, turned.
[[gnu::always_inline]] inline Records LoadRecords(const PX_Zoom2_Param* p) {
    const Words a = Sixteen(&p[0].start);
    const Words b = Sixteen(&p[1].start);
    const Words c = Sixteen(&p[2].start);
    const Words d = Sixteen(&p[3].start);
    const Words starts01 = _mm_unpacklo_epi32(a, b);
    const Words starts23 = _mm_unpacklo_epi32(c, d);
    const Words ends01 = _mm_unpackhi_epi32(a, b);
    const Words ends23 = _mm_unpackhi_epi32(c, d);
    const Words sums01 = _mm_unpackhi_epi32(Sixteen(&p[0].endWeight), Sixteen(&p[1].endWeight));
    const Words sums23 = _mm_unpackhi_epi32(Sixteen(&p[2].endWeight), Sixteen(&p[3].endWeight));
    return {_mm_unpacklo_epi64(starts01, starts23), _mm_unpackhi_epi64(starts01, starts23),
            _mm_unpacklo_epi64(ends01, ends23), _mm_unpackhi_epi64(ends01, ends23),
            _mm_unpacklo_epi64(sums01, sums23)};
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

struct EightTaps {
    Taps first, last;
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
    static constexpr size_t kNearBytes = 4;
    static constexpr size_t kEightTapsBytes = 8;

    static Taps Four(const uint8_t* src, const int32_t* at) {
        return InPairs(Gather4(src, at));
    }
    static Taps NearFour(const uint8_t* src, const PX_Zoom2_Param* p, Words) {
        const int32_t at[4] = {p[0].start, p[1].start, p[2].start, p[3].start};
        return Four(src, at);
    }
    static Words NearTwo(const uint8_t* src, const PX_Zoom2_Param* p, Words starts) {
        return NearFour(src, p, starts).first;
    }
    // Taps 0 to 3, and four from `last` on.
    static EightTaps Eight(const uint8_t* src, const PX_Zoom2_Param* p, int last) {
        const Words a = _mm_unpacklo_epi64(Load8(src + p[0].start), Load8(src + p[1].start));
        const Words b = _mm_unpacklo_epi64(Load8(src + p[2].start), Load8(src + p[3].start));
        const Words bits = _mm_cvtsi32_si128(8 * last);
        return {InPairs(Evens(a, b)), InPairs(Evens(_mm_srl_epi64(a, bits), _mm_srl_epi64(b, bits)))};
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

#define KERNEL_TARGET baseline
#include "Sources/PX_Zoom/kernels/HorzPass_loop.inc"

#else

namespace platen {

void ExpandHorzU8_baseline(std::uint32_t* out, const std::uint8_t* src, const HorzPass& pass) {
    reference::ExpandHorz<std::uint32_t>(out, src, pass);
}

void ExpandHorzU16_baseline(std::uint32_t* out, const std::uint16_t* src, const HorzPass& pass) {
    reference::ExpandHorz<std::uint32_t>(out, src, pass);
}

}  // namespace platen

#endif
