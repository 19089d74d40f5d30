#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/VertPass.h"

// The compiler's own vectors, of which it makes what the processor has.

// Where a processor has no vectors GCC warns that functions of other compilers would take them elsewhere; all of
// these are this file's own.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace platen {
namespace {

using Vector = std::uint32_t __attribute__((vector_size(16)));
using Floats = float __attribute__((vector_size(16)));
using Signed = std::int32_t __attribute__((vector_size(16)));
using Wide = std::uint64_t __attribute__((vector_size(32)));
using Words = std::uint16_t __attribute__((vector_size(8)));
using Bytes = std::uint8_t __attribute__((vector_size(4)));

Vector Load(const void* from) {
    Vector a;
    __builtin_memcpy(&a, from, sizeof a);
    return a;
}

void Store(void* to, Vector a) {
    __builtin_memcpy(to, &a, sizeof a);
}

Vector All32(std::uint32_t value) {
    return Vector{value, value, value, value};
}

Floats AllFloats(float value) {
    return Floats{value, value, value, value};
}

constexpr bool kMulsAll32 = true;

Vector Add32(Vector a, Vector b) {
    return a + b;
}

Vector Mul32(Vector a, Vector factor) {
    return a * factor;
}

Vector Or(Vector a, Vector b) {
    return a | b;
}

Vector And(Vector a, Vector b) {
    return a & b;
}

Vector TruncatedProduct(Vector a, Floats r) {
    const Floats product = __builtin_convertvector(reinterpret_cast<Signed>(a), Floats) * r;
    return reinterpret_cast<Vector>(__builtin_convertvector(product, Signed));
}

struct Shift32 {
    int count;
};

Shift32 MakeShift32(int count) {
    return {count};
}

Vector ShiftRight32(Vector a, Shift32 by) {
    return a >> by.count;
}

struct Divisor32 {
    std::uint32_t multiplier;
    std::uint32_t addend;
    int shift;
};

Divisor32 MakeDivisor32(std::uint32_t multiplier, std::uint32_t addend, int shift) {
    return {multiplier, addend, shift};
}

Vector Divide32(Vector a, const Divisor32& divisor) {
    const Wide sum = __builtin_convertvector(a, Wide) * divisor.multiplier + divisor.addend;
    return __builtin_convertvector(sum >> (32 + divisor.shift), Vector);
}

Vector HalvesOf32(Vector a, Vector b) {
    const Words words[2] = {__builtin_convertvector(a, Words), __builtin_convertvector(b, Words)};
    Vector halves;
    __builtin_memcpy(&halves, words, sizeof halves);
    return halves;
}

Vector BytesOf32(Vector a, Vector b, Vector c, Vector d) {
    const Bytes bytes[4] = {__builtin_convertvector(a, Bytes), __builtin_convertvector(b, Bytes),
                            __builtin_convertvector(c, Bytes), __builtin_convertvector(d, Bytes)};
    Vector packed;
    __builtin_memcpy(&packed, bytes, sizeof packed);
    return packed;
}

}  // namespace
}  // namespace platen

#define KERNEL_TARGET baseline
#include "Sources/PX_Zoom/kernels/VertPass_loop.inc"
