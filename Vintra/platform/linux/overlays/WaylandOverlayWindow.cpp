#include "Vintra/platform/linux/overlays/WaylandOverlayWindow.h"

#include "Vintra/platform/linux/screen/DisplayID.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

namespace vintra {
namespace {

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

WaylandOverlayWindow::WaylandOverlayWindow(const Surroundings& surroundings, const OverlayRecipe& recipe,
                                           OverlayInput& input, uint32_t number)
    : connection(surroundings.connection)
    , painter(surroundings.painter)
    , desktop(surroundings.desktop)
    , recipe(recipe)
    , input(input)
    , number(number)
    , findOutput(surroundings.findOutput)
    , frame(recipe.frame)
    , ignoresMouseEvents(recipe.ignoresMouseEvents) {
    connection->add(*this);
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
    if (shown || glance || connection->isDead()) return;
    if (connection->layerShell()) {
        makeSurface();
    } else {
        lookAtDisplay();
    }
}

void WaylandOverlayWindow::lookAtDisplay() {
    const auto* const output = findOutput(frame);
    if (!output) return;
    glance = std::make_unique<PortalGlance>(
        desktop, PortalGlance::Subject{.displayID = displayIDFromName(output->name)},
        [this, weak = std::weak_ptr(life), connection = connection](PortalGlance::Outcome seen) {
            seen.sharing.reset(); // a picture is all that is wanted
            connection->post([this, weak, seen] {
                if (weak.lock()) sawDisplay(seen);
            });
        });
}

/// Without a picture there is nothing to choose a part of.
void WaylandOverlayWindow::sawDisplay(const PortalGlance::Outcome& seen) {
    if (!glance) return;
    glance.reset();
    backdrop = seen.picture;
    if (backdrop) makeSurface();
    if (!shown) input.cancelOperation(); // it may destroy this
}

void WaylandOverlayWindow::makeSurface() {
    const auto* const output = findOutput(frame);
    if (!output) return;
    scale = output->wholeScale;
    shown = wl_compositor_create_surface(connection->compositor());
    wl_surface_set_buffer_scale(shown, scale);
    role = WaylandOverlayRole::make(*connection, shown, output->output, recipe.takesKeyboard,
                                    {.onSize = [this](int width, int height) { configured(width, height); },
                                     .onClosed = [this] { closed(); }});
    setInputRegion();
    wl_surface_commit(shown); // the compositor answers with the size
    connection->flush();
}

void WaylandOverlayWindow::orderOut() {
    glance.reset();
    if (!shown) return;
    if (nextFrame) wl_callback_destroy(std::exchange(nextFrame, nullptr));
    role.reset();
    wl_surface_destroy(std::exchange(shown, nullptr));
    buffers.reset();
    isDragging = false;
    connection->flush();
}

void WaylandOverlayWindow::closed() {
    orderOut();
    if (recipe.isSelectionPanel) input.cancelOperation(); // its display has gone, or the user has closed it
}

void WaylandOverlayWindow::configured(int width, int height) {
    // Before a window is on the screen some compositors leave its size to it.
    const int pixelWidth = (width > 0 ? width : static_cast<int>(frame.size.width)) * scale;
    const int pixelHeight = (height > 0 ? height : static_cast<int>(frame.size.height)) * scale;
    if (pixelWidth <= 0 || pixelHeight <= 0) return;
    if (!buffers || buffers->width() != pixelWidth || buffers->height() != pixelHeight) {
        buffers =
            std::make_unique<WaylandOverlayBuffers>(connection->memory(), pixelWidth, pixelHeight, [this] {
                if (isOutOfDate) show();
            });
        painted = {};
        isOutOfDate = true; // the first picture may be empty, but there must be one
        PixelRegion whole;
        whole.add({0, 0, pixelWidth, pixelHeight});
        putOverBackdrop(whole);
    }
    repaint();
}

/// The canvas there, which is premultiplied.
void WaylandOverlayWindow::putOverBackdrop(const PixelRegion& region) {
    if (!backdrop) return;
    const CVPixelBuffer::Plane& plane = backdrop->plane(0);
    const auto mixed = [](uint32_t over, uint32_t under) {
        const uint32_t left = 255 - (over >> 24);
        uint32_t result = 0xff000000;
        for (const int shift : {0, 8, 16}) {
            const uint32_t part = (over >> shift & 0xff) + ((under >> shift & 0xff) * left + 127) / 255;
            result |= std::min<uint32_t>(part, 255) << shift;
        }
        return result;
    };
    for (const PixelRect& rect : region.rects()) {
        for (int y = rect.y; y < rect.bottom(); ++y) {
            // A display whose scale is no whole number has fewer pixels than the surface.
            const size_t row = static_cast<size_t>(y) * plane.height / static_cast<size_t>(buffers->height());
            const auto* const under =
                reinterpret_cast<const uint32_t*>(plane.baseAddress + row * plane.bytesPerRow);
            uint32_t* const line = buffers->canvas() + static_cast<ptrdiff_t>(y) * buffers->width();
            for (int x = rect.x; x < rect.right(); ++x) {
                const size_t column =
                    static_cast<size_t>(x) * plane.width / static_cast<size_t>(buffers->width());
                line[x] = mixed(line[x], under[column]);
            }
        }
    }
    buffers->touched(region);
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
        putOverBackdrop(changed);
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
