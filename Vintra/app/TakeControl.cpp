#include "Vintra/app/TakeControl.h"

#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/SessionNames.h"
#include "Vintra/take/TrackNames.h"

#include <utility>

namespace vintra {

TakeControl::TakeControl(const AppSurroundings& surroundings, OutputFolderSetting& folder)
    : surroundings(surroundings)
    , folder(folder)
    , generatedName(generateSessionName(*surroundings.platform.wallClock))
    , busyObservation(surroundings.recorder.isBusy.observe([this](bool) { noteBusy(); }))
    , tasks(*surroundings.platform.mainThread)
    , refresher(*surroundings.platform.mainThread, [this] { publish(footerButton, currentButton()); }) {
    sessionName.set(generatedName);
    noteBusy();
    refresher.follow(surroundings.recorder.isBusy, surroundings.recorder.isRecording,
                     folder.outputFolderMissing);
    footerButton.set(currentButton());
}

/// A stop is one until all files are finished, long after the take has ended.
void TakeControl::noteBusy() {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    isStopping = *recorder.isBusy && (isStopping || *recorder.isRecording);
}

TakeControl::Button TakeControl::currentButton() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const Style style = *recorder.isRecording || isStopping ? Style::destructive : Style::primary;
    if (*recorder.isBusy) return {isStopping ? "Stopping…" : "Starting…", style, false};
    if (*recorder.isRecording) return {"Stop Recording", style, true};
    return {"Start Recording", style, !*folder.outputFolderMissing};
}

bool TakeControl::mayToggle() {
    return currentButton().isEnabled;
}

void TakeControl::toggleRecording() {
    toggle(*sessionName);
}

void TakeControl::toggleRecordingWithGeneratedName() {
    toggle(generateSessionName(*surroundings.platform.wallClock));
}

void TakeControl::toggle(const std::string& name) {
    if (!mayToggle()) return;
    if (*surroundings.recorder.isRecording) {
        tasks.start(stop());
    } else {
        tasks.start(start(name));
    }
}

Task<> TakeControl::start(std::string name) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    std::optional<URL> prepared;
    try {
        prepared = recorder.prepareOutputFolder(*folder.outputFolderPath);
    } catch (const SystemError& error) {
        recorder.statusMessage.set("Failed to start");
        recorder.lastError.set(error.localizedDescription());
    }
    if (!prepared) co_return;
    const std::string cleaned = sanitizedSessionName(name, *surroundings.platform.wallClock);
    activeSessionName.set(cleaned);
    const bool wasTyped = name == *sessionName;
    co_await recorder.startRecording(screenMovieURL(*prepared, cleaned));
    // A name that is typed for later stays where the take was started without it.
    const bool isGenerated = *sessionName == generatedName;
    generatedName = generateSessionName(*surroundings.platform.wallClock);
    if (wasTyped || isGenerated) sessionName.set(generatedName);
}

Task<> TakeControl::stop() {
    return surroundings.recorder.stopRecording();
}

} // namespace vintra
