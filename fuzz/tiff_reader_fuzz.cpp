#include "ReaderFuzz.h"

#include <algorithm>
#include <cstring>

// With libFuzzer, half of the changes are made to the directories: a field's tag, type, count or value becomes one
// that means something, so that the inputs stay TIFFs. The others are its own.

namespace {

class Directories {
  public:
    Directories(std::uint8_t* data, std::size_t size)
        : data_(data), size_(size), big_(size > 0 && data[0] == 'M') {}

    // The places of all fields, directory by directory.
    std::vector<std::size_t> Fields() const {
        std::vector<std::size_t> fields;
        std::size_t at = size_ >= 8 ? Get(4, 4) : 0;
        for (int directories = 0; directories < 8 && at >= 8 && at + 2 <= size_; ++directories) {
            const std::size_t count = Get(at, 2);
            at += 2;
            for (std::size_t i = 0; i < count && at + 12 <= size_; ++i, at += 12) {
                fields.push_back(at);
            }
            at = at + 4 <= size_ ? Get(at, 4) : 0;
        }
        return fields;
    }
    void Put(std::size_t at, std::size_t bytes, std::uint32_t value) {
        for (std::size_t i = 0; i < bytes && at + i < size_; ++i) {
            const std::size_t shift = 8 * (big_ ? bytes - 1 - i : i);
            data_[at + i] = static_cast<std::uint8_t>(value >> shift);
        }
    }

  private:
    std::uint32_t Get(std::size_t at, std::size_t bytes) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            value |= std::uint32_t{data_[at + i]} << 8 * (big_ ? bytes - 1 - i : i);
        }
        return value;
    }

    std::uint8_t* data_;
    std::size_t size_;
    bool big_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most)
    __attribute__((weak));

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    static constexpr std::uint16_t kTags[] = {254, 256, 257, 258, 259, 262, 266, 269, 270, 273,   274,   277,
                                              278, 279, 282, 283, 284, 292, 296, 305, 306, 317,   320,   322,
                                              323, 324, 325, 330, 338, 339, 347, 530, 532, 34675, 34665, 50838};
    static constexpr std::uint32_t kValues[] = {
        0,   1,   2,     3,     4,     5,     6,     7,          8,          16,         32,    64,
        255, 256, 32773, 32946, 50000, 65535, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 34676, 34887};
    std::uint32_t state = seed;
    const auto next = [&state](std::size_t count) {
        state = state * 1664525u + 1013904223u;
        return static_cast<std::size_t>(state >> 8) % count;
    };
    Directories directories(data, size);
    const std::vector<std::size_t> fields = directories.Fields();
    if (fields.empty() || next(2) == 0) {
        return LLVMFuzzerMutate != nullptr ? LLVMFuzzerMutate(data, size, most) : size;
    }
    for (std::size_t changes = 1 + next(3); changes != 0; --changes) {
        const std::size_t field = fields[next(fields.size())];
        switch (next(5)) {
            case 0:
                directories.Put(field, 2, kTags[next(std::size(kTags))]);
                break;
            case 1:
                directories.Put(field + 2, 2, static_cast<std::uint32_t>(next(19)));
                break;
            case 2:
                directories.Put(field + 4, 4, kValues[next(std::size(kValues))]);
                break;
            case 3:
                directories.Put(field + 8, 4, static_cast<std::uint32_t>(next(size + 8)));
                break;
            default:
                directories.Put(field + 8, next(2) == 0 ? 2 : 4, kValues[next(std::size(kValues))]);
                break;
        }
    }
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::ReadWholeFile(data, size, size > 0 && data[0] == 0x4D ? "MM" : "II");
    return 0;
}
