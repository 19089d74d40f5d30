#include "programs/io/OpenWriter.h"

#include <algorithm>
#include <cctype>

#include "programs/base/Error.h"
#include "programs/io/CompressionChoice.h"
#include "programs/io/DescriptionTexts.h"
#include "programs/io/JpegWriter.h"
#include "programs/io/PdfWriter.h"
#include "programs/io/PngWriter.h"
#include "programs/io/PnmWriter.h"
#include "programs/io/SpoolingWriter.h"
#include "programs/io/TiffWriter.h"

namespace platen_tool {

namespace {

std::string Ending(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || path.find('/', dot) != std::string::npos) {
        return {};
    }
    std::string ending = path.substr(dot + 1);
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return ending;
}

// A name without its folder and ending.
std::string FileStem(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.rfind('.'));
}

}  // namespace

Container OutputContainer(const std::string& path, std::optional<Container> asked, Container inputContainer) {
    if (asked) {
        return *asked;
    }
    if (path == "-") {
        return inputContainer;
    }
    const std::string ending = Ending(path);
    if (ending == "png") {
        return Container::kPng;
    }
    if (ending == "tif" || ending == "tiff") {
        return Container::kTiff;
    }
    if (ending == "jpg" || ending == "jpeg") {
        return Container::kJpeg;
    }
    if (ending == "pbm" || ending == "pgm" || ending == "ppm" || ending == "pnm" || ending == "pam") {
        return Container::kPnm;
    }
    if (ending == "pdf") {
        return Container::kPdf;
    }
    throw Error(ExitCode::kUsage,
                "-o: '" + path +
                    "' has no ending that names a format; .png, .tif, .jpg, .pdf, .pbm, .pgm, .ppm, .pnm "
                    "and .pam do, or --format");
}

void RequireSeveralPages(Container container) {
    if (container == Container::kPng || container == Container::kJpeg) {
        throw Error(ExitCode::kUnsupported, std::string(container == Container::kPng ? "a PNG" : "a JPEG") +
                                                " holds one page; TIFF, PDF and PNM hold several, and %d in the "
                                                "output's name writes each page to its own file");
    }
}

std::string LostMetadata(Container container, const ImageInfo& page) {
    std::vector<std::string> lost;
    if (container == Container::kPnm) {
        if (page.resolution) {
            lost.emplace_back("the resolution");
        }
        if (!page.iccProfile.empty()) {
            lost.emplace_back("the ICC profile");
        }
        if (page.orientation != 1) {
            lost.emplace_back("the orientation");
        }
    }
    const bool mirrored =
        page.orientation != 1 && page.orientation != 3 && page.orientation != 6 && page.orientation != 8;
    if (container == Container::kPdf && mirrored) {
        lost.emplace_back("the mirrored orientation");
    }
    for (std::string& one : LostDescription(container, page)) {
        lost.push_back(std::move(one));
    }
    for (const PngChunk& chunk : page.pngColours) {
        if (container != Container::kPng) {
            lost.push_back("the PNG's " + chunk.name);
        }
    }
    std::string text;
    for (const std::string& one : lost) {
        text += (text.empty() ? "" : ", ") + one;
    }
    if (!text.empty()) {
        text += ": left out, " + std::string(ContainerName(container)) + " can't hold it";
    }
    if (page.description != nullptr) {
        for (const std::string& one : page.description->tooLarge) {
            text += (text.empty() ? "" : "; ") + one + ": left out, damaged or larger than is kept";
        }
    }
    return text;
}

void CheckOutput(const std::string& path, const WriteOptions& options, const ImageInfo& page) {
    const Container container = OutputContainer(path, options.container, options.inputContainer);
    WithCompression(options, container);
    CheckOutputPath(path, {.force = options.force});
    if (container == Container::kTiff || container == Container::kPdf) {
        AskedCompression(options, page);
    }
    if (container == Container::kJpeg) {
        CheckJpegLayout(page);
    } else if (container == Container::kPdf) {
        CheckPdfLayout(page);
    }
}

std::unique_ptr<LineWriter> OpenWriter(const std::string& path, const WriteOptions& given) {
    const Container container = OutputContainer(path, given.container, given.inputContainer);
    const WriteOptions options = WithCompression(given, container);
    auto file = std::make_unique<OutputFile>(path, FileOptions{options.force, options.sync});
    const Spooling spooling = options.strictStream ? Spooling::kRefused : Spooling::kAllowed;
    switch (container) {
        case Container::kTiff:
            return MakeTiffWriter(std::move(file), options);
        case Container::kPng:
            return MakeSpoolingWriter(MakePngWriter(std::move(file), options), spooling);
        case Container::kJpeg:
            return MakeSpoolingWriter(MakeJpegWriter(std::move(file), options), spooling);
        case Container::kPdf:
            return MakeSpoolingWriter(MakePdfWriter(std::move(file), options, FileStem(path)), spooling);
        case Container::kPnm:
            break;
    }
    return MakeSpoolingWriter(
        MakePnmWriter(std::move(file), Ending(path) == "pam" ? PnmKind::kPam : PnmKind::kPlainest), spooling);
}

}  // namespace platen_tool
