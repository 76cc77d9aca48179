#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevice.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <spa/param/audio/raw.h>

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

std::optional<std::string> PipeWireCaptureDevice::captureProblem() const {
    const auto current = connection->devices().deviceNamed(node.name);
    if (!current || current->format.channels <= SPA_AUDIO_MAX_CHANNELS) return std::nullopt;
    return "has " + std::to_string(current->format.channels) + " channels, and PipeWire passes on " +
           std::to_string(SPA_AUDIO_MAX_CHANNELS) +
           " of a device at most. Choose a profile of it with fewer channels in the sound settings";
}

} // namespace vintra
