// What capturing the screen costs, without any encoding: processor time of the capture and of the X server
// for it, against the grabbing of `ffmpeg -f x11grab` on the same moving pictures. An X server of its own,
// 1920x1080.
//
//     X11CaptureBenchmark [SECONDS A MEASUREMENT [SCENE]]

#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/screen/LinuxScreenStream.h"
#include "Vintra/platform/linux/x11/X11ScreenCapture.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <utility>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace vintra {
namespace {

struct Scene {
    const char* name;
    const char* description;
    int framesASecond; ///< of the painting and of the capture
};
constexpr Scene kScenes[] = {{"still", "nothing moves", 30},
                             {"pointer", "the pointer moves 60 times a second", 30},
                             {"terminal", "an 800x500 terminal scrolls 30 lines a second", 30},
                             {"video", "a 1280x720 video of 30 frames a second plays", 30},
                             {"all", "every pixel changes 60 times a second", 60}};

pid_t spawn(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& part : command)
        arguments.push_back(part.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", 1 /* O_WRONLY */, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 1 /* O_WRONLY */, 0);
    pid_t process = -1;
    const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : -1;
}

void endProcess(pid_t process) {
    ::kill(process, SIGTERM);
    ::waitpid(process, nullptr, 0);
}

void pause(double seconds) {
    const auto whole = static_cast<time_t>(seconds);
    timespec rest{whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
    while (::nanosleep(&rest, &rest) != 0) {
    }
}

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double ownSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Processor time of another process, in steps of 10 ms.
double secondsOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string field;
    double ticks = 0;
    for (int i = 3; fields >> field; ++i) {
        if (i == 14 || i == 15) ticks += std::strtod(field.c_str(), nullptr);
    }
    return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

/// The program on the desktop that the scene shows; until it is killed.
int paint(const std::string& scene, const char* displayName) {
    Display* const display = XOpenDisplay(displayName);
    if (!display) return 1;
    const Window root = DefaultRootWindow(display);
    const GC context = DefaultGC(display, 0);
    XImage* video = nullptr;
    if (scene == "video") {
        video = XCreateImage(display, DefaultVisual(display, 0), 24, ZPixmap, 0,
                             static_cast<char*>(std::malloc(1280 * 720 * 4)), 1280, 720, 32, 0);
    }
    const double rate = scene == "terminal" || scene == "video" ? 30 : 60;
    for (unsigned frame = 0;; ++frame) {
        if (scene == "pointer") {
            XWarpPointer(display, 0, root, 0, 0, 0, 0, static_cast<int>(frame * 7 % 1900),
                         static_cast<int>(frame * 3 % 1000));
        } else if (scene == "terminal") {
            XCopyArea(display, root, root, context, 200, 216, 800, 484, 200, 200);
            XSetForeground(display, context, 0);
            XFillRectangle(display, root, context, 200, 684, 800, 16);
            XSetForeground(display, context, 0xcccccc);
            const std::string text = "line " + std::to_string(frame) + " of what scrolls by in a terminal";
            XDrawString(display, root, context, 204, 697, text.data(), static_cast<int>(text.size()));
        } else if (scene == "video") {
            auto* const pixels = reinterpret_cast<uint32_t*>(video->data);
            for (unsigned i = 0; i < 1280 * 720; ++i)
                pixels[i] = i * 7 + frame * 0x030201;
            XPutImage(display, root, context, video, 0, 0, 320, 180, 1280, 720);
        } else if (scene == "all") {
            XSetForeground(display, context, frame * 0x030201 & 0xffffff);
            XFillRectangle(display, root, context, 0, 0, 1920, 1080);
        }
        XSync(display, False);
        pause(1 / rate);
    }
}

/// Keeps the newest pictures, as a writer does that is busy with them.
class Holder : public SCStreamOutput {
public:
    void stream(SCStream&, const CMSampleBuffer& sample, SCStreamOutputType) override {
        held.push_back(sample);
        if (held.size() > 3) held.pop_front();
    }
    void stream(SCStream&, const SCMissedFrames&) override {}

private:
    std::deque<CMSampleBuffer> held;
};

struct Cost {
    double frames = 0;
    double client = 0; ///< seconds of processor time
    double server = 0;
    double wakeUps = 0;
};

Cost measureOurs(const std::string& displayName, pid_t server, int framesASecond, double length) {
    LinuxDispatchQueues queues;
    X11ScreenCapture capture(displayName);
    ScreenCapture::Content content;
    capture.getShareableContent(false, true, [&](ScreenCapture::Content read) { content = std::move(read); });
    if (content.content.displays.empty()) return {};
    SCStreamConfiguration configuration;
    configuration.minimumFrameInterval = CMTimeMake(1, framesASecond);
    const auto holder = std::make_shared<Holder>();
    const auto stream = std::dynamic_pointer_cast<LinuxScreenStream>(capture.makeStream(
        {SCContentFilter::Display{content.content.displays.front(), {}, {}}}, configuration, {}));
    stream->addStreamOutput(holder, SCStreamOutputType::screen, queues.makeSerialQueue("samples"));
    stream->startCapture([](std::optional<SystemError>) {});
    pause(1);
    const Cost before{static_cast<double>(stream->framesSent()), ownSeconds(), secondsOf(server),
                      static_cast<double>(stream->wakeUps())};
    pause(length);
    return {static_cast<double>(stream->framesSent()) - before.frames, ownSeconds() - before.client,
            secondsOf(server) - before.server, static_cast<double>(stream->wakeUps()) - before.wakeUps};
}

Cost measureX11Grab(const std::string& displayName, pid_t server, int framesASecond, double length) {
    const double before = secondsOf(server);
    const std::string time = std::to_string(length);
    const pid_t process = spawn({"ffmpeg", "-nostdin", "-f", "x11grab", "-framerate",
                                 std::to_string(framesASecond), "-video_size", "1920x1080", "-i", displayName,
                                 "-t", time, "-c:v", "wrapped_avframe", "-f", "null", "-"});
    rusage usage{};
    if (process < 0 || ::wait4(process, nullptr, 0, &usage) != process) return {};
    return {framesASecond * length, seconds(usage.ru_utime) + seconds(usage.ru_stime),
            secondsOf(server) - before, 0};
}

std::string machine() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    }
    return "unknown processor";
}

