#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <thread>

#include "programs/io/LineReader.h"
#include "programs/threads/LineRing.h"

namespace platen_tool {

// Reads a page's lines ahead on a thread of its own, as far as a LineRing holds. Lines and errors come out in the
// order in which `inner` gave them. The thread begins with a page's first line and has ended when its last one is
// out, so `inner` is never used by two threads at once: beside ReadLine only those functions reach it that tell
// about the page.
//
// Not for inputs that may keep a read waiting: the destructor waits for the line that is being read.
class ThreadedReader : public LineReader {
  public:
    // Pages of less than `smallest` bytes, and those of unknown height, are read on the caller's thread.
    ThreadedReader(std::unique_ptr<LineReader> inner, std::uint64_t smallest);
    ~ThreadedReader() override;
    ThreadedReader(const ThreadedReader&) = delete;
    ThreadedReader& operator=(const ThreadedReader&) = delete;

    Container FileContainer() const override {
        return inner_->FileContainer();
    }
    const ImageInfo& Info() const override {
        return inner_->Info();
    }
    std::uint32_t PageCount() const override {
        return inner_->PageCount();
    }
    int TiffCompression() const override {
        return inner_->TiffCompression();
    }
    std::string Notice() const override {
        return inner_->Notice();
    }

    void ReadLine(std::uint8_t* line) override;
    bool ReadLineOrEnd(std::uint8_t* line) override {
        return inner_->ReadLineOrEnd(line);  // of unknown height: no thread reads ahead
    }
    bool NextPage() override;

  private:
    void BeginPage();
    void ReadAhead() noexcept;
    void EndThread() noexcept;

    std::unique_ptr<LineReader> inner_;
    const std::uint64_t smallest_;
    bool pageBegun_ = false;
    std::size_t lineBytes_ = 0;
    std::uint32_t linesLeft_ = 0;  // of those that the thread reads
    std::optional<LineRing> ring_;
    std::thread thread_;
};

}  // namespace platen_tool
