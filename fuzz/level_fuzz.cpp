// Levels of any settings, at any depth, on any tables, against the plain rules.

#include "ToneFuzz.h"
#include "ToneWorld/Level.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::Producer input(data, size);
    const plain::Level settings = platen_fuzz::TakeLevel(input);
    platen_fuzz::CompareOnce(SetupLevelOperation, settings, input);
    return 0;
}
