#pragma once

#include "Vintra/audio/AudioTrack.h"
#include "Vintra/audio/ExtraInputDeviceGroup.h"
#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/URL.h"
#include "Vintra/take/EncoderPlan.h"
#include "Vintra/take/SavedFile.h"
#include "Vintra/timeline/TakeFiles.h"
#include "Vintra/video/Cameras.h"
#include "Vintra/video/ExtraCameraRig.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vintra {

class TakeJournal;

/// One take from its start to its end: the plan of its files, its stream, its writers and tracks, its
/// markers. Made by a start, filled by it step by step, and dropped by the stop or by the start's failure.
/// Owned by the controller. Main thread.
class RunningTake {
public:
    /// `takeVideoURL` is where the screen movie goes; all other names derive from it, with or without a
    /// screen.
    explicit RunningTake(URL takeVideoURL);

    const URL takeVideoURL;

    // The plan: what the files are called.

    /// Notes a file that the take will write, and gives it back.
    URL planOutput(const URL& url);
    /// A suffix that no other file of the take has.
    std::string reserveTrackName(const std::string& base);
    /// The names of the planned files that exist already.
    std::vector<std::string> existingOutputs(const FileManager& files) const;

    // What the start makes, null or empty where the take has none.

    std::shared_ptr<AVCaptureDevice> micDevice; ///< as found at the start
    std::shared_ptr<AVCaptureDevice> dawDevice;
    std::shared_ptr<SCStream> stream; ///< null also once it is dead
    std::shared_ptr<AVAssetWriter> videoWriter;
    std::shared_ptr<AVAssetWriterInput> videoInput;
    std::shared_ptr<AVAssetWriter> webcamWriter;
    std::shared_ptr<AVAssetWriterInput> webcamInput;
    std::vector<ExtraCameraRecording> extraCameraRecordings;
    std::shared_ptr<AudioTrack> micTrack;
    std::shared_ptr<AudioTrack> dawTrack;
    std::vector<std::shared_ptr<ExtraInputDeviceGroup>> extraInputGroups;
    EncoderPlan encoderPlan;                      ///< of the screen's movie, then of the cameras'
    std::optional<CGSize> recordingWindowSize;    ///< points; of a window that is recorded
    std::vector<double> recordingMarkers;         ///< seconds from the start
    std::set<std::string> picturesReportedFrozen; ///< labels of cameras whose loss the user was told of

    std::shared_ptr<TakeJournal> journal; ///< null where none can be written

    // What all tracks have in common.

    /// A file of the take with what is written into it.
    struct Track {
        enum class Kind { screen, mic, second, webcam, extraCamera, extraInput };

        Kind kind = Kind::screen;
        std::shared_ptr<AVAssetWriter> writer;
        std::vector<std::shared_ptr<AVAssetWriterInput>> inputs; ///< in the order in which they are finished
        std::shared_ptr<SoundTrackFile> sound;                   ///< null for a movie
        std::string cameraLabel;                                 ///< of an extra camera

        /// What a stop calls the track if it fails. The second track's name depends on what it records.
        std::string label(bool capturesSystemAudio) const;
        /// The same for a start.
        std::string startLabel(bool capturesSystemAudio) const;
    };
    /// In the one order in which they are started, finished and told.
    std::vector<Track> tracks() const;
    std::vector<std::shared_ptr<ExtraInputTrack>> extraInputTracks() const;
    Cameras::Recordings cameras() const { return {webcamInput, extraCameraRecordings}; }
    /// Of every camera movie, the first camera's in front.
    std::vector<std::shared_ptr<AVAssetWriter>> webcamWriters() const;

    /// Has the writers that there are by now get what they need, all at once; `done` on any thread.
    void prepareWriters(const std::function<void()>& done) const;
    /// Opens every file with its session beginning at the common start. Throws `RecordingError` at the first
    /// that can't be.
    void startWriters(bool capturesSystemAudio, CMTime commonStart);
    /// Has each sound file's first stamp noted in the journal. Before the sinks are filled.
    void noteFirstStamps();
    /// Keeps the files in sight that were opened, whatever becomes of their names.
    void followFiles(FileManager& files);
    /// What a stop looks for, in the order of the tracks.
    std::vector<SavedFile> savedFiles(bool capturesSystemAudio) const;
    /// Gives up the files that were opened.
    void cancelStartedWriters();
    /// Buffers that begin before this are written as silence, on every sound file.
    void setWarmupCutoff(CMTime cutoff);
    /// No sound from this time on goes into a file.
    void endSoundAt(CMTime time);
    /// Whether every track of sound that is still being fed has come to that time.
    bool hasSoundUpTo(CMTime time) const;
    /// Settles the accounts of all sound, once no buffer comes any more.
    void closeSound(CMTime end);
    void markInputsAsFinished();
    /// What the take produced, by the writers it ends with.
    TakeFiles files() const;

private:
    std::set<std::string> reservedTrackNames; ///< lower-cased suffixes given out
    std::vector<URL> plannedOutputURLs;       ///< in the order of planning
    std::vector<std::shared_ptr<AVAssetWriter>> startedWriters;
    std::map<URL, std::shared_ptr<FollowedItem>> followed; ///< by the URL at which the file was made
};

} // namespace vintra
