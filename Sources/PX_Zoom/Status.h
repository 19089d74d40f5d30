#pragma once

namespace platen {

// The scaler's status codes.
constexpr int kZoomDone = 0;
constexpr int kZoomOutOfMemory = 1;
constexpr int kZoomBadArgument = 2;
constexpr int kZoomOutOfOrder = 3;

}  // namespace platen
