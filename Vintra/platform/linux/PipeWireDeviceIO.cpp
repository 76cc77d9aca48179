#include "Vintra/platform/linux/PipeWireDeviceIO.h"

#include "Vintra/platform/linux/PipeWireConnection.h"

#include <utility>

namespace vintra {

PipeWireDeviceIO::PipeWireDeviceIO(std::shared_ptr<PipeWireConnection> itsConnection)
    : connection(std::move(itsConnection)) {}

std::unique_ptr<AudioIOProc> PipeWireDeviceIO::createIOProc(AudioObjectID, AudioIOBlock) {
    return nullptr;
}

std::optional<uint32_t> PipeWireDeviceIO::bufferFrameSize(AudioObjectID) const {
    return std::nullopt;
}

std::optional<AudioBufferSizeRange> PipeWireDeviceIO::bufferFrameSizeRange(AudioObjectID) const {
    return std::nullopt;
}

void PipeWireDeviceIO::setBufferFrameSize(AudioObjectID, uint32_t) {}

bool PipeWireDeviceIO::setNominalSampleRate(AudioObjectID, double) {
    return false;
}

} // namespace vintra
