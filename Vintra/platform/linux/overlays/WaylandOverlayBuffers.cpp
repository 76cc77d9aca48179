#include "Vintra/platform/linux/overlays/WaylandOverlayBuffers.h"

#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace vintra {

const wl_buffer_listener WaylandOverlayBuffers::listener = {.release = [](void* data, wl_buffer*) {
    auto& buffer = *static_cast<Buffer*>(data);
    buffer.isBusy = false;
    buffer.owner->onRelease();
}};

WaylandOverlayBuffers::WaylandOverlayBuffers(wl_shm* memory, int width, int height,
                                             std::function<void()> onRelease)
    : memory(memory)
    , width_(width)
    , height_(height)
    , onRelease(std::move(onRelease))
    , pixels(static_cast<size_t>(width) * static_cast<size_t>(height)) {}

WaylandOverlayBuffers::~WaylandOverlayBuffers() {
    for (Buffer& each : buffers) {
        if (each.buffer) wl_buffer_destroy(each.buffer);
        if (each.pixels) ::munmap(each.pixels, bytes());
    }
}

bool WaylandOverlayBuffers::make(Buffer& buffer) {
    const FileDescriptor file(::memfd_create("vintra-overlay", MFD_CLOEXEC));
    if (!file.isOpen() || ::ftruncate(file.get(), static_cast<off_t>(bytes())) != 0) return false;
    void* const mapped = ::mmap(nullptr, bytes(), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (mapped == MAP_FAILED) return false;
    buffer.owner = this;
    buffer.pixels = static_cast<uint32_t*>(mapped);
    wl_shm_pool* const pool = wl_shm_create_pool(memory, file.get(), static_cast<int32_t>(bytes()));
    buffer.buffer = wl_shm_pool_create_buffer(pool, 0, width_, height_, width_ * 4, WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    wl_buffer_add_listener(buffer.buffer, &listener, &buffer);
    buffer.stale.add({0, 0, width_, height_});
    return true;
}

void WaylandOverlayBuffers::touched(const PixelRegion& region) {
    for (const PixelRect& rect : region.rects()) {
        damage.add(rect);
        for (Buffer& each : buffers)
            if (each.buffer) each.stale.add(rect);
    }
}

bool WaylandOverlayBuffers::attach(wl_surface* surface) {
    const auto found = std::ranges::find(buffers, false, &Buffer::isBusy);
    if (found == buffers.end()) return false;
    if (!found->buffer && !make(*found)) return false;
    for (const PixelRect& rect : found->stale.rects()) {
        for (int y = rect.y; y < rect.bottom(); ++y) {
            const size_t at =
                static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(rect.x);
            std::memcpy(found->pixels + at, pixels.data() + at, static_cast<size_t>(rect.width) * 4);
        }
    }
    found->stale.clear();
    found->isBusy = true;
    wl_surface_attach(surface, found->buffer, 0, 0);
    for (const PixelRect& rect : damage.rects())
        wl_surface_damage_buffer(surface, rect.x, rect.y, rect.width, rect.height);
    damage.clear();
    return true;
}

} // namespace vintra
