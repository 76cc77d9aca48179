#pragma once

#include "tools/moving-picture/Content.h"
#include "tools/moving-picture/FullScreenWindow.h"

#include <random>

namespace vintra {

/// A terminal over the whole screen into which a program writes: a new line at the bottom with every picture,
/// all others one line up.
class TerminalContent : public Content {
public:
    explicit TerminalContent(Display* display);
    ~TerminalContent() override;
    void paint(int64_t milliseconds) override;

private:
    void scroll();
    void writeLine(int64_t milliseconds);

    FullScreenWindow screen;
    XFontStruct* const font;
    const int lineHeight;
    std::minstd_rand words{1}; ///< the same text in every run
};

} // namespace vintra
