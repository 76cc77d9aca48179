#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Observation.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include <wayland-client.h>

struct wl_cursor_theme;
struct xdg_wm_base;
struct zwlr_layer_shell_v1;

namespace vintra {

/// A surface of the connection, which is told of the pointer and the keys over it. Main thread.
class WaylandOverlayPart {
public:
    virtual ~WaylandOverlayPart() = default;
    virtual wl_surface* surface() const = 0;
    virtual const char* cursorName() const = 0;
    /// Where the surface lies on the desktop, points.
    virtual CGPoint origin() const = 0;
    /// Points from the surface's top left. Each may destroy this.
    virtual void pointerMoved(CGPoint to) = 0;
    virtual void buttonPressed(CGPoint at) = 0;
    virtual void buttonReleased() = 0;
    virtual void keyPressed(uint32_t key) = 0; ///< as the kernel numbers it
};

/// The connection to a Wayland compositor that all overlays share. It hands on their events as the event loop finds
/// them. Once the compositor has gone nothing happens any more. Owned by whoever uses it; main thread.
class WaylandOverlayConnection : public std::enable_shared_from_this<WaylandOverlayConnection> {
public:
    /// Null without a compositor. The event loop outlives it. Without `usesLayers` it does without those that the
    /// compositor may have for programs.
    static std::shared_ptr<WaylandOverlayConnection>
    open(EventLoop& eventLoop, const std::string& displayName, bool usesLayers = true);
    ~WaylandOverlayConnection();
    WaylandOverlayConnection(const WaylandOverlayConnection&) = delete;
    WaylandOverlayConnection& operator=(const WaylandOverlayConnection&) = delete;

    /// A display as the compositor places it.
    struct Output {
        wl_output* output = nullptr;
        std::string name;
        int wholeScale = 1; ///< pixels a point, rounded up
    };

    bool isDead() const { return dead; }
    wl_compositor* compositor() const { return compositor_; }
    wl_shm* memory() const { return memory_; }
    /// Null where the compositor has none.
    zwlr_layer_shell_v1* layerShell() const { return layers; }
    xdg_wm_base* windowShell() const { return shell; }
    /// Runs the work later on the main thread. Any thread.
    void post(std::function<void()> work) { eventLoop.post(std::move(work)); }
    /// The display with that number; null if there is none.
    const Output* output(uint32_t displayID) const;
    void add(WaylandOverlayPart& part) { overlays.push_back(&part); }
    void remove(const WaylandOverlayPart& part);
    /// Sends what was asked for.
    void flush();

    /// Where the pointer was last over an overlay, points on the desktop.
    CGPoint mouseLocation() const { return pointerPlace; }
    Observation observeMoves(std::function<void()> block);

private:
    WaylandOverlayConnection(EventLoop& eventLoop, bool usesLayers)
        : eventLoop(eventLoop)
        , usesLayers(usesLayers) {}
    bool connect(const std::string& displayName);
    void announced(uint32_t id, std::string_view interface, uint32_t version);
    void withdrawn(uint32_t id);
    void handleEvents();
    void seatCan(uint32_t capabilities);
    WaylandOverlayPart* partOf(wl_surface* surface) const;
    void pointerAt(double x, double y);
    void showCursor(uint32_t serial);

    struct Told {
        uint32_t id = 0;
        Output output;
    };
    struct Listeners;

    EventLoop& eventLoop;
    const bool usesLayers;
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    wl_compositor* compositor_ = nullptr;
    wl_shm* memory_ = nullptr;
    wl_seat* seat = nullptr;
    wl_pointer* pointer = nullptr;
    wl_keyboard* keyboard = nullptr;
    zwlr_layer_shell_v1* layers = nullptr;
    xdg_wm_base* shell = nullptr;
    wl_cursor_theme* cursors = nullptr;
    wl_surface* cursorSurface = nullptr;
    std::vector<std::unique_ptr<Told>> outputs;
    std::vector<WaylandOverlayPart*> overlays;
    std::vector<std::weak_ptr<std::function<void()>>> moveBlocks;
    WaylandOverlayPart* underPointer = nullptr;
    WaylandOverlayPart* withKeyboard = nullptr;
    CGPoint inSurface;
    CGPoint pointerPlace;
    bool dead = false;
    std::shared_ptr<void> watch;
};

} // namespace vintra
