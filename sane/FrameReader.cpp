#include "sane/FrameReader.h"

#include <algorithm>
#include <cstring>

namespace platen_sane {

// Takes the lines that one line of the device has made, none, one or a few: straight to the application as far as
// they fit there, the rest until it asks again.
class FrameReader::Output : public platen_tool::Stage {
  public:
    explicit Output(std::size_t lineBytes) : lineBytes_(lineBytes) {}

    // Where the application wants the next bytes.
    void SetRoom(SANE_Byte* bytes, std::size_t room) {
        room_ = bytes;
        left_ = room;
    }
    std::size_t Left() const {
        return left_;
    }

    void Take(std::uint8_t* line) override {
        const std::size_t count = waiting_.empty() ? Put(line, lineBytes_) : 0;
        waiting_.insert(waiting_.end(), line + count, line + lineBytes_);
    }

    // What waits, as far as there is room.
    void Give() {
        begin_ += Put(waiting_.data() + begin_, waiting_.size() - begin_);
        if (begin_ == waiting_.size()) {
            waiting_.clear();
            begin_ = 0;
        }
    }

  private:
    std::size_t Put(const std::uint8_t* bytes, std::size_t count) {
        const std::size_t part = std::min(count, left_);
        if (part > 0) {
            std::memcpy(room_, bytes, part);
            room_ += part;
            left_ -= part;
        }
        return part;
    }

    const std::size_t lineBytes_;
    SANE_Byte* room_ = nullptr;
    std::size_t left_ = 0;
    std::vector<std::uint8_t> waiting_;
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
    output_->SetRoom(bytes, wanted);
    output_->Give();
    // As much as there is without waiting for the device; a call that has nothing waits.
    while (output_->Left() > 0 && (output_->Left() == wanted || source_->Ready())) {
        std::uint8_t* line = line_.data();
        const SANE_Status status = source_->Next(line);
        if (status != SANE_STATUS_GOOD) {
            return status;  // nothing was given: a line that is ready comes with no other status
        }
        pipeline_->Take(line);
    }
    count = static_cast<SANE_Int>(wanted - output_->Left());
    return SANE_STATUS_GOOD;
}

}  // namespace platen_sane
