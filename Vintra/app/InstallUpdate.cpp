// What the updater does with the update that the user wants.

#include "Vintra/app/UpdaterController.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/SPUStandardUserDriverDelegate.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <utility>

namespace vintra {
namespace {

using Outcome = UpdateInstallation::Outcome;

} // namespace

void UpdaterController::installUpdate() {
    const UpdateSession::Stage stage = session->stage;
    const bool isRetry = stage == UpdateSession::Stage::problem && !session->item.fileURL.empty();
    if (stage != UpdateSession::Stage::found && !isRetry) return;
    work.cancelAll();
    session.update([](UpdateSession& changed) {
        changed.stage = UpdateSession::Stage::downloading;
        changed.received = 0;
        changed.percent = 0;
        changed.sentence.clear();
    });
    work.start(fetchAndInstall());
}

void UpdaterController::dismiss() {
    using Stage = UpdateSession::Stage;
    const Stage stage = session->stage;
    if (stage == Stage::installing || stage == Stage::installed) {
        session.update([](UpdateSession& changed) { changed.isShown = false; });
        return;
    }
    if (stage == Stage::idle) return;
    work.cancelAll();
    if (transfer) transfer->cancel();
    transfer = nullptr;
    session.set({});
    canCheckForUpdates.set(true);
    userDriver.standardUserDriverWillFinishUpdateSession();
}

/// Named after the signature: another file with the same version isn't gone on with.
URL UpdaterController::fileOfItem() {
    std::string name = "vintra-";
    for (const char character : session->item.edSignature.substr(0, 32))
        name += character == '/' ? '_' : character;
    const URL folder = machine.installation.downloadFolder();
    const URL file = folder.appendingPathComponent(name + ".deb");
    for (const std::string& other : machine.platform.fileManager->contentsOfDirectory(folder)) {
        if (other.starts_with("vintra-") && other.ends_with(".deb") && other != file.lastPathComponent())
            removeQuietly(folder.appendingPathComponent(other));
    }
    return file;
}

void UpdaterController::removeQuietly(const URL& file) {
    try {
        if (machine.platform.fileManager->fileExists(file)) machine.platform.fileManager->removeItem(file);
    } catch (const SystemError& error) {
        machine.platform.log->write("updates", LogLevel::error, error.localizedDescription());
    }
}

Task<> UpdaterController::fetchAndInstall() {
    std::optional<std::string> problem;
    URL file;
    try {
        file = fileOfItem();
    } catch (const SystemError& error) {
        problem = error.localizedDescription();
    }
    if (!problem) problem = co_await fetch(file);
    if (problem) {
        finish(UpdateSession::Stage::problem, *problem);
        co_return;
    }
    co_await installAndRelaunch(file);
}

/// A file that was gone on with and doesn't bear the signature may have been put together from two: then it is fetched
/// once more from its beginning.
Task<Outcome> UpdaterController::fetch(URL file) {
    for (bool resumes = machine.platform.fileManager->fileExists(file);; resumes = false) {
        setStage(UpdateSession::Stage::downloading);
        if (const Outcome problem = co_await download(file, resumes)) co_return problem;
        setStage(UpdateSession::Stage::verifying);
        auto verify = [this, file](auto done) { machine.installation.verify(file, session->item, done); };
        const Outcome refusal = co_await awaitCompletion<Outcome>(*machine.platform.mainThread, verify);
        if (!refusal) co_return std::nullopt;
        removeQuietly(file);
        if (!resumes) co_return refusal;
    }
}

Task<Outcome> UpdaterController::download(URL file, bool resumes) {
    const SUAppcastItem& item = session->item;
    auto begin = [this, file, resumes, item](auto done) {
        const auto received = [this](uint64_t bytes) {
            session.update([bytes](UpdateSession& changed) { changed.received = bytes; });
        };
        transfer = machine.web.download(
            {.address = item.fileURL, .file = file, .length = item.contentLength, .resumes = resumes},
            {.received = received, .ended = done});
    };
    const auto error =
        co_await awaitCompletion<std::optional<SystemError>>(*machine.platform.mainThread, begin);
    transfer = nullptr;
    if (!error) co_return std::nullopt;
    co_return error->localizedDescription();
}

Task<> UpdaterController::installAndRelaunch(URL file) {
    setStage(UpdateSession::Stage::awaitingTake);
    co_await awaitNoTake();
    setStage(UpdateSession::Stage::installing);
    auto install = [this, file](auto done) {
        const auto progress = [this](int percent) {
            session.update([percent](UpdateSession& changed) { changed.percent = percent; });
        };
        machine.installation.install(file, {.progress = progress, .ended = done});
    };
    const Outcome problem = co_await awaitCompletion<Outcome>(*machine.platform.mainThread, install);
    if (problem) {
        // The user has begun this: it is told even if the window was closed meanwhile, but not over a recording.
        if (!session->isShown) co_await awaitNoTake();
        session.update([](UpdateSession& changed) { changed.isShown = true; });
        finish(UpdateSession::Stage::problem, *problem);
        co_return;
    }
    removeQuietly(file);
    setStage(UpdateSession::Stage::installed);
    co_await awaitNoTake();
    machine.installation.relaunchAtEnd();
    machine.quit();
}

Task<> UpdaterController::awaitNoTake() {
    if (const auto held = recorder.lock()) {
        const auto look = [this](bool) {
            if (isTakeRunning()) return;
            for (const auto& goOn : std::exchange(awaitingNoTake, {}))
                goOn();
        };
        recordingObservation = held->isRecording.observe(look);
        busyObservation = held->isBusy.observe(look);
    }
    while (isTakeRunning()) {
        const auto begin = [this](auto done) { awaitingNoTake.push_back(done); };
        co_await awaitCompletion<void>(*machine.platform.mainThread, begin);
    }
}

} // namespace vintra
