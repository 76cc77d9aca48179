#include "Vintra/app/UpdateWindow.h"

#include "Vintra/app/UpdaterController.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vintra {
namespace {

using Stage = UpdateSession::Stage;

constexpr const char* kInstallTitle = "Install Update";
constexpr const char* kRetryTitle = "Try Again";

/// "12.3".
std::string megabytesOf(uint64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", static_cast<double>(bytes) / 1e6);
    return text;
}

double fractionOf(uint64_t part, uint64_t whole) {
    return whole == 0 ? 0 : std::min(1.0, static_cast<double>(part) / static_cast<double>(whole));
}

bool canBeTriedAgain(const UpdateSession& session) {
    return session.stage == Stage::problem && !session.item.fileURL.empty();
}

} // namespace

UpdateWindow::UpdateWindow(MainThread& mainThread, MachineFacts facts, UpdaterController& controller)
    : facts(std::move(facts))
    , controller(controller)
    , refresher(mainThread, [this] { publish(state, currentState()); }) {
    refresher.follow(controller.session);
    state.set(currentState());
}

UpdateWindow::State UpdateWindow::currentState() const {
    const UpdateSession& session = *controller.session;
    const std::string ours = facts.appVersion + " (build " + facts.buildVersion + ")";
    const std::string theirs = "Vintra " + session.item.displayVersionString;
    State now{.isShown = session.isShown};
    switch (session.stage) {
    case Stage::idle:
        break;
    case Stage::checking:
        now.title = "Checking for updates…";
        now.progress = Progress::indeterminate;
        now.buttons = {"Cancel"};
        break;
    case Stage::upToDate:
        now.title = session.sentence.empty() ? "You're up to date." : "There is no update for this computer.";
        now.text = session.sentence.empty() ? "Vintra " + ours + " is the newest version." : session.sentence;
        now.buttons = {"OK"};
        break;
    case Stage::found:
        now.title = "A new version of Vintra is ready.";
        now.text = "Vintra " + versionTextOf(session.item) + " is out, and you have " + ours +
                   ". It is installed when no recording runs.";
        now.releaseNotes = session.item.itemDescription;
        now.buttons = {kInstallTitle, "Later"};
        break;
    case Stage::downloading:
        now.title = "Downloading " + theirs + "…";
        now.text = megabytesOf(session.received) + " of " + megabytesOf(session.item.contentLength) + " MB";
        now.progress = Progress::fraction;
        now.fraction = fractionOf(session.received, session.item.contentLength);
        now.buttons = {"Cancel"};
        break;
    case Stage::verifying:
        now.title = "Checking " + theirs + "…";
        now.progress = Progress::indeterminate;
        now.buttons = {"Cancel"};
        break;
    case Stage::awaitingTake:
        now.title = theirs + " is ready to install.";
        now.text = "It is installed when the recording has ended.";
        now.buttons = {"Cancel"};
        break;
    case Stage::installing:
        now.title = "Installing " + theirs + "…";
        now.text = "You may be asked for your password.";
        now.progress = session.percent > 0 ? Progress::fraction : Progress::indeterminate;
        now.fraction = fractionOf(static_cast<uint64_t>(std::max(session.percent, 0)), 100);
        break;
    case Stage::installed:
        now.title = theirs + " is installed.";
        now.text = "Vintra starts anew when the recording has ended.";
        break;
    case Stage::problem:
        now.title =
            canBeTriedAgain(session) ? "The update wasn't installed." : "Updates couldn't be looked for.";
        now.text = session.sentence;
        now.buttons = canBeTriedAgain(session) ? std::vector<std::string>{kRetryTitle, "Close"}
                                               : std::vector<std::string>{"OK"};
        break;
    }
    return now;
}

void UpdateWindow::press(size_t button) {
    const State now = currentState();
    if (!now.isShown || button >= now.buttons.size()) return;
    const std::string& title = now.buttons[button];
    if (title == kInstallTitle || title == kRetryTitle) {
        controller.installUpdate();
    } else {
        controller.dismiss();
    }
}

void UpdateWindow::close() {
    if (controller.session->isShown) controller.dismiss();
}

} // namespace vintra
