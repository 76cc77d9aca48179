#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vintra {

/// How many pictures of a size may wait for the encoder of a movie: enough to ride out a key picture or a busy
/// moment such as the start of a take, in which the encoders get their memory; at most 256 MB of screen. Memory is
/// taken when a picture is needed and not before.
inline int64_t mostWaitingPictures(int64_t width, int64_t height) {
    constexpr int64_t kMost = 16;
    constexpr int64_t kFewest = 2;
    constexpr int64_t kMostBytes = 256 << 20;
    return std::clamp(kMostBytes / std::max<int64_t>(1, 4 * width * height), kFewest, kMost);
}

/// How many pictures a capture needs so that it always has one to fill, however slow the encoder is: those that
/// wait for it, the two that it holds, the newest and the one before it on the grid, the one being filled, and
/// those on the way to the grid. A pool that runs dry first would leave frames out before the movie says that
/// it has no room for them.
inline size_t picturesOfACapture(int64_t width, int64_t height, int queueDepth) {
    constexpr int64_t kHeldElsewhere = 2 + 2 + 1;
    return static_cast<size_t>(mostWaitingPictures(width, height) + kHeldElsewhere + std::max(queueDepth, 1));
}

} // namespace vintra
