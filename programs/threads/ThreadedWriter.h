#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <thread>

#include "programs/io/LineWriter.h"
#include "programs/threads/LineRing.h"

namespace platen_tool {

// Writes a page's lines on a thread of its own that a LineRing feeds. The thread begins
// with BeginPage and ends in EndPage; all else that `inner` does, it does on the caller's thread.
//
// An error of a line's is thrown by a later WriteLine, or by Settle or EndPage, which know it all.
class ThreadedWriter : public LineWriter {
  public:
    // Pages of less than `smallest` bytes are written on the caller's thread.
    ThreadedWriter(std::unique_ptr<LineWriter> inner, std::uint64_t smallest);
    // Lines that wait to be written are lost.
    ~ThreadedWriter() override;
    ThreadedWriter(const ThreadedWriter&) = delete;
    ThreadedWriter& operator=(const ThreadedWriter&) = delete;

    void BeginPage(const ImageInfo& info) override;
    void WriteLine(const std::uint8_t* line) override;
    void Settle() override;
    void EndPage() override;
    void DropPage() override;
    void Commit() override;
    std::string Notice() const override {
        return inner_->Notice();
    }

  private:
    void WriteLines() noexcept;
    void EndThread();

    std::unique_ptr<LineWriter> inner_;
    const std::uint64_t smallest_;
    std::size_t lineBytes_ = 0;
    std::optional<LineRing> ring_;
    std::thread thread_;
    std::exception_ptr error_;       // the thread's, until it has ended
    std::atomic<bool> lost_{false};  // the destructor wants no more lines written
};

}  // namespace platen_tool
