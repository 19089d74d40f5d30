// Command lines of `platen scan`, and the lines of a scanner for them. The first bytes are a frame's parameters as
// a backend might give them; then come the line's samples and the arguments, one a line. An Error is a right
// answer; settings that come out lie within what the device and the plan rely on.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "OutputFolder.h"
#include "Producer.h"
#include "programs/base/Error.h"
#include "programs/io/OutputName.h"
#include "programs/options/ScanSettings.h"
#include "programs/page/PagePlan.h"
#include "programs/scan/DeviceLine.h"

namespace {

using namespace platen_tool;
using platen_fuzz::Producer;
using platen_fuzz::Require;

SANE_Parameters TakeParameters(Producer& input) {
    static constexpr SANE_Int kDepths[] = {1, 8, 16};
    SANE_Parameters p{};
    const bool wild = input.Take<std::uint8_t>() % 4 == 0;
    std::int32_t format = static_cast<std::int32_t>(wild ? input.Take<std::int32_t>() : input.Between(0, 5));
    std::memcpy(&p.format, &format, sizeof format);  // it may be none of the enumeration
    p.last_frame = input.Flip() ? SANE_TRUE : SANE_FALSE;
    p.depth = wild ? input.Take<SANE_Int>() : kDepths[input.Take<std::uint8_t>() % 3];
    p.pixels_per_line = wild ? input.Take<SANE_Int>() : static_cast<SANE_Int>(input.Between(1, 300));
    p.lines = wild ? input.Take<SANE_Int>() : static_cast<SANE_Int>(input.Between(-1, 5000));
    const std::int64_t samples = std::int64_t{p.pixels_per_line} * (format == SANE_FRAME_RGB ? 3 : 1);
    p.bytes_per_line =
        wild ? input.Take<SANE_Int>()
             : static_cast<SANE_Int>((p.depth == 1 ? samples / 8 : samples * p.depth / 8) + input.Between(-1, 8));
    return p;
}

std::vector<std::string> TakeWords(Producer& input) {
    std::vector<std::string> words(1);
    while (input.Left() > 0) {
        const char c = static_cast<char>(input.Take<std::uint8_t>());
        if (c == '\n') {
            words.emplace_back();
        } else if (c != '\0') {  // no argument can hold one
            words.back() += c;
        }
    }
    return words;
}

// Turned into the program's form in a buffer of exactly that size.
void TakeLine(const SANE_Parameters& p, Producer& input) {
    if (!IsKnownPage(p) || p.bytes_per_line > 4096) {
        return;
    }
    const ImageInfo info = PageInfo(p);
    std::vector<std::uint8_t> raw(static_cast<std::size_t>(p.bytes_per_line));
    input.Fill(raw.data(), std::min<std::size_t>(raw.size(), 16));
    std::vector<std::uint8_t> line(IsOnePass(p) ? info.LineBytes() / 3 : info.LineBytes());
    TakeDeviceLine(p, raw.data(), line.data());
    if (info.bitsPerSample == 1 && info.width % 8 != 0) {
        Require((line.back() & (0xFF >> info.width % 8)) == 0);
    }
    if (IsOnePass(p)) {
        Planes planes;
        line.resize(info.LineBytes());
        for (const SANE_Frame format : {SANE_FRAME_RED, SANE_FRAME_GREEN, SANE_FRAME_BLUE}) {
            SANE_Parameters pass = p;
            pass.format = format;
            planes.Put(pass, 0, raw.data());
        }
        planes.ReadLine(p, 0, line.data());
    }
}

void CheckSettings(const ScanSettings& s) {
    if (s.listDevices) {
        return;
    }
    Require(!s.device.empty());
    for (const auto& side : {s.area.left, s.area.top, s.area.width, s.area.height}) {
        Require(!side || (std::isfinite(*side) && *side >= 0.0));
    }
    for (const DeviceRequest& request : s.requests) {
        Require(request.kind != DeviceRequest::kSet || !request.name.empty());
        Require(request.kind != DeviceRequest::kMode || s.listOptions || s.page.pixels.mode);
    }
    if (s.listOptions) {
        return;
    }
    Require(!s.pages || *s.pages >= 1);
    Require(s.page.inputs.size() == 1 && (s.page.dryRun || !s.page.output.empty()));
    if (!s.page.output.empty()) {
        const OutputName name(s.page.output, s.page.formatName);
        Require(!name.Make("", s.page.firstPageNumber).empty());
        Require((s.pages && *s.pages == 1) || !name.HasPage() ||
                name.Make("", s.page.firstPageNumber) != name.Make("", s.page.firstPageNumber + 1));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    const SANE_Parameters parameters = TakeParameters(input);
    try {
        TakeLine(parameters, input);
        const ScanSettings settings = MakeScanSettings(ParseArguments(kScan, TakeWords(input)), {false, false});
        CheckSettings(settings);
        if (!settings.listDevices && !settings.listOptions) {
            const PagePlan plan = PlanPage(settings.page, PageInfo(parameters));
            Require(plan.output.samplesPerPixel >= 1 && plan.output.samplesPerPixel <= 4 &&
                    ExpectedMemory(plan) > 0);
        }
    } catch (const Error& error) {
        Require(error.what()[0] != '\0');
    }
    return 0;
}
