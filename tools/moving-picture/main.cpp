// Fills the screen of $DISPLAY with something that moves, 30 times a second, until it is interrupted. Says
// "ready" once the first picture is on the screen.
//
//     moving-picture [--content square|terminal|video]

#include "tools/moving-picture/MovingPicture.h"
#include "tools/moving-picture/TerminalContent.h"
#include "tools/moving-picture/VideoContent.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

namespace {

volatile std::sig_atomic_t ended = 0;

void end(int) {
    ended = 1;
}

constexpr int64_t kPicturesPerSecond = 30;

/// Null if there is no such content.
std::unique_ptr<vintra::Content> makeContent(const std::string& name, Display* display) {
    if (name == "square") return std::make_unique<vintra::MovingPicture>(display);
    if (name == "terminal") return std::make_unique<vintra::TerminalContent>(display);
    if (name == "video") return std::make_unique<vintra::VideoContent>(display);
    return nullptr;
}

} // namespace

int main(int count, char** arguments) {
    const bool chosen = count == 3 && std::string(arguments[1]) == "--content";
    if (count != 1 && !chosen) {
        std::fprintf(stderr, "usage: moving-picture [--content square|terminal|video]\n");
        return 2;
    }
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "There is no X server to paint on. Start one, or set DISPLAY to it.\n");
        return 1;
    }
    std::signal(SIGINT, end);
    std::signal(SIGTERM, end);
    {
        const auto picture = makeContent(chosen ? arguments[2] : "square", display);
        if (!picture) {
            std::fprintf(stderr, "There is no content \"%s\". Choose square, terminal or video.\n",
                         arguments[2]);
            return 2;
        }
        timespec start{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        for (int64_t number = 0; !ended; ++number) {
            const int64_t milliseconds = number * 1000 / kPicturesPerSecond;
            picture->paint(milliseconds);
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
