#include "programs/io/SpoolingWriter.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "programs/base/Error.h"
#include "programs/io/Samples.h"
#include "programs/io/Spool.h"

namespace platen_tool {

namespace {

class SpoolingWriter : public LineWriter {
  public:
    SpoolingWriter(std::unique_ptr<LineWriter> inner, Spooling spooling)
        : inner_(std::move(inner)), spooling_(spooling) {}

    void BeginPage(const ImageInfo& info) override {
        if (info.height != 0) {
            inner_->BeginPage(info);
            return;
        }
        if (spooling_ == Spooling::kRefused) {
            throw Error(ExitCode::kUnsupported,
                        "this format needs the page's height first, and it isn't known; --strict-stream forbids "
                        "spooling (a TIFF written to a file needs none)");
        }
        CheckLayout(info);
        info_ = info;
        spool_.emplace();
        spooled_ = true;
    }

    void WriteLine(const std::uint8_t* line) override {
        if (!spool_) {
            inner_->WriteLine(line);
            return;
        }
        if (info_.height == UINT32_MAX) {
            throw Error(ExitCode::kFailed, "the page has too many lines");
        }
        const std::size_t bytes = info_.LineBytes();
        spool_->WriteAt(std::uint64_t{info_.height} * bytes, line, bytes);
        ++info_.height;
    }

    void EndPage() override {
        if (spool_) {
            if (info_.height == 0) {
                throw Error(ExitCode::kFailed, "a page without lines can't be written");
            }
            inner_->BeginPage(info_);
            std::vector<std::uint8_t> line(info_.LineBytes());
            for (std::uint32_t y = 0; y < info_.height; ++y) {
                spool_->ReadAt(std::uint64_t{y} * line.size(), line.data(), line.size());
                inner_->WriteLine(line.data());
            }
            spool_.reset();
        }
        inner_->EndPage();
    }

    void DropPage() override {
        spool_.reset();
        inner_->DropPage();
    }

    void Commit() override {
        inner_->Commit();
    }

    std::string Notice() const override {
        const std::string inner = inner_->Notice();
        const std::string own = spooled_ ? "spooled to a temporary file: the height wasn't known at first" : "";
        return own.empty() || inner.empty() ? own + inner : own + "; " + inner;
    }

  private:
    std::unique_ptr<LineWriter> inner_;
    Spooling spooling_;
    bool spooled_ = false;
    ImageInfo info_;
    std::optional<Spool> spool_;
};

}  // namespace

std::unique_ptr<LineWriter> MakeSpoolingWriter(std::unique_ptr<LineWriter> inner, Spooling spooling) {
    return std::make_unique<SpoolingWriter>(std::move(inner), spooling);
}

}  // namespace platen_tool
