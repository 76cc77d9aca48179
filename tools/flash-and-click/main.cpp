// At instants known beforehand, flashes a white window and clicks in a published microphone. Prints each
// instant T, in nanoseconds of CLOCK_MONOTONIC, when it has passed. The click's first sample other than zero
// is the first that stands at or after T in the graph's time; the window is asked to be white at T and has
// been drawn when the line is printed. Behind T stands how long after it that was, in nanoseconds.

#include "tools/testsignals/PublishedSource.h"

#include <X11/Xlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace {

constexpr const char* kUsage = R"(usage: flash-and-click [options]
  --name NAME            node.name of the microphone (vintra.headless.flash-and-click)
  --description TEXT     node.description (Flash and Click)
  --first SECONDS        from now to the first instant (1)
  --at NANOSECONDS       the first instant itself, of CLOCK_MONOTONIC, instead
  --interval SECONDS     between two instants (2)
  --count N              instants; 0: until ended by a signal (0)
  --linger SECONDS       how long microphone and window stay after the last one (1)
  --flash SECONDS        how long the window is white (0.1)
)";

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr uint32_t kSampleRate = 48000;

struct Options {
    vintra::PublishedSourceOptions source{.name = "vintra.headless.flash-and-click",
                                          .description = "Flash and Click",
                                          .channels = 1,
                                          .sampleRate = kSampleRate};
    double first = 1;
    int64_t at = 0; ///< nanoseconds; 0: not said
    double interval = 2;
    int64_t count = 0;
    double linger = 1;
    double flash = 0.1;
};

int64_t nanoseconds(double seconds) {
    return static_cast<int64_t>(seconds * static_cast<double>(kNanosecondsPerSecond));
}

int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

void sleepUntil(int64_t instant) {
    const timespec time{instant / kNanosecondsPerSecond, instant % kNanosecondsPerSecond};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
    }
}

/// The instants: the first one, then one each interval.
struct Schedule {
    int64_t first = 0;
    int64_t interval = 0;
    int64_t count = 0; ///< 0: without end

    int64_t instant(int64_t index) const { return first + index * interval; }
    /// The latest instant at or before a time; nothing before the first is marked by a negative number.
    int64_t latestIndex(int64_t time) const {
        if (time < first) return -1;
        const int64_t index = (time - first) / interval;
        return count == 0 ? index : std::min(index, count - 1);
    }
};

/// 10 ms of a 1 kHz square wave from each instant on, silence elsewhere.
void fillClicks(const Schedule& schedule, const vintra::SourceFrames& target) {
    constexpr int64_t clickFrames = kSampleRate / 100;
    for (uint32_t frame = 0; frame < target.frames; ++frame) {
        const int64_t time = target.firstFrameTime + int64_t{frame} * kNanosecondsPerSecond / kSampleRate;
        const int64_t index = schedule.latestIndex(time);
        float sample = 0;
        if (index >= 0) {
            const int64_t since = (time - schedule.instant(index)) * kSampleRate / kNanosecondsPerSecond;
            if (since < clickFrames) sample = since / 24 % 2 == 0 ? 0.9F : -0.9F;
        }
        std::fill_n(target.samples + size_t{frame} * target.channels, target.channels, sample);
    }
}

/// A window over the whole screen that no window manager touches.
class FlashWindow {
public:
    bool open() {
        display = XOpenDisplay(nullptr);
        if (display == nullptr) return false;
        const int screen = DefaultScreen(display);
        white = WhitePixel(display, screen);
        black = BlackPixel(display, screen);
        width = static_cast<unsigned>(DisplayWidth(display, screen));
        height = static_cast<unsigned>(DisplayHeight(display, screen));
        XSetWindowAttributes attributes{};
        attributes.override_redirect = True;
        attributes.background_pixel = black;
        attributes.event_mask = ExposureMask;
        window = XCreateWindow(display, RootWindow(display, screen), 0, 0, width, height, 0, CopyFromParent,
                               InputOutput, CopyFromParent, CWOverrideRedirect | CWBackPixel | CWEventMask,
                               &attributes);
        graphics = XCreateGC(display, window, 0, nullptr);
        XMapRaised(display, window);
        XEvent event;
        XWindowEvent(display, window, ExposureMask, &event);
        return true;
    }
    /// Returns when the X server has drawn it.
    void fill(bool asWhite) {
        XSetForeground(display, graphics, asWhite ? white : black);
        XFillRectangle(display, window, graphics, 0, 0, width, height);
        XSync(display, True);
    }

private:
    Display* display = nullptr;
    Window window = 0;
    GC graphics = nullptr;
    unsigned long white = 0;
    unsigned long black = 0;
    unsigned width = 0;
    unsigned height = 0;
};

bool readOption(Options& options, std::string_view name, const char* value) {
    if (name == "--name") {
        options.source.name = value;
    } else if (name == "--description") {
        options.source.description = value;
    } else if (name == "--first") {
        options.first = std::atof(value);
    } else if (name == "--at") {
        options.at = std::atoll(value);
    } else if (name == "--interval") {
        options.interval = std::atof(value);
    } else if (name == "--count") {
        options.count = std::atoll(value);
    } else if (name == "--linger") {
        options.linger = std::atof(value);
    } else if (name == "--flash") {
        options.flash = std::atof(value);
    } else {
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    bool understood = argc % 2 == 1;
    for (int index = 1; understood && index + 1 < argc; index += 2) {
        understood = readOption(options, argv[index], argv[index + 1]);
    }
    if (!understood || options.flash <= 0 || options.interval < options.flash + 0.05 || options.count < 0) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    FlashWindow window;
    if (!window.open()) {
        std::fputs("flash-and-click: no X server\n", stderr);
        return 1;
    }
    const int64_t first = options.at > 0 ? options.at : now() + nanoseconds(options.first);
    const Schedule schedule{first, nanoseconds(options.interval), options.count};
    vintra::PublishedSource source(
        options.source, [schedule](const vintra::SourceFrames& frames) { fillClicks(schedule, frames); });
    source.onLost = [] { std::_Exit(1); };
    if (!source.start()) return 1;
    std::puts("ready");
    std::fflush(stdout);
    for (int64_t index = 0; options.count == 0 || index < options.count; ++index) {
        const int64_t instant = schedule.instant(index);
        sleepUntil(instant);
        window.fill(true);
        std::printf("%lld %lld\n", static_cast<long long>(instant), static_cast<long long>(now() - instant));
        std::fflush(stdout);
        sleepUntil(instant + nanoseconds(options.flash));
        window.fill(false);
    }
    sleepUntil(now() + nanoseconds(options.linger));
    return 0;
}
