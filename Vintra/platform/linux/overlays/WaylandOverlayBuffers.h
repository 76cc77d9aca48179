#pragma once

#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>
#include <wayland-client.h>

namespace vintra {

/// The pixels of one overlay on a Wayland desktop: a canvas of its own, and the pictures of it that the compositor
/// reads. Owned by the window; main thread.
class WaylandOverlayBuffers {
public:
    /// `onRelease` is called when the compositor has given a picture back.
    WaylandOverlayBuffers(wl_shm* memory, int width, int height, std::function<void()> onRelease);
    ~WaylandOverlayBuffers();
    WaylandOverlayBuffers(const WaylandOverlayBuffers&) = delete;
    WaylandOverlayBuffers& operator=(const WaylandOverlayBuffers&) = delete;

    uint32_t* canvas() { return pixels.data(); }
    int width() const { return width_; }
    int height() const { return height_; }
    /// The canvas has changed there.
    void touched(const PixelRegion& region);
    /// Attaches a picture of the canvas to the surface. False if the compositor has them all.
    bool attach(wl_surface* surface);

private:
    struct Buffer {
        WaylandOverlayBuffers* owner = nullptr;
        wl_buffer* buffer = nullptr;
        uint32_t* pixels = nullptr;
        bool isBusy = false;
        PixelRegion stale; ///< where it differs from the canvas
    };
    bool make(Buffer& buffer);
    size_t bytes() const { return static_cast<size_t>(width_) * static_cast<size_t>(height_) * 4; }

    static const wl_buffer_listener listener;

    wl_shm* const memory;
    const int width_;
    const int height_;
    const std::function<void()> onRelease;
    std::vector<uint32_t> pixels;
    PixelRegion damage; ///< since the last picture that was attached
    std::array<Buffer, 3> buffers;
};

} // namespace vintra
