#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

struct spa_buffer;

namespace vintra {

/// What a desktop's video stream was agreed to carry.
struct PortalVideoFormat {
    enum class Order { bgr, rgb }; ///< of the first three bytes of each pixel's four
    int width = 0;
    int height = 0;
    Order order = Order::bgr;
    bool operator==(const PortalVideoFormat&) const = default;
};

/// One buffer of such a stream, as it lies in memory that the desktop shares. Valid until the buffer is given
/// back.
struct PortalFrame {
    const uint8_t* pixels = nullptr; ///< the first row of the whole buffer
    size_t bytesPerRow = 0;
    PortalVideoFormat::Order order = PortalVideoFormat::Order::bgr;
    PixelRect content;                  ///< the part of the buffer that is the picture
    std::optional<int64_t> nanoseconds; ///< when it showed, if told; of the monotonic clock
    std::optional<uint64_t> sequence;   ///< its number, if told
    /// What differs from the frame before, in the buffer's pixels; nothing if that isn't told.
    std::optional<std::vector<PixelRect>> damage;
};

/// Nothing if the buffer carries no picture: it is marked as corrupted, is empty, or doesn't hold what its
/// format says.
std::optional<PortalFrame> readPortalFrame(const spa_buffer& buffer, const PortalVideoFormat& format);

} // namespace vintra
