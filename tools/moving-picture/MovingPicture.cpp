#include "tools/moving-picture/MovingPicture.h"

#include <array>
#include <optional>
#include <string>

namespace vintra {
namespace {

/// Of a digit's seven bars, from the top down: top, upper left, upper right, middle, lower left, lower right,
/// bottom; the highest bit is the top one.
constexpr std::array<unsigned, 10> kBarsOfDigits = {0b1110111, 0b0010010, 0b1011101, 0b1011011, 0b0111010,
                                                    0b1101011, 0b1101111, 0b1010010, 0b1111111, 0b1111011};
constexpr int64_t kMillisecondsAcross = 3000; // the square's way from one side to the other

} // namespace

MovingPicture::MovingPicture(Display* display, const std::optional<ContentWindow::Place>& place)
    : screen(display, ContentWindow::colour(display, "#1D2B3A"), place)
    , ground(ContentWindow::colour(display, "#1D2B3A"))
    , square(ContentWindow::colour(display, "#E8A33D"))
    , lit(ContentWindow::colour(display, "#F2F2F2"))
    , canvas(XCreatePixmap(display, screen.window, static_cast<unsigned>(screen.width),
                           static_cast<unsigned>(screen.height),
                           static_cast<unsigned>(DefaultDepth(display, DefaultScreen(display))))) {}

MovingPicture::~MovingPicture() {
    XFreePixmap(screen.display, canvas);
}

void MovingPicture::paint(int64_t milliseconds) {
    fill(ground, {0, 0, screen.width, screen.height});
    paintSquare(milliseconds);
    paintTime(milliseconds);
    show({0, screen.height / 6, screen.width, screen.height / 3});
    show({0, screen.height * 2 / 3, screen.width, screen.height / 6});
    XSync(screen.display, False);
}

void MovingPicture::fill(unsigned long pixel, Box box) {
    XSetForeground(screen.display, screen.context, pixel);
    XFillRectangle(screen.display, canvas, screen.context, box.x, box.y, static_cast<unsigned>(box.width),
                   static_cast<unsigned>(box.height));
}

void MovingPicture::show(Box box) {
    XCopyArea(screen.display, canvas, screen.window, screen.context, box.x, box.y,
              static_cast<unsigned>(box.width), static_cast<unsigned>(box.height), box.x, box.y);
}

void MovingPicture::paintSquare(int64_t milliseconds) {
    const int side = screen.height / 6;
    const int64_t way = milliseconds % (2 * kMillisecondsAcross);
    const int64_t place = way < kMillisecondsAcross ? way : 2 * kMillisecondsAcross - way;
    const int x = static_cast<int>(place * (screen.width - side) / kMillisecondsAcross);
    fill(square, {x, screen.height * 2 / 3, side, side});
}

/// Seconds and hundredths, right-aligned in seven places.
void MovingPicture::paintTime(int64_t milliseconds) {
    std::string text = std::to_string(milliseconds / 1000) + "." + std::to_string(milliseconds % 1000 / 100) +
                       std::to_string(milliseconds % 100 / 10);
    const int step = screen.width / 9;
    int x = screen.width - step;
    for (auto place = text.rbegin(); place != text.rend() && x >= step; ++place, x -= step) {
        const Box box{x - step, screen.height / 6, step * 3 / 4, screen.height / 3};
        if (*place == '.')
            fill(lit, {box.x + box.width / 2, box.y + box.height - 12, 12, 12});
        else
            paintDigit(*place - '0', box);
    }
}

void MovingPicture::paintDigit(int digit, Box box) {
    const int thick = box.width / 6;
    const int half = box.height / 2;
    const int right = box.x + box.width - thick;
    const std::array<Box, 7> bars = {{{box.x, box.y, box.width, thick},
                                      {box.x, box.y, thick, half},
                                      {right, box.y, thick, half},
                                      {box.x, box.y + half - thick / 2, box.width, thick},
                                      {box.x, box.y + half, thick, half},
                                      {right, box.y + half, thick, half},
                                      {box.x, box.y + box.height - thick, box.width, thick}}};
    for (size_t bar = 0; bar < bars.size(); ++bar) {
        if (kBarsOfDigits[static_cast<size_t>(digit)] & (1u << (6 - bar))) fill(lit, bars[bar]);
    }
}

} // namespace vintra
