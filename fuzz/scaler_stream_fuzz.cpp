// The scaler's stream: any image and any order of calls against the whole-image model.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Producer.h"
#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/Geometry.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "tests/oracles/ZoomImageOracle.h"

namespace {

using platen_fuzz::Producer;
using platen_test::ZoomCase;
using platen_test::ZoomImage;

void Check(bool right) {
    if (!right) {
        std::abort();
    }
}

ZoomImage TakeImage(const ZoomCase& c, Producer& input) {
    ZoomImage image(static_cast<std::size_t>(c.srcHeight));
    for (auto& line : image) {
        line.resize(static_cast<std::size_t>(c.srcWidth) * static_cast<std::size_t>(c.Samples()));
        for (auto& sample : line) {
            sample = c.Wide() ? input.Take<std::uint16_t>() : input.Take<std::uint8_t>();
            sample = c.format != 1 ? sample : static_cast<std::uint16_t>((sample & 1) != 0 ? 255 : 0);
        }
    }
    return image;
}

// What every variant is to do, and what must come of it.
struct Plan {
    ZoomCase size;
    std::uint8_t calls[96];
    ZoomImage source;
    ZoomImage want;
    std::int32_t horzDouble;
    std::int32_t vertDouble;
};

class Session {
  public:
    explicit Session(const Plan& plan) : case_(plan.size), source_(plan.source), want_(plan.want) {
        const ZoomCase& c = plan.size;
        Check(zoom_.Open(c.dstWidth, c.dstHeight, c.srcWidth, c.srcHeight, c.format, 2) == 0);
        auto& bilinear = static_cast<PX_ZoomBilinear&>(*zoom_.zoom);
        bilinear.horzDouble |= plan.horzDouble;
        bilinear.vertDouble |= plan.vertDouble;
    }

    // One call; most of the time the one that carries on.
    void Step(std::uint8_t choice) {
        const bool waits = zoom_.CheckData() != 0;
        if (choice == 255) {
            SpoilPlan();
        } else if (choice % 8 == 0) {
            Refused(choice / 8);
        } else if (waits) {
            Read();
        } else if (sent_ < source_.size()) {
            Send();
        } else {
            Refused(choice / 8);
        }
    }

    bool Finished() const {
        return read_ == want_.size();
    }

    void Finish() {
        while (!Finished()) {
            Step(1);
        }
        std::vector<std::uint8_t> line(case_.SrcBytes());
        Check(zoom_.Send(line.data()) == 3 && sent_ == source_.size());
    }

  private:
    // A plan that is none any more is made again.
    void SpoilPlan() {
        const platen::PlanRoom room = platen::RoomOf(static_cast<const PX_ZoomBilinear&>(*zoom_.zoom));
        std::memset(room.memory, 0x5A, room.bytes);
    }

    void Send() {
        auto bytes = PackLine(case_, source_[sent_++]);
        Check(zoom_.Send(bytes.data()) == 0);
    }

    void Read() {
        const auto want = PackLine(case_, want_[read_++]);
        std::vector<std::uint8_t> line(case_.DstBytes(), 0x5A);
        Check(zoom_.Read(line.data()) == 0 && line == want);
    }

    // Calls that must be turned away and change nothing that a later line would show.
    void Refused(int which) {
        std::vector<std::uint8_t> line(case_.DstBytes() + case_.SrcBytes());
        const bool waits = zoom_.CheckData() != 0;
        switch (which % 4) {
            case 0: {
                const int status = zoom_.Send(nullptr);
                Check(status == 2 || (waits && status == 3));
                break;
            }
            case 1:
                Check(zoom_.Read(nullptr) == 2);
                break;
            case 2:
                Check(zoom_.Open(1, 1, 1, 1, 8, 2) == 3);
                break;
            default:
                Check(waits ? zoom_.Send(line.data()) == 3 : zoom_.Read(line.data()) == 3);
        }
    }

    ZoomCase case_;
    const ZoomImage& source_;
    const ZoomImage& want_;
    PX_Zoom zoom_;
    std::size_t sent_ = 0;
    std::size_t read_ = 0;
};

// Mostly small; now and then long enough for the kernels' inner loops, but not on both axes.
ZoomCase TakeCase(Producer& input) {
    constexpr int kFormats[] = {1, 8, 16, 24, 32, 48, 64};
    const auto side = [&input] {
        const int byte = input.Take<std::uint8_t>();
        return byte < 224 ? 1 + byte % 24 : 1 + (byte - 224) * 12;
    };
    ZoomCase c{};
    c.format = kFormats[input.Take<std::uint8_t>() % 7];
    c.dstWidth = side();
    c.dstHeight = side();
    c.srcWidth = side();
    c.srcHeight = side();
    if (std::max(c.dstWidth, c.srcWidth) > 24) {
        c.dstHeight = std::min(c.dstHeight, 8);
        c.srcHeight = std::min(c.srcHeight, 8);
    }
    return c;
}

void Run(const Plan& plan) {
    Session session(plan);
    for (const std::uint8_t call : plan.calls) {
        if (!session.Finished()) {
            session.Step(call);
        }
    }
    session.Finish();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Producer input(data, size);
    Plan plan{};
    plan.size = TakeCase(input);
    input.Fill(plan.calls, sizeof plan.calls);
    plan.source = TakeImage(plan.size, input);
    plan.want = OracleScale(plan.size, plan.source);
    plan.horzDouble = input.Flip() ? 1 : 0;
    plan.vertDouble = input.Flip() ? 1 : 0;
    for (const platen::KernelTable* variant : platen::AvailableKernels()) {
        platen::UseKernels(*variant);
        Run(plan);
    }
    return 0;
}
