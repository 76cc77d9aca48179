#include "WaylandSession.h"

#include "../linux/ChildProcess.h"

#include "Vintra/platform/linux/WaylandOutputs.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

namespace vintra::WaylandSession {

bool isThere() {
    return std::getenv("WAYLAND_DISPLAY") && std::getenv("SWAYSOCK") &&
           std::getenv("VINTRA_SCREENCAST_CHOICE");
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
    std::ofstream(std::getenv("VINTRA_SCREENCAST_CHOICE")) << display;
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
