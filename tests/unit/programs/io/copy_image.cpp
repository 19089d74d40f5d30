// copy_image INPUT OUTPUT [MOST-KIB]: copies an image line by line through a reader and a writer, prints what was
// read and the peak memory, and fails when that exceeds the third argument.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/LineReader.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"

namespace {

using namespace platen_tool;

void Copy(const char* from, const char* to) {
    auto reader = OpenReader(from, {});
    WriteOptions options;
    options.force = true;
    options.inputContainer = reader->FileContainer();
    options.tiffCompression = reader->TiffCompression();
    auto writer = OpenWriter(to, options);
    std::vector<std::uint8_t> line;
    do {
        const ImageInfo& info = reader->Info();
        std::fprintf(stderr, "%u x %u, %d bits, %d samples, %.6g dpi, %zu bytes of profile, orientation %d %s\n",
                     info.width, info.height, info.bitsPerSample, info.samplesPerPixel,
                     info.resolution ? info.resolution->x.Value() : 0.0, info.iccProfile.size(), info.orientation,
                     reader->Notice().c_str());
        writer->BeginPage(info);
        line.resize(info.LineBytes());
        for (std::uint32_t y = 0; y < info.height; ++y) {
            reader->ReadLine(line.data());
            writer->WriteLine(line.data());
        }
        writer->EndPage();
    } while (reader->NextPage());
    writer->Commit();
}

long PeakKib() {
    std::ifstream status("/proc/self/status");
    for (std::string text; std::getline(status, text);) {
        if (text.starts_with("VmHWM:")) {
            return std::strtol(text.c_str() + 6, nullptr, 10);
        }
    }
    return -1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: copy_image INPUT OUTPUT [MOST-KIB]\n");
        return 2;
    }
    try {
        Copy(argv[1], argv[2]);
    } catch (const Error& error) {
        std::fprintf(stderr, "copy_image: %s: %s\n", argv[1], error.what());
        return static_cast<int>(error.Code());
    }
    const long peak = PeakKib();
    std::fprintf(stderr, "peak %ld KiB\n", peak);
    return argc > 3 && (peak < 0 || peak > std::strtol(argv[3], nullptr, 10)) ? 1 : 0;
}
