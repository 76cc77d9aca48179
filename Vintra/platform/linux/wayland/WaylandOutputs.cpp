#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/screen/DisplayID.h"
#include "xdg-output-unstable-v1-client-protocol.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <poll.h>
#include <string_view>
#include <utility>
#include <wayland-client.h>

namespace vintra {
namespace {

constexpr int64_t kCompositorPatience = 2'000'000'000; // nanoseconds

[[noreturn]] void throwNoAnswer() {
    throw SystemError("wayland", 2, "The Wayland compositor doesn't answer.");
}

struct DisplayDeleter {
    void operator()(wl_display* display) const { wl_display_disconnect(display); }
};
using Connection = std::unique_ptr<wl_display, DisplayDeleter>;

Connection connect(const std::string& name) {
    return Connection(wl_display_connect(name.empty() ? nullptr : name.c_str()));
}

/// What the compositor has said of one output so far.
struct Told {
    wl_output* output = nullptr;
    zxdg_output_v1* logical = nullptr;
    std::string name;
    std::string description;
    int x = 0;
    int y = 0;
    int modeWidth = 0; ///< pixels, before it is turned
    int modeHeight = 0;
    int wholeScale = 1;
    bool isTurned = false; ///< by a quarter
    std::optional<PixelRect> frame;

