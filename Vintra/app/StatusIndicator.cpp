#include "Vintra/app/StatusIndicator.h"

#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/Words.h"

namespace vintra {
namespace {

constexpr int64_t kSecondNanoseconds = 1'000'000'000;

} // namespace

StatusIndicator::StatusIndicator(const AppSurroundings& surroundings, Idle idle)
    : surroundings(surroundings)
    , idle(idle)
    , refresher(*surroundings.platform.mainThread, [this] { refresh(); }) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    refresher.follow(recorder.isRecording, recorder.recordingStartDate, recorder.screenEnabled,
                     recorder.selectedMicDeviceID, recorder.extraAudioInputs,
                     recorder.captureSystemAudioForDaw, recorder.selectedDawDeviceID,
                     recorder.selectedCameraDeviceID, recorder.extraCameras);
    refresh();
}

void StatusIndicator::refresh() {
    if (!*surroundings.recorder.isRecording) {
        ticks = nullptr;
    } else if (!ticks) {
        const Platform& platform = surroundings.platform;
        ticks =
            std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread,
                                              kSecondNanoseconds, [this] { publish(state, currentState()); });
    }
    publish(state, currentState());
}

StatusIndicator::State StatusIndicator::currentState() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (!*recorder.isRecording) {
        return {.text = idle == Idle::armedTracks ? std::to_string(recorder.armedTrackCount()) + " armed"
                                                  : "Not recording"};
    }
    const auto& start = *recorder.recordingStartDate;
    return {.isRecording = true,
            .text = "Recording",
            .time = start ? elapsedString(*start, surroundings.platform.wallClock->now()) : ""};
}

} // namespace vintra
