#pragma once

#include <cstdint>
#include <string>

typedef struct _XDisplay Display;

namespace vintra {

/// A program on an X desktop with one window, over a connection of its own. Every call returns when the
/// server has done it. One thread.
class X11TestWindow {
public:
    struct Settings {
        int x = 0;
        int y = 0;
        int width = 100;
        int height = 100;
        int border = 0;           ///< pixels, outside of the size
        uint32_t ground = 0;      ///< what the server paints where nothing was drawn; ARGB if `hasAlpha`
        bool hasAlpha = false;    ///< 32 bits deep, as programs with translucent windows have them
        bool isOfDisplay = false; ///< as deep as the display instead of 24 bits; the colours are its pixels
        bool hasFrame = false;    ///< put into a frame, as a window manager does
        bool isUnmanaged = false; ///< as menus are
        std::string type = {};    ///< what follows _NET_WM_WINDOW_TYPE_; empty for none
        bool isInputOnly = false;
    };
    /// What a frame shows of itself at the left and the top.
    static constexpr int kFrameLeft = 6;
    static constexpr int kFrameTop = 22;

    /// Mapped. A framed window stands at `x`, `y` with its frame's corner.
    X11TestWindow(const std::string& displayName, const Settings& settings);
    ~X11TestWindow();
    X11TestWindow(const X11TestWindow&) = delete;
    X11TestWindow& operator=(const X11TestWindow&) = delete;

    uint32_t id() const { return static_cast<uint32_t>(window); }
    void fill(int x, int y, int width, int height, uint32_t colour);
    /// With its frame, if it has one.
    void move(int x, int y);
    void resize(int width, int height);
    /// Says that so many pixels at the left, right, top and bottom are its shadow.
    void setShadow(long left, long right, long top, long bottom);
    void raise();
    void hide();
    void show();
    void close();

private:
    unsigned long outermost() const { return frame != 0 ? frame : window; }

    ::Display* display;
    unsigned long window = 0;
    unsigned long frame = 0;
};

} // namespace vintra
