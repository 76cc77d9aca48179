#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// A Wayland window over a whole display, to paint on in its pixels. Owned by who paints; one thread, which
/// it lets wait for the compositor.
class WaylandWindow {
public:
    /// On the display of that name, or where the compositor puts it. Shown, black, when this returns.
    explicit WaylandWindow(const std::string& outputName = {});
    ~WaylandWindow();
    WaylandWindow(const WaylandWindow&) = delete;
    WaylandWindow& operator=(const WaylandWindow&) = delete;

    /// Without a compositor it can't be opened, and nothing else of it may be used.
    bool isOpen() const;
    int width() const;
    int height() const;

    struct Box {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };
    /// Paints, clipped to the window; 0xRRGGBB. Seen after the next `show`.
    void fill(Box box, uint32_t colour);
    /// Pixels of the row, to be painted directly and told by `touched`.
    uint32_t* row(int y);
    void touched(Box box);
    /// Shows what was painted, with just that told as damage. The compositor has taken it when this returns;
    /// the display shows it with its next frame. After a change of the display's size the window is as large
    /// as that, and black.
    void show();
    /// Over the window the pointer is a square of that colour, of which it points with the corner at the top left; from the
    /// next `handleEvents` on after which it is there.
    void givePointer(int side, uint32_t colour);
    /// What the compositor tells meanwhile. Nothing is shown.
    void handleEvents();
    /// As `show`, and the display has begun the frame after.
    void showAndAwaitFrame();

private:
    struct Client;
    std::unique_ptr<Client> client;
};

} // namespace vintra
