#include "Vintra/platform/linux/wayland/WaylandScreenWatch.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace vintra {

struct WaylandScreenWatch::Events {
    static WaylandScreenWatch& self(void* data) { return *static_cast<WaylandScreenWatch*>(data); }
    static constexpr uint32_t kVersionWithDone = 2;

    static const wl_output_listener output;
    static const wl_registry_listener registry;
};

/// Each change ends with `done`.
const wl_output_listener WaylandScreenWatch::Events::output = {
    .geometry = [](void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*, const char*,
                   int32_t) {},
    .mode = [](void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {},
    .done = [](void* data, wl_output*) { self(data).isChanged = true; },
    .scale = [](void*, wl_output*, int32_t) {},
    .name = [](void*, wl_output*, const char*) {},
    .description = [](void*, wl_output*, const char*) {},
};

const wl_registry_listener WaylandScreenWatch::Events::registry = {
    .global =
        [](void* data, wl_registry* from, uint32_t id, const char* interface, uint32_t version) {
            if (std::string_view(interface) != wl_output_interface.name || version < kVersionWithDone) return;
            auto* const bound =
                static_cast<wl_output*>(wl_registry_bind(from, id, &wl_output_interface, kVersionWithDone));
            wl_output_add_listener(bound, &output, data);
            self(data).outputs.push_back({id, bound});
        },
    .global_remove =
        [](void* data, wl_registry*, uint32_t id) {
            auto& all = self(data).outputs;
            const auto gone = std::ranges::find(all, id, &Watched::id);
            if (gone == all.end()) return;
            wl_output_destroy(gone->output);
            all.erase(gone);
            self(data).isChanged = true;
        },
};

WaylandScreenWatch::WaylandScreenWatch(EventLoop& eventLoop, const std::string& displayName) {
    display = wl_display_connect(displayName.empty() ? nullptr : displayName.c_str());
    if (!display) return;
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &Events::registry, this);
    wl_display_flush(display);
    watch = eventLoop.watch(wl_display_get_fd(display), EventLoop::Readiness::readable,
                            [this] { handleEvents(); });
}

WaylandScreenWatch::~WaylandScreenWatch() {
    watch.reset();
    if (!display) return;
    for (const Watched& each : outputs)
        wl_output_destroy(each.output);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

/// What is told of the displays that are there at the beginning counts as a change too: they may have come since
/// somebody looked.
void WaylandScreenWatch::handleEvents() {
    bool isAlive = true;
    while (isAlive && wl_display_prepare_read(display) != 0)
        isAlive = wl_display_dispatch_pending(display) >= 0;
    isAlive = isAlive && wl_display_read_events(display) >= 0 && wl_display_dispatch_pending(display) >= 0;
    if (isAlive && wl_display_flush(display) < 0 && errno != EAGAIN) isAlive = false;
    if (!isAlive) watch.reset();
    if (!std::exchange(isChanged, false)) return;
    const auto all = blocks;
    for (const auto& weak : all) {
        if (const auto block = weak.lock()) (*block)(); // it may destroy this
    }
}

Observation WaylandScreenWatch::observe(std::function<void()> block) {
    std::erase_if(blocks, [](const auto& weak) { return weak.expired(); });
    auto kept = std::make_shared<std::function<void()>>(std::move(block));
    blocks.push_back(kept);
    return kept;
}

} // namespace vintra
