#include <zlib.h>

#include <cstdlib>
#include <vector>

#include "programs/io/RunDeflate.h"

// What DeflateRuns makes of any bytes zlib turns back into them, also where two pieces are joined.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    // Long runs and more than one block are out of reach for a fuzzer's short inputs: the first byte sets how often
    // each of the others is repeated.
    const std::size_t times = std::size_t{1} << (data[0] & 7);
    std::vector<std::uint8_t> bytes;
    constexpr std::size_t kMost = 300'000;  // several blocks; more would only take longer
    for (std::size_t i = 1; i < size && bytes.size() < kMost; ++i) {
        bytes.insert(bytes.end(), data[i] < 8 ? 300 * times : times, data[i]);
    }
    const std::size_t half = bytes.size() / 2;
    std::vector<std::uint8_t> deflated;
    if (half != 0) {
        deflated = platen_tool::DeflateRuns(bytes.data(), half, platen_tool::StreamPart::kMoreFollows);
    }
    const auto rest =
        platen_tool::DeflateRuns(bytes.data() + half, bytes.size() - half, platen_tool::StreamPart::kLast);
    deflated.insert(deflated.end(), rest.begin(), rest.end());

    std::vector<std::uint8_t> out(bytes.size() + 1);
    z_stream stream = {};
    stream.next_in = deflated.data();
    stream.avail_in = static_cast<uInt>(deflated.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK || inflate(&stream, Z_FINISH) != Z_STREAM_END ||
        stream.avail_in != 0 || stream.total_out != bytes.size()) {
        std::abort();
    }
    inflateEnd(&stream);
    out.resize(bytes.size());
    if (out != bytes) {
        std::abort();
    }
    return 0;
}
