#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/io/Exif.h"
#include "programs/io/JpegMarkers.h"
#include "programs/io/LineReader.h"
#include "programs/io/OpenReader.h"

namespace platen_fuzz {

// What a reader took of a description can be written: an EXIF block made of it and read again makes the same block,
// and so do the segments of a JPEG.
inline void WriteDescription(platen_tool::ImageInfo info) {
    using namespace platen_tool;
    for (const Container container :
         {Container::kPng, Container::kTiff, Container::kJpeg, Container::kPdf, Container::kPnm}) {
        LostDescription(container, info);
    }
    if (info.description == nullptr) {
        return;
    }
    MakeTiffExif(info, 8);
    const auto block = MakeExif(info, info.description->texts, ExifResolution::kIncluded);
    Description again;
    ReadExif(block.data(), block.size(), again);
    TakeXmpSegment(MakeXmpSegment(*info.description).data(), MakeXmpSegment(*info.description).size(), again);
    TakeIptcSegment(MakeIptcSegment(*info.description).data(), MakeIptcSegment(*info.description).size(), again);
    const auto held = [](const auto& bytes, std::size_t most) { return bytes.size() <= most; };
    if ((held(info.description->xmp, kMostJpegXmp) && again.xmp != info.description->xmp) ||
        (held(info.description->iptc, kMostJpegIptc) && again.iptc != info.description->iptc)) {
        std::abort();
    }
    info.description = std::make_shared<const Description>(again);
    if (again.tooLarge.empty() && MakeExif(info, again.texts, ExifResolution::kIncluded) != block) {
        std::abort();
    }
}

// Reads all pages of a file with these bytes, as the program would. An Error is a right answer; anything else
// that isn't a page, and a write past a line, ends the run. `magic` is put over the first bytes, so that the
// input reaches the reader that is meant.
inline void ReadWholeFile(const std::uint8_t* data, std::size_t size, const std::string& magic) {
    std::vector<std::uint8_t> bytes(data, data + size);
    if (bytes.size() < magic.size()) {
        return;
    }
    for (std::size_t i = 0; i < magic.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(magic[i]);
    }
    const int file = memfd_create("input", MFD_CLOEXEC);
    if (file < 0 || write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        std::abort();
    }
    try {
        platen_tool::ReadOptions options;
        // Large enough for strips, tiles and passes of several kinds, and small enough to be read in a moment.
        options.limits = {2048, 1 << 14};
        auto reader = platen_tool::OpenReader("/proc/self/fd/" + std::to_string(file), options);
        int pages = 0;
        do {
            const platen_tool::ImageInfo info = reader->Info();
            const std::size_t lineBytes = info.LineBytes();
            const std::size_t pixels = std::size_t{info.width} * info.height;
            if (info.width == 0 || info.height == 0 || pixels > options.limits.maxPixels ||
                info.samplesPerPixel < 1 || info.samplesPerPixel > 4 || info.orientation < 1 ||
                info.orientation > 8) {
                std::abort();
            }
            WriteDescription(info);
            std::vector<std::uint8_t> line(lineBytes);
            for (std::uint32_t y = 0; y < info.height; ++y) {
                reader->ReadLine(line.data());
                if (info.bitsPerSample == 1 && info.width % 8 != 0 &&
                    (line[lineBytes - 1] & (0xFFu >> (info.width % 8))) != 0) {
                    std::abort();  // bits after the last pixel
                }
            }
        } while (++pages < 20 && reader->NextPage());
    } catch (const platen_tool::Error&) {
    }
    close(file);
}

}  // namespace platen_fuzz
