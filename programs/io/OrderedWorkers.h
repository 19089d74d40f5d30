#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace platen_tool {

// A piece of work in two parts. Run does what takes the time; it may run on any thread, beside the Run of other
// pieces. Finish hands the result on; it runs on the submitting thread, in the order of submission.
class Piece {
  public:
    virtual ~Piece() = default;
    virtual void Run() = 0;
    virtual void Finish() = 0;
};

// Runs pieces on a few threads and finishes them in order. Bounded: no more than `workers` + 1 pieces are held.
//
//   for each block: workers.Submit(piece);    may finish earlier pieces first
//   workers.Drain();                          finishes all
//
// With one worker, or where the system grants no thread, Submit does everything itself on the calling thread.
// Pieces start in the order of submission, so a piece may wait in Run for an earlier piece's Run. An exception of
// Run or Finish comes out of Submit or Drain; the pieces after it are dropped.
class OrderedWorkers {
  public:
    explicit OrderedWorkers(unsigned workers);
    // Pieces that are not finished are dropped.
    ~OrderedWorkers();
    OrderedWorkers(const OrderedWorkers&) = delete;
    OrderedWorkers& operator=(const OrderedWorkers&) = delete;

    void Submit(std::unique_ptr<Piece> piece);
    void Drain();

  private:
    struct Slot {
        std::unique_ptr<Piece> piece;
        std::exception_ptr error;
        bool done = false;
    };

    void StartThreads();
    void Work() noexcept;
    void FinishFirst();

    const unsigned workers_;
    bool started_ = false;
    std::vector<std::thread> threads_;

    std::mutex mutex_;
    std::condition_variable submitted_;
    std::condition_variable completed_;
    std::deque<std::unique_ptr<Slot>> slots_;  // under the mutex, as are the next three; in order of submission
    std::size_t next_ = 0;                     // the first slot that no thread has taken
    bool ending_ = false;
};

}  // namespace platen_tool
