#include "LineFilters/Hsv.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "LineFilters/HsvRow.h"
#include "Sources/Dispatch/Kernels.h"
#include "Sources/Support/Truncate.h"

std::uint32_t gStorage[256];

namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kOutOfMemory = 1;
constexpr std::int32_t kInvalid = 3;

// gStorage is a plain array to its hosts, read and written in single steps here. The compilers' own operations,
// since not every C++20 library has std::atomic_ref.
static_assert(__atomic_always_lock_free(sizeof(std::uint32_t), nullptr), "its entries need no lock");

bool Within(std::int32_t value, std::int32_t limit) {
    return value >= -limit && value <= limit;
}

bool IsValid(const _SHsvParam& param) {
    if (param.hue == 0 && param.saturation == 0 && param.lightness == 0) {
        return false;
    }
    return Within(param.hue, 180) && Within(param.saturation, 100) && Within(param.lightness, 100) &&
           param.bitsPerPixel == 24 && param.width != 0 && param.height != 0 && param.rowBytes != 0;
}

// The table's entry for input i; 100 x 2.55 is just below 255 in double, and that is how it must be.
std::uint32_t LightnessEntry(int i, std::int32_t lightness) {
    if (lightness == 0) {
        return static_cast<std::uint32_t>(i);
    }
    const double amount = static_cast<double>(lightness < 0 ? -lightness : lightness) * 2.55;
    const double factor = (255.0 - amount) / 255.0;
    const double scaled = static_cast<double>(i) * factor;
    const double value = lightness < 0 ? scaled : scaled + amount;
    return std::min(platen::Truncate<std::uint32_t>(value), 255u);
}

void BuildLightnessTable(std::int32_t lightness) {
    for (int i = 0; i < 256; ++i) {
        __atomic_store_n(&gStorage[i], LightnessEntry(i, lightness), __ATOMIC_RELAXED);
    }
}

using LowBytes = std::array<std::uint8_t, 256>;

// What the row looks up: taken anew for every line, since hosts and other set-ups write to the table.
void ReadLightnessTable(LowBytes& lowBytes) {
    for (std::size_t i = 0; i < lowBytes.size(); ++i) {
        lowBytes[i] = static_cast<std::uint8_t>(__atomic_load_n(&gStorage[i], __ATOMIC_RELAXED));
    }
}

std::int32_t SectorOf(unsigned long angle) {
    return angle < 300 ? static_cast<std::int32_t>(angle / 60) : 5;
}

}  // namespace

std::int32_t SetupHsv(_SHsvParam* param, void** handle) {
    if (param == nullptr || handle == nullptr || !IsValid(*param)) {
        return kInvalid;
    }
    auto* context = static_cast<_SHsvParam*>(std::malloc(sizeof(_SHsvParam)));
    if (context == nullptr) {
        return kOutOfMemory;
    }
    *context = *param;
    *handle = context;
    BuildLightnessTable(context->lightness);
    return kDone;
}

std::int32_t ApplyOneLineHsv(void* handle, unsigned char* line) {
    if (handle == nullptr || line == nullptr) {
        return kInvalid;
    }
    const _SHsvParam param = *static_cast<const _SHsvParam*>(handle);
    if (!IsValid(param)) {
        return kInvalid;
    }
    if (param.width > 0) {
        LowBytes lightness;
        ReadLightnessTable(lightness);
        platen::Kernels().hsvRow(line, static_cast<std::size_t>(param.width), param.hue, param.saturation,
                                 lightness.data());
    }
    return kDone;
}

void Disposehsv(void* handle) {
    std::free(handle);
}

double GetHSLValue(double p, double q, double h) {
    if (h >= 6.0) {
        h -= 6.0;
    } else if (h < 0.0) {
        h += 6.0;
    }
    if (h < 1.0) {
        return p + (q - p) * h;
    }
    if (h < 3.0) {
        return q;
    }
    if (h < 4.0) {
        return p + (q - p) * (4.0 - h);
    }
    return p;
}

std::int32_t nowDegreeState(long angle) {
    return angle < 0 ? 5 : SectorOf(static_cast<unsigned long>(angle));
}

std::int32_t afterDegreeState(long angle) {
    const auto bits = static_cast<unsigned long>(angle);
    return SectorOf(angle < 0 ? 0ul - bits : bits);  // the lowest long has a magnitude too
}
