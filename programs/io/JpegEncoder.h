#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "programs/base/ImageInfo.h"

namespace platen_tool {

// Encodes the lines of one image as a JPEG stream.
class JpegEncoder {
  public:
    // Takes a part of the stream; false where it can't be written. It is called from within the codec, so it must
    // not throw.
    using Sink = std::function<bool(const std::uint8_t* bytes, std::size_t count)>;

    // `failure` begins the text of the Errors (kFailed) that the encoder throws.
    JpegEncoder(int quality, std::string failure, Sink sink);
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    // The page's resolution, profile and orientation become markers. 8-bit grey or RGB of known height.
    void Begin(const ImageInfo& info);
    void WriteLine(const std::uint8_t* line);
    void End();

  private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace platen_tool
