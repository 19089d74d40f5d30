#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <vector>

namespace platen_tool {

// A bounded ring of lines between two threads: one puts lines in, one takes them out in the same order. Lines
// change hands in batches, so that the lock costs nothing beside the work on them.
//
//   putting thread                                   taking thread
//   while (room = Room()) fill room, Put();          while (line = Front()) use line, Drop();
//   End(error) after the last line                   Abandon() where it wants no more lines
//
// Neither waits for ever for the other as long as the one ends with End and the other with Abandon or at the end.
class LineRing {
  public:
    static constexpr std::size_t kBatchBytes = 128 << 10;
    static constexpr std::size_t kBatchLines = 32;  // of short lines: there is more work in a byte of those
    static constexpr std::size_t kBatches = 8;

    explicit LineRing(std::size_t lineBytes, std::size_t batchBytes = kBatchBytes);

    // Where the next line goes; waits for room. Null: the lines are wanted no more.
    std::uint8_t* Room();
    void Put();
    // Hands over what is still held back. The taking thread finds `error` after the last line.
    void End(std::exception_ptr error) noexcept;

    // The next line; waits for it. Null after the last one. It may be changed in place until Drop.
    std::uint8_t* Front();
    void Drop();
    // After the last line: what the lines ended with.
    std::exception_ptr Error() const {
        return error_;
    }
    // Lines that are still in the ring are lost.
    void Abandon() noexcept;

  private:
    std::uint8_t* Line(std::uint64_t batch, std::size_t line) {
        return lines_.data() + (batch % kBatches * linesPerBatch_ + line) * lineBytes_;
    }
    void HandOver();

    const std::size_t lineBytes_;
    const std::size_t linesPerBatch_;
    std::vector<std::uint8_t> lines_;

    std::mutex mutex_;
    std::condition_variable filled_;
    std::condition_variable emptied_;
    std::uint64_t batchesPut_ = 0;  // under the mutex, as are the next four
    std::uint64_t batchesDropped_ = 0;
    std::size_t linesIn_[kBatches] = {};
    bool ended_ = false;
    std::exception_ptr error_;
    std::atomic<bool> abandoned_{false};  // written under the mutex

    // The putting thread's own: the batch it fills.
    std::uint64_t filling_ = 0;
    std::size_t linesFilled_ = 0;
    bool hasRoom_ = false;

    // The taking thread's own: the batch it empties.
    std::uint64_t emptying_ = 0;
    std::size_t linesTaken_ = 0;
    std::size_t linesThere_ = 0;
};

}  // namespace platen_tool
