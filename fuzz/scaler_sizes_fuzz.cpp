// The scaler's Open with any numbers, then a few lines: statuses by the rules, nothing touched that isn't there.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <vector>

#include "Producer.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "Variants.h"

namespace {

using platen_fuzz::Producer;

constexpr int kMost = 66000;  // larger axes would only test the machine's memory

void Check(bool right) {
    if (!right) {
        std::abort();
    }
}

struct Request {
    int dstWidth;
    int dstHeight;
    int srcWidth;
    int srcHeight;
    int format;
    int method;
};

int Size(Producer& input) {
    const auto kind = input.Take<std::uint8_t>();
    if (kind == 0 && input.IsOneIn(4096)) {  // such an axis takes long
        return static_cast<int>(input.Between(65530, kMost));
    }
    switch (kind % 8) {
        case 1:
            return std::min(input.Take<std::int32_t>(), 0);
        case 2:
            return static_cast<int>(input.Between(-9, 9));
        case 3:
            return static_cast<int>(input.Between(1, 100));
        default:
            return static_cast<int>(input.Between(1, 24));
    }
}

Request TakeRequest(Producer& input) {
    constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
    Request r{};
    r.format = input.Take<std::uint8_t>() % 16 == 0 ? input.Take<std::int32_t>()
                                                    : kFormats[input.Take<std::uint8_t>() % 7];
    r.method = input.Take<std::uint8_t>() % 8 == 0 ? input.Take<std::int32_t>() : input.Flip() ? 2 : 0;
    r.dstWidth = Size(input);
    r.dstHeight = Size(input);
    r.srcWidth = Size(input);
    r.srcHeight = Size(input);
    // Lines of negative widths take half a gigabyte, and time.
    if (r.dstWidth < 0 && r.srcWidth < 0 && !input.IsOneIn(4096)) {
        r.srcWidth = 7;
    }
    return r;
}

// The settled method; others than 0 and 2 end the process.
int Settle(const Request& r) {
    const bool reduces = r.dstWidth < r.srcWidth || r.dstHeight < r.srcHeight;
    const bool small = (r.srcWidth <= 5 || r.srcHeight <= 5) && r.method != 1;
    return reduces || small || r.format == 1 ? 2 : r.method;
}

bool KnownFormat(int format) {
    const int samples = PX_Zoom_SamplePerPixel(format);
    const int bits = PX_Zoom_BitsPerSample(format);
    Check(samples * bits == (samples == 0 ? 0 : format) && (samples == 0) == (bits == 0));
    return bits != 0;
}

int ExpectedStatus(const Request& r, int method) {
    if (r.dstWidth == 0 || r.dstHeight == 0 || r.srcWidth == 0 || r.srcHeight == 0 || !KnownFormat(r.format) ||
        method != 2) {
        return 2;
    }
    const bool nothing = (r.dstWidth < 0 && r.srcWidth < 0) || (r.dstHeight < 0 && r.srcHeight < 0);
    return nothing ? 1 : 0;
}

// A buffer of exactly the bytes that may be touched.
std::vector<std::uint8_t> LineFor(int width, int format) {
    const std::int64_t bits = std::int64_t{std::max(width, 0)} * format;
    return std::vector<std::uint8_t>(static_cast<std::size_t>((bits + 7) / 8));
}

// The address of a line without bytes is not null either.
void* Address(std::vector<std::uint8_t>& line) {
    static std::uint8_t none;
    return line.empty() ? &none : line.data();
}

void Stream(PX_Zoom& zoom, const Request& r, Producer& input) {
    auto source = LineFor(r.srcWidth, r.format);
    auto target = LineFor(r.dstWidth, r.format);
    input.Fill(source.data(), std::min<std::size_t>(source.size(), 64));
    const int lines = std::max(r.dstWidth, r.srcWidth) > 1000 ? 2 : 8;
    for (int y = 0; y < lines; ++y) {
        const int status = zoom.Send(Address(source));
        Check(status == 0 || status == 3);
        Check(zoom.CheckData() >= 0);
        if (r.dstHeight < 0 || r.srcHeight < 0) {
            Check(status == 0 && zoom.CheckData() == 0);
        }
        for (int i = 0; i < 4 && zoom.CheckData() != 0; ++i) {
            Check(zoom.Read(Address(target)) == 0);
            Check(r.srcWidth > 0 || std::count(target.begin(), target.end(), 0) == std::ssize(target));
        }
    }
}

int RunInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    PX_Zoom zoom;
    for (int round = 0; round < 2; ++round) {
        const Request r = TakeRequest(input);
        const int method = Settle(r);
        if (method != 0 && method != 2) {
            continue;
        }
        const int status = zoom.Open(r.dstWidth, r.dstHeight, r.srcWidth, r.srcHeight, r.format, r.method);
        Check(status == ExpectedStatus(r, method));
        Check(zoom.method == method);
        if (status == 0) {
            Stream(zoom, r, input);
        } else {
            std::uint8_t line[8] = {};
            Check(zoom.Send(nullptr) == 2 && zoom.Send(line) == 3 && zoom.Read(line) == 3);
        }
        zoom.Close();
    }
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return platen_fuzz::RunWithEachVariant(RunInput, data, size);
}
