#include "Vintra/platform/linux/wayland/PortalPicturePool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace vintra {
namespace {

/// Rows that lie as they are seen.
void copyRows(const PixelRect& rect, const PortalFrame& frame, PixelRect from, uint8_t* to, size_t toRow) {
    const uint8_t* row = frame.bytes + from.y * frame.bytesPerRow +
                         static_cast<ptrdiff_t>(static_cast<size_t>(from.x) * bytesPerPixel(frame.pixels));
    for (int y = 0; y < rect.height; ++y, row += frame.bytesPerRow, to += toRow)
        copyPixels(to, row, static_cast<size_t>(rect.width), frame.pixels);
}

/// Pixel by pixel, each from where the turned picture has it.
void copyTurned(const PixelRect& rect, const PortalFrame& frame, PixelRect from, uint8_t* to, size_t toRow) {
    const auto bytes = static_cast<ptrdiff_t>(bytesPerPixel(frame.pixels));
    for (int y = 0; y < rect.height; ++y, to += toRow) {
        for (int x = 0; x < rect.width; ++x) {
            const auto at = frame.transform.inBuffer({from.x + x, from.y + y}, frame.whole);
            const uint32_t pixel =
                bgrxOf(frame.bytes + at.y * frame.bytesPerRow + at.x * bytes, frame.pixels);
            std::memcpy(to + 4 * static_cast<size_t>(x), &pixel, sizeof pixel);
        }
    }
}

struct OwnPicture : PicturePool::Picture {
    ~OwnPicture() override { std::free(pixels); }
};

} // namespace

PortalPicturePool::PortalPicturePool(Shape shape, std::shared_ptr<WakeUp> wakeUp)
    : PicturePool(shape, std::move(wakeUp)) {}

PicturePool::Picture* PortalPicturePool::acquire() {
    return PicturePool::acquire([this]() -> std::unique_ptr<Picture> {
        auto picture = std::make_unique<OwnPicture>();
        picture->pixels = allocate();
        if (!picture->pixels) return nullptr;
        return picture;
    });
}

std::optional<SystemError> PortalPicturePool::refresh(Picture& picture, const PortalFrame& frame, int x,
                                                      int y) const {
    const PortalPixelReading reading(frame.access);
    if (reading.problem()) return reading.problem();
    for (const PixelRect& rect : picture.stale.rects()) {
        const PixelRect from{x + rect.x, y + rect.y, rect.width, rect.height};
        uint8_t* const to =
            picture.pixels + static_cast<size_t>(rect.y) * bytesPerRow() + static_cast<size_t>(rect.x) * 4;
        if (frame.transform.isUpright())
            copyRows(rect, frame, from, to, bytesPerRow());
        else
            copyTurned(rect, frame, from, to, bytesPerRow());
    }
    picture.stale.clear();
    return std::nullopt;
}

bool PortalPicturePool::hasPictureOf(const PortalFrame& frame, int x, int y) const {
    if (!frame.transform.isUpright() || frame.pixels != PortalPixels::bgrx) return false;
    const auto fresh = std::ranges::find_if(pictures, [](const auto& one) { return one->stale.isEmpty(); });
    if (fresh == pictures.end() || (frame.access && frame.access->isUncached())) return false;
    const PortalPixelReading reading(frame.access);
    if (reading.problem()) return false;
    const uint8_t* from = frame.bytes + y * frame.bytesPerRow + ptrdiff_t{x} * 4;
    const uint8_t* have = (*fresh)->pixels;
    for (int row = 0; row < shape.height; ++row, from += frame.bytesPerRow, have += bytesPerRow())
        if (std::memcmp(from, have, bytesPerRow()) != 0) return false;
    return true;
}

} // namespace vintra
