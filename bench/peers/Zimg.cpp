#include <zimg.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bench/peers/Peer.h"

namespace platen_peers {
namespace {

// One grey plane with the alignment that the library asks for, and its graph.
class Scaler {
  public:
    Scaler(const Image& from, const std::shared_ptr<Image>& to)
        : to_(to),
          source_(from, kAlignment),
          destination_(*to, kAlignment),
          graph_(BuildGraph(from, *to), zimg_filter_graph_free) {
        source_.Fill(from);
        std::size_t bytes = 0;
        if (graph_ != nullptr && zimg_filter_graph_get_tmp_size(graph_.get(), &bytes) == 0) {
            scratch_ = Aligned(bytes);
        }
    }

    bool Usable() const {
        return graph_ != nullptr;
    }

    void Run() {
        zimg_image_buffer_const from{};
        from.version = ZIMG_API_VERSION;
        from.plane[0] = {source_.data.get(), static_cast<std::ptrdiff_t>(source_.stride), ZIMG_BUFFER_MAX};
        zimg_image_buffer to{};
        to.version = ZIMG_API_VERSION;
        to.plane[0] = {destination_.data.get(), static_cast<std::ptrdiff_t>(destination_.stride), ZIMG_BUFFER_MAX};
        zimg_filter_graph_process(graph_.get(), &from, &to, scratch_.get(), nullptr, nullptr, nullptr, nullptr);
    }

    // Not timed; see Resize.
    void Store() {
        for (int y = 0; y < to_->Height(); ++y) {
            std::memcpy(to_->Row(y), destination_.Row(y), to_->RowBytes());
        }
    }

  private:
    static constexpr std::size_t kAlignment = 64;
    using Block = std::unique_ptr<std::uint8_t, decltype(&std::free)>;

    static Block Aligned(std::size_t bytes) {
        const std::size_t whole = (bytes + kAlignment) / kAlignment * kAlignment;
        return {static_cast<std::uint8_t*>(std::aligned_alloc(kAlignment, whole)), std::free};
    }

    struct Plane {
        Plane(const Image& image, std::size_t alignment)
            : stride((image.RowBytes() + alignment - 1) / alignment * alignment),
              data(Aligned(stride * static_cast<std::size_t>(image.Height()))) {}

        std::uint8_t* Row(int y) const {
            return data.get() + stride * static_cast<std::size_t>(y);
        }
        void Fill(const Image& image) const {
            for (int y = 0; y < image.Height(); ++y) {
                std::memcpy(Row(y), image.Row(y), image.RowBytes());
            }
        }

        std::size_t stride;
        Block data;
    };

    static zimg_filter_graph* BuildGraph(const Image& from, const Image& to) {
        zimg_image_format source;
        zimg_image_format_default(&source, ZIMG_API_VERSION);
        source.pixel_type = ZIMG_PIXEL_BYTE;
        source.color_family = ZIMG_COLOR_GREY;
        source.pixel_range = ZIMG_RANGE_FULL;
        zimg_image_format destination = source;
        source.width = static_cast<unsigned>(from.Width());
        source.height = static_cast<unsigned>(from.Height());
        destination.width = static_cast<unsigned>(to.Width());
        destination.height = static_cast<unsigned>(to.Height());
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = ZIMG_RESIZE_BILINEAR;
        params.cpu_type = ZIMG_CPU_AUTO_64B;
        return zimg_filter_graph_build(&source, &destination, &params);
    }

    std::shared_ptr<Image> to_;
    Plane source_;
    Plane destination_;
    std::unique_ptr<zimg_filter_graph, decltype(&zimg_filter_graph_free)> graph_;
    Block scratch_{nullptr, std::free};
};

// Its bilinear filter widens to a triangle when reducing: more work than an average, so it is there for comparison.
void Resize(Peers& peers, const Image& from, int width, int height, Scaling) {
    if (from.BitsPerPixel() != 8) {
        return;
    }
    const auto out = std::make_shared<Image>(width, height, from.BitsPerPixel());
    const auto scaler = std::make_shared<Scaler>(from, out);
    if (!scaler->Usable()) {
        return;
    }
    scaler->Run();
    scaler->Store();
    peers.push_back({"zimg bilinear", false, [scaler] { scaler->Run(); }, out});
}

}  // namespace

Library Zimg() {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned micro = 0;
    zimg_get_version_info(&major, &minor, &micro);
    return {"zimg " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(micro), nullptr,
            nullptr, Resize};
}

}  // namespace platen_peers
