// ICC profiles of CMYK pages, which anyone may have put into a file. The first byte says how the samples lie. An
// Error is a right answer; where colours come out, as many as went in, and the same ones for the same pixels.

#include <cstdlib>
#include <string>
#include <vector>

#include "OutputFolder.h"
#include "programs/base/Error.h"
#include "programs/io/ColourTransform.h"

using namespace platen_tool;
using platen_fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const auto from = static_cast<ColourTransform::From>(data[0] % 3);  // Lab looks at no profile
    const std::vector<std::uint8_t> profile(data + 1, data + size);
    try {
        ColourTransform transform(from, profile, "the file");
        Require(transform.Samples() == 4 && !transform.Notice().empty());
        constexpr std::size_t kPixels = 9;
        const std::size_t sampleBytes = transform.SampleBytes();
        std::vector<std::uint8_t> in(kPixels * 4 * sampleBytes);
        for (std::size_t i = 0; i < in.size(); ++i) {
            in[i] = i < in.size() / 3 ? 0 : i < in.size() / 2 ? 255 : data[i * 7 % size];
        }
        std::vector<std::uint8_t> again = in;
        std::vector<std::uint8_t> out(kPixels * 3 * sampleBytes, 1);
        std::vector<std::uint8_t> outAgain(kPixels * 3 * sampleBytes, 2);
        transform.Apply(in.data(), out.data(), kPixels);
        transform.Apply(again.data(), outAgain.data(), kPixels);
        Require(out == outAgain);
    } catch (const Error& error) {
        Require(error.what()[0] != '\0');
    }
    return 0;
}