    Told() = default;
    Told(const Told&) = delete;
    Told& operator=(const Told&) = delete;
    ~Told() {
        if (logical) zxdg_output_v1_destroy(logical);
        if (output) wl_output_destroy(output);
    }
};

Told& told(void* data) {
    return *static_cast<Told*>(data);
}

PixelRect& frameOf(Told& output) {
    if (!output.frame) output.frame.emplace();
    return *output.frame;
}

constexpr wl_output_listener kOutputListener = {
    .geometry =
        [](void* data, wl_output*, int32_t x, int32_t y, int32_t, int32_t, int32_t, const char*, const char*,
           int32_t transform) {
            told(data).x = x;
            told(data).y = y;
            told(data).isTurned = (transform & 1) != 0;
        },
    .mode =
        [](void* data, wl_output*, uint32_t flags, int32_t width, int32_t height, int32_t) {
            if ((flags & WL_OUTPUT_MODE_CURRENT) == 0) return;
            told(data).modeWidth = width;
            told(data).modeHeight = height;
        },
    .done = [](void*, wl_output*) {},
    .scale = [](void* data, wl_output*, int32_t factor) { told(data).wholeScale = std::max(factor, 1); },
    .name = [](void* data, wl_output*, const char* name) { told(data).name = name; },
    .description = [](void* data, wl_output*, const char* text) { told(data).description = text; },
};

constexpr zxdg_output_v1_listener kLogicalListener = {
    .logical_position =
        [](void* data, zxdg_output_v1*, int32_t x, int32_t y) {
            frameOf(told(data)).x = x;
            frameOf(told(data)).y = y;
        },
    .logical_size =
        [](void* data, zxdg_output_v1*, int32_t width, int32_t height) {
            frameOf(told(data)).width = width;
            frameOf(told(data)).height = height;
        },
    .done = [](void*, zxdg_output_v1*) {},
    .name =
        [](void* data, zxdg_output_v1*, const char* name) {
            if (told(data).name.empty()) told(data).name = name;
        },
    .description =
        [](void* data, zxdg_output_v1*, const char* text) {
            if (told(data).description.empty()) told(data).description = text;
        },
};

/// One reading of the desktop.
class Reading {
public:
    explicit Reading(wl_display* display)
        : display(display)
        , deadline(monotonicNanoseconds() + kCompositorPatience)
        , registry(wl_display_get_registry(display)) {
        wl_registry_add_listener(registry, &kRegistryListener, this);
        roundTrip(); // names the objects
        for (const auto& output : outputs) {
            if (!manager) break;
            output->logical = zxdg_output_manager_v1_get_xdg_output(manager, output->output);
            zxdg_output_v1_add_listener(output->logical, &kLogicalListener, output.get());
        }
        roundTrip(); // tells about them
    }
    ~Reading() {
        outputs.clear();
        if (manager) zxdg_output_manager_v1_destroy(manager);
        wl_registry_destroy(registry);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    std::vector<WaylandOutput> result() const {
        std::vector<WaylandOutput> result;
        for (const auto& output : outputs) {
            WaylandOutput each = completed(*output);
            if (each.frame.isEmpty() || each.pixelWidth <= 0 || each.pixelHeight <= 0) continue;
            if (each.name.empty()) each.name = "display " + std::to_string(result.size() + 1);
            each.displayID = displayIDFromName(each.name);
            const auto isTaken = [&result](uint32_t id) {
                return std::any_of(result.begin(), result.end(),
                                   [id](const WaylandOutput& other) { return other.displayID == id; });
            };
            while (isTaken(each.displayID))
                ++each.displayID;
            result.push_back(std::move(each));
        }
        return result;
    }

private:
    static WaylandOutput completed(const Told& told) {
        WaylandOutput output;
        output.name = told.name;
        output.description = told.description;
        output.pixelWidth = told.isTurned ? told.modeHeight : told.modeWidth;
        output.pixelHeight = told.isTurned ? told.modeWidth : told.modeHeight;
        output.frame = told.frame.value_or(PixelRect{told.x, told.y, output.pixelWidth, output.pixelHeight});
        // Where displays lie side by side in pixels, as on GNOME without fractional scales, their sizes are told in
        // pixels too.
        if (output.frame.width == output.pixelWidth && output.frame.height == output.pixelHeight) {
            output.frame.width /= told.wholeScale;
            output.frame.height /= told.wholeScale;
        }
        return output;
    }

    void announced(uint32_t id, std::string_view interface, uint32_t version) {
        if (interface == wl_output_interface.name) {
            auto output = std::make_unique<Told>();
            output->output = static_cast<wl_output*>(
                wl_registry_bind(registry, id, &wl_output_interface, std::min(version, 4u)));
            wl_output_add_listener(output->output, &kOutputListener, output.get());
            outputs.push_back(std::move(output));
        } else if (interface == zxdg_output_manager_v1_interface.name) {
            manager = static_cast<zxdg_output_manager_v1*>(
                wl_registry_bind(registry, id, &zxdg_output_manager_v1_interface, std::min(version, 3u)));
        }
    }

    /// Waits until everything asked for is answered, up to the deadline; libwayland's own round trip has none.
    void roundTrip() {
        bool isDone = false;
        constexpr static wl_callback_listener listener = {
            .done = [](void* data, wl_callback*, uint32_t) { *static_cast<bool*>(data) = true; }};
        wl_callback* const callback = wl_display_sync(display);
        wl_callback_add_listener(callback, &listener, &isDone);
        while (!isDone && dispatchOnce()) {
        }
        wl_callback_destroy(callback);
        if (!isDone) throwNoAnswer();
    }

    bool dispatchOnce() {
        while (wl_display_prepare_read(display) != 0) {
            if (wl_display_dispatch_pending(display) < 0) return false;
        }
        wl_display_flush(display);
        const int64_t left = deadline - monotonicNanoseconds();
        pollfd descriptor{wl_display_get_fd(display), POLLIN, 0};
        if (left <= 0 || ::poll(&descriptor, 1, static_cast<int>(left / 1'000'000) + 1) <= 0) {
            wl_display_cancel_read(display);
            return false;
        }
        return wl_display_read_events(display) == 0 && wl_display_dispatch_pending(display) >= 0;
    }

    static const wl_registry_listener kRegistryListener;

    wl_display* const display;
    const int64_t deadline; ///< nanoseconds of the monotonic clock
    wl_registry* const registry;
    zxdg_output_manager_v1* manager = nullptr;
    std::vector<std::unique_ptr<Told>> outputs;
};

constexpr wl_registry_listener Reading::kRegistryListener = {
    .global = [](void* data, wl_registry*, uint32_t id, const char* interface,
                 uint32_t version) { static_cast<Reading*>(data)->announced(id, interface, version); },
    .global_remove = [](void*, wl_registry*, uint32_t) {},
};

} // namespace

std::vector<WaylandOutput> readWaylandOutputs(const std::string& displayName) {
    const Connection connection = connect(displayName);
    if (!connection) {
        throw SystemError("wayland", 1,
                          "No Wayland compositor answers. Start Vintra inside of the desktop's session.");
    }
    const Reading reading(connection.get());
    return reading.result();
}

bool isWaylandReachable(const std::string& displayName) {
    return connect(displayName) != nullptr;
}

} // namespace vintra
