// Fills the screen of $DISPLAY with something that moves, 30 times a second, until it is interrupted. Says
// "ready" once the first picture is on the screen.

#include "tools/moving-picture/MovingPicture.h"

#include <csignal>
#include <cstdio>
#include <ctime>

namespace {

volatile std::sig_atomic_t ended = 0;

void end(int) {
    ended = 1;
}

constexpr int64_t kPicturesPerSecond = 30;

} // namespace

int main() {
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "There is no X server to paint on. Start one, or set DISPLAY to it.\n");
        return 1;
    }
    std::signal(SIGINT, end);
    std::signal(SIGTERM, end);
    {
        vintra::MovingPicture picture(display);
        timespec start{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        for (int64_t number = 0; !ended; ++number) {
            const int64_t milliseconds = number * 1000 / kPicturesPerSecond;
            picture.paint(milliseconds);
            if (number == 0) {
                std::puts("ready");
                std::fflush(stdout);
            }
            const int64_t due = start.tv_nsec + (number + 1) * 1'000'000'000 / kPicturesPerSecond;
            timespec until{};
            until.tv_sec = start.tv_sec + due / 1'000'000'000;
            until.tv_nsec = due % 1'000'000'000;
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
        }
    }
    XCloseDisplay(display);
}
