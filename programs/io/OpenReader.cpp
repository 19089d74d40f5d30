#include "programs/io/OpenReader.h"

#include <cstring>

#include "programs/base/Error.h"
#include "programs/io/JpegReader.h"
#include "programs/io/PngReader.h"
#include "programs/io/PnmReader.h"
#include "programs/io/TiffReader.h"

namespace platen_tool {

namespace {

bool BeginsWith(const InputFile& file, std::size_t have, const char* magic, std::size_t count) {
    return have >= count && std::memcmp(file.Buffered(), magic, count) == 0;
}

bool IsPnm(const std::uint8_t* bytes, std::size_t have) {
    if (have < 3 || bytes[0] != 'P' || bytes[1] < '1' || bytes[1] > '7') {
        return false;
    }
    return bytes[2] == ' ' || bytes[2] == '#' || (bytes[2] >= '\t' && bytes[2] <= '\r');
}

}  // namespace

std::unique_ptr<LineReader> OpenReader(const std::string& path, const ReadOptions& options) {
    auto file = std::make_unique<InputFile>(path);
    const std::size_t have = file->Peek(8);
    file->CheckReadError();
    if (have == 0) {
        throw Error(ExitCode::kFailed, "the file is empty");
    }
    if (BeginsWith(*file, have, "\x89PNG\r\n\x1A\n", 8)) {
        return MakePngReader(std::move(file), options);
    }
    if (BeginsWith(*file, have, "II*\0", 4) || BeginsWith(*file, have, "MM\0*", 4) ||
        BeginsWith(*file, have, "II+\0", 4) || BeginsWith(*file, have, "MM\0+", 4)) {
        return MakeTiffReader(std::move(file), options);
    }
    if (BeginsWith(*file, have, "\xFF\xD8\xFF", 3)) {
        return MakeJpegReader(std::move(file), options);
    }
    if (IsPnm(file->Buffered(), have)) {
        return MakePnmReader(std::move(file), options);
    }
    throw Error(ExitCode::kFailed, "not a supported image; PNG, TIFF, JPEG, PBM, PGM, PPM and PAM are");
}

void SkipLines(LineReader& reader) {
    std::vector<std::uint8_t> line(reader.Info().LineBytes());
    for (std::uint32_t y = 0; y < reader.Info().height; ++y) {
        reader.ReadLine(line.data());
    }
}

}  // namespace platen_tool
