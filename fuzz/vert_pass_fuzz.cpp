// The scaler's vertical passes and bilevel lines: every variant against the reference, with any content and
// weights.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Producer.h"
#include "Sources/Dispatch/Kernels.h"

namespace {

using platen::KernelTable;
using platen_fuzz::Producer;

constexpr std::int64_t kMost = 300;
constexpr std::int64_t kUsual = 48;  // a few vectors; more takes longer

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// A block of its own, exactly as long, so that AddressSanitizer sees a byte too far; samples begin `shift` bytes
// in.
template <class T>
class Line {
  public:
    explicit Line(std::size_t count, std::size_t shift = 0)
        : size_(count * sizeof(T) + shift), shift_(shift), bytes_(std::make_unique<unsigned char[]>(size_)) {}

    T* data() const {
        return reinterpret_cast<T*>(bytes_.get() + shift_);
    }
    bool operator==(const Line& other) const {
        return std::memcmp(bytes_.get(), other.bytes_.get(), size_) == 0;
    }

  private:
    std::size_t size_;
    std::size_t shift_;
    std::unique_ptr<unsigned char[]> bytes_;
};

std::size_t TakeCount(Producer& producer) {
    const std::int64_t number = producer.Between(0, 16 * kMost - 1);
    return static_cast<std::size_t>(1 + (number < kMost ? number : number % kUsual));
}

struct Input {
    std::size_t count;
    std::size_t shift;
    std::int32_t weight;
    platen::VertWeights weights;
    Line<std::uint32_t> upper;
    Line<std::uint32_t> lower;
    Line<double> doubles;

    explicit Input(Producer& producer)
        : count(TakeCount(producer)),
          shift(producer.Flip() ? 1 : 0),
          weight(producer.Take<std::int32_t>()),
          weights{},
          upper(count),
          lower(count),
          doubles(count) {
        const auto mask = ~std::uint32_t{0} >> producer.Between(0, 31);
        weights.sum = static_cast<std::int32_t>((producer.Take<std::uint32_t>() & mask & 0x7FFFFFFFu) | 1u);
        weights.upper = static_cast<std::int32_t>(producer.Between(0, weights.sum));
        weights.lower = producer.Flip() ? weights.sum - weights.upper : producer.Take<std::int32_t>();
        const std::uint32_t work = producer.Flip() ? 255 : producer.Flip() ? 65535 : 0xFFFFFFFFu;
        for (std::size_t k = 0; k < count; ++k) {
            upper.data()[k] = producer.Take<std::uint32_t>() & work;
            lower.data()[k] = producer.Take<std::uint32_t>() & work;
            doubles.data()[k] = upper.data()[k] * 0.5 * weights.sum;
        }
    }
};

template <class S, class Run>
void CompareSamples(const Input& in, const KernelTable& fast, const KernelTable& reference, const Run& run) {
    const std::size_t shift = sizeof(S) == 2 ? in.shift : 0;
    const Line<S> out(in.count, shift);
    const Line<S> expected(in.count, shift);
    run(*fast.vert, out.data());
    run(*reference.vert, expected.data());
    Require(out == expected);
}

template <class A, class Kernel>
void CompareSums(const Input& in, const KernelTable& fast, const KernelTable& reference, Kernel kernel) {
    const Line<A> acc(in.count);
    const Line<A> expected(in.count);
    for (std::size_t k = 0; k < in.count; ++k) {
        acc.data()[k] = static_cast<A>(in.lower.data()[k]);
        expected.data()[k] = static_cast<A>(in.lower.data()[k]);
    }
    (fast.vert->*kernel)(acc.data(), in.upper.data(), in.weight, in.count);
    (reference.vert->*kernel)(expected.data(), in.upper.data(), in.weight, in.count);
    Require(acc == expected);
}

void ComparePasses(const Input& in, const KernelTable& fast, const KernelTable& reference) {
    using platen::VertKernels;
    CompareSums<std::uint32_t>(in, fast, reference, &VertKernels::setU32);
    CompareSums<std::uint32_t>(in, fast, reference, &VertKernels::addU32);
    CompareSums<double>(in, fast, reference, &VertKernels::setF64);
    CompareSums<double>(in, fast, reference, &VertKernels::addF64);
    const auto* const upper = in.upper.data();
    const auto* const lower = in.lower.data();
    CompareSamples<std::uint8_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint8_t* out) {
        kernels.reduceU32ToU8(out, upper, in.weights.sum, in.count);
    });
    CompareSamples<std::uint16_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint16_t* out) {
        kernels.reduceU32ToU16(out, upper, in.weights.sum, in.count);
    });
    CompareSamples<std::uint8_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint8_t* out) {
        kernels.reduceF64ToU8(out, in.doubles.data(), in.weights.sum, in.count);
    });
    CompareSamples<std::uint16_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint16_t* out) {
        kernels.reduceF64ToU16(out, in.doubles.data(), in.weights.sum, in.count);
    });
    CompareSamples<std::uint8_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint8_t* out) {
        kernels.expandU32ToU8(out, upper, lower, in.weights, in.count);
    });
    CompareSamples<std::uint16_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint16_t* out) {
        kernels.expandU32ToU16(out, upper, lower, in.weights, in.count);
    });
    CompareSamples<std::uint8_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint8_t* out) {
        kernels.expandF64ToU8(out, upper, lower, in.weights, in.count);
    });
    CompareSamples<std::uint16_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint16_t* out) {
        kernels.expandF64ToU16(out, upper, lower, in.weights, in.count);
    });
    CompareSamples<std::uint8_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint8_t* out) {
        kernels.equalToU8(out, upper, in.count);
    });
    CompareSamples<std::uint16_t>(in, fast, reference, [&](const VertKernels& kernels, std::uint16_t* out) {
        kernels.equalToU16(out, upper, in.count);
    });
}

// The work line's bytes serve as a packed line, then as one of bytes.
void CompareBilevel(const Input& in, const KernelTable& fast, const KernelTable& reference) {
    const auto width = static_cast<std::int32_t>(in.count);
    const std::size_t packed = (in.count + 7) / 8;
    const Line<std::uint8_t> bits(packed);
    std::memcpy(bits.data(), in.upper.data(), packed);
    const Line<std::uint8_t> bytes(in.count);
    std::memcpy(bytes.data(), in.lower.data(), in.count);
    const Line<std::uint8_t> unpacked(in.count), unpackedByReference(in.count);
    fast.unpackBits(unpacked.data(), bits.data(), width);
    reference.unpackBits(unpackedByReference.data(), bits.data(), width);
    Require(unpacked == unpackedByReference);
    const Line<std::uint8_t> repacked(packed), repackedByReference(packed);
    fast.packBits(repacked.data(), bytes.data(), width);
    reference.packBits(repackedByReference.data(), bytes.data(), width);
    Require(repacked == repackedByReference);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer producer(data, size);
    const Input input(producer);
    const auto variants = platen::AvailableKernels();
    for (const KernelTable* variant : variants.subspan(1)) {
        ComparePasses(input, *variant, *variants[0]);
        CompareBilevel(input, *variant, *variants[0]);
    }
    return 0;
}
