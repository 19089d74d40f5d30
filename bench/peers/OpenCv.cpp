#include <algorithm>
#include <array>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "LineFilters/Sharpness.h"
#include "bench/peers/Peer.h"

namespace platen_peers {
namespace {

// The same memory, seen as a matrix.
cv::Mat View(const Image& image) {
    const int bits = image.BitsPerPixel();
    const int type = bits == 8 ? CV_8UC1 : bits == 24 ? CV_8UC3 : bits == 16 ? CV_16UC1 : CV_16UC3;
    return {image.Height(), image.Width(), type, const_cast<std::uint8_t*>(image.Data()), image.RowBytes()};
}

std::shared_ptr<Image> NewLike(const Image& image) {
    return std::make_shared<Image>(image.Width(), image.Height(), image.BitsPerPixel());
}

cv::Mat KernelOf(int level) {
    cv::Mat kernel(3, 3, CV_32F);
    for (const auto& entry : sfilterParamTable) {
        for (int i = 0; entry[10] == level && i < 9; ++i) {
            kernel.at<float>(i / 3, i % 3) = static_cast<float>(entry[i]) / static_cast<float>(entry[9]);
        }
    }
    return kernel;
}

void Sharpen(Peers& peers, const Image& from, int level) {
    const auto filtered = NewLike(from);
    peers.push_back({"opencv filter2D", true,
                     [&from, filtered, kernel = KernelOf(level)] {
                         cv::Mat out = View(*filtered);
                         cv::filter2D(View(from), out, -1, kernel);
                     },
                     filtered});
    if (level == -2) {
        const auto blurred = NewLike(from);
        peers.push_back({"opencv blur", true,
                         [&from, blurred] {
                             cv::Mat out = View(*blurred);
                             cv::blur(View(from), out, cv::Size(3, 3));
                         },
                         blurred});
    }
}

// Through a band of lines at a time, which stays in the cache; a band as high as the page is the common use. The
// buffer in between is kept from run to run.
class ThroughHls {
  public:
    explicit ThroughHls(int bandHeight) : bandHeight_(bandHeight) {}

    void operator()(const cv::Mat& from, cv::Mat to) {
        for (int y = 0; y < from.rows; y += bandHeight_) {
            const int end = std::min(from.rows, y + bandHeight_);
            cv::cvtColor(from.rowRange(y, end), hls_, cv::COLOR_RGB2HLS);
            cv::Mat out = to.rowRange(y, end);
            cv::cvtColor(hls_, out, cv::COLOR_HLS2RGB);
        }
    }

  private:
    int bandHeight_;
    cv::Mat hls_;
};

// The two conversions alone: what is done to the three channels in between would cost extra.
void Hsv(Peers& peers, const Image& from) {
    for (const auto& [name, bandHeight] : {std::pair{"opencv RGB-HLS-RGB, whole page", from.Height()},
                                           std::pair{"opencv RGB-HLS-RGB, bands of 64", 64}}) {
        const auto out = NewLike(from);
        const auto convert = std::make_shared<ThroughHls>(bandHeight);
        peers.push_back({name, true, [&from, out, convert] { (*convert)(View(from), View(*out)); }, out});
    }
    const auto out = NewLike(from);
    peers.push_back({"opencv LUT (a table, no HLS)", false,
                     [&from, out] {
                         cv::Mat table(1, 256, CV_8UC1);
                         for (int i = 0; i < 256; ++i) {
                             table.at<std::uint8_t>(i) = static_cast<std::uint8_t>(i + (255 - i) * 20 / 100);
                         }
                         cv::Mat to = View(*out);
                         cv::LUT(View(from), table, to);
                     },
                     out});
}

void Resize(Peers& peers, const Image& from, int width, int height, Scaling scaling) {
    if (from.BitsPerPixel() == 1) {
        return;
    }
    const bool reduce = scaling == Scaling::kReduce;
    const auto out = std::make_shared<Image>(width, height, from.BitsPerPixel());
    peers.push_back({reduce ? "opencv AREA" : "opencv LINEAR", true,
                     [&from, out, reduce] {
                         cv::Mat to = View(*out);
                         cv::resize(View(from), to, to.size(), 0, 0, reduce ? cv::INTER_AREA : cv::INTER_LINEAR);
                     },
                     out});
}

}  // namespace

Library OpenCv() {
    cv::setNumThreads(1);
    return {"opencv " CV_VERSION, Sharpen, Hsv, Resize};
}

}  // namespace platen_peers
