#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

#include <algorithm>

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

std::optional<std::vector<PixelRect>> damageOf(const spa_buffer& buffer, const PixelRect& whole) {
    const spa_meta* const meta = spa_buffer_find_meta(&buffer, SPA_META_VideoDamage);
    if (!meta) return std::nullopt;
    std::vector<PixelRect> damage;
    const auto* region = static_cast<const spa_meta_region*>(meta->data);
    const auto* const end = region + meta->size / sizeof(spa_meta_region);
    for (; region != end && spa_meta_region_is_valid(region); ++region) {
        const PixelRect rect = rectOf(region->region, whole);
        if (!rect.isEmpty()) damage.push_back(rect);
    }
    return damage;
}

bool isIntact(const spa_buffer& buffer, const spa_meta_header* header) {
    if (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) return false;
    if (buffer.n_datas < 1) return false;
    const spa_data& data = buffer.datas[0];
    return data.data && data.chunk && data.chunk->size > 0 &&
           (data.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) == 0;
}

} // namespace

std::optional<PortalFrame> readPortalFrame(const spa_buffer& buffer, const PortalVideoFormat& format) {
    const auto* const header = findMeta<spa_meta_header>(buffer, SPA_META_Header);
    if (!isIntact(buffer, header) || format.width <= 0 || format.height <= 0) return std::nullopt;

    const spa_data& data = buffer.datas[0];
    const size_t rowBytes = static_cast<size_t>(format.width) * 4;
    PortalFrame frame;
    frame.bytesPerRow = data.chunk->stride > 0 ? static_cast<size_t>(data.chunk->stride) : rowBytes;
    const size_t needed = frame.bytesPerRow * static_cast<size_t>(format.height - 1) + rowBytes;
    const size_t offset = data.chunk->offset;
    if (frame.bytesPerRow < rowBytes || offset > data.maxsize || needed > data.maxsize - offset) {
        return std::nullopt;
    }
    frame.pixels = static_cast<const uint8_t*>(data.data) + offset;
    frame.order = format.order;

    const PixelRect whole{0, 0, format.width, format.height};
    frame.content = whole;
    const auto* const crop = findMeta<spa_meta_region>(buffer, SPA_META_VideoCrop);
    if (crop && spa_meta_region_is_valid(crop)) {
        const PixelRect part = rectOf(crop->region, whole);
        if (!part.isEmpty()) frame.content = part;
    }
    frame.damage = damageOf(buffer, whole);
    if (header) {
        if (header->pts > 0) frame.nanoseconds = header->pts;
        frame.sequence = header->seq;
    }
    return frame;
}

} // namespace vintra