int benchmark(const char* program, double length, const std::string& only) {
    int ends[2];
    if (::pipe(ends) != 0) return 1;
    const pid_t server = spawn({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "1920x1080x24",
                                "-noreset", "-nolisten", "tcp"});
    ::close(ends[1]);
    std::string name = ":";
    for (char digit = 0; ::read(ends[0], &digit, 1) == 1 && digit != '\n';)
        name += digit;
    if (server < 0 || name == ":") return 1;

    std::printf("%s, %ld cores; 1920x1080, %.0f s each; processor milliseconds a second\n", machine().c_str(),
                ::sysconf(_SC_NPROCESSORS_ONLN), length);
    std::printf("%-9s %34s %34s %6s\n", "", "---------- Vintra ----------", "---------- x11grab ---------",
                "");
    std::printf("%-9s %8s %8s %8s %8s %8s %8s %8s %6s\n", "scene", "frames/s", "wakes/s", "client", "server",
                "frames/s", "client", "server", "ratio");
    for (const Scene& scene : kScenes) {
        if (!only.empty() && only != scene.name) continue;
        const pid_t painter = spawn({program, "--paint", scene.name, name});
        pause(1);
        const double idleBefore = secondsOf(server);
        pause(length);
        const double idle = secondsOf(server) - idleBefore; // what the painting itself costs the server
        const Cost ours = measureOurs(name, server, scene.framesASecond, length);
        const Cost grab = measureX11Grab(name, server, scene.framesASecond, length);
        endProcess(painter);
        const double scale = 1000 / length;
        const double oursServer = std::max(ours.server - idle, 0.0);
        const double grabServer = std::max(grab.server - idle, 0.0);
        std::printf("%-9s %8.1f %8.1f %8.2f %8.2f %8.1f %8.2f %8.2f %6.2f   %s\n", scene.name,
                    ours.frames / length, ours.wakeUps / length, ours.client * scale, oursServer * scale,
                    grab.frames / length, grab.client * scale, grabServer * scale,
                    (ours.client + oursServer) / (grab.client + grabServer), scene.description);
        std::fflush(stdout);
    }
    endProcess(server);
    return 0;
}

} // namespace
} // namespace vintra

int main(int count, char** arguments) {
    if (count == 4 && std::string(arguments[1]) == "--paint")
        return vintra::paint(arguments[2], arguments[3]);
    return vintra::benchmark(arguments[0], count > 1 ? std::atof(arguments[1]) : 10,
                             count > 2 ? arguments[2] : "");
}
