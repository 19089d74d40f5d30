#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/Image.h"

// What each peer library can do of the work that is compared. A peer works on whole pages, packed like ours, by its
// fastest call for the job, on one thread.

namespace platen_peers {

using platen_bench::Image;

struct Peer {
    std::string name;           // library and call
    bool named = false;         // one of those that the goal is measured against
    std::function<void()> run;  // from the page it was made with to `out`
    std::shared_ptr<Image> out;
};

using Peers = std::vector<Peer>;

enum class Scaling { kReduce, kEnlarge };

// An entry may be null: the library has nothing of the kind.
struct Library {
    std::string name;  // with its version
    void (*sharpen)(Peers& peers, const Image& from, int level);
    // Out to hue, lightness and saturation and back.
    void (*hsv)(Peers& peers, const Image& from);
    void (*resize)(Peers& peers, const Image& from, int width, int height, Scaling scaling);
};

Library OpenCv();
Library Swscale();
Library Yuv();
Library Zimg();

}  // namespace platen_peers
