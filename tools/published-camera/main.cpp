// Publishes a camera whose pictures carry their number and the host time of their capture, until it is told to end
// by SIGINT or SIGTERM. Prints "ready" once others can find it.

#include "tools/published-camera/PublishedCameraStream.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include <unistd.h>

namespace {

constexpr const char* kUsage = R"(usage: published-camera [options]
  --name NAME            node.name (vintra.headless.camera)
  --description TEXT     node.description (Headless Camera)
  --format KIND:WxH@RATES
                         may be given several times (YUY2:1280x720@30). KIND: YUY2, UYVY, YVYU, NV12, NV21, I420,
                         YV12, BGRx, RGBx, xRGB, RGB, BGR, GRAY8, MJPG or H264. RATES: 30, a list such as
                         30,15,30000/1001, or all from 1 to 60: 1-60
  --colours NAME         said in the format: 601, 709, 601full or 709full (unsaid)
  --jitter MS            each picture is taken up to so much early or late
  --drift PPM            its clock runs so much faster
  --stamps yes|no        whether its pictures are stamped (yes)
  --commands FIFO        obeys the lines written to that pipe: live, freeze, black, stop, lose N (the next N
                         pictures, on their way), jitter MS, drift PPM, only N (offers its nth format alone from now on),
                         flash FIRST INTERVAL LENGTH (pictures taken within LENGTH of FIRST, and of every INTERVAL after
                         it, are white; nanoseconds of CLOCK_MONOTONIC)
)";

struct Options {
    vintra::PublishedCameraOptions camera;
    std::string commands;
};

std::optional<uint32_t> wholeNumber(std::string_view text) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value == 0) return std::nullopt;
    return value;
}

std::optional<vintra::PublishedRate> rateOf(std::string_view text) {
    const size_t slash = text.find('/');
    const auto frames = wholeNumber(text.substr(0, slash));
    const auto seconds =
        slash == std::string_view::npos ? std::optional(1u) : wholeNumber(text.substr(slash + 1));
    if (!frames || !seconds) return std::nullopt;
    return vintra::PublishedRate{*frames, *seconds};
}

std::optional<vintra::PublishedFormat> formatOf(std::string_view text) {
    const size_t colon = text.find(':');
    const size_t at = text.find('@');
    if (colon == std::string_view::npos || at == std::string_view::npos || at < colon) return std::nullopt;
    const std::string_view size = text.substr(colon + 1, at - colon - 1);
    const size_t times = size.find('x');
    if (times == std::string_view::npos) return std::nullopt;
    const auto kind = vintra::cameraPixelKindNamed(text.substr(0, colon));
    const auto width = wholeNumber(size.substr(0, times));
    const auto height = wholeNumber(size.substr(times + 1));
    if (!kind || !width || !height) return std::nullopt;
    vintra::PublishedFormat format{.kind = *kind,
                                   .kindName = {},
                                   .width = *width,
                                   .height = *height,
                                   .rates = {},
                                   .areRatesRange = false};
    std::string_view rates = text.substr(at + 1);
    format.areRatesRange = rates.find('-') != std::string_view::npos;
    while (!rates.empty()) {
        const size_t end = rates.find_first_of(",-");
        const auto rate = rateOf(rates.substr(0, end));
        if (!rate) return std::nullopt;
        format.rates.push_back(*rate);
        rates = end == std::string_view::npos ? std::string_view() : rates.substr(end + 1);
    }
    if (format.rates.empty() || (format.areRatesRange && format.rates.size() != 2)) return std::nullopt;
    return format;
}

std::optional<vintra::CanvasColours> coloursOf(std::string_view name) {
    using enum vintra::CanvasColours;
    if (name == "601") return rec601;
    if (name == "709") return rec709;
    if (name == "601full") return rec601FullRange;
    if (name == "709full") return rec709FullRange;
    return std::nullopt;
}

bool readOption(Options& options, std::string_view name, const char* value) {
    if (name == "--name") {
        options.camera.name = value;
    } else if (name == "--description") {
        options.camera.description = value;
    } else if (name == "--format") {
        const auto format = formatOf(value);
        if (!format) return false;
        options.camera.formats.push_back(*format);
    } else if (name == "--colours") {
        options.camera.colours = coloursOf(value);
        return options.camera.colours.has_value();
    } else if (name == "--jitter") {
        options.camera.jitterMilliseconds = std::atof(value);
    } else if (name == "--drift") {
        options.camera.driftPPM = std::atof(value);
    } else if (name == "--stamps") {
        options.camera.hasStamps = std::string_view(value) != "no";
    } else if (name == "--commands") {
        options.commands = value;
    } else {
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    bool understood = argc % 2 == 1;
    for (int index = 1; understood && index + 1 < argc; index += 2)
        understood = readOption(options, argv[index], argv[index + 1]);
    if (!understood) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (options.camera.formats.empty()) options.camera.formats.push_back(*formatOf("YUY2:1280x720@30"));

    // Taken by sigwait below; all threads inherit the mask.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    vintra::PublishedCameraStream camera(options.camera);
    camera.onLost = [] { kill(getpid(), SIGTERM); };
    if (!camera.start()) return 1;
    std::puts("ready");
    std::fflush(stdout);
    if (!options.commands.empty()) {
        // Ends with the process: it sleeps in the pipe.
        std::thread([&camera, path = options.commands] {
            for (;;) {
                std::ifstream pipe(path);
                if (!pipe) return;
                for (std::string line; std::getline(pipe, line);) {
                    std::puts(camera.obey(line) ? "done" : "unknown");
                    std::fflush(stdout);
                }
            }
        }).detach();
    }
    int received = 0;
    sigwait(&signals, &received);
    std::fflush(stdout);
    if (!options.commands.empty()) _exit(0); // the reader of commands is still there
    return 0;
}
