// Brightness/contrast of any settings, at any depth, on any tables, against the plain rules.

#include "ToneFuzz.h"
#include "ToneWorld/BrightnessContrast.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platen_fuzz::Producer input(data, size);
    const plain::BrightnessContrast settings = platen_fuzz::TakeBrightnessContrast(input);
    platen_fuzz::CompareOnce(SetupBrightnessContrastOperation, settings, input);
    return 0;
}
