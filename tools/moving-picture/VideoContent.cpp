#include "tools/moving-picture/VideoContent.h"

#include <X11/Xutil.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <random>

namespace vintra {
namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr int kPictures = 30;         // one second, after which the film repeats without a jump
constexpr int kGrain = 6;             // steps of 256 that a pixel may be off
constexpr double kTurn = 6.283185307; // radians

uint32_t channel(double value, int grain) {
    return static_cast<uint32_t>(std::clamp(128 + 100 * value + grain, 0.0, 255.0));
}

} // namespace

VideoContent::VideoContent(Display* display, const std::optional<ContentWindow::Place>& place)
    : screen(display, ContentWindow::colour(display, "#202428"), place) {
    for (int number = 0; number < kPictures; ++number)
        pictures.push_back(makePicture(number));
}

VideoContent::~VideoContent() {
    for (const Pixmap picture : pictures)
        XFreePixmap(screen.display, picture);
}

Pixmap VideoContent::makePicture(int number) const {
    Display* const display = screen.display;
    const int number0 = DefaultScreen(display);
    std::vector<uint32_t> pixels(static_cast<size_t>(kWidth) * kHeight);
    std::minstd_rand random(static_cast<unsigned>(number) + 1);
    const double phase = kTurn * number / kPictures;
    for (int y = 0; y < kHeight; ++y) {
        const double across = std::sin(y * 0.013 + phase);
        for (int x = 0; x < kWidth; ++x) {
            const double along = std::sin(x * 0.011 - phase);
            const int grain = static_cast<int>(random() % (2 * kGrain + 1)) - kGrain;
            pixels[static_cast<size_t>(y) * kWidth + static_cast<size_t>(x)] =
                channel(along, grain) << 16 | channel(across, grain) << 8 | channel(along * across, grain);
        }
    }
    const auto depth = static_cast<unsigned>(DefaultDepth(display, number0));
    const Pixmap picture = XCreatePixmap(display, screen.window, kWidth, kHeight, depth);
    XImage* const image = XCreateImage(display, DefaultVisual(display, number0), depth, ZPixmap, 0,
                                       reinterpret_cast<char*>(pixels.data()), kWidth, kHeight, 32, 0);
    XPutImage(display, picture, screen.context, image, 0, 0, 0, 0, kWidth, kHeight);
    image->data = nullptr; // the pixels are the vector's
    XDestroyImage(image);
    return picture;
}

void VideoContent::paint(int64_t milliseconds) {
    const auto number = static_cast<size_t>(milliseconds * kPictures / 1000 % kPictures);
    XCopyArea(screen.display, pictures[number], screen.window, screen.context, 0, 0, kWidth, kHeight,
              (screen.width - kWidth) / 2, (screen.height - kHeight) / 2);
    XSync(screen.display, False);
}

} // namespace vintra
