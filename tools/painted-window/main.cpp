// Fills a display of the Wayland desktop with something that moves, 30 times a second, until it is
// interrupted. Says "ready" once the first picture is on the display.
//
//     painted-window [square|terminal|video] [OUTPUT]

#include "tools/painted-window/WaylandWindow.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>

namespace {

using vintra::WaylandWindow;
using Painter = std::function<void(int64_t number)>;

volatile std::sig_atomic_t ended = 0;

void end(int) {
    ended = 1;
}

constexpr int64_t kPicturesPerSecond = 30;

/// A square that runs to and fro.
Painter squarePainter(WaylandWindow& window) {
    window.fill({0, 0, window.width(), window.height()}, 0x203040);
    return [&window, last = 0](int64_t number) mutable {
        static constexpr int kSide = 160;
        const int way = std::max(window.width() - kSide, 1);
        const int turn = static_cast<int>(number * 12 % (2 * way));
        const int y = window.height() / 3;
        window.fill({last, y, kSide, kSide}, 0x203040);
        last = turn < way ? turn : 2 * way - turn;
        window.fill({last, y, kSide, kSide}, 0xe0a030);
    };
}

/// Lines of what looks like text, one more each time; all of it moves up.
Painter terminalPainter(WaylandWindow& window) {
    return [&window, random = std::minstd_rand(1)](int64_t) mutable {
        constexpr int kLine = 13, kLetter = 6; // pixels
        const int top = window.height() - kLine;
        for (int y = 0; y < top; ++y)
            std::memcpy(window.row(y), window.row(y + kLine), static_cast<size_t>(window.width()) * 4);
        window.fill({0, top, window.width(), kLine}, 0);
        const int letters = std::min(80 + static_cast<int>(random() % 120), window.width() / kLetter);
        for (int letter = 0; letter < letters; ++letter) {
            if (random() % 7 == 0) continue; // between two words
            for (int y = top + 2; y < top + kLine - 3; ++y) {
                for (int x = 0; x < kLetter - 1; ++x) {
                    if (random() % 3 == 0) window.row(y)[letter * kLetter + x] = 0xffffff;
                }
            }
        }
        window.touched({0, 0, window.width(), window.height()});
    };
}

/// A film of 1280 × 720 pixels in the middle: soft shapes that drift, with grain, painted beforehand.
Painter videoPainter(WaylandWindow& window) {
    static constexpr int kWidth = 1280, kHeight = 720, kPictures = 30, kGrain = 6;
    constexpr double kTurn = 6.283185307;
    auto pictures = std::make_shared<std::vector<std::vector<uint32_t>>>();
    for (int number = 0; number < kPictures; ++number) {
        std::minstd_rand random(static_cast<unsigned>(number) + 1);
        auto& pixels = pictures->emplace_back();
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const double phase = kTurn * number / kPictures;
                const double across = std::sin(y * 0.013 + phase), along = std::sin(x * 0.011 - phase);
                const int grain = static_cast<int>(random() % (2 * kGrain + 1)) - kGrain;
                const auto channel = [grain](double value) {
                    return static_cast<uint32_t>(std::clamp(128 + 100 * value + grain, 0.0, 255.0));
                };
                pixels.push_back(channel(along) << 16 | channel(across) << 8 | channel(along * across));
            }
        }
    }
    return [&window, pictures](int64_t number) {
        const int width = std::min(kWidth, window.width()), height = std::min(kHeight, window.height());
        const int left = (window.width() - width) / 2, top = (window.height() - height) / 2;
        const auto& pixels = (*pictures)[static_cast<size_t>(number % kPictures)];
        for (int y = 0; y < height; ++y)
            std::memcpy(window.row(top + y) + left, pixels.data() + y * kWidth,
                        static_cast<size_t>(width) * 4);
        window.touched({left, top, width, height});
    };
}

Painter makePainter(const std::string& name, WaylandWindow& window) {
    if (name == "square") return squarePainter(window);
    if (name == "terminal") return terminalPainter(window);
    if (name == "video") return videoPainter(window);
    return {};
}

} // namespace

int main(int count, char** arguments) {
    WaylandWindow window(count > 2 ? arguments[2] : "");
    if (!window.isOpen()) {
        std::fprintf(stderr,
                     "There is no Wayland desktop to paint on. Start one, or set WAYLAND_DISPLAY to it.\n");
        return 1;
    }
    const Painter paint = makePainter(count > 1 ? arguments[1] : "square", window);
    if (!paint) {
        std::fprintf(stderr, "usage: painted-window [square|terminal|video] [OUTPUT]\n");
        return 2;
    }
    std::signal(SIGINT, end);
    std::signal(SIGTERM, end);
    timespec start{};
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (int64_t number = 0; !ended; ++number) {
        paint(number);
        window.show();
        if (number == 0) {
            std::puts("ready");
            std::fflush(stdout);
        }
        const int64_t due = start.tv_nsec + (number + 1) * 1'000'000'000 / kPicturesPerSecond;
        const timespec until{start.tv_sec + due / 1'000'000'000, due % 1'000'000'000};
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
    }
}
