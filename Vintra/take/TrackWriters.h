#pragma once

#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/video/Cameras.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// Makes the writers of a take: one QuickTime movie for the screen, one per camera, one WAV per audio source,
/// and puts them in the take. Besides its own file an audio track feeds a compressed copy of itself into the
/// movies, so that a movie played on its own has sound. Whatever can't be made throws `RecordingError` or
/// `SystemError`; no file is touched. Owned by the controller. Main thread.
class TrackWriters {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        const AudioSelection& audio;
        const AudioPreviews& previews;
        const Cameras& cameras;
    };

    explicit TrackWriters(const Surroundings& surroundings);

    // The steps of a start, in this order: it decides who gets which name. `frameRate` in frames a second.

    /// How fast each movie is encoded: first the screen's, if there is one, then the cameras'.
    void planEncoders(RunningTake& take, const SCStreamConfiguration* screen, int frameRate) const;
    void makeScreenRecordingWriter(RunningTake& take, const SCStreamConfiguration& configuration,
                                   int frameRate) const;
    void makeWebcamWriters(RunningTake& take) const;
    /// Of the devices that the take has found.
    void makeAudioTracks(RunningTake& take) const;

private:
    struct WriterAndInput {
        std::shared_ptr<AVAssetWriter> writer;
        std::shared_ptr<AVAssetWriterInput> input;
    };

    struct Camera {
        const AVCaptureVideoDevice& device;
        const CameraTap& tap;
    };

    /// Those that a take records, the first one first.
    std::vector<Camera> takenCameras() const;
    WriterAndInput makeWebcamRecordingWriter(const RunningTake& take, const Camera& camera, const URL& movURL,
                                             size_t cameraIndex) const;
    std::shared_ptr<AVAssetWriterInput> addReferenceAudioInput(AVAssetWriter& to, int channelCount) const;
    std::shared_ptr<AudioTrack>
    makeMicTrack(const std::shared_ptr<AVCaptureDevice>& device, const URL& wavURL,
                 AVAssetWriter* videoWriter,
                 const std::vector<std::shared_ptr<AVAssetWriter>>& webcamWriters) const;
    /// Of a virtual input that the user has chosen.
    std::shared_ptr<AudioTrack> makeAudioTrack(const std::shared_ptr<AVCaptureDevice>& device,
                                               const URL& wavURL, AVAssetWriter* videoWriter) const;
    std::shared_ptr<AudioTrack> makeSystemAudioTrack(const URL& wavURL, AVAssetWriter* videoWriter) const;
    std::vector<std::shared_ptr<ExtraInputDeviceGroup>> makeExtraInputGroups(RunningTake& take) const;
    std::shared_ptr<ExtraInputTrack> makeExtraInputTrack(RunningTake& take, const ExtraAudioInputConfig& row,
                                                         const ExtraInputDeviceGroup& group) const;
    /// The WAV of a track, and its copy in the screen movie where there is one.
    void makeFile(SoundTrackFile& track, const URL& wavURL, AVAssetWriter* videoWriter, int channelCount,
                  const std::string& nameForError) const;

    const Platform& platform;
    const AudioSelection& audio;
    const AudioPreviews& previews;
    const Cameras& cameras;
};

} // namespace vintra
