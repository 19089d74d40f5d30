#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "demo/HalfImage.h"
#include "demo/Ink.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenWriter.h"

namespace platen_demo {
namespace {

constexpr std::uint32_t kMaxHeight = 1400;  // of each half; larger pages are reduced
constexpr std::uint32_t kMargin = 28;
constexpr std::uint32_t kLabelHeight = 64;
constexpr std::uint8_t kGround = 52;
constexpr std::uint8_t kLettering = 235;

std::uint32_t WidthFor(const HalfImage& half, std::uint32_t height) {
    const std::uint64_t width = std::uint64_t{half.SourceWidth()} * height / half.SourceHeight();
    return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(width, 1, 4000));
}

void MakePicture(const std::string& before, const std::string& after, const std::string& output) {
    HalfImage left(before);
    HalfImage right(after);
    const std::uint32_t height = std::min(kMaxHeight, left.SourceHeight());
    const std::uint32_t leftWidth = WidthFor(left, height);
    const std::uint32_t rightWidth = WidthFor(right, height);
    left.ScaleTo(leftWidth, height);
    right.ScaleTo(rightWidth, height);

    platen_tool::ImageInfo info;
    info.width = 3 * kMargin + leftWidth + rightWidth;
    info.height = kLabelHeight + height + kMargin;
    info.samplesPerPixel = 3;
    const std::size_t rightStart = std::size_t{2} * kMargin + leftWidth;

    Ink labels(static_cast<int>(info.width), static_cast<int>(kLabelHeight));
    const Type type{34, 1.0, 0, 0};
    labels.Text(kMargin, kLabelHeight - 22, "before", type);
    labels.Text(static_cast<double>(rightStart), kLabelHeight - 22, "after", type);

    platen_tool::WriteOptions options;
    options.force = true;
    const auto writer = platen_tool::OpenWriter(output, options);
    writer->BeginPage(info);
    std::vector<std::uint8_t> line(info.LineBytes());
    for (std::uint32_t y = 0; y < info.height; ++y) {
        std::fill(line.begin(), line.end(), kGround);
        if (y < kLabelHeight) {
            for (std::size_t i = 0; i < line.size(); ++i) {
                const double cover = labels.At(static_cast<double>(i / 3), y);
                line[i] = static_cast<std::uint8_t>(kGround + cover * (kLettering - kGround));
            }
        } else if (y < kLabelHeight + height) {
            left.NextLine(&line[std::size_t{3} * kMargin]);
            right.NextLine(&line[3 * rightStart]);
        }
        writer->WriteLine(line.data());
    }
    writer->EndPage();
    writer->Commit();
}

}  // namespace
}  // namespace platen_demo

// side_by_side BEFORE AFTER OUTPUT: puts two pages beside each other, reduced to the size of a screen.
int main(int count, char** words) {
    if (count != 4) {
        std::fprintf(stderr, "usage: side_by_side BEFORE AFTER OUTPUT\n");
        return 2;
    }
    try {
        platen_demo::MakePicture(words[1], words[2], words[3]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "side_by_side: %s\n", error.what());
        return 1;
    }
    return 0;
}
