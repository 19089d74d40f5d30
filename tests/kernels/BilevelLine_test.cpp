#include "Sources/PX_Zoom/BilevelLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Sources/Dispatch/Kernels.h"
#include "Sources/PX_Zoom/BilevelLine.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

// Every variant of packing and unpacking against the reference. Lines lie against protected pages on either side.

namespace {

using platen_test::GuardedBuffer;
using platen_test::Random;
using Against = GuardedBuffer::Against;

class BilevelLine : public testing::TestWithParam<const platen::KernelTable*> {
  protected:
    BilevelLine() : before_(&platen::Kernels()) {
        platen::UseKernels(*GetParam());
    }
    ~BilevelLine() override {
        platen::UseKernels(*before_);
    }

  private:
    const platen::KernelTable* before_;
};

std::size_t PackedSize(std::int32_t width) {
    return static_cast<std::size_t>(width + 7) / 8;
}

// Every width once up to 600, then some up to 3000, on both sides of a page.
template <class Check>
void ForWidths(const Check& check) {
    for (const Against side : {Against::kPageBehind, Against::kPageBefore}) {
        for (std::int32_t width = 1; width <= 3000; width += width < 600 ? 1 : 61) {
            check(width, side);
        }
    }
}

std::vector<std::uint8_t> Contents(const GuardedBuffer& buffer) {
    return {buffer.bytes().begin(), buffer.bytes().end()};
}

TEST_P(BilevelLine, IsTheVariantThatItNames) {
    EXPECT_STREQ(GetParam()->name, platen::Kernels().name);
    EXPECT_EQ(std::string("reference") == GetParam()->name,
              platen::Kernels().unpackBits == platen::UnpackBits_reference);
    EXPECT_EQ(std::string("reference") == GetParam()->name,
              platen::Kernels().packBits == platen::PackBits_reference);
}

TEST_P(BilevelLine, UnpackEqualsReference) {
    Random random(1);
    ForWidths([&](std::int32_t width, Against side) {
        const GuardedBuffer bits(PackedSize(width), side);
        for (std::uint8_t& byte : bits.bytes()) {
            byte = random.Byte();
        }
        const GuardedBuffer bytes(static_cast<std::size_t>(width), side);
        const GuardedBuffer expected(static_cast<std::size_t>(width), side);
        platen::Kernels().unpackBits(bytes.data(), bits.data(), width);
        platen::UnpackBits_reference(expected.data(), bits.data(), width);
        ASSERT_EQ(Contents(expected), Contents(bytes)) << "width " << width;
    });
}

TEST_P(BilevelLine, PackEqualsReference) {
    Random random(2);
    ForWidths([&](std::int32_t width, Against side) {
        const GuardedBuffer bytes(static_cast<std::size_t>(width), side);
        for (std::uint8_t& byte : bytes.bytes()) {
            byte = random.OneIn(3) ? static_cast<std::uint8_t>(random.Between(127, 128)) : random.Byte();
        }
        const GuardedBuffer bits(PackedSize(width), side);
        const GuardedBuffer expected(PackedSize(width), side);
        platen::Kernels().packBits(bits.data(), bytes.data(), width);
        platen::PackBits_reference(expected.data(), bytes.data(), width);
        ASSERT_EQ(Contents(expected), Contents(bits)) << "width " << width;
    });
}

TEST_P(BilevelLine, EveryByteBothWays) {
    std::vector<std::uint8_t> bits(256);
    for (std::size_t value = 0; value < 256; ++value) {
        bits[value] = static_cast<std::uint8_t>(value);
    }
    std::vector<std::uint8_t> bytes(2048);
    std::vector<std::uint8_t> again(256);
    platen::Kernels().unpackBits(bytes.data(), bits.data(), 2048);
    platen::Kernels().packBits(again.data(), bytes.data(), 2048);
    EXPECT_EQ(255, bytes[2047]);
    EXPECT_EQ(0, bytes[254 * 8 + 7]);
    EXPECT_EQ(bits, again);
}

TEST_P(BilevelLine, WithoutPixelsNothingIsTouched) {
    const GuardedBuffer nothing(0);
    for (const std::int32_t width : {0, -1, -100}) {
        platen::Kernels().unpackBits(nothing.data(), nothing.data(), width);
        platen::Kernels().packBits(nothing.data(), nothing.data(), width);
    }
}

INSTANTIATE_TEST_SUITE_P(, BilevelLine,
                         testing::ValuesIn(platen::AvailableKernels().begin(), platen::AvailableKernels().end()),
                         [](const auto& variant) { return std::string(variant.param->name); });

}  // namespace
