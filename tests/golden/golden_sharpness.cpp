// The sharpness filter: small images of every level and layout through Put and Get, padding included, some pushed
// past their height or fetched out of turn.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "LineFilters/Sharpness.h"
#include "golden/Golden.h"
#include "support/Random.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

void FillRandom(platen_test::Random& random, Bytes& line) {
    const bool extremes = random.OneIn(4);
    for (std::uint8_t& byte : line) {
        byte = extremes ? static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0) : random.Byte();
    }
}

void Get(void** handle, Bytes& line, platen_test::GoldenOutput& out) {
    out.Add("get", ApplySharpFilterGetLine(handle, line.data()));
    out.AddAll("line", line);
}

void Case(std::uint64_t number, platen_test::GoldenOutput& out) {
    platen_test::Random random(number);
    _SSharpParam param{};
    param.level = static_cast<std::int32_t>(random.Between(-3, 4));
    param.bitsPerPixel = random.OneIn(2) ? 24 : 8;
    param.width = static_cast<std::uint32_t>(random.Between(2, 40));
    param.height = static_cast<std::uint32_t>(random.Between(1, 7));
    param.rowBytes = param.width * param.bitsPerPixel / 8 + static_cast<std::uint32_t>(random.Between(-1, 5));
    out.Add("level", param.level);
    out.Add("bitsPerPixel", param.bitsPerPixel);
    out.Add("width", param.width);
    out.Add("height", param.height);
    out.Add("rowBytes", param.rowBytes);
    void* handle = nullptr;
    const std::int32_t status = SetupSharp(&param, &handle);
    out.Add("setup", status);
    if (status != 0) {
        return;
    }
    const std::uint32_t lines = param.height + (random.OneIn(4) ? 2 : 0);
    Bytes source(param.rowBytes);
    Bytes finished(param.rowBytes);
    for (std::uint32_t y = 0; y < lines; ++y) {
        if (random.OneIn(8)) {
            Get(&handle, finished, out);
        }
        FillRandom(random, source);
        out.Add("put", ApplySharpFilterPutLine(&handle, source.data()));
        out.Add("ready", GetSharpDstLines(handle));
        while (GetSharpDstLines(handle) != 0) {
            Get(&handle, finished, out);
        }
    }
    DisposeSharpness(handle);
}

}  // namespace

int main(int argc, char** argv) {
    return platen_test::GoldenMain(argc, argv, "sharpness", 20000, 0x551095AB87D2CA4Cu, Case);
}
