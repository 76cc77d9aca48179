#pragma once

#include <cstdint>
#include <string>
#include <vector>

typedef struct _XDisplay Display;

namespace vintra {

/// A program on an X desktop that draws and moves the pointer, over a connection of its own. Every call
/// returns when the server has done it. One thread.
class X11Painter {
public:
    explicit X11Painter(const std::string& displayName);
    /// The server may have gone.
    ~X11Painter();
    X11Painter(const X11Painter&) = delete;
    X11Painter& operator=(const X11Painter&) = delete;

    /// On the root window; 0xRRGGBB.
    void fill(int x, int y, int width, int height, uint32_t colour);
    /// 0xRRGGBB, row by row, on the root window from its top left on.
    void draw(int width, int height, const std::vector<uint32_t>& pixels);
    /// As a hand does.
    void movePointer(int x, int y);
    /// A pointer that is one square of one colour, premultiplied ARGB, its hot spot at its corner.
    void setSquarePointer(unsigned size, uint32_t colour);
    /// The arrow of the server's cursor font.
    void setArrowPointer();

    struct PointerPicture {
        int x = 0; ///< of the picture's corner, on the root window
        int y = 0;
        int width = 0;
        int height = 0;
        std::vector<uint32_t> pixels; ///< premultiplied ARGB
    };
    PointerPicture pointerPicture();

    /// What the screen shows, without the pointer: 0xRRGGBB, row by row.
    std::vector<uint32_t> pixels(int x, int y, int width, int height);

    /// A mapped window with a title and a process, 0x336699 all over; its id.
    unsigned long openWindow(int x, int y, int width, int height, const std::string& title, int processID);
    void moveWindow(unsigned long window, int x, int y);
    void closeWindow(unsigned long window);
    /// What a window manager says of the windows that it looks after, back to front.
    void setManagedWindows(const std::vector<unsigned long>& windows);
    /// What a desktop says of itself to programs, such as "Xft.dpi:\t192\n".
    void setResources(const std::string& text);

private:
    ::Display* display;
};

} // namespace vintra
