#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// What an input file's container was, for outputs that keep what the input had.
enum class Container { kPng, kTiff, kJpeg, kPnm, kPdf };

// Its name, for people.
constexpr const char* ContainerName(Container container) {
    switch (container) {
        case Container::kPng:
            return "PNG";
        case Container::kTiff:
            return "TIFF";
        case Container::kJpeg:
            return "JPEG";
        case Container::kPnm:
            return "PNM";
        case Container::kPdf:
            return "PDF";  // written only
    }
    return "";
}

// What a reader may take before it refuses. Checked before the first allocation that depends on the file.
struct Limits {
    std::uint32_t maxSide = 65535;
    std::uint64_t maxPixels = 268'435'456;
};

struct ReadOptions {
    Limits limits;
    bool strictStream = false;  // refuse what can't be streamed instead of spooling it
    bool headersOnly = false;   // no line will be read, but SkipPage called
};

// Reads an image file line by line, from the top; no whole image is held. Every failure is an Error: a damaged
// or truncated file never passes for a whole one. ReadLine may run on another thread than the rest: it changes
// nothing that the const functions look at.
//
//   auto reader = OpenReader("scan.tif", {});
//   do {
//       for (y = 0; y < reader->Info().height; ++y) reader->ReadLine(line);
//   } while (reader->NextPage());
class LineReader {
  public:
    virtual ~LineReader() = default;

    virtual Container FileContainer() const = 0;

    // The current page.
    virtual const ImageInfo& Info() const = 0;

    // Reads the next line into Info().LineBytes() bytes, in the form that ImageInfo describes. Called at most
    // Info().height times a page; where that is 0, ReadLineOrEnd is called instead.
    virtual void ReadLine(std::uint8_t* line) = 0;

    // Where the height isn't known (0): reads the next line, or gives false after the last one.
    virtual bool ReadLineOrEnd(std::uint8_t* line) {
        ReadLine(line);
        return true;
    }

    // After the last line of the page: goes to the next page and returns true, or checks that the file ends
    // as it should and returns false.
    virtual bool NextPage() = 0;

    // The same without reading the page's lines, where the file allows it: whether they are right isn't looked at.
    virtual bool SkipPage() {
        std::vector<std::uint8_t> line(Info().LineBytes());
        for (std::uint32_t y = 0; y < Info().height; ++y) {
            ReadLine(line.data());
        }
        return NextPage();
    }

    // How the page is stored, in words for `platen info`: "palette", "tiles".
    virtual std::vector<std::string> Storage() const {
        return {};
    }

    // The pages of the file, 0 where that is not known before the end.
    virtual std::uint32_t PageCount() const = 0;

    // TIFF's compression tag of the current page, 0 for other containers. Outputs keep it (G4 stays G4).
    virtual int TiffCompression() const {
        return 0;
    }

    // What the user should know about how this file is read, for -v ("spooled to a temporary file: ..."); empty
    // mostly.
    virtual std::string Notice() const {
        return {};
    }
};

}  // namespace platen_tool
