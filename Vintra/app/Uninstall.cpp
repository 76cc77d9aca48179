#include "Vintra/app/Uninstall.h"

#include "Vintra/platform/Alerts.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>
#include <variant>

namespace vintra {

constinit const std::string_view Uninstall::siteURL = VINTRA_SITE_URL;

Uninstall::Uninstall(Machine machine, std::string_view site)
    : machine(std::move(machine))
    , site(site)
    , tasks(*this->machine.platform.mainThread) {}

void Uninstall::run(std::weak_ptr<ScreenRecorderManager> recorder) {
    if (std::exchange(isRunning, true)) return;
    tasks.start(remove(std::move(recorder)));
}

Task<> Uninstall::remove(std::weak_ptr<ScreenRecorderManager> recorder) {
    const size_t answer = co_await ask(question());
    const auto held = recorder.lock();
    // A take may have begun while the question stood.
    if (answer != 0 || (held && (*held->isRecording || *held->isBusy))) {
        isRunning = false;
        co_return;
    }
    if (held) held->stopSystemAudioRelay();
    auto run = [this](auto done) { machine.removal.run(done); };
    const auto outcome = co_await awaitCompletion<ProgramRemoval::Outcome>(*machine.platform.mainThread, run);
    if (const auto* failed = std::get_if<ProgramRemoval::Failed>(&outcome))
        co_await ask(failure(failed->message));
    if (!std::holds_alternative<ProgramRemoval::Removed>(outcome)) {
        isRunning = false;
        co_return;
    }
    removeCaches();
    co_await ask(farewell());
    machine.terminate();
}

Task<size_t> Uninstall::ask(Alert alert) {
    auto show = [this, &alert](auto done) { machine.alerts.runModal(alert, done); };
    co_return co_await awaitCompletion<size_t>(*machine.platform.mainThread, show);
}

Alert Uninstall::question() const {
    const std::string& computer = machine.platform.words.computer;
    return {.isWarning = true,
            .messageText = "Remove Vintra from this " + computer + "?",
            .informativeText =
                "This removes Vintra and the audio component it installed, then restarts your " + computer +
                "'s audio — your sound will cut out for a second.\n\n"
                "Your recordings are not touched, wherever you keep them.\n\n"
                "You'll be asked for your password, because the audio component was installed for the whole "
                "computer rather than just you.",
            .buttons = {"Remove Vintra", "Cancel"}};
}

Alert Uninstall::failure(const std::string& message) const {
    const std::string place = site.empty() ? machine.platform.words.programRemovalPlace : site;
    return {.isWarning = true,
            .messageText = "Vintra could not be removed.",
            .informativeText = (message.empty() ? "Unknown error." : message) +
                               "\n\nYou can also remove it from " + place + ".",
            .buttons = {"OK"}};
}

Alert Uninstall::farewell() const {
    const MachineWords& words = machine.platform.words;
    return {.messageText = "Vintra has been removed.",
            .informativeText =
                "Your recordings are still where you left them.\n\n"
                "Your settings were kept in case you reinstall. To clear those too, run this in " +
                words.terminal + ":\n" + words.clearSettingsCommand,
            .buttons = {"Quit"}};
}

void Uninstall::removeCaches() const {
    try {
        machine.platform.fileManager->removeItem(machine.removal.cachesFolder());
    } catch (const SystemError&) {
        // What is left there does no harm.
    }
}

} // namespace vintra
