#include "Vintra/platform/linux/overlays/WaylandOverlayWindow.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

namespace vintra {
namespace {

/// Above panels, as all overlays are; within a layer the later ones lie above.
constexpr uint32_t kOverlayLayer = ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY;
constexpr uint32_t kWholeOutput = ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                  ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;
constexpr int kUnderPanels = -1; // it isn't moved out of the way of them
constexpr uint32_t kTakesKeyboard = 1;

/// Of the kernel.
std::optional<KeyCode> keyCodeOfKernel(uint32_t key) {
    constexpr uint32_t kEscape = 1;
    constexpr uint32_t kFirstDigit = 2;
    constexpr uint32_t kReturn = 28;
    constexpr uint32_t kEnter = 96;
    constexpr KeyCode kDigits[] = {kKey1, kKey2, kKey3, kKey4, kKey5};
    if (key == kEscape) return kKeyEscape;
    if (key == kReturn) return kKeyReturn;
    if (key == kEnter) return kKeyEnter;
    if (key >= kFirstDigit && key < kFirstDigit + std::size(kDigits)) return kDigits[key - kFirstDigit];
    return std::nullopt;
}

} // namespace

WaylandOverlayWindow::WaylandOverlayWindow(std::shared_ptr<WaylandOverlayConnection> connection,
                                           OverlayPainter& painter, const OverlayRecipe& recipe,
                                           OverlayInput& input, uint32_t number, FindOutput findOutput)
    : connection(std::move(connection))
    , painter(painter)
    , recipe(recipe)
    , input(input)
    , number(number)
    , findOutput(std::move(findOutput))
    , frame(recipe.frame)
    , ignoresMouseEvents(recipe.ignoresMouseEvents) {
    this->connection->add(*this);
}

WaylandOverlayWindow::~WaylandOverlayWindow() {
    orderOut();
    connection->remove(*this);
}

void WaylandOverlayWindow::setFrame(const CGRect& newFrame) {
    const bool wasOnScreen = shown != nullptr;
    frame = newFrame;
    if (!wasOnScreen) return;
    orderOut(); // a surface stays on the display that it was made for
    orderFront();
}

void WaylandOverlayWindow::orderFront() {
    if (shown || connection->isDead()) return;
    const auto* const output = findOutput(frame);
    if (!output) return;
    scale = output->wholeScale;
    shown = wl_compositor_create_surface(connection->compositor());
    wl_surface_set_buffer_scale(shown, scale);
    layer = zwlr_layer_shell_v1_get_layer_surface(connection->layerShell(), shown, output->output,
                                                  kOverlayLayer, "vintra-overlay");
    static constexpr zwlr_layer_surface_v1_listener listener = {
        .configure =
            [](void* data, zwlr_layer_surface_v1*, uint32_t serial, uint32_t width, uint32_t height) {
                static_cast<WaylandOverlayWindow*>(data)->configured(serial, width, height);
            },
        .closed = [](void* data,
                     zwlr_layer_surface_v1*) { static_cast<WaylandOverlayWindow*>(data)->orderOut(); },
    };
    zwlr_layer_surface_v1_add_listener(layer, &listener, this);
    zwlr_layer_surface_v1_set_anchor(layer, kWholeOutput);
    zwlr_layer_surface_v1_set_exclusive_zone(layer, kUnderPanels);
    if (recipe.takesKeyboard) zwlr_layer_surface_v1_set_keyboard_interactivity(layer, kTakesKeyboard);
    setInputRegion();
    wl_surface_commit(shown); // the compositor answers with the size
    connection->flush();
}

void WaylandOverlayWindow::orderOut() {
    if (!shown) return;
    if (nextFrame) wl_callback_destroy(std::exchange(nextFrame, nullptr));
    zwlr_layer_surface_v1_destroy(std::exchange(layer, nullptr));
    wl_surface_destroy(std::exchange(shown, nullptr));
    buffers.reset();
    isDragging = false;
    connection->flush();
}

void WaylandOverlayWindow::configured(uint32_t serial, uint32_t width, uint32_t height) {
    zwlr_layer_surface_v1_ack_configure(layer, serial);
    const int pixelWidth = static_cast<int>(width) * scale;
    const int pixelHeight = static_cast<int>(height) * scale;
    if (pixelWidth <= 0 || pixelHeight <= 0) return;
    if (!buffers || buffers->width() != pixelWidth || buffers->height() != pixelHeight) {
        buffers =
            std::make_unique<WaylandOverlayBuffers>(connection->memory(), pixelWidth, pixelHeight, [this] {
                if (isOutOfDate) show();
            });
        painted = {};
        isOutOfDate = true; // the first picture may be empty, but there must be one
    }
    repaint();
}

void WaylandOverlayWindow::present(const DrawList& list) {
    wanted = list;
    repaint();
}

void WaylandOverlayWindow::repaint() {
    if (!buffers) return;
    const PixelRegion changed = OverlayPixels::changedPixels(painted, wanted, grid(), painter);
    if (!changed.isEmpty()) {
        painter.paint(wanted,
                      {.pixels = buffers->canvas(),
                       .width = buffers->width(),
                       .height = buffers->height(),
                       .scale = static_cast<double>(scale)},
                      changed.rects());
        buffers->touched(changed);
        isOutOfDate = true;
    }
    painted = wanted;
    show();
}

/// Once the compositor wants a picture and has one to spare.
void WaylandOverlayWindow::show() {
    if (!isOutOfDate || nextFrame || connection->isDead() || !buffers->attach(shown)) return;
    isOutOfDate = false;
    static constexpr wl_callback_listener listener = {.done = [](void* data, wl_callback* done, uint32_t) {
        auto& self = *static_cast<WaylandOverlayWindow*>(data);
        wl_callback_destroy(done);
        self.nextFrame = nullptr;
        self.show();
    }};
    nextFrame = wl_surface_frame(shown);
    wl_callback_add_listener(nextFrame, &listener, this);
    wl_surface_commit(shown);
    connection->flush();
}

void WaylandOverlayWindow::setIgnoresMouseEvents(bool ignores) {
    if (ignores == ignoresMouseEvents) return;
    ignoresMouseEvents = ignores;
    setInputRegion();
    if (!buffers) return;
    wl_surface_commit(shown);
    connection->flush();
}

void WaylandOverlayWindow::setInteractiveParts(const std::vector<CGRect>& parts) {
    if (parts == interactiveParts) return;
    interactiveParts = parts;
    setInputRegion();
    if (!buffers) return;
    wl_surface_commit(shown);
    connection->flush();
}

/// It counts from the next commit on.
void WaylandOverlayWindow::setInputRegion() {
    if (!shown) return;
    if (!ignoresMouseEvents) {
        wl_surface_set_input_region(shown, nullptr); // all of it
        return;
    }
    wl_region* const region = wl_compositor_create_region(connection->compositor());
    for (const CGRect& part : interactiveParts) {
        const int left = static_cast<int>(std::floor(part.minX()));
        const int top = static_cast<int>(std::floor(frame.size.height - part.maxY()));
        wl_region_add(region, left, top, static_cast<int>(std::ceil(part.size.width)) + 1,
                      static_cast<int>(std::ceil(part.size.height)) + 1);
    }
    wl_surface_set_input_region(shown, region);
    wl_region_destroy(region);
}

const char* WaylandOverlayWindow::cursorName() const {
    switch (recipe.cursor) {
    case OverlayCursor::crosshair:
        return "crosshair";
    case OverlayCursor::pointingHand:
        return "hand2";
    case OverlayCursor::arrow:
        break;
    }
    return "left_ptr";
}

void WaylandOverlayWindow::pointerMoved(CGPoint to) {
    if (isDragging) {
        input.mouseDragged(pointOf(to));
    } else {
        input.mouseMoved(pointOf(to));
    }
}

void WaylandOverlayWindow::buttonPressed(CGPoint at) {
    isDragging = true;
    input.mouseDown(pointOf(at));
}

void WaylandOverlayWindow::buttonReleased() {
    if (std::exchange(isDragging, false)) input.mouseUp();
}

void WaylandOverlayWindow::keyPressed(uint32_t key) {
    if (const auto code = keyCodeOfKernel(key)) input.keyDown(*code); // it may destroy this
}

} // namespace vintra
