// The road of a buffer from a running session into the tracks. Between takes the same road serves the meters
// alone: the sinks are empty. Gain is part of the recording: the file holds what the meter shows. Everything
// here but `syncRoutingCache` runs on the capture queues.

#include "Vintra/audio/ApplyGain.h"
#include "Vintra/audio/ExtractMonoChannel.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr double kExtractionSampleRate = 48000.0; // every data output is asked for it
constexpr double kDawTrimDB = 6.0; // always taken off the second track, on top of the user's gain

} // namespace

void ScreenRecorderManager::syncRoutingCache() {
    AudioRoutingCache::Snapshot snapshot;
    if (micPreview.dataOutput) {
        const int total = channelCount(micPreview.deviceID.value_or(""));
        snapshot.mic =
            AudioRoutingCache::MicRouting{.output = micPreview.dataOutput,
                                          .totalChannels = total,
                                          .channelIndex = std::clamp(*selectedMicChannelIndex, 0, total - 1),
                                          .gainDB = *micGainDB};
    }
    snapshot.dawOutput = dawPreview.dataOutput;
    snapshot.dawGainDB = *dawGainDB;
    for (const ExtraPreview& preview : extraPreviews) {
        AudioRoutingCache::ExtraRouting routing{
            .output = preview.dataOutput, .totalChannels = channelCount(preview.deviceID), .configs = {}};
        for (const ExtraAudioInputConfig& row : *extraAudioInputs) {
            if (row.deviceID != preview.deviceID) continue;
            routing.configs.push_back({.id = row.id, .channelIndex = row.channelIndex, .gainDB = row.gainDB});
        }
        snapshot.extra.push_back(std::move(routing));
    }
    routingCache.store(std::move(snapshot));
}

void ScreenRecorderManager::captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                                          const CMSampleBuffer& didOutput) {
    if (!didOutput.isValid()) return;
    const auto routing = routingCache.snapshot();
    if (routing->mic && routing->mic->output == output) {
        captureMic(*routing->mic, didOutput);
        return;
    }
    for (const AudioRoutingCache::ExtraRouting& extra : routing->extra) {
        if (extra.output == output) {
            captureExtra(extra, didOutput);
            return;
        }
    }
    if (routing->dawOutput && routing->dawOutput == output) {
        captureDaw(routing->dawGainDB, didOutput);
        return;
    }
    captureVideo(output, didOutput);
}

void ScreenRecorderManager::captureMic(const AudioRoutingCache::MicRouting& routing,
                                       const CMSampleBuffer& sample) {
    // Before anything can fail, so that every delivered buffer counts as life.
    micActivity.stamp(hostSeconds());
    const auto mono = extractMonoChannel(routing.channelIndex, routing.totalChannels, sample,
                                         kExtractionSampleRate, monoFormatCache);
    if (!mono) return;
    const auto [gained, level] = applyGain(*mono, routing.gainDB, kGainCeiling);
    if (const auto track = micSink.get()) (*track)->append(gained);
    levels->publish(LevelKey::mic(), level);
}

void ScreenRecorderManager::captureDaw(double gainDB, const CMSampleBuffer& sample) {
    dawActivity.stamp(hostSeconds());
    const auto [gained, level] = applyGain(sample, gainDB - kDawTrimDB, kGainCeiling);
    if (const auto track = dawSink.get()) (*track)->append(gained);
    levels->publish(LevelKey::daw(), level);
}

void ScreenRecorderManager::captureExtra(const AudioRoutingCache::ExtraRouting& routing,
                                         const CMSampleBuffer& sample) {
    std::shared_ptr<ExtraInputDeviceGroup> group;
    if (const auto sink = extraSink.get()) {
        const auto& groups = **sink;
        const auto found = std::find_if(groups.begin(), groups.end(), [&](const auto& candidate) {
            return candidate->dataOutput == routing.output;
        });
        if (found != groups.end()) group = *found;
    }
    for (const AudioRoutingCache::ExtraConfigRouting& config : routing.configs) {
        const int channel = std::min(std::max(config.channelIndex, 0), routing.totalChannels - 1);
        const auto mono = extractMonoChannel(channel, routing.totalChannels, sample, kExtractionSampleRate,
                                             monoFormatCache);
        if (!mono) continue;
        const auto [gained, level] = applyGain(*mono, config.gainDB, kGainCeiling);
        if (group) {
            const auto track =
                std::find_if(group->tracks.begin(), group->tracks.end(),
                             [&](const auto& candidate) { return candidate->configID == config.id; });
            if (track != group->tracks.end()) (*track)->append(gained);
        }
        levels->publish(LevelKey::extra(config.id), level);
    }
}

/// A camera's frame: onto its grid if a take runs, and to the monitors of its picture.
void ScreenRecorderManager::captureVideo(const std::shared_ptr<AVCaptureOutput>& output,
                                         const CMSampleBuffer& sample) {
    const auto taps = extraCameraTaps.get();
    if (taps) {
        for (const auto& tap : *taps) {
            if (tap->output != output) continue;
            writeCameraFrame(sample, tap->input(),
                             {*tap->frameSize, *tap->writeQueue, *tap->frames, *tap->drops, *tap->picture});
            return;
        }
    }
    writeCameraFrame(sample, webcamSink.get().value_or(nullptr),
                     {webcamFrameSize, *webcamWriteQueue, webcamFrames, webcamDrops, webcamPicture});
}

void ScreenRecorderManager::writeCameraFrame(const CMSampleBuffer& sample,
                                             const std::shared_ptr<AVAssetWriterInput>& to,
                                             CameraCompanions camera) {
    if (const auto image = sample.imageBuffer()) {
        camera.frameSize.set({static_cast<int32_t>(image->width()), static_cast<int32_t>(image->height())});
    }
    if (!to) return;
    const auto result = camera.writeQueue.submit(sample, to);
    if (result.written != 0) camera.frames.add(result.written);
    if (result.dropped != 0) camera.drops.add(result.dropped);
    camera.picture.record(sample);
}

} // namespace vintra
