#include "Vintra/platform/simulated/SimulatedAudioDeviceIO.h"

#include "Vintra/platform/simulated/SimulatedIOProc.h"

#include <algorithm>
#include <utility>

namespace vintra {

SimulatedAudioDeviceIO::SimulatedAudioDeviceIO(std::shared_ptr<VirtualTime> time,
                                               std::shared_ptr<SimulatedAudioHardware> hardware)
    : time(std::move(time))
    , hardware(std::move(hardware)) {}

std::unique_ptr<AudioIOProc> SimulatedAudioDeviceIO::createIOProc(AudioObjectID id, AudioIOBlock block) {
    const auto device = hardware->device(id);
    if (!device || device->refusesIOProc) return nullptr;
    return std::make_unique<SimulatedIOProc>(SimulatedIOProc::Services{time, hardware, running}, device,
                                             std::move(block));
}

std::optional<uint32_t> SimulatedAudioDeviceIO::bufferFrameSize(AudioObjectID id) const {
    const auto device = hardware->device(id);
    return device ? device->bufferFrameSize : std::nullopt;
}

std::optional<AudioBufferSizeRange> SimulatedAudioDeviceIO::bufferFrameSizeRange(AudioObjectID id) const {
    const auto device = hardware->device(id);
    return device ? device->bufferFrameSizeRange : std::nullopt;
}

void SimulatedAudioDeviceIO::setBufferFrameSize(AudioObjectID id, uint32_t frames) {
    const auto device = hardware->device(id);
    if (device && !device->keepsBufferFrameSize && device->bufferFrameSize && frames > 0)
        device->bufferFrameSize = frames;
}

bool SimulatedAudioDeviceIO::setNominalSampleRate(AudioObjectID id, double rate) {
    const auto device = hardware->device(id);
    if (!device || !(rate > 0)) return false;
    const auto& rates = device->sampleRates;
    if (!rates.empty() && std::ranges::find(rates, rate) == rates.end()) return false;
    const auto change = [hardware = hardware, uid = device->uid, rate] {
        hardware->setNominalSampleRate(uid, rate);
    };
    if (device->rateChangeSeconds > 0) {
        time->afterSeconds(device->rateChangeSeconds, change);
    } else {
        change();
    }
    return true;
}

} // namespace vintra
