#include "programs/threads/SpooledPage.h"

#include <vector>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

bool ReadNext(LineReader& reader, std::uint8_t* line) {
    if (reader.Info().height == 0) {
        return reader.ReadLineOrEnd(line);
    }
    reader.ReadLine(line);
    return true;
}

}  // namespace

SpooledPage::SpooledPage(LineReader& reader) : lineBytes_(reader.Info().LineBytes()) {
    std::vector<std::uint8_t> line(lineBytes_);
    const std::uint32_t known = reader.Info().height;
    while ((known == 0 || height_ < known) && ReadNext(reader, line.data())) {
        spool_.WriteAt(std::uint64_t{height_} * lineBytes_, line.data(), lineBytes_);
        ++height_;
    }
    if (height_ == 0) {
        throw Error(ExitCode::kFailed, "the page has no lines");
    }
}

bool SpooledPage::ReadLine(std::uint8_t* line) {
    if (next_ == height_) {
        return false;
    }
    spool_.ReadAt(std::uint64_t{next_} * lineBytes_, line, lineBytes_);
    ++next_;
    return true;
}

}  // namespace platen_tool
