#pragma once

#include "Vintra/audio/ActivityStamp.h"
#include "Vintra/audio/AudioRoutingCache.h"
#include "Vintra/audio/AudioTrack.h"
#include "Vintra/audio/ExtraInputDeviceGroup.h"
#include "Vintra/audio/LevelsModel.h"
#include "Vintra/audio/MonoFormatCache.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Sink.h"

#include <memory>
#include <vector>

namespace vintra {

/// The road of a buffer from a running session into the tracks. Between takes the same road serves the meters
/// alone: the sinks are empty. Gain is part of the recording: the file holds what the meter shows.
///
/// Owned by the controller and held by the callbacks for as long as they run; it knows nothing of either.
/// `captureOutput` runs on the queues of the sound inputs; everything else is any thread, since each member
/// has a lock of its own. The tracks in a sink belong to the queue that delivers to it until the sink is
/// empty and the queue drained.
class AudioSamplePath final : public AVCaptureDataOutputSampleBufferDelegate {
public:
    using ExtraGroups = std::vector<std::shared_ptr<ExtraInputDeviceGroup>>;

    AudioSamplePath(std::shared_ptr<HostClock> hostClock, std::shared_ptr<LevelsModel> levels);

    /// A buffer of an output that no routing names, and one that isn't valid, is thrown away.
    void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                       const CMSampleBuffer& didOutput) override;

    /// Opens the sinks to the tracks of a take, after every writer's session has begun. A track may be null.
    void open(std::shared_ptr<AudioTrack> micTrack, std::shared_ptr<AudioTrack> dawTrack,
              ExtraGroups extraInputGroups);
    /// Empties the sinks. What the queues hold is under way until they are drained.
    void close();

    AudioRoutingCache routingCache;
    /// Host seconds of the latest buffer of the mic and of the second input.
    ActivityStamp micActivity;
    ActivityStamp dawActivity;

private:
    void captureMic(const AudioRoutingCache::MicRouting& routing, const CMSampleBuffer& sample);
    void captureDaw(double gainDB, const CMSampleBuffer& sample);
    void captureExtra(const AudioRoutingCache::ExtraRouting& routing, const CMSampleBuffer& sample);
    double hostSeconds() const;

    const std::shared_ptr<HostClock> hostClock;
    const std::shared_ptr<LevelsModel> levels;
    MonoFormatCache monoFormatCache;
    Sink<std::shared_ptr<AudioTrack>> micSink;
    Sink<std::shared_ptr<AudioTrack>> dawSink;
    Sink<std::shared_ptr<const ExtraGroups>> extraSink;
};

} // namespace vintra
