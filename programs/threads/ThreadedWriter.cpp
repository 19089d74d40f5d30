#include "programs/threads/ThreadedWriter.h"

#include <cstring>
#include <utility>

#include "programs/io/QuietThread.h"

namespace platen_tool {

ThreadedWriter::ThreadedWriter(std::unique_ptr<LineWriter> inner, std::uint64_t smallest)
    : inner_(std::move(inner)), smallest_(smallest) {}

ThreadedWriter::~ThreadedWriter() {
    EndThread();
}

void ThreadedWriter::EndThread() {
    if (ring_) {
        lost_ = true;
        ring_->End(nullptr);
        thread_.join();
        ring_.reset();
    }
}

void ThreadedWriter::BeginPage(const ImageInfo& info) {
    Settle();
    inner_->BeginPage(info);
    lineBytes_ = info.LineBytes();
    if (info.height != 0 && std::uint64_t{lineBytes_} * info.height < smallest_) {
        return;
    }
    ring_.emplace(lineBytes_);
    thread_ = StartQuietThread([](void* self) { static_cast<ThreadedWriter*>(self)->WriteLines(); }, this);
    if (!thread_.joinable()) {
        ring_.reset();
    }
}

void ThreadedWriter::WriteLine(const std::uint8_t* line) {
    if (ring_) {
        if (std::uint8_t* room = ring_->Room()) {
            std::memcpy(room, line, lineBytes_);
            ring_->Put();
            return;
        }
        Settle();  // throws: nobody takes lines any more only after an error
    }
    inner_->WriteLine(line);
}

void ThreadedWriter::Settle() {
    if (!ring_) {
        return;
    }
    ring_->End(nullptr);
    thread_.join();
    ring_.reset();
    if (error_) {
        std::rethrow_exception(std::exchange(error_, nullptr));
    }
}

void ThreadedWriter::EndPage() {
    Settle();
    inner_->EndPage();
}

void ThreadedWriter::DropPage() {
    EndThread();
    error_ = nullptr;
    inner_->DropPage();
}

void ThreadedWriter::Commit() {
    Settle();
    inner_->Commit();
}

void ThreadedWriter::WriteLines() noexcept {
    try {
        for (const std::uint8_t* line = ring_->Front(); line != nullptr && !lost_; line = ring_->Front()) {
            inner_->WriteLine(line);
            ring_->Drop();
        }
    } catch (...) {
        error_ = std::current_exception();
    }
    ring_->Abandon();
}

}  // namespace platen_tool
