#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

struct pw_properties;
struct pw_stream;
struct spa_audio_info_raw;

namespace vintra {

// What every stream of sound to or from a device has in common. With PipeWire's lock held.

enum class PipeWireStreamDirection { capture, playback };

/// A new stream's properties: for this device and never another one, neither now nor when it goes; its
/// channels are never mixed; nothing is taken over from an earlier run. Owned by whoever makes the stream.
pw_properties* pipeWireStreamProperties(const char* streamName, const PipeWireNode& device,
                                        PipeWireStreamDirection direction);

/// Channel for channel as the device has them. Where their places are known the stream names the same ones:
/// then there is nothing to mix. Otherwise they are numbered.
void setChannelPositions(spa_audio_info_raw& raw, const PipeWireAudioFormat& device);

/// Asks for that one format, with the sound handled on the stream's data thread. False if it was refused at
/// once; whether the device is there shows in the stream's state.
bool connectPipeWireStream(pw_stream* stream, PipeWireStreamDirection direction,
                           const spa_audio_info_raw& raw);

} // namespace vintra
