#pragma once

#include <X11/Xlib.h>
#include <cstdint>

namespace vintra {

/// A window over the whole screen with something to film: a square that runs to and fro and the time since
/// the start in large digits. Owned by `main`; one thread.
class MovingPicture {
public:
    /// The connection stays the caller's.
    explicit MovingPicture(Display* display);
    ~MovingPicture();
    MovingPicture(const MovingPicture&) = delete;
    MovingPicture& operator=(const MovingPicture&) = delete;

    /// Paints what belongs to the time, and waits until the server has done so.
    void paint(int64_t milliseconds);

private:
    struct Box {
        int x;
        int y;
        int width;
        int height;
    };

    unsigned long colour(const char* name) const;
    void fill(unsigned long pixel, Box box);
    void show(Box box);
    void paintSquare(int64_t milliseconds);
    void paintTime(int64_t milliseconds);
    void paintDigit(int digit, Box box);

    Display* const display;
    const int width;
    const int height;
    const unsigned long ground;
    const unsigned long square;
    const unsigned long lit;
    Window window = 0;
    Pixmap canvas = 0; ///< painted here, shown in one copy: no half-painted picture is ever on the screen
    GC context = nullptr;
};

} // namespace vintra
