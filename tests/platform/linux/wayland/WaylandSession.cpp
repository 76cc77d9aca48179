#include "tests/platform/linux/wayland/WaylandSession.h"

#include "tests/support/ChildProcess.h"

#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vintra::WaylandSession {
namespace {

const char* choiceFile() {
    return std::getenv("VINTRA_SCREENCAST_CHOICE");
}

} // namespace

bool isThere() {
    return std::getenv("WAYLAND_DISPLAY") && std::getenv("SWAYSOCK") && choiceFile();
}

bool sway(const std::vector<std::string>& command) {
    std::vector<std::string> words{"swaymsg", "-q", "--"};
    words.insert(words.end(), command.begin(), command.end());
    ChildProcess program(words);
    program.restOfOutput();
    return program.wait() == 0;
}

bool resize(const std::string& display, int width, int height) {
    const auto isSo = [&] {
        for (const WaylandOutput& output : readWaylandOutputs()) {
            if (output.name == display) return output.pixelWidth == width && output.pixelHeight == height;
        }
        return false;
    };
    // Told what it is already, sway paints the display anew all the same, some time later.
    if (isSo()) return true;
    if (!sway({"output", display, "resolution", std::to_string(width) + "x" + std::to_string(height)})) {
        return false;
    }
    for (int i = 0; i < 1000; ++i) {
        if (isSo()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

void choose(const std::string& display) {
    std::ofstream(choiceFile()) << display;
}

// The portal reads the answer from a pipe, which gives none as long as somebody has it open for writing.
OpenQuestion::OpenQuestion() {
    ::unlink(choiceFile());
    EXPECT_EQ(::mkfifo(choiceFile(), 0600), 0);
}

OpenQuestion::~OpenQuestion() {
    ::unlink(choiceFile());
    if (answer >= 0) ::close(answer);
}

bool OpenQuestion::awaitAsked() {
    for (int tries = 0; tries < 5000 && answer < 0; ++tries) {
        answer = ::open(choiceFile(), O_WRONLY | O_NONBLOCK | O_CLOEXEC); // refused as long as nobody reads
        if (answer < 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return answer >= 0;
}

bool endSharing() {
    ChildProcess list({"pw-dump"});
    const auto objects = nlohmann::json::parse(list.restOfOutput(), nullptr, false);
    bool hasEnded = false;
    for (const auto& object : objects) {
        const auto name = nlohmann::json::json_pointer("/info/props/node.name");
        if (!object.contains(name) || object[name] != "xdg-desktop-portal-wlr") continue;
        ChildProcess end({"pw-cli", "destroy", std::to_string(object["id"].get<int>())});
        end.restOfOutput();
        hasEnded = end.wait() == 0;
    }
    return hasEnded;
}

ScreenPicture screenshot(const std::string& display) {
    ChildProcess program({"grim", "-t", "ppm", "-o", display, "-"});
    return ScreenPicture::ofPPM(program.restOfOutput());
}

std::string program(const std::string& name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}

} // namespace vintra::WaylandSession
