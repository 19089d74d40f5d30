#include "sane/FrameReader.h"

#include <algorithm>
#include <cstring>

namespace platen_sane {

// The lines that one line of the device has made: none mostly while a filter holds one back or the page gets
// smaller, a few where it gets larger.
class FrameReader::Output : public platen_tool::Stage {
  public:
    explicit Output(std::size_t lineBytes) : lineBytes_(lineBytes) {}

    void Take(std::uint8_t* line) override {
        bytes_.insert(bytes_.end(), line, line + lineBytes_);
    }
    bool Empty() const {
        return begin_ == bytes_.size();
    }
    std::size_t Give(SANE_Byte* bytes, std::size_t room) {
        const std::size_t count = std::min(room, bytes_.size() - begin_);
        std::memcpy(bytes, bytes_.data() + begin_, count);
        begin_ += count;
        if (Empty()) {
            bytes_.clear();
            begin_ = 0;
        }
        return count;
    }

  private:
    const std::size_t lineBytes_;
    std::vector<std::uint8_t> bytes_;
    std::size_t begin_ = 0;
};

FrameReader::FrameReader(Device& device, const FramePlan& plan, const Adjustments& adjustments,
                         const std::atomic<bool>& cancelled)
    : device_(device), plan_(plan), adjustments_(adjustments), cancelled_(cancelled) {
    const bool spools = plan.page.input.height == 0 && plan.settings.NeedsHeight();
    if (plan.route != Route::kCollect && !spools) {
        source_ = std::make_unique<DeviceLines>(device, plan.device, cancelled);
        Build(plan.page);
    }
}

FrameReader::~FrameReader() = default;

void FrameReader::Build(const platen_tool::PagePlan& page) {
    page_ = page;
    output_ = std::make_unique<Output>(page_.output.LineBytes());
    pipeline_.emplace(page_, *output_);
    line_.resize(page_.input.LineBytes());
}

// Moves the page to temporary files where that is needed.
SANE_Status FrameReader::Prepare() {
    std::uint32_t height = 0;
    const SANE_Status status = plan_.route == Route::kCollect
                                   ? CollectPasses(device_, plan_.device, cancelled_, source_, height)
                                   : SpoolFrame(device_, plan_.device, cancelled_, source_, height);
    if (status == SANE_STATUS_GOOD && height > 0) {
        Build(PlanWithHeight(plan_, adjustments_, height));
    }
    return status == SANE_STATUS_GOOD && height == 0 ? SANE_STATUS_EOF : status;
}

SANE_Status FrameReader::Read(SANE_Byte* bytes, SANE_Int room, SANE_Int& count) {
    count = 0;
    if (source_ == nullptr) {
        const SANE_Status status = Prepare();
        if (status != SANE_STATUS_GOOD) {
            return status;
        }
    }
    const auto wanted = static_cast<std::size_t>(std::max(room, 0));
    std::size_t given = 0;
    // As much as there is without waiting for the device; a call that has nothing waits.
    while (given < wanted && (given == 0 || !output_->Empty() || source_->Ready())) {
        if (!output_->Empty()) {
            given += output_->Give(bytes + given, wanted - given);
            continue;
        }
        const SANE_Status status = source_->Next(line_.data());
        if (status != SANE_STATUS_GOOD) {
            return status;  // nothing was given: a line that is ready comes with no other status
        }
        pipeline_->Take(line_.data());
    }
    count = static_cast<SANE_Int>(given);
    return SANE_STATUS_GOOD;
}

}  // namespace platen_sane
