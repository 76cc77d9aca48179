// A library that is preloaded into xdg-desktop-portal-wlr 0.7, which shares no screen unless the compositor
// also offers buffers of a graphics card, though it then uses shared memory like anybody. A compositor
// without a card doesn't offer them; this makes the offer in its stead, which nobody takes up.

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <wayland-client.h>

namespace {

/// The events of zwlr_screencopy_frame_v1, version 3, in the protocol's order.
struct FrameListener {
    void (*buffer)(void*, wl_proxy*, uint32_t format, uint32_t width, uint32_t height, uint32_t stride);
    void (*flags)(void*, wl_proxy*, uint32_t);
    void (*ready)(void*, wl_proxy*, uint32_t, uint32_t, uint32_t);
    void (*failed)(void*, wl_proxy*);
    void (*damage)(void*, wl_proxy*, uint32_t, uint32_t, uint32_t, uint32_t);
    void (*linuxDmabuf)(void*, wl_proxy*, uint32_t format, uint32_t width, uint32_t height);
    void (*bufferDone)(void*, wl_proxy*);
};

constexpr uint32_t kXRGB8888 = 0x34325258; // DRM's code

// The portal listens to all of its frames with one listener, on one thread.
const FrameListener* portals = nullptr;
FrameListener extended;
uint32_t lastWidth = 0;
uint32_t lastHeight = 0;

void buffer(void* data, wl_proxy* frame, uint32_t format, uint32_t width, uint32_t height, uint32_t stride) {
    lastWidth = width;
    lastHeight = height;
    portals->buffer(data, frame, format, width, height, stride);
}

void bufferDone(void* data, wl_proxy* frame) {
    portals->linuxDmabuf(data, frame, kXRGB8888, lastWidth, lastHeight);
    portals->bufferDone(data, frame);
}

} // namespace

extern "C" int wl_proxy_add_listener(wl_proxy* proxy, void (**implementation)(void), void* data) {
    using Function = int (*)(wl_proxy*, void (**)(void), void*);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "wl_proxy_add_listener"));
    if (std::strcmp(wl_proxy_get_class(proxy), "zwlr_screencopy_frame_v1") != 0) {
        return next(proxy, implementation, data);
    }
    portals = reinterpret_cast<const FrameListener*>(implementation);
    extended = *portals;
    extended.buffer = buffer;
    extended.bufferDone = bufferDone;
    return next(proxy, reinterpret_cast<void (**)(void)>(&extended), data);
}
