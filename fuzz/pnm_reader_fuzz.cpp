#include "ReaderFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::ReadWholeFile(data, size, "P");
    return 0;
}
