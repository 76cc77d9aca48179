#include "Vintra/platform/linux/overlays/WaylandOverlayConnection.h"

#include "Vintra/platform/linux/screen/DisplayID.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>
#include <utility>
#include <wayland-cursor.h>

namespace vintra {
namespace {

constexpr uint32_t kKernelsLeftButton = 0x110; // BTN_LEFT of the kernel
constexpr int kCursorSize = 24;                // pixels

WaylandOverlayConnection::Output& toldOutput(void* data) {
    return *static_cast<WaylandOverlayConnection::Output*>(data);
}

constexpr wl_output_listener kOverlayOutputListener = {
    .geometry = [](void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*, const char*,
                   int32_t) {},
    .mode = [](void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {},
    .done = [](void*, wl_output*) {},
    .scale = [](void* data, wl_output*,
                int32_t factor) { toldOutput(data).wholeScale = std::max(factor, 1); },
    .name = [](void* data, wl_output*, const char* name) { toldOutput(data).name = name; },
    .description = [](void*, wl_output*, const char*) {},
};

} // namespace

struct WaylandOverlayConnection::Listeners {
    static WaylandOverlayConnection& self(void* data) {
        return *static_cast<WaylandOverlayConnection*>(data);
    }
    static const wl_registry_listener registry;
    static const wl_seat_listener seat;
    static const wl_pointer_listener pointer;
    static const wl_keyboard_listener keyboard;
};

const wl_registry_listener WaylandOverlayConnection::Listeners::registry = {
    .global = [](void* data, wl_registry*, uint32_t id, const char* interface,
                 uint32_t version) { self(data).announced(id, interface, version); },
    .global_remove = [](void* data, wl_registry*, uint32_t id) { self(data).withdrawn(id); },
};

const wl_seat_listener WaylandOverlayConnection::Listeners::seat = {
    .capabilities = [](void* data, wl_seat*, uint32_t capabilities) { self(data).seatCan(capabilities); },
    .name = [](void*, wl_seat*, const char*) {},
};

const wl_pointer_listener WaylandOverlayConnection::Listeners::pointer = {
    .enter =
        [](void* data, wl_pointer*, uint32_t serial, wl_surface* surface, wl_fixed_t x, wl_fixed_t y) {
            self(data).underPointer = self(data).partOf(surface);
            self(data).showCursor(serial);
            self(data).pointerAt(wl_fixed_to_double(x), wl_fixed_to_double(y));
        },
    .leave = [](void* data, wl_pointer*, uint32_t, wl_surface*) { self(data).underPointer = nullptr; },
    .motion = [](void* data, wl_pointer*, uint32_t, wl_fixed_t x,
                 wl_fixed_t y) { self(data).pointerAt(wl_fixed_to_double(x), wl_fixed_to_double(y)); },
    .button =
        [](void* data, wl_pointer*, uint32_t, uint32_t, uint32_t button, uint32_t state) {
            WaylandOverlayPart* const part = self(data).underPointer;
            if (!part || button != kKernelsLeftButton) return;
            if (state == WL_POINTER_BUTTON_STATE_PRESSED) {
                part->buttonPressed(self(data).inSurface);
            } else {
                part->buttonReleased();
            }
        },
    .axis = [](void*, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) {},
    .frame = [](void*, wl_pointer*) {},
    .axis_source = [](void*, wl_pointer*, uint32_t) {},
    .axis_stop = [](void*, wl_pointer*, uint32_t, uint32_t) {},
    .axis_discrete = [](void*, wl_pointer*, uint32_t, int32_t) {},
    .axis_value120 = [](void*, wl_pointer*, uint32_t, int32_t) {},
};

const wl_keyboard_listener WaylandOverlayConnection::Listeners::keyboard = {
    .keymap = [](void*, wl_keyboard*, uint32_t, int32_t descriptor, uint32_t) { ::close(descriptor); },
    .enter = [](void* data, wl_keyboard*, uint32_t, wl_surface* surface,
                wl_array*) { self(data).withKeyboard = self(data).partOf(surface); },
    .leave = [](void* data, wl_keyboard*, uint32_t, wl_surface*) { self(data).withKeyboard = nullptr; },
    .key =
        [](void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t key, uint32_t state) {
            WaylandOverlayPart* const part = self(data).withKeyboard;
            if (part && state == WL_KEYBOARD_KEY_STATE_PRESSED) part->keyPressed(key);
        },
    .modifiers = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
    .repeat_info = [](void*, wl_keyboard*, int32_t, int32_t) {},
};

std::shared_ptr<WaylandOverlayConnection>
WaylandOverlayConnection::open(EventLoop& eventLoop, const std::string& displayName, bool usesLayers) {
    std::shared_ptr<WaylandOverlayConnection> made(new WaylandOverlayConnection(eventLoop, usesLayers));
    return made->connect(displayName) ? made : nullptr;
}

bool WaylandOverlayConnection::connect(const std::string& displayName) {
    display = wl_display_connect(displayName.empty() ? nullptr : displayName.c_str());
    if (!display) return false;
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &Listeners::registry, this);
    if (wl_display_roundtrip(display) < 0 || wl_display_roundtrip(display) < 0) return false;
    if (!compositor_ || !memory_ || (!layers && !shell)) return false;
    cursors = wl_cursor_theme_load(nullptr, kCursorSize, memory_);
    cursorSurface = wl_compositor_create_surface(compositor_);
    watch = eventLoop.watch(wl_display_get_fd(display), EventLoop::Readiness::readable,
                            [this] { handleEvents(); });
    flush();
    return true;
}

WaylandOverlayConnection::~WaylandOverlayConnection() {
    watch.reset();
    if (!display) return;
    if (cursorSurface) wl_surface_destroy(cursorSurface);
    if (cursors) wl_cursor_theme_destroy(cursors);
    if (pointer) wl_pointer_destroy(pointer);
    if (keyboard) wl_keyboard_destroy(keyboard);
    if (seat) wl_seat_destroy(seat);
    for (const auto& told : outputs)
        wl_output_destroy(told->output.output);
    if (layers) zwlr_layer_shell_v1_destroy(layers);
    if (shell) xdg_wm_base_destroy(shell);
    if (memory_) wl_shm_destroy(memory_);
    if (compositor_) wl_compositor_destroy(compositor_);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

void WaylandOverlayConnection::announced(uint32_t id, std::string_view interface, uint32_t version) {
    const auto bind = [&](const wl_interface& known, uint32_t most) {
        return wl_registry_bind(registry, id, &known, std::min(version, most));
    };
    if (interface == wl_compositor_interface.name) {
        compositor_ = static_cast<wl_compositor*>(bind(wl_compositor_interface, 4));
    } else if (interface == wl_shm_interface.name) {
        memory_ = static_cast<wl_shm*>(bind(wl_shm_interface, 1));
    } else if (interface == xdg_wm_base_interface.name) {
        static constexpr xdg_wm_base_listener alive = {
            .ping = [](void*, xdg_wm_base* asked, uint32_t serial) { xdg_wm_base_pong(asked, serial); }};
        shell = static_cast<xdg_wm_base*>(bind(xdg_wm_base_interface, 1));
        xdg_wm_base_add_listener(shell, &alive, nullptr);
    } else if (interface == zwlr_layer_shell_v1_interface.name && usesLayers) {
        layers = static_cast<zwlr_layer_shell_v1*>(bind(zwlr_layer_shell_v1_interface, 1));
    } else if (interface == wl_seat_interface.name && !seat) {
        seat = static_cast<wl_seat*>(bind(wl_seat_interface, 5));
        wl_seat_add_listener(seat, &Listeners::seat, this);
    } else if (interface == wl_output_interface.name) {
        auto told = std::make_unique<Told>();
        told->id = id;
        told->output.output = static_cast<wl_output*>(bind(wl_output_interface, 4));
        wl_output_add_listener(told->output.output, &kOverlayOutputListener, &told->output);
        outputs.push_back(std::move(told));
    }
}

void WaylandOverlayConnection::withdrawn(uint32_t id) {
    const auto gone = std::ranges::find(outputs, id, [](const auto& told) { return told->id; });
    if (gone == outputs.end()) return;
    wl_output_destroy((*gone)->output.output);
    outputs.erase(gone);
}

const WaylandOverlayConnection::Output* WaylandOverlayConnection::output(uint32_t displayID) const {
    for (const auto& told : outputs) {
        if (displayIDFromName(told->output.name) == displayID) return &told->output;
    }
    return nullptr;
}

void WaylandOverlayConnection::remove(const WaylandOverlayPart& part) {
    std::erase(overlays, &part);
    if (underPointer == &part) underPointer = nullptr;
    if (withKeyboard == &part) withKeyboard = nullptr;
}

WaylandOverlayPart* WaylandOverlayConnection::partOf(wl_surface* surface) const {
    const auto found =
        std::ranges::find_if(overlays, [surface](const auto* part) { return part->surface() == surface; });
    return surface && found != overlays.end() ? *found : nullptr;
}

void WaylandOverlayConnection::flush() {
    if (!dead && wl_display_flush(display) < 0 && errno != EAGAIN) dead = true;
}

void WaylandOverlayConnection::handleEvents() {
    const auto kept = shared_from_this(); // what is told may let go of it
    while (!dead && wl_display_prepare_read(display) != 0) {
        if (wl_display_dispatch_pending(display) < 0) dead = true;
    }
    if (!dead && (wl_display_read_events(display) < 0 || wl_display_dispatch_pending(display) < 0))
        dead = true;
    if (dead) {
        watch.reset();
        return;
    }
    flush();
}

void WaylandOverlayConnection::seatCan(uint32_t capabilities) {
    if ((capabilities & WL_SEAT_CAPABILITY_POINTER) != 0 && !pointer) {
        pointer = wl_seat_get_pointer(seat);
        wl_pointer_add_listener(pointer, &Listeners::pointer, this);
    } else if ((capabilities & WL_SEAT_CAPABILITY_POINTER) == 0 && pointer) {
        wl_pointer_destroy(std::exchange(pointer, nullptr));
        underPointer = nullptr;
    }
    if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0 && !keyboard) {
        keyboard = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(keyboard, &Listeners::keyboard, this);
    } else if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) == 0 && keyboard) {
        wl_keyboard_destroy(std::exchange(keyboard, nullptr));
        withKeyboard = nullptr;
    }
}

