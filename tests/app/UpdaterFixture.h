#pragma once

#include "Vintra/app/UpdateWindow.h"
#include "Vintra/app/UpdaterController.h"
#include "Vintra/app/UpdaterState.h"
#include "Vintra/platform/simulated/SimulatedUpdateInstallation.h"
#include "Vintra/platform/simulated/SimulatedWebRequests.h"
#include "tests/app/AppFixture.h"

namespace vintra {

/// A copy of version 1.2.3, build 45, with a feed in which the test writes.
class UpdaterFixture : public AppFixture {
protected:
    static constexpr double kDay = 86'400;

    void SetUp() override {
        AppFixture::SetUp();
        platform.facts.appVersion = "1.2.3";
        platform.facts.buildVersion = "45";
        web.responses[installation.feed] = {.status = 200, .body = "feed"};
        launch(false);
    }
    void TearDown() override {
        window.reset();
        updaterState.reset();
        controller.reset();
        AppFixture::TearDown();
    }
    void launch(bool looksByItself) {
        window.reset();
        updaterState.reset();
        controller.reset();
        controller = std::make_shared<UpdaterController>(
            UpdaterController::Machine{
                .platform = platform, .web = web, .installation = installation, .quit = [this] { ++quits; }},
            looksByItself, updateNotice, updateNotice);
        controller->recorder = recorder;
        updateNotice.controller = controller;
        updaterState = std::make_unique<UpdaterState>(*controller);
        window = std::make_unique<UpdateWindow>(*platform.mainThread, platform.facts, *controller);
        machine.settle();
    }
    static SUAppcastItem item(const std::string& version, const std::string& build = "1") {
        return {.versionString = build,
                .displayVersionString = version,
                .itemDescription = "What is new",
                .minimumSystemVersion = "",
                .fileURL = "https://updates.test/vintra.deb",
                .contentLength = 10,
                .edSignature = "abc/def+"};
    }
    void check() {
        controller->checkForUpdates();
        machine.settle();
    }
    UpdateWindow::State shown() {
        machine.settle();
        return *window->state;
    }
    void pressButton(const std::string& title) {
        const auto buttons = shown().buttons;
        const auto found = std::ranges::find(buttons, title);
        ASSERT_NE(found, buttons.end()) << title << " isn't there";
        window->press(static_cast<size_t>(found - buttons.begin()));
        machine.settle();
    }
    /// Up to the installation that waits for the test.
    void fetchUpdate() {
        installation.items = {item("1.3")};
        check();
        pressButton("Install Update");
        web.send("0123456789");
        web.end();
        machine.settle();
    }
    std::string stateText() { return shown().title + " | " + shown().text; }

    SimulatedWebRequests web{machine.mainThread, machine.fileManager};
    SimulatedUpdateInstallation installation{machine.mainThread};
    int quits = 0;
    std::shared_ptr<UpdaterController> controller;
    std::unique_ptr<UpdaterState> updaterState;
    std::unique_ptr<UpdateWindow> window;
};

} // namespace vintra
