#include <algorithm>

#include "ReaderFuzz.h"

namespace {

// Bitwise, since inputs are short: the check sum that ends every PNG chunk.
std::uint32_t Crc(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
        }
    }
    return ~crc;
}

std::uint32_t Get32(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

// Makes the check sums right, or no changed byte would ever get past them.
void RepairChecksums(std::vector<std::uint8_t>& file) {
    for (std::size_t at = 8; at + 12 <= file.size();) {
        const std::size_t length = std::min<std::size_t>(Get32(file.data() + at), file.size() - at - 12);
        const std::uint32_t crc = Crc(file.data() + at + 4, length + 4);
        for (std::size_t i = 0; i < 4; ++i) {
            file[at + 8 + length + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
        }
        at += 12 + length;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string magic("\x89PNG\r\n\x1A\n", 8);
    platen_fuzz::ReadWholeFile(data, size, magic);
    std::vector<std::uint8_t> repaired(data, data + size);
    RepairChecksums(repaired);
    platen_fuzz::ReadWholeFile(repaired.data(), repaired.size(), magic);
    return 0;
}
