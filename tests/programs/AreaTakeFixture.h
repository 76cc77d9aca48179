#pragma once

#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/XvfbServer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

namespace vintra {

/// Takes by the program itself of a part of an X screen of the test's own, of 640 × 480 pixels.
class AreaTakeFixture : public ::testing::Test {
protected:
    using Json = nlohmann::json;
    static constexpr int kScreenWidth = 640;
    static constexpr int kScreenHeight = 480;

    /// How a run of vintra-take ended.
    struct Outcome {
        int code = 0;
        Json json;
    };

    void SetUp() override {
        ASSERT_FALSE(server.displayName().empty()) << "Xvfb doesn't start";
        painter.movePointer(0, 0); // where no test looks
    }

    std::unique_ptr<ChildProcess> start(const std::vector<std::string>& options) const {
        std::vector<std::string> command{VINTRA_BIN_DIR "/vintra-take", "--json"};
        command.insert(command.end(), options.begin(), options.end());
        const std::vector<std::string> environment{"DISPLAY=" + server.displayName(),
                                                   "WAYLAND_DISPLAY=", "XDG_SESSION_TYPE=x11"};
        return std::make_unique<ChildProcess>(command, environment);
    }
    static Outcome outcomeOf(ChildProcess& process) {
        const std::string text = process.restOfOutput();
        return {process.wait(), Json::parse(text, nullptr, false)};
    }
    Json list() const { return outcomeOf(*start({"--list"})).json; }
    std::unique_ptr<ChildProcess> startTake(const std::string& name, std::vector<std::string> options,
                                            const std::string& seconds = "0.7") const {
        for (const std::string& option :
             {std::string("--folder"), folder.url().path(), std::string("--timeline"), std::string("none"),
              std::string("--fps"), std::string("30"), std::string("--name"), name, std::string("--seconds"),
              seconds})
            options.push_back(option);
        return start(options);
    }
    Outcome take(const std::string& name, const std::vector<std::string>& options) const {
        return outcomeOf(*startTake(name, options));
    }
    URL movie(const std::string& name) const { return folder.file(name + "_video.mov"); }
    /// Returns once the movie has begun to grow; false if it doesn't.
    bool awaitMovie(const std::string& name) const {
        for (int i = 0; i < 1000; ++i) {
            std::error_code missing;
            const auto size = std::filesystem::file_size(movie(name).path(), missing);
            if (!missing && size > 0) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    void expectRefused(const std::vector<std::string>& options, const std::string& sentence) const {
        const Outcome outcome = take("refused", options);
        EXPECT_EQ(outcome.code, 1) << outcome.json;
        EXPECT_EQ(outcome.json.value("status", ""), "Failed to start");
        EXPECT_EQ(outcome.json.value("lastError", ""), sentence);
        EXPECT_TRUE(std::filesystem::is_empty(folder.url().path()));
    }

    XvfbServer server{std::to_string(kScreenWidth) + "x" + std::to_string(kScreenHeight) + "x24"};
    X11Painter painter{server.displayName()};
    TemporaryFolder folder;
};

} // namespace vintra
