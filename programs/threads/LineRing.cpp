#include "programs/threads/LineRing.h"

#include <algorithm>

namespace platen_tool {

LineRing::LineRing(std::size_t lineBytes, std::size_t batchBytes)
    : lineBytes_(lineBytes),
      linesPerBatch_(std::clamp<std::size_t>(batchBytes / std::max<std::size_t>(1, lineBytes), 1, kBatchLines)),
      lines_(kBatches * linesPerBatch_ * lineBytes) {}

std::uint8_t* LineRing::Room() {
    if (abandoned_.load(std::memory_order_relaxed)) {
        return nullptr;
    }
    if (!hasRoom_) {
        std::unique_lock lock(mutex_);
        emptied_.wait(lock, [this] { return abandoned_ || filling_ - batchesDropped_ < kBatches; });
        if (abandoned_) {
            return nullptr;
        }
        hasRoom_ = true;
    }
    return Line(filling_, linesFilled_);
}

void LineRing::Put() {
    if (++linesFilled_ == linesPerBatch_) {
        const std::lock_guard lock(mutex_);
        HandOver();
    }
}

void LineRing::HandOver() {
    linesIn_[filling_ % kBatches] = linesFilled_;
    batchesPut_ = ++filling_;
    linesFilled_ = 0;
    hasRoom_ = false;
    filled_.notify_one();
}

void LineRing::End(std::exception_ptr error) noexcept {
    const std::lock_guard lock(mutex_);
    if (linesFilled_ != 0) {
        HandOver();
    }
    error_ = std::move(error);
    ended_ = true;
    filled_.notify_one();
}

std::uint8_t* LineRing::Front() {
    if (linesThere_ == 0) {
        std::unique_lock lock(mutex_);
        filled_.wait(lock, [this] { return ended_ || batchesPut_ != emptying_; });
        if (batchesPut_ == emptying_) {
            return nullptr;
        }
        linesThere_ = linesIn_[emptying_ % kBatches];
    }
    return Line(emptying_, linesTaken_);
}

void LineRing::Drop() {
    if (++linesTaken_ < linesThere_) {
        return;
    }
    linesTaken_ = linesThere_ = 0;
    const std::lock_guard lock(mutex_);
    batchesDropped_ = ++emptying_;
    emptied_.notify_one();
}

void LineRing::Abandon() noexcept {
    const std::lock_guard lock(mutex_);
    abandoned_ = true;
    emptied_.notify_one();
}

}  // namespace platen_tool
