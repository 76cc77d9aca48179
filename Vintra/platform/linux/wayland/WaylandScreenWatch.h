#pragma once

#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/Observation.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <wayland-client.h>

namespace vintra {

/// Tells when displays of a Wayland desktop come, go or change, over a connection of its own that the event loop serves.
/// Without a compositor, or once it has gone, it tells nothing. Main thread.
class WaylandScreenWatch {
public:
    /// The event loop outlives this.
    WaylandScreenWatch(EventLoop& eventLoop, const std::string& displayName);
    ~WaylandScreenWatch();
    WaylandScreenWatch(const WaylandScreenWatch&) = delete;
    WaylandScreenWatch& operator=(const WaylandScreenWatch&) = delete;

    bool isConnected() const { return display != nullptr; }
    Observation observe(std::function<void()> block);

private:
    struct Events;
    struct Watched {
        uint32_t id = 0;
        wl_output* output = nullptr;
    };
    void handleEvents();

    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    std::vector<Watched> outputs;
    std::vector<std::weak_ptr<std::function<void()>>> blocks;
    bool isChanged = false;
    std::shared_ptr<void> watch;
};

} // namespace vintra
