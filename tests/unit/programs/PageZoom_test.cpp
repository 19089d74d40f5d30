#include "programs/page/PageZoom.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "support/Random.h"

// Pages scaled in bands, against the scaler given the whole page.

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

ImageInfo Info(std::uint32_t width, std::uint32_t height, int format) {
    ImageInfo info;
    info.width = width;
    info.height = height;
    info.samplesPerPixel = PX_Zoom_SamplePerPixel(format);
    info.bitsPerSample = PX_Zoom_BitsPerSample(format);
    return info;
}

// Random lines, with some that are all white: the largest sums.
Bytes RandomPage(const ImageInfo& info, std::uint64_t seed) {
    platen_test::Random random(seed);
    Bytes page(info.LineBytes() * info.height);
    for (std::size_t i = 0; i < page.size(); ++i) {
        page[i] = i / info.LineBytes() % 5 < 2 ? 0xFF : random.Byte();
    }
    return page;
}

// Streams the page through either scaler.
template <class Zoom, class Ready>
Bytes Stream(Zoom& zoom, Ready ready, const ImageInfo& in, const ImageInfo& out, Bytes page) {
    Bytes result(out.LineBytes() * out.height);
    std::size_t lines = 0;
    for (std::uint32_t y = 0; y < in.height; ++y) {
        zoom.Send(page.data() + y * in.LineBytes());
        while (ready(zoom) && lines < out.height) {
            zoom.Read(result.data() + lines++ * out.LineBytes());
        }
    }
    EXPECT_EQ(lines, out.height);
    return result;
}

Bytes InBands(const ImageInfo& in, const ImageInfo& out, int format, const Bytes& page) {
    PageZoom zoom;
    zoom.Open(in, out, format);
    return Stream(
        zoom, [](PageZoom& z) { return z.Ready(); }, in, out, page);
}

Bytes Whole(const ImageInfo& in, const ImageInfo& out, int format, const Bytes& page, bool doubles = false) {
    PX_Zoom zoom;
    EXPECT_EQ(zoom.Open(static_cast<int>(out.width), static_cast<int>(out.height), static_cast<int>(in.width),
                        static_cast<int>(in.height), format, 2),
              0);
    EXPECT_EQ(static_cast<const PX_ZoomBilinear*>(zoom.zoom)->vertDouble, doubles ? 1 : 0);
    return Stream(
        zoom, [](PX_Zoom& z) { return z.CheckData() > 0; }, in, out, page);
}

void ExpectTheSame(const ImageInfo& in, const ImageInfo& out, int format, bool doubles = false) {
    const Bytes page = RandomPage(in, in.width * 31 + in.height + out.width);
    EXPECT_TRUE(InBands(in, out, format, page) == Whole(in, out, format, page, doubles))
        << "format " << format << ", " << in.width << " x " << in.height << " to " << out.width << " x "
        << out.height;
}

TEST(PageZoom, BandsGiveTheBytesOfTheWholePage) {
    for (std::uint32_t factor = 1; factor <= 7; ++factor) {
        // Two whole bands, and less than one; one that is full to the last line; one line more.
        const std::uint32_t band = PageZoom::Records(8000 * factor, 8000) / factor;
        for (const std::uint32_t height : {2 * band + band / 3, band, band + 1}) {
            for (const int format : {1, 8, 16, 24, 48}) {
                const ImageInfo in = Info(13, height * factor, format);
                EXPECT_EQ(PageZoom::Records(in.height, height), band * factor);
                for (const std::uint32_t width : {4u, 29u, 13u}) {
                    ExpectTheSame(in, Info(width, height, format), format);
                }
            }
        }
    }
}

TEST(PageZoom, BandsInIntegersGiveTheBytesOfPagesInDoubles) {
    for (std::uint32_t factor = 2; factor <= 7; ++factor) {
        const std::uint32_t height = 65536 / factor + 1;
        for (const int format : {1, 8, 16, 24, 48}) {
            ExpectTheSame(Info(3, height * factor, format), Info(2, height, format), format, true);
            ExpectTheSame(Info(2, height * factor, format), Info(3, height, format), format, true);
        }
    }
}

// One destination line of so many source lines is a band of its own, in doubles like the page.
TEST(PageZoom, OneLineOfAPageThatNeedsDoubles) {
    for (const int format : {1, 8, 16, 24, 48}) {
        ExpectTheSame(Info(3, 2 * 70000, format), Info(2, 2, format), format, true);
        ExpectTheSame(Info(3, 70001, format), Info(3, 1, format), format, true);
    }
}

TEST(PageZoom, OtherFactorsTakeThePageWhole) {
    for (const auto& [from, to] : {std::pair{5000u, 2000u}, {5001u, 2500u}, {2500u, 5000u}, {4000u, 4001u}}) {
        EXPECT_EQ(PageZoom::Records(from, to), std::max(from, to));
        for (const int format : {1, 8, 16, 32, 64}) {
            ExpectTheSame(Info(13, from, format), Info(7, to, format), format);
        }
    }
}

TEST(PageZoom, ALineTooManyIsRefused) {
    for (const std::uint32_t height : {3u, 4u}) {  // whole, and in bands
        PageZoom zoom;
        const ImageInfo in = Info(4, 6, 8);
        zoom.Open(in, Info(2, height == 3 ? 3 : 4, 8), 8);
        std::uint8_t line[4] = {};
        for (std::uint32_t y = 0; y < 6; ++y) {
            zoom.Send(line);
            while (zoom.Ready()) {
                zoom.Read(line);
            }
        }
        try {
            zoom.Send(line);
            ADD_FAILURE() << "taken";
        } catch (const std::logic_error& error) {
            EXPECT_STREQ(error.what(), "the scaler refused a line");
        }
    }
}

TEST(PageZoom, RecordsDoNotGrowWithTheHeight) {
    EXPECT_EQ(PageZoom::Records(9600, 4800), PageZoom::Records(65534, 32767));
    EXPECT_LE(PageZoom::Records(65534, 32767), 2048u);
    EXPECT_EQ(PageZoom::Records(300, 100), 300u);
    EXPECT_EQ(PageZoom::Records(65535, 1), 65535u);  // all of them make one line
}

}  // namespace
}  // namespace platen_tool
