#pragma once

#include "tests/programs/RecordedWav.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vintra {

inline constexpr const char* kVirtualDevice = "VintraAudioDevice";
inline constexpr const char* kOutput = "headless.output"; // of the session, its default
inline constexpr int64_t kRate = 48'000;

/// Takes of the computer's own sound by the program itself, in a session whose default output is `kOutput`, which is
/// to be the default after each test too.
class ComputerAudioFixture : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv("XDG_RUNTIME_DIR")) GTEST_SKIP() << "there is no session";
        ASSERT_EQ(defaultOutput(), kOutput);
    }
    void TearDown() override {
        if (IsSkipped()) return;
        EXPECT_EQ(defaultOutput(), kOutput) << "the user's own";
    }

    /// By another program's eyes.
    static std::string defaultOutput() {
        const ProgramRun run = runProgram({"pw-metadata", "0", "default.audio.sink"});
        const size_t begin = run.output.find("{\"name\":\"");
        if (begin == std::string::npos) return run.output;
        const size_t name = begin + 9;
        return run.output.substr(name, run.output.find('"', name) - name);
    }
    static bool awaitDefaultOutput(const std::string& name) {
        for (int look = 0; look < 600; ++look) {
            if (defaultOutput() == name) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    static bool awaitFileOf(const URL& url, uintmax_t bytes) {
        for (int look = 0; look < 3000; ++look) {
            std::error_code missing;
            const auto size = std::filesystem::file_size(url.path(), missing);
            if (!missing && size >= bytes) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    std::vector<std::string> takeCommand(const std::vector<std::string>& options) const {
        std::vector<std::string> command{VINTRA_BIN_DIR "/vintra-take",
                                         "--folder",
                                         folder.url().path(),
                                         "--timeline",
                                         "none",
                                         "--no-screen",
                                         "--json"};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
    RecordedWav recorded(const std::string& name) const {
        return RecordedWav(folder.file(name + "_computer-audio.wav"), 2);
    }
    TemporaryFolder folder;
};

/// The file's bytes as samples.
inline std::vector<float> floatsOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    std::vector<float> values(bytes.size() / 4);
    std::memcpy(values.data(), bytes.data(), values.size() * 4);
    return values;
}

/// An output of a test's own that plays nothing. Ends with this object.
class SilentOutput {
public:
    SilentOutput(std::string name, int rate)
        : name(std::move(name)) {
        runProgram({"pw-cli", "create-node", "adapter",
                    "{ factory.name=support.null-audio-sink node.name=" + this->name +
                        " media.class=Audio/Sink audio.channels=2 audio.position=[FL FR] audio.rate=" +
                        std::to_string(rate) +
                        " object.linger=true session.suspend-timeout-seconds=0 priority.session=1 }"});
    }
    ~SilentOutput() { runProgram({"pw-cli", "destroy", name}); }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

    /// vintra-take has it in its list.
    bool awaitListed() const {
        for (int look = 0; look < 100; ++look) {
            if (runProgram({VINTRA_BIN_DIR "/vintra-take", "--list"}).output.find(name) != std::string::npos)
                return true;
        }
        return false;
    }

private:
    const std::string name;
};

/// The output that the user has chosen while this lives.
class Configured {
public:
    explicit Configured(const std::string& name) {
        runProgram({"pw-metadata", "0", kKey, "{ \"name\": \"" + name + "\" }", "Spa:String:JSON"});
    }
    ~Configured() { runProgram({"pw-metadata", "-d", "0", kKey}); }
    Configured(const Configured&) = delete;
    Configured& operator=(const Configured&) = delete;

private:
    static constexpr const char* kKey = "default.configured.audio.sink";
};

} // namespace vintra
