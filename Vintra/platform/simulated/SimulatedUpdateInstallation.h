#pragma once

#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UpdateInstallation.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// A machine on which updates go as the test says. An installation waits for the test. Main thread.
class SimulatedUpdateInstallation final : public UpdateInstallation {
public:
    explicit SimulatedUpdateInstallation(std::shared_ptr<MainThread> mainThread)
        : mainThread(std::move(mainThread)) {}

    std::string feed = "https://updates.test/appcast.xml";
    Outcome ownership;
    /// What any feed says that isn't "broken".
    std::vector<SUAppcastItem> items;
    std::string systemVersion = "15.3.1";
    Outcome verification;
    std::vector<std::pair<std::string, OnInstall>> installs; ///< by file
    std::vector<std::string> verified;                       ///< files
    std::optional<SystemError> folderError;
    int relaunches = 0;

    std::string feedURL() const override { return feed; }
    void checkOwnership(std::function<void(Outcome)> onChecked) override {
        mainThread->post([this, onChecked] { onChecked(ownership); });
    }
    std::vector<SUAppcastItem> itemsOfFeed(const std::string& text) const override {
        if (text == "broken") throw SystemError("updates", 1, "The feed can't be read.");
        return items;
    }
    bool satisfies(const std::string& minimumSystemVersion) const override {
        return minimumSystemVersion <= systemVersion;
    }
    URL downloadFolder() override {
        if (folderError) throw *folderError;
        return URL::fileURL("/tmp");
    }
    void verify(const URL& file, const SUAppcastItem&, std::function<void(Outcome)> onVerified) override {
        verified.push_back(file.path());
        mainThread->post([this, onVerified] { onVerified(verification); });
    }
    void install(const URL& file, OnInstall on) override {
        installs.emplace_back(file.path(), std::move(on));
    }
    void relaunchAtEnd() override { ++relaunches; }

private:
    const std::shared_ptr<MainThread> mainThread;
};

} // namespace vintra
