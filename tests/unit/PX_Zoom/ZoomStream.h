#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Sources/PX_Zoom/PX_Zoom.h"
#include "oracles/ZoomImageOracle.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace platen_test {

enum class ZoomContent { kRandom, kExtreme, kGradient };

inline ZoomImage MakeImage(const ZoomCase& c, ZoomContent content, Random& random) {
    const std::uint32_t top = c.Wide() ? 65535 : 255;
    ZoomImage image(static_cast<std::size_t>(c.srcHeight));
    std::uint32_t step = 0;
    for (ZoomLine& line : image) {
        line.resize(static_cast<std::size_t>(c.srcWidth) * static_cast<std::size_t>(c.Samples()));
        for (std::uint16_t& sample : line) {
            std::uint32_t value = 0;
            if (content == ZoomContent::kGradient && c.format != 1) {
                value = step++ * (c.Wide() ? 257 : 1) & top;
            } else if (content == ZoomContent::kRandom && c.format != 1) {
                value = static_cast<std::uint32_t>(random.Next()) & top;
            } else {
                value = random.OneIn(content == ZoomContent::kExtreme ? 16 : 2) ? 0 : top;
            }
            sample = static_cast<std::uint16_t>(value);
        }
    }
    return image;
}

inline std::string Describe(const ZoomCase& c) {
    return std::to_string(c.srcWidth) + "x" + std::to_string(c.srcHeight) + " to " + std::to_string(c.dstWidth) +
           "x" + std::to_string(c.dstHeight) + " format " + std::to_string(c.format);
}

// Sends an image line by line and compares every line that comes back. Both lines lie against protected pages; with
// `odd` they start at odd addresses instead of ending at the page.
class ZoomStream {
  public:
    ZoomStream(const ZoomCase& c, bool odd, GuardedBuffer::Against side)
        : case_(c),
          source_(c.SrcBytes() + (odd ? OddSlack(c.SrcBytes()) : 0), side, 0xA5),
          target_(c.DstBytes() + (odd ? OddSlack(c.DstBytes()) : 0), side, 0xA5),
          shift_(odd && side == GuardedBuffer::Against::kPageBefore ? 1 : 0) {}

    // True if all lines came and were right; stops at the first that was not.
    bool Run(PX_Zoom& zoom, const ZoomImage& source, const ZoomImage& want) {
        std::size_t delivered = 0;
        for (const ZoomLine& line : source) {
            const auto bytes = PackLine(case_, line);
            std::memcpy(source_.data() + shift_, bytes.data(), bytes.size());
            if (zoom.Send(source_.data() + shift_) != 0) {
                ADD_FAILURE() << "Send refused, " << Describe(case_);
                return false;
            }
            while (zoom.CheckData() != 0) {
                if (delivered == want.size() || !ReadAndCompare(zoom, want[delivered])) {
                    ADD_FAILURE() << "line " << delivered << ", " << Describe(case_);
                    return false;
                }
                ++delivered;
            }
        }
        EXPECT_EQ(want.size(), delivered) << Describe(case_);
        return delivered == want.size();
    }

  private:
    // A byte more makes an even size's end-aligned start odd.
    static std::size_t OddSlack(std::size_t bytes) {
        return bytes % 2 == 0 ? 1 : 2;
    }

    bool ReadAndCompare(PX_Zoom& zoom, const ZoomLine& want) {
        const auto expected = PackLine(case_, want);
        std::memset(target_.data(), 0xA5, target_.size());
        const bool same = zoom.Read(target_.data() + shift_) == 0 &&
                          std::memcmp(expected.data(), target_.data() + shift_, expected.size()) == 0;
        for (std::size_t i = 0; i < target_.size(); ++i) {
            if ((i < shift_ || i >= shift_ + expected.size()) && target_[i] != 0xA5) {
                return false;
            }
        }
        return same;
    }

    ZoomCase case_;
    GuardedBuffer source_;
    GuardedBuffer target_;
    std::size_t shift_;
};

}  // namespace platen_test
