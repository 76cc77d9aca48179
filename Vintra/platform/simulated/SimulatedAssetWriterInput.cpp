#include "Vintra/platform/simulated/SimulatedAssetWriterInput.h"

#include "Vintra/platform/simulated/SimulatedAssetWriter.h"

#include <utility>

namespace vintra {

SimulatedAssetWriterInput::SimulatedAssetWriterInput(AVOutputSettings settings, bool isRealTime)
    : settings(std::move(settings))
    , isRealTime(isRealTime) {}

AVMediaType SimulatedAssetWriterInput::mediaType() const {
    return videoSettings() ? AVMediaType::video : AVMediaType::audio;
}

bool SimulatedAssetWriterInput::isReadyForMoreMediaData() const {
    const auto owner = writer.lock();
    return owner && owner->isReady(*this);
}

bool SimulatedAssetWriterInput::append(const CMSampleBuffer& sample) {
    const auto owner = writer.lock();
    if (!owner) return false;
    const size_t index = appends.size();
    appends.push_back({sample, owner->hostTime(), false});
    owner->block(owner->script.appendSeconds); // others may append meanwhile
    return appends[index].isAccepted = owner->take(*this, sample);
}

void SimulatedAssetWriterInput::extendLast(CMTime to) {
    if (const auto owner = writer.lock()) owner->extend(*this, to);
}

void SimulatedAssetWriterInput::markAsFinished() {
    isFinished = true;
    if (const auto owner = writer.lock())
        owner->note(videoSettings() ? "video markAsFinished" : "audio markAsFinished");
}

std::vector<CMSampleBuffer> SimulatedAssetWriterInput::accepted() const {
    std::vector<CMSampleBuffer> samples;
    for (const Append& each : appends) {
        if (each.isAccepted) samples.push_back(each.sample);
    }
    return samples;
}

std::vector<CMTime> SimulatedAssetWriterInput::presentationTimes() const {
    std::vector<CMTime> times;
    for (const CMSampleBuffer& sample : accepted())
        times.push_back(sample.presentationTimeStamp());
    return times;
}

} // namespace vintra
