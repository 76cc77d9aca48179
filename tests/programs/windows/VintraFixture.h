#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vintra {

/// The finished program with its window, in the session of the tests, with settings and films of its own.
class VintraFixture : public ::testing::Test {
protected:
    static constexpr const char* kProgram = VINTRA_BIN_DIR "/vintra";

    /// Both of its outputs are one.
    std::unique_ptr<ChildProcess> start(std::vector<std::string> more = {}) const {
        std::vector<std::string> environment{
            "HOME=" + home.url().path(), "XDG_CONFIG_HOME=" + home.file("config").path(),
            "XDG_STATE_HOME=" + home.file("state").path(), "XDG_DATA_HOME=" + home.file("data").path(),
            "QT_QPA_PLATFORM=xcb",
            // What Qt and its fonts keep to their end is nobody's leak.
            "ASAN_OPTIONS=" + sanitizerOptions() + ":detect_leaks=0"};
        environment.insert(environment.end(), more.begin(), more.end());
        return std::make_unique<ChildProcess>(
            std::vector<std::string>{"sh", "-c", "exec \"$0\" 2>&1", kProgram}, environment);
    }
    static ProgramRun give(const std::string& option) { return runProgram({kProgram, option}); }
    /// Again and again, for a minute at most.
    static bool await(const std::function<bool()>& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return true;
    }
    /// Until it takes commands. A marker without a take changes nothing.
    static bool awaitProgram() {
        constexpr int kNobody = 3;
        return await([] { return give("--marker").exitCode != kNobody; });
    }
    static bool isWindowShown() {
        return runProgram({"xdotool", "search", "--onlyvisible", "--name", "VINTRA Recorder"}).exitCode == 0;
    }

    URL films() const { return home.file("Videos").appendingPathComponent("Vintra"); }
    /// What lies in the folder of the films, without journals.
    std::vector<URL> movies() const { return filesOf(".mov"); }
    std::vector<URL> journals() const { return filesOf(".vintra"); }

    TemporaryFolder home;

private:
    std::vector<URL> filesOf(const std::string& ending) const {
        std::vector<URL> files;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(films().path(), error)) {
            if (entry.path().string().ends_with(ending)) files.push_back(URL::fileURL(entry.path().string()));
        }
        return files;
    }
    static std::string sanitizerOptions() {
        const char* const options = std::getenv("ASAN_OPTIONS");
        return options ? options : "";
    }
};

} // namespace vintra
