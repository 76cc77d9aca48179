#include "Vintra/platform/linux/wayland/PortalPicturePool.h"

#include "Vintra/platform/linux/wayland/UncachedCopy.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace vintra {
namespace {

/// The rows of a frame, out of memory that is slow to read through a copy in memory that isn't.
class FrameRows {
public:
    FrameRows(const PortalFrame& frame, int width)
        : frame(frame)
        , byteCount(static_cast<size_t>(width) * bytesPerPixel(frame.pixels)) {
        if (frame.access && frame.access->isUncached()) copied.resize(byteCount);
    }
    /// The pixels from there on in the buffer, until the next call.
    const uint8_t* from(int x, int y) {
        const uint8_t* const row =
            frame.bytes + y * frame.bytesPerRow +
            static_cast<ptrdiff_t>(static_cast<size_t>(x) * bytesPerPixel(frame.pixels));
        if (copied.empty()) return row;
        copyUncached(copied.data(), row, byteCount);
        return copied.data();
    }

private:
    const PortalFrame& frame;
    const size_t byteCount;
    std::vector<uint8_t> copied;
};

/// Rows that lie as they are seen.
void copyRows(const PixelRect& rect, const PortalFrame& frame, uint8_t* to, size_t toRow) {
    FrameRows rows(frame, rect.width);
    for (int y = 0; y < rect.height; ++y, to += toRow)
        copyPixels(to, rows.from(rect.x, rect.y + y), static_cast<size_t>(rect.width), frame.pixels);
}

/// A row of the buffer after another, each to where it goes in the upright picture, be it a row or a column.
void copyTurned(const PixelRect& rect, const PortalFrame& frame, uint8_t* to, size_t toRow) {
    const auto one = frame.transform.inBuffer({rect.x, rect.y}, frame.whole);
    const auto other = frame.transform.inBuffer({rect.right() - 1, rect.bottom() - 1}, frame.whole);
    const PixelRect source{std::min(one.x, other.x), std::min(one.y, other.y), std::abs(one.x - other.x) + 1,
                           std::abs(one.y - other.y) + 1};
    const auto target = [&](int x, int y) { // of a pixel of the buffer
        const PixelRect upright = frame.transform.upright({x, y, 1, 1}, frame.whole);
        return static_cast<ptrdiff_t>(toRow) * (upright.y - rect.y) + ptrdiff_t{4} * (upright.x - rect.x);
    };
    const ptrdiff_t step = target(source.x + 1, source.y) - target(source.x, source.y);
    const auto width = static_cast<size_t>(source.width);
    FrameRows rows(frame, source.width);
    std::vector<uint8_t> pixels(width * 4);
    for (int y = source.y; y < source.bottom(); ++y) {
        copyPixels(pixels.data(), rows.from(source.x, y), width, frame.pixels);
        uint8_t* place = to + target(source.x, y);
        for (size_t i = 0; i < width; ++i, place += step)
            std::memcpy(place, &pixels[i * 4], 4);
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
            copyRows(from, frame, to, bytesPerRow());
        else
            copyTurned(from, frame, to, bytesPerRow());
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
