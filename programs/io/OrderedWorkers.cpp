#include "programs/io/OrderedWorkers.h"

#include <utility>

#include "programs/io/QuietThread.h"

namespace platen_tool {

OrderedWorkers::OrderedWorkers(unsigned workers) : workers_(workers) {}

OrderedWorkers::~OrderedWorkers() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        // Pieces that run may wait for pieces before them, which run too; those that nobody has taken are dropped.
        slots_.resize(next_);
    }
    submitted_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

// Threads start with the first piece: a small page needs none.
void OrderedWorkers::StartThreads() {
    started_ = true;
    threads_.reserve(workers_);  // a thread that runs must not be lost for want of memory
    for (unsigned i = 0; workers_ > 1 && i < workers_; ++i) {
        std::thread thread = StartQuietThread([](void* self) { static_cast<OrderedWorkers*>(self)->Work(); }, this);
        if (!thread.joinable()) {
            return;
        }
        threads_.push_back(std::move(thread));
    }
}

void OrderedWorkers::Submit(std::unique_ptr<Piece> piece) {
    if (!started_) {
        StartThreads();
    }
    if (threads_.empty()) {
        piece->Run();
        piece->Finish();
        return;
    }
    while (slots_.size() > threads_.size()) {  // only this thread changes the number of slots
        FinishFirst();
    }
    auto slot = std::make_unique<Slot>();
    slot->piece = std::move(piece);
    {
        const std::lock_guard lock(mutex_);
        slots_.push_back(std::move(slot));
    }
    submitted_.notify_one();
}

void OrderedWorkers::Drain() {
    while (!slots_.empty()) {
        FinishFirst();
    }
}

void OrderedWorkers::FinishFirst() {
    std::unique_ptr<Slot> slot;
    {
        std::unique_lock lock(mutex_);
        completed_.wait(lock, [this] { return slots_.front()->done; });
        slot = std::move(slots_.front());
        slots_.pop_front();
        --next_;
    }
    if (slot->error) {
        std::rethrow_exception(slot->error);
    }
    slot->piece->Finish();
}

void OrderedWorkers::Work() noexcept {
    for (;;) {
        Slot* slot = nullptr;
        {
            std::unique_lock lock(mutex_);
            submitted_.wait(lock, [this] { return ending_ || next_ < slots_.size(); });
            if (ending_) {
                return;
            }
            slot = slots_[next_++].get();
        }
        std::exception_ptr error;
        try {
            slot->piece->Run();
        } catch (...) {
            error = std::current_exception();
        }
        {
            const std::lock_guard lock(mutex_);
            slot->error = error;
            slot->done = true;
        }
        completed_.notify_one();
    }
}

}  // namespace platen_tool