void WaylandOverlayConnection::pointerAt(double x, double y) {
    if (!underPointer) return;
    inSurface = {x, y};
    const CGPoint origin = underPointer->origin();
    pointerPlace = {origin.x + x, origin.y + y};
    underPointer->pointerMoved(inSurface);
    const auto all = moveBlocks;
    for (const auto& weak : all) {
        if (const auto block = weak.lock()) (*block)();
    }
}

void WaylandOverlayConnection::showCursor(uint32_t serial) {
    if (!underPointer || !cursors) return;
    wl_cursor* cursor = wl_cursor_theme_get_cursor(cursors, underPointer->cursorName());
    if (!cursor) cursor = wl_cursor_theme_get_cursor(cursors, "left_ptr");
    if (!cursor || cursor->image_count == 0) return;
    wl_cursor_image* const image = cursor->images[0];
    wl_buffer* const buffer = wl_cursor_image_get_buffer(image);
    if (!buffer) return;
    wl_pointer_set_cursor(pointer, serial, cursorSurface, static_cast<int32_t>(image->hotspot_x),
                          static_cast<int32_t>(image->hotspot_y));
    wl_surface_attach(cursorSurface, buffer, 0, 0);
    wl_surface_damage_buffer(cursorSurface, 0, 0, static_cast<int32_t>(image->width),
                             static_cast<int32_t>(image->height));
    wl_surface_commit(cursorSurface);
}

Observation WaylandOverlayConnection::observeMoves(std::function<void()> block) {
    std::erase_if(moveBlocks, [](const auto& weak) { return weak.expired(); });
    auto kept = std::make_shared<std::function<void()>>(std::move(block));
    moveBlocks.push_back(kept);
    return kept;
}

} // namespace vintra
