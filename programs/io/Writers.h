#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "programs/base/Error.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OutputFile.h"

namespace platen_tool {

// One for each container. Except for TIFF they want the height in BeginPage; MakeSpoolingWriter lends them that.
std::unique_ptr<LineWriter> MakePngWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);
std::unique_ptr<LineWriter> MakeTiffWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);
std::unique_ptr<LineWriter> MakeJpegWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options);
std::unique_ptr<LineWriter> MakePnmWriter(std::unique_ptr<OutputFile> file, bool pamOnly);

// `title` is the document's. A page of unknown height needs MakeSpoolingWriter.
std::unique_ptr<LineWriter> MakePdfWriter(std::unique_ptr<OutputFile> file, const WriteOptions& options,
                                          const std::string& title);

// How many lines of a page have been written. A page of height 0, which isn't known yet, may have any number but
// none.
class LineCount {
  public:
    void Begin(std::uint32_t height) {
        height_ = height;
        done_ = 0;
    }
    std::uint32_t Done() const {
        return done_;
    }
    void Add() {
        ++done_;
    }

    // Before a line is written: an Error (kFailed) where the page has all of its lines.
    void CheckRoom() const {
        if (done_ == (height_ != 0 ? height_ : UINT32_MAX)) {
            throw Error(ExitCode::kFailed, "more lines than the page was said to have");
        }
    }

    // Behind the last line: an Error (kFailed) where some are missing.
    void CheckEnd() const {
        if (done_ == 0 || (height_ != 0 && done_ != height_)) {
            throw Error(ExitCode::kFailed, "fewer lines than the page was said to have");
        }
    }

  private:
    std::uint32_t height_ = 0;
    std::uint32_t done_ = 0;
};

// An Error (kUnsupported) for a page that no JPEG can hold.
void CheckJpegLayout(const ImageInfo& info);

// An Error (kUnsupported) for a page that no PDF of ours can hold.
void CheckPdfLayout(const ImageInfo& info);

// Passes everything on to `inner`, but keeps the lines of a page of unknown height in a temporary file until the
// height is known. With strictStream such a page is refused.
std::unique_ptr<LineWriter> MakeSpoolingWriter(std::unique_ptr<LineWriter> inner, bool strictStream);

}  // namespace platen_tool
