#include "ReaderFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::ReadWholeFile(data, size, std::string("\x89PNG\r\n\x1A\n", 8));
    return 0;
}
