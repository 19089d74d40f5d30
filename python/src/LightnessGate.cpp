#include "python/src/LightnessGate.h"

#include <atomic>

namespace platen_python {

namespace {

LightnessTable ReadShared() {
    LightnessTable table;
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = std::atomic_ref<std::uint32_t>(gStorage[i]).load(std::memory_order_relaxed);
    }
    return table;
}

void WriteShared(const LightnessTable& table) {
    for (std::size_t i = 0; i < table.size(); ++i) {
        std::atomic_ref<std::uint32_t>(gStorage[i]).store(table[i], std::memory_order_relaxed);
    }
}

}  // namespace

std::int32_t LightnessGate::Make(_SHsvParam param, LightnessTable& table) {
    std::unique_lock lock(mutex_);
    const std::uint64_t ticket = nextTicket_++;
    changed_.wait(lock, [&] { return serving_ == ticket && inside_ == 0; });
    void* handle = nullptr;
    const std::int32_t status = SetupHsv(&param, &handle);
    if (status == 0) {
        Disposehsv(handle);
        table = current_ = ReadShared();
    }
    ++serving_;
    changed_.notify_all();
    return status;
}

void LightnessGate::Enter(const LightnessTable& table) {
    std::unique_lock lock(mutex_);
    const std::uint64_t ticket = nextTicket_++;
    changed_.wait(lock, [&] { return serving_ == ticket && (inside_ == 0 || current_ == table); });
    if (inside_ == 0 && ReadShared() != table) {
        WriteShared(table);
    }
    current_ = table;
    ++inside_;
    ++serving_;
    changed_.notify_all();
}

void LightnessGate::Leave() {
    const std::lock_guard lock(mutex_);
    --inside_;
    changed_.notify_all();
}

}  // namespace platen_python
