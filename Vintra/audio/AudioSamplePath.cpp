#include "Vintra/audio/AudioSamplePath.h"

#include "Vintra/audio/ApplyGain.h"
#include "Vintra/audio/CapturePCMSettings.h"
#include "Vintra/audio/ExtractMonoChannel.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr double kDawTrimDB = 6.0; // always taken off the second track, on top of the user's gain

} // namespace

AudioSamplePath::AudioSamplePath(std::shared_ptr<HostClock> hostClock, std::shared_ptr<LevelsModel> levels)
    : hostClock(std::move(hostClock))
    , levels(std::move(levels)) {}

void AudioSamplePath::open(std::shared_ptr<AudioTrack> micTrack, std::shared_ptr<AudioTrack> dawTrack,
                           ExtraGroups extraInputGroups) {
    if (micTrack) micSink.fill(std::move(micTrack));
    if (dawTrack) dawSink.fill(std::move(dawTrack));
    if (!extraInputGroups.empty())
        extraSink.fill(std::make_shared<const ExtraGroups>(std::move(extraInputGroups)));
}

void AudioSamplePath::close() {
    micSink.empty();
    dawSink.empty();
    extraSink.empty();
}

void AudioSamplePath::captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
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
    if (routing->dawOutput && routing->dawOutput == output) captureDaw(routing->dawGainDB, didOutput);
}

void AudioSamplePath::captureMic(const AudioRoutingCache::MicRouting& routing, const CMSampleBuffer& sample) {
    // Before anything can fail, so that every delivered buffer counts as life.
    micActivity.stamp(hostSeconds());
    const auto mono = extractMonoChannel(routing.channelIndex, routing.totalChannels, sample, kTakeSampleRate,
                                         monoFormatCache);
    if (!mono) return;
    const auto [gained, level] = applyGain(*mono, routing.gainDB, kGainCeiling);
    if (const auto track = micSink.get()) (*track)->append(gained);
    levels->publish(LevelKey::mic(), level);
}

void AudioSamplePath::captureDaw(double gainDB, const CMSampleBuffer& sample) {
    dawActivity.stamp(hostSeconds());
    const auto [gained, level] = applyGain(sample, gainDB - kDawTrimDB, kGainCeiling);
    if (const auto track = dawSink.get()) (*track)->append(gained);
    levels->publish(LevelKey::daw(), level);
}

void AudioSamplePath::captureExtra(const AudioRoutingCache::ExtraRouting& routing,
                                   const CMSampleBuffer& sample) {
    std::shared_ptr<ExtraInputDeviceGroup> group;
    if (const auto sink = extraSink.get()) {
        const auto& groups = **sink;
        const auto found = std::ranges::find(groups, routing.output,
                                             [](const auto& candidate) { return candidate->dataOutput; });
        if (found != groups.end()) group = *found;
    }
    for (const AudioRoutingCache::ExtraConfigRouting& config : routing.configs) {
        const int channel = std::min(std::max(config.channelIndex, 0), routing.totalChannels - 1);
        const auto mono =
            extractMonoChannel(channel, routing.totalChannels, sample, kTakeSampleRate, monoFormatCache);
        if (!mono) continue;
        const auto [gained, level] = applyGain(*mono, config.gainDB, kGainCeiling);
        if (group) {
            const auto track = std::ranges::find(group->tracks, config.id,
                                                 [](const auto& candidate) { return candidate->configID; });
            if (track != group->tracks.end()) (*track)->append(gained);
        }
        levels->publish(LevelKey::extra(config.id), level);
    }
}

double AudioSamplePath::hostSeconds() const {
    return CMTimeGetSeconds(hostClock->now());
}

} // namespace vintra
