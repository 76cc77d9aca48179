#include "Vintra/app/TracksSection.h"

#include "Vintra/take/ScreenRecorderManager.h"

#include <iterator>
#include <utility>

namespace vintra {

TracksSection::TracksSection(const AppSurroundings& surroundings)
    : microphones(surroundings, [this] { refresher.note(); })
    , screen(surroundings)
    , webcams(surroundings)
    , computerAudio(surroundings, [this] { refresher.note(); })
    , refresher(*surroundings.platform.mainThread, [this] { publish(rows, currentRows()); }) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    refresher.follow(recorder.isRecording, recorder.availableAudioInputDevices,
                     recorder.audioDeviceChannelCounts, recorder.selectedMicDeviceID,
                     recorder.selectedMicChannelIndex, recorder.micTrackName, recorder.micGainDB,
                     recorder.extraAudioInputs);
    refresher.follow(recorder.screenEnabled, recorder.availableDisplays, recorder.selectedDisplayID,
                     recorder.screenCaptureMode, recorder.captureRegion, recorder.aspectPreset,
                     recorder.selectedWindowID, recorder.selectedWindowTitle, recorder.windowOffer);
    refresher.follow(recorder.availableCameraDevices, recorder.selectedCameraDeviceID, recorder.extraCameras,
                     recorder.cameraResolutions, recorder.webcamPreviewVisible,
                     recorder.hiddenExtraCameraPreviews);
    refresher.follow(
        recorder.captureSystemAudioForDaw, recorder.selectedDawDeviceID, recorder.lowLatencyMonitoring,
        recorder.systemAudioMonitorUID, recorder.isHoldingAudioRouting, recorder.systemAudioDriverInstalled,
        recorder.systemOutputStatus, recorder.isAudioStartUpOver, computerAudio.otherVirtualInputShown);
    rows.set(currentRows());
}

std::vector<TrackRow> TracksSection::currentRows() const {
    std::vector<TrackRow> current;
    for (std::vector<TrackRow> part :
         {microphones.rows(), screen.rows(), webcams.rows(), computerAudio.rows()})
        current.insert(current.end(), std::make_move_iterator(part.begin()),
                       std::make_move_iterator(part.end()));
    return current;
}

} // namespace vintra
