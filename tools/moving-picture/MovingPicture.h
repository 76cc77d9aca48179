#pragma once

#include "tools/moving-picture/Content.h"
#include "tools/moving-picture/ContentWindow.h"

#include <cstdint>
#include <optional>

namespace vintra {

/// A window over the whole screen with something to film: a square that runs to and fro and the time since
/// the start in large digits. Owned by `main`; one thread.
class MovingPicture : public Content {
public:
    MovingPicture(Display* display, const std::optional<ContentWindow::Place>& place);
    Window window() const override { return screen.window; }
    ~MovingPicture() override;
    void paint(int64_t milliseconds) override;

private:
    struct Box {
        int x;
        int y;
        int width;
        int height;
    };

    void fill(unsigned long pixel, Box box);
    void show(Box box);
    void paintSquare(int64_t milliseconds);
    void paintTime(int64_t milliseconds);
    void paintDigit(int digit, Box box);

    ContentWindow screen;
    const unsigned long ground;
    const unsigned long square;
    const unsigned long lit;
    const Pixmap canvas; ///< painted here, shown in one copy: no half-painted picture is ever on the screen
};

} // namespace vintra
