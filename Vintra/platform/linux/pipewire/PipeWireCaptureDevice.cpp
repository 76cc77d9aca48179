#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevice.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <optional>
#include <utility>

namespace vintra {

PipeWireCaptureDevice::PipeWireCaptureDevice(std::shared_ptr<PipeWireConnection> connection,
                                             PipeWireNode node)
    : connection(std::move(connection))
    , node(std::move(node)) {}

bool PipeWireCaptureDevice::isConnected() const {
    return connection->devices().deviceNamed(node.name).has_value();
}

std::optional<AudioStreamBasicDescription> PipeWireCaptureDevice::activeAudioFormat() const {
    const auto current = connection->devices().deviceNamed(node.name);
    if (!current || current->format.channels == 0 || current->format.sampleRate == 0) return std::nullopt;
    return floatPCMDescription(current->format.sampleRate, current->format.channels);
}

} // namespace vintra
