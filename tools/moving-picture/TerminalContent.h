#pragma once

#include "tools/moving-picture/Content.h"
#include "tools/moving-picture/ContentWindow.h"

#include <optional>
#include <random>

namespace vintra {

/// A terminal over the whole screen into which a program writes: a new line at the bottom with every picture,
/// all others one line up.
class TerminalContent : public Content {
public:
    TerminalContent(Display* display, const std::optional<ContentWindow::Place>& place);
    Window window() const override { return screen.window; }
    ~TerminalContent() override;
    void paint(int64_t milliseconds) override;

private:
    void scroll();
    void writeLine(int64_t milliseconds);

    ContentWindow screen;
    XFontStruct* const font;
    const int lineHeight;
    std::minstd_rand words{1}; ///< the same text in every run
};

} // namespace vintra
