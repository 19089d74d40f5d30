// The HSV filter: any record; where it is a valid one, lines against an oracle.

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "LineFilters/Hsv.h"
#include "Producer.h"
#include "Sources/Dispatch/Kernels.h"
#include "tests/oracles/HsvOracle.h"

namespace {

using platen_fuzz::Producer;

constexpr std::size_t kMostPixels = 256;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Mostly a few vectors' worth.
std::int32_t TakeWidth(Producer& producer) {
    const auto width = static_cast<std::int32_t>(producer.Between(-2, 8 * kMostPixels));
    return width <= static_cast<std::int32_t>(kMostPixels) ? width : width % 40;
}

_SHsvParam TakeRecord(Producer& producer) {
    _SHsvParam param{};
    param.hue = static_cast<std::int32_t>(producer.Between(-182, 182));
    param.saturation = static_cast<std::int32_t>(producer.Between(-102, 102));
    param.lightness = static_cast<std::int32_t>(producer.Between(-102, 102));
    param.bitsPerPixel = 24;
    param.width = TakeWidth(producer);
    param.height = producer.Take<std::uint8_t>();
    param.rowBytes = producer.Take<std::uint8_t>();
    if (producer.Take<std::uint8_t>() % 8 == 7) {  // one field at random
        auto* words = reinterpret_cast<std::uint8_t*>(&param);
        const std::size_t field = static_cast<std::size_t>(producer.Between(0, 6));
        const std::uint32_t value = producer.Take<std::uint32_t>();
        if (field != 4 || static_cast<std::int32_t>(value) <= static_cast<std::int32_t>(kMostPixels)) {
            std::memcpy(words + 4 * field, &value, 4);
        }
    }
    return param;
}

bool InRange(std::int64_t value, std::int64_t limit) {
    return value * value <= limit * limit;
}

bool ShouldBeTaken(const _SHsvParam& p) {
    const bool changes = p.hue != 0 || p.saturation != 0 || p.lightness != 0;
    const bool ranges = InRange(p.hue, 180) && InRange(p.saturation, 100) && InRange(p.lightness, 100);
    return changes && ranges && p.bitsPerPixel == 24 && p.width != 0 && p.height != 0 && p.rowBytes != 0;
}

// One line, taken from the input, through every kernel variant.
void CompareLine(void* handle, const _SHsvParam& param, const platen_test::HsvOracle& oracle, Producer& producer) {
    const std::size_t size = param.width > 0 ? 3 * static_cast<std::size_t>(param.width) : 0;
    std::uint8_t source[3 * kMostPixels];
    std::uint8_t expected[3 * kMostPixels];
    producer.Fill(source, size);
    for (std::size_t i = 0; i < size; i += 3) {
        oracle.Apply(source + i, expected + i);
    }
    // A block of its own, exactly as long, so that AddressSanitizer sees a byte too far.
    auto* line = static_cast<std::uint8_t*>(std::malloc(size + 1));
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        std::memcpy(line + 1, source, size);
        Require(ApplyOneLineHsv(handle, line + 1) == 0);
        Require(std::memcmp(expected, line + 1, size) == 0);
    }
    std::free(line);
}

void CompareParts(Producer& producer) {
    const auto angle = static_cast<long>(producer.Take<std::int64_t>());
    const std::int32_t now = nowDegreeState(angle);
    const std::int32_t after = afterDegreeState(angle);
    Require(now >= 0 && now <= 5 && after >= 0 && after <= 5);
    Require(angle < 0 ? now == 5 : now == after);
    GetHSLValue(producer.Take<double>(), producer.Take<double>(), producer.Take<double>());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer producer(data, size);
    _SHsvParam param = TakeRecord(producer);
    void* handle = nullptr;
    const std::int32_t status = SetupHsv(&param, &handle);
    Require(status == (ShouldBeTaken(param) ? 0 : 3));
    if (status == 0) {
        const platen_test::HsvOracle oracle(param.hue, param.saturation, param.lightness);
        for (int lines = 0; lines < 4 && producer.Left() != 0; ++lines) {
            CompareLine(handle, param, oracle, producer);
        }
        Disposehsv(handle);
    } else {
        Require(handle == nullptr);
        CompareParts(producer);
    }
    return 0;
}
