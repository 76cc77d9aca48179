#pragma once

#include "Vintra/app/ContentView.h"
#include "Vintra/app/UpdateNotice.h"
#include "Vintra/platform/simulated/SimulatedDesktop.h"
#include "Vintra/take/FeedbackAsk.h"
#include "tests/take/RoutingFixture.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vintra {

/// The main window without its looks, over a recorder on a machine with the virtual device, outputs, three sound inputs
/// and one display.
class AppFixture : public RoutingFixture {
protected:
    static constexpr const char* kTestForm = "https://form.test/report";

    void SetUp() override {
        RoutingFixture::SetUp();
        feedbackAsk = std::make_shared<FeedbackAsk>(
            machine.platform(),
            [this](FeedbackAsk::Answer answer, const std::string& note) { sent.emplace_back(answer, note); });
        recorder->feedbackAsk = feedbackAsk;
        openWindow();
    }
    void TearDown() override {
        view.reset();
        RoutingFixture::TearDown();
    }

    AppSurroundings surroundings() {
        return {.platform = platform,
                .recorder = *recorder,
                .desktop = desktop,
                .feedbackAsk = *feedbackAsk,
                .updateNotice = updateNotice};
    }
    void openWindow(const std::string& form = kTestForm) {
        view.reset();
        view = std::make_unique<ContentView>(surroundings(), form);
    }

    /// The row as it is shown; fails the test if it isn't there.
    template <typename Row>
    Row row(const std::string& id) {
        machine.settle();
        for (const TrackRow& shown : *view->tracksSection.rows) {
            if (shown.id == id) return std::get<Row>(shown.content);
        }
        ADD_FAILURE() << "no row " << id;
        return {};
    }
    std::vector<std::string> rowIDs() {
        machine.settle();
        std::vector<std::string> ids;
        for (const TrackRow& shown : *view->tracksSection.rows)
            ids.push_back(shown.id);
        return ids;
    }
    static std::vector<std::string> titles(const MenuState& menu) {
        std::vector<std::string> titles;
        for (const MenuOption& option : menu.options)
            titles.push_back(option.title);
        return titles;
    }
    TakeControl::Button button() {
        machine.settle();
        return *view->take.footerButton;
    }
    OutputSection::State output() {
        machine.settle();
        return *view->outputSection.state;
    }
    void press() {
        view->toggleRecording();
        machine.run(1);
    }

    SimulatedDesktop desktop;
    Platform platform = machine.platform();
    UpdateNotice updateNotice{platform};
    std::vector<std::pair<FeedbackAsk::Answer, std::string>> sent;
    std::shared_ptr<FeedbackAsk> feedbackAsk;
    std::unique_ptr<ContentView> view;
};

} // namespace vintra
