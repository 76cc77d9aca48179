#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/wayland/PortalPicturePool.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vintra {

/// Makes pictures of the captured part out of a desktop's frames: watches which pixels of it change, and
/// copies those. Owned by a capture, on its thread.
class PortalFrameCopier {
public:
    struct Settings {
        std::optional<CGRect> sourceRect; ///< points of the display; nothing for all of it
        double displayWidth = 0;          ///< of the display, points; 0 if there is no display
        int queueDepth = 8;
        std::shared_ptr<WakeUp> onFree; ///< set when a picture comes back after `copy` found none
    };
    explicit PortalFrameCopier(Settings settings);

    /// A frame that wasn't looked at: the next one counts as new in every pixel.
    void lost();
    /// Each frame once, in order: true if it shows something new of the captured part, or the first of it.
    bool look(const PortalFrame& frame);
    /// The captured part of a frame for which `look` was true, or that came after such a one. Null if as many
    /// pictures as allowed are out, or memory is short.
    std::shared_ptr<CVPixelBuffer> copy(const PortalFrame& frame);
    /// Why there is nothing to copy.
    const std::optional<SystemError>& problem() const { return problem_; }

private:
    bool adoptArea(const PortalFrame& frame);
    bool tellsAll(const PortalFrame& frame) const;
    void fail(int code, const char* sentence);

    const Settings settings;
    double scale = 0; ///< pixels a point, from the first frame on
    PixelRect area;   ///< the captured part, in the frames' pixels
    std::shared_ptr<PortalPicturePool> pool;
    std::optional<uint64_t> lastSequence;
    bool isWhole = true; ///< the next frame is new in every pixel
    std::optional<SystemError> problem_;
};

} // namespace vintra
