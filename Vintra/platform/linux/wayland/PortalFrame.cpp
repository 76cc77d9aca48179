#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

#include <algorithm>
#include <cstdlib>

namespace vintra {
namespace {

template <typename Meta>
const Meta* findMeta(const spa_buffer& buffer, uint32_t type) {
    return static_cast<const Meta*>(spa_buffer_find_meta_data(&buffer, type, sizeof(Meta)));
}

PixelRect rectOf(const spa_region& region, const PixelRect& within) {
    // Sizes that wouldn't fit into an int lie outside of any picture.
    constexpr uint32_t kMost = 1u << 30;
    return intersection({region.position.x, region.position.y,
                         static_cast<int>(std::min(region.size.width, kMost)),
                         static_cast<int>(std::min(region.size.height, kMost))},
                        within);
}

/// An empty region isn't the end of the list.
std::optional<std::vector<PixelRect>> damageOf(const spa_buffer& buffer, const PixelRect& whole) {
    const spa_meta* const meta = spa_buffer_find_meta(&buffer, SPA_META_VideoDamage);
    if (!meta) return std::nullopt;
    std::vector<PixelRect> damage;
    const auto* const regions = static_cast<const spa_meta_region*>(meta->data);
    for (size_t i = 0; i < meta->size / sizeof(spa_meta_region); ++i) {
        const PixelRect rect = rectOf(regions[i].region, whole);
        if (!rect.isEmpty()) damage.push_back(rect);
    }
    return damage;
}

PictureTransform transformOf(const spa_buffer& buffer) {
    const auto* const meta = findMeta<spa_meta_videotransform>(buffer, SPA_META_VideoTransform);
    if (!meta || meta->transform > SPA_META_TRANSFORMATION_Flipped270) return {};
    return {.quarterTurns = static_cast<int>(meta->transform % 4),
            .isFlipped = meta->transform >= SPA_META_TRANSFORMATION_Flipped};
}

/// Where the first row begins and how far it is to the next. False if the memory doesn't hold what its format says.
bool findRows(const PortalMemory& memory, const spa_chunk& chunk, const PortalVideoFormat& format,
              PortalFrame& frame) {
    const auto rowBytes = static_cast<ptrdiff_t>(format.width * bytesPerPixel(format.pixels));
    const auto below = static_cast<ptrdiff_t>(format.height - 1);
    frame.bytesPerRow = chunk.stride != 0 ? chunk.stride : rowBytes;
    const ptrdiff_t apart = std::abs(frame.bytesPerRow);
    const auto offset = static_cast<ptrdiff_t>(chunk.offset);
    const auto size = static_cast<ptrdiff_t>(memory.size);
    if (apart < rowBytes || offset > size || apart * below + rowBytes > size - offset) return false;
    frame.bytes = memory.bytes + offset;
    if (frame.bytesPerRow < 0) frame.bytes += apart * below;
    return true;
}

bool findPixels(const spa_data& data, const PortalVideoFormat& format, const PortalMemory* memory,
                PortalFrame& frame) {
    frame.pixels = format.pixels;
    if (!memory) {
        const PortalMemory plain{static_cast<const uint8_t*>(data.data), data.maxsize};
        return plain.bytes && findRows(plain, *data.chunk, format, frame);
    }
    frame.access = memory->access;
    if (!memory->copied) return findRows(*memory, *data.chunk, format, frame);
    frame.bytes = memory->bytes;
    frame.pixels = *memory->copied;
    frame.bytesPerRow = static_cast<ptrdiff_t>(format.width * bytesPerPixel(frame.pixels));
    return true;
}

} // namespace

bool isPortalFrameIntact(const spa_buffer& buffer) {
    const auto* const header = findMeta<spa_meta_header>(buffer, SPA_META_Header);
    if (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) return false;
    if (buffer.n_datas < 1) return false;
    const spa_data& data = buffer.datas[0];
    if (!data.chunk || (data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) != 0) return false;
    // Of a graphics card's memory some desktops tell no sizes at all.
    return data.chunk->size > 0 || (data.type == SPA_DATA_DmaBuf && data.maxsize == 0);
}

std::optional<PortalFrame> readPortalFrame(const spa_buffer& buffer, const PortalVideoFormat& format,
                                           const PortalMemory* memory) {
    if (!isPortalFrameIntact(buffer) || format.width <= 0 || format.height <= 0) return std::nullopt;

    PortalFrame frame;
    if (!findPixels(buffer.datas[0], format, memory, frame)) return std::nullopt;
    frame.transform = transformOf(buffer);
    frame.whole = frame.transform.uprightSize(format.width, format.height);

    const PixelRect whole{0, 0, format.width, format.height};
    frame.content = frame.whole;
    const auto* const crop = findMeta<spa_meta_region>(buffer, SPA_META_VideoCrop);
    if (crop && spa_meta_region_is_valid(crop)) {
        const PixelRect part = rectOf(crop->region, whole);
        if (!part.isEmpty()) frame.content = frame.transform.upright(part, frame.whole);
    }
    frame.damage = damageOf(buffer, whole);
    if (frame.damage)
        for (PixelRect& rect : *frame.damage)
            rect = frame.transform.upright(rect, frame.whole);
    if (const auto* const header = findMeta<spa_meta_header>(buffer, SPA_META_Header)) {
        if (header->pts > 0) frame.nanoseconds = header->pts;
        frame.sequence = header->seq;
    }
    return frame;
}

} // namespace vintra
