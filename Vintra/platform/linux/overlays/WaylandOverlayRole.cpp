#include "Vintra/platform/linux/overlays/WaylandOverlayRole.h"

#include "Vintra/platform/ProgramCommand.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <utility>

namespace vintra {
namespace {

/// Above panels, as all overlays are; within a layer the later ones lie above.
constexpr uint32_t kOverlayLayer = ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY;
constexpr uint32_t kWholeOutput = ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                  ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;
constexpr int kUnderPanels = -1; // it isn't moved out of the way of them
constexpr uint32_t kTakesKeyboard = 1;

class LayerRole final : public WaylandOverlayRole {
public:
    LayerRole(zwlr_layer_surface_v1* made, bool takesKeyboard, Listener listener)
        : WaylandOverlayRole(std::move(listener))
        , layer(made) {
        static constexpr zwlr_layer_surface_v1_listener events = {
            .configure =
                [](void* data, zwlr_layer_surface_v1* configured, uint32_t serial, uint32_t width,
                   uint32_t height) {
                    zwlr_layer_surface_v1_ack_configure(configured, serial);
                    static_cast<LayerRole*>(data)->listener.onSize(static_cast<int>(width),
                                                                   static_cast<int>(height));
                },
            .closed =
                [](void* data, zwlr_layer_surface_v1*) {
                    const auto closed = static_cast<LayerRole*>(data)->listener.onClosed;
                    closed();
                },
        };
        zwlr_layer_surface_v1_add_listener(layer, &events, this);
        zwlr_layer_surface_v1_set_anchor(layer, kWholeOutput);
        zwlr_layer_surface_v1_set_exclusive_zone(layer, kUnderPanels);
        if (takesKeyboard) zwlr_layer_surface_v1_set_keyboard_interactivity(layer, kTakesKeyboard);
    }
    ~LayerRole() override { zwlr_layer_surface_v1_destroy(layer); }

private:
    zwlr_layer_surface_v1* const layer;
};

class FullScreenRole final : public WaylandOverlayRole {
public:
    FullScreenRole(xdg_wm_base* shell, wl_surface* surface, wl_output* output, Listener listener)
        : WaylandOverlayRole(std::move(listener))
        , window(xdg_wm_base_get_xdg_surface(shell, surface))
        , toplevel(xdg_surface_get_toplevel(window)) {
        static constexpr xdg_toplevel_listener told = {
            .configure =
                [](void* data, xdg_toplevel*, int32_t wide, int32_t high, wl_array*) {
                    auto& self = *static_cast<FullScreenRole*>(data);
                    self.width = wide;
                    self.height = high;
                },
            .close =
                [](void* data, xdg_toplevel*) {
                    const auto closed = static_cast<FullScreenRole*>(data)->listener.onClosed;
                    closed();
                },
            .configure_bounds = [](void*, xdg_toplevel*, int32_t, int32_t) {},
            .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {},
        };
        static constexpr xdg_surface_listener complete = {
            .configure = [](void* data, xdg_surface* configured, uint32_t serial) {
                auto& self = *static_cast<FullScreenRole*>(data);
                xdg_surface_ack_configure(configured, serial);
                self.listener.onSize(self.width, self.height);
            }};
        xdg_surface_add_listener(window, &complete, this);
        xdg_toplevel_add_listener(toplevel, &told, this);
        xdg_toplevel_set_title(toplevel, "Vintra");
        xdg_toplevel_set_app_id(toplevel, kApplicationID);
        xdg_toplevel_set_fullscreen(toplevel, output);
    }
    ~FullScreenRole() override {
        xdg_toplevel_destroy(toplevel);
        xdg_surface_destroy(window);
    }

private:
    xdg_surface* const window;
    xdg_toplevel* const toplevel;
    int width = 0;
    int height = 0;
};

} // namespace

std::unique_ptr<WaylandOverlayRole> WaylandOverlayRole::make(const WaylandOverlayConnection& connection,
                                                             wl_surface* surface, wl_output* output,
                                                             bool takesKeyboard, Listener listener) {
    if (zwlr_layer_shell_v1* const layers = connection.layerShell()) {
        return std::make_unique<LayerRole>(
            zwlr_layer_shell_v1_get_layer_surface(layers, surface, output, kOverlayLayer, "vintra-overlay"),
            takesKeyboard, std::move(listener));
    }
    return std::make_unique<FullScreenRole>(connection.windowShell(), surface, output, std::move(listener));
}

} // namespace vintra
