#include "tools/moving-picture/TerminalContent.h"

#include <cstdio>
#include <optional>
#include <string>

namespace vintra {
namespace {

constexpr int kMargin = 4; // pixels

} // namespace

TerminalContent::TerminalContent(Display* display, const std::optional<ContentWindow::Place>& place)
    : screen(display, BlackPixel(display, DefaultScreen(display)), place)
    , font(XLoadQueryFont(display, "fixed"))
    , lineHeight(font ? font->ascent + font->descent : 13) {
    if (font) XSetFont(display, screen.context, font->fid);
    for (int line = 0; line < screen.height / lineHeight; ++line) {
        scroll();
        writeLine(0);
    }
    XSync(display, False);
}

TerminalContent::~TerminalContent() {
    if (font) XFreeFont(screen.display, font);
}

void TerminalContent::paint(int64_t milliseconds) {
    scroll();
    writeLine(milliseconds);
    XSync(screen.display, False);
}

void TerminalContent::scroll() {
    const auto width = static_cast<unsigned>(screen.width);
    XCopyArea(screen.display, screen.window, screen.window, screen.context, 0, lineHeight, width,
              static_cast<unsigned>(screen.height - lineHeight), 0, 0);
    XSetForeground(screen.display, screen.context, BlackPixel(screen.display, DefaultScreen(screen.display)));
    XFillRectangle(screen.display, screen.window, screen.context, 0, screen.height - lineHeight, width,
                   static_cast<unsigned>(lineHeight));
}

void TerminalContent::writeLine(int64_t milliseconds) {
    char head[64];
    std::snprintf(head, sizeof head, "%8.3f  worker[%3u]: ", static_cast<double>(milliseconds) / 1000,
                  static_cast<unsigned>(words() % 128));
    std::string line = head;
    const size_t length = 60 + words() % 120;
    while (line.size() < length) {
        for (size_t letter = 0, letters = 2 + words() % 9; letter < letters; ++letter) {
            line += static_cast<char>('a' + words() % 26);
        }
        line += ' ';
    }
    XSetForeground(screen.display, screen.context, WhitePixel(screen.display, DefaultScreen(screen.display)));
    XDrawString(screen.display, screen.window, screen.context, kMargin,
                screen.height - lineHeight + (font ? font->ascent : 10), line.data(),
                static_cast<int>(line.size()));
}

} // namespace vintra
