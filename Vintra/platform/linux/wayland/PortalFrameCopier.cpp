#include "Vintra/platform/linux/wayland/PortalFrameCopier.h"

#include "Vintra/platform/linux/runtime/PicturesOnTheirWay.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

/// The pixels of `part`, in points of a display that is `content` of its frames.
PixelRect pixelsOf(const CGRect& part, const PixelRect& content, double scale) {
    const auto pixels = [scale](double points) { return static_cast<int>(std::lround(points * scale)); };
    return intersection({content.x + pixels(part.origin.x), content.y + pixels(part.origin.y),
                         pixels(part.size.width), pixels(part.size.height)},
                        content);
}

} // namespace

PortalFrameCopier::PortalFrameCopier(Settings settings)
    : settings(std::move(settings)) {}

void PortalFrameCopier::lost() {
    isWhole = true;
}

void PortalFrameCopier::fail(int code, const char* sentence) {
    if (!problem_) problem_.emplace("wayland", code, sentence);
}

/// True if the captured part is another one than before. A changed size goes into the pictures as it is:
/// whoever writes them scales to the size that the movie began with.
bool PortalFrameCopier::adoptArea(const PortalFrame& frame) {
    if (scale <= 0) scale = settings.displayWidth > 0 ? frame.content.width / settings.displayWidth : 1;
    const PixelRect now =
        settings.sourceRect ? pixelsOf(*settings.sourceRect, frame.content, scale) : evenSized(frame.content);
    if (now.isEmpty()) {
        fail(3, "The area to record lies outside of its display.");
        return false;
    }
    if (pool && now == area) return false;
    if (!pool || now.width != area.width || now.height != area.height) {
        pool = std::make_shared<PortalPicturePool>(
            PicturePool::Shape{.width = now.width,
                               .height = now.height,
                               .limit = picturesOfACapture(now.width, now.height, settings.queueDepth)},
            settings.onFree);
    }
    area = now;
    return true;
}

/// Whether the damage is all that differs from the frame that was looked at before.
bool PortalFrameCopier::tellsAll(const PortalFrame& frame) const {
    if (isWhole || !frame.damage) return false;
    // Frames that are numbered, and between which one is missing.
    const bool hasGap = frame.sequence && lastSequence && *frame.sequence != *lastSequence &&
                        *frame.sequence != *lastSequence + 1;
    return !hasGap;
}

bool PortalFrameCopier::look(const PortalFrame& frame) {
    if (adoptArea(frame)) isWhole = true;
    if (problem_) return false;
    const bool isTold = tellsAll(frame);
    lastSequence = frame.sequence;
    isWhole = false;
    const bool namesNothing = !frame.damage || frame.damage->empty();
    if (namesNothing && pool->hasPictureOf(frame, area.x, area.y)) return false;
    if (!isTold || namesNothing) {
        pool->markAllStale();
        return true;
    }
    bool isChanged = false;
    for (const PixelRect& rect : *frame.damage) {
        const PixelRect inside = intersection(rect, area);
        if (inside.isEmpty()) continue;
        isChanged = true;
        pool->markStale({inside.x - area.x, inside.y - area.y, inside.width, inside.height});
    }
    return isChanged;
}

std::shared_ptr<CVPixelBuffer> PortalFrameCopier::copy(const PortalFrame& frame) {
    PicturePool::Picture* const picture = pool->acquire();
    if (!picture) {
        if (pool->isEmpty()) fail(4, "There is too little memory to record the screen.");
        return nullptr;
    }
    if (auto error = pool->refresh(*picture, frame, area.x, area.y)) {
        if (!problem_) problem_ = std::move(error);
        return nullptr;
    }
    return pool->handOut(*picture);
}

} // namespace vintra
