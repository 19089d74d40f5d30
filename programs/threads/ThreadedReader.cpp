#include "programs/threads/ThreadedReader.h"

#include <cstring>
#include <exception>
#include <utility>

#include "programs/io/QuietThread.h"

namespace platen_tool {

ThreadedReader::ThreadedReader(std::unique_ptr<LineReader> inner, std::uint64_t smallest)
    : inner_(std::move(inner)), smallest_(smallest) {}

ThreadedReader::~ThreadedReader() {
    EndThread();
}

void ThreadedReader::ReadLine(std::uint8_t* line) {
    if (!pageBegun_) {
        BeginPage();
    }
    if (!ring_) {
        inner_->ReadLine(line);
        return;
    }
    const std::uint8_t* read = ring_->Front();
    if (read == nullptr) {
        const std::exception_ptr error = ring_->Error();
        EndThread();
        std::rethrow_exception(error);
    }
    std::memcpy(line, read, lineBytes_);
    ring_->Drop();
    if (--linesLeft_ == 0) {
        EndThread();
    }
}

bool ThreadedReader::NextPage() {
    EndThread();
    pageBegun_ = false;
    return inner_->NextPage();
}

void ThreadedReader::BeginPage() {
    pageBegun_ = true;
    const ImageInfo& info = inner_->Info();
    lineBytes_ = info.LineBytes();
    linesLeft_ = info.height;
    if (info.height == 0 || std::uint64_t{lineBytes_} * info.height < smallest_) {
        return;
    }
    ring_.emplace(lineBytes_);
    thread_ = StartQuietThread([](void* self) { static_cast<ThreadedReader*>(self)->ReadAhead(); }, this);
    if (!thread_.joinable()) {
        ring_.reset();
    }
}

void ThreadedReader::ReadAhead() noexcept {
    std::exception_ptr error;
    try {
        const std::uint32_t height = inner_->Info().height;
        for (std::uint32_t y = 0; y < height; ++y) {
            std::uint8_t* room = ring_->Room();
            if (room == nullptr) {
                break;
            }
            inner_->ReadLine(room);
            ring_->Put();
        }
    } catch (...) {
        error = std::current_exception();
    }
    ring_->End(std::move(error));
}

void ThreadedReader::EndThread() noexcept {
    if (ring_) {
        ring_->Abandon();
        thread_.join();
        ring_.reset();
    }
}

}  // namespace platen_tool
