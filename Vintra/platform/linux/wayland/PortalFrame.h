#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/wayland/DmaBufLayout.h"
#include "Vintra/platform/linux/wayland/PictureTransform.h"
#include "Vintra/platform/linux/wayland/PortalPixelAccess.h"
#include "Vintra/platform/linux/wayland/PortalPixels.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

struct spa_buffer;

namespace vintra {

/// What a desktop's video stream was agreed to carry.
struct PortalVideoFormat {
    int width = 0;
    int height = 0;
    PortalPixels pixels = PortalPixels::bgrx;
    std::optional<DmaBufLayout> dmaBuf =
        std::nullopt; ///< of memory of the graphics card; nothing for plain memory
    bool operator==(const PortalVideoFormat&) const = default;
};

/// One buffer of such a stream, as it lies in memory that the desktop shares. Valid until the buffer is given
/// back.
struct PortalFrame {
    const uint8_t* bytes = nullptr;      ///< the first row of the whole buffer
    PortalPixelAccess* access = nullptr; ///< opens `bytes` for reading; null if they can be read as they are
    ptrdiff_t bytesPerRow = 0;           ///< to the next row; below 0 if that lies before it in memory
    PortalPixels pixels = PortalPixels::bgrx;
    PictureTransform transform;         ///< what the desktop did to the picture; all that follows is upright
    PixelRect whole;                    ///< the size of the buffer
    PixelRect content;                  ///< the part of it that is the picture
    std::optional<int64_t> nanoseconds; ///< when it showed, if told; of the monotonic clock
    std::optional<uint64_t> sequence;   ///< its number, if told
    /// What differs from the frame before; nothing if that isn't told. An empty list is no promise: KWin sends one
    /// with a pointer that has moved, and some portals with every frame.
    std::optional<std::vector<PixelRect>> damage;
};

/// Where the pixels of a buffer lie that isn't plain memory.
struct PortalMemory {
    const uint8_t* bytes = nullptr;
    size_t size = 0; ///< bytes
    PortalPixelAccess* access = nullptr;
    /// Set if it is a copy in the process's memory, without gaps and in this form, whatever the buffer says of itself.
    std::optional<PortalPixels> copied = std::nullopt;
};

/// Nothing if the buffer carries no picture: it is marked as corrupted, is empty, or doesn't hold what its
/// format says. `memory` is null for plain memory.
std::optional<PortalFrame> readPortalFrame(const spa_buffer& buffer, const PortalVideoFormat& format,
                                           const PortalMemory* memory = nullptr);
/// Whether a buffer carries a picture at all, wherever its pixels lie.
bool isPortalFrameIntact(const spa_buffer& buffer);

} // namespace vintra
