#include "ReaderFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::ReadWholeFile(data, size, size > 0 && data[0] == 0x4D ? "MM" : "II");
    return 0;
}
