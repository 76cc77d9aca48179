// Fills the screen of $DISPLAY with something that moves, 30 times a second, until it is interrupted; or an
// ordinary window, of that size at that place. Says "ready", and the ordinary window's number, once the first
// picture is on the screen.
//
//     moving-picture [--content square|terminal|video] [--window WIDTHxHEIGHT+X+Y]

#include "tools/moving-picture/MovingPicture.h"
#include "tools/moving-picture/TerminalContent.h"
#include "tools/moving-picture/VideoContent.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

namespace {

volatile std::sig_atomic_t ended = 0;

void end(int) {
    ended = 1;
}

constexpr int64_t kPicturesPerSecond = 30;

struct Options {
    std::string content = "square";
    std::optional<vintra::ContentWindow::Place> place;
};

/// Nothing if they can't be understood.
std::optional<Options> parse(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; i += 2) {
        const std::string option = arguments[i];
        if (i + 1 == count) return std::nullopt;
        if (option == "--content") {
            options.content = arguments[i + 1];
        } else if (option == "--window") {
            vintra::ContentWindow::Place place;
            if (std::sscanf(arguments[i + 1], "%dx%d+%d+%d", &place.width, &place.height, &place.x,
                            &place.y) != 4 ||
                place.width <= 0 || place.height <= 0) {
                return std::nullopt;
            }
            options.place = place;
        } else {
            return std::nullopt;
        }
    }
    return options;
}

/// Null if there is no such content.
std::unique_ptr<vintra::Content> makeContent(const Options& options, Display* display) {
    const auto& [name, place] = options;
    if (name == "square") return std::make_unique<vintra::MovingPicture>(display, place);
    if (name == "terminal") return std::make_unique<vintra::TerminalContent>(display, place);
    if (name == "video") return std::make_unique<vintra::VideoContent>(display, place);
    return nullptr;
}

} // namespace

int main(int count, char** arguments) {
    const auto options = parse(count, arguments);
    if (!options) {
        std::fprintf(stderr, "usage: moving-picture [--content square|terminal|video] "
                             "[--window WIDTHxHEIGHT+X+Y]\n");
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
        const auto picture = makeContent(*options, display);
        if (!picture) {
            std::fprintf(stderr, "There is no content \"%s\". Choose square, terminal or video.\n",
                         options->content.c_str());
            return 2;
        }
        timespec start{};
        clock_gettime(CLOCK_MONOTONIC, &start);
        for (int64_t number = 0; !ended; ++number) {
            const int64_t milliseconds = number * 1000 / kPicturesPerSecond;
            picture->paint(milliseconds);
            if (number == 0) {
                options->place ? std::printf("ready %lu\n", picture->window()) : std::printf("ready\n");
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
