#include "Vintra/platform/linux/pipewire/PipeWireStreamSetup.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

namespace vintra {
namespace {

// WirePlumber 0.5 asks for these two besides: it takes the default device where the named one isn't there, and moves a
// stream to what its metadata names.
constexpr const char* kDontFallBack = "node.dont-fallback";
constexpr const char* kDontMove = "node.dont-move";

} // namespace

pw_properties* pipeWireStreamProperties(const char* streamName, const PipeWireNode& device,
                                        PipeWireStreamDirection direction) {
    const bool isCapture = direction == PipeWireStreamDirection::capture;
    pw_properties* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, isCapture ? "Capture" : "Playback",
        PW_KEY_MEDIA_ROLE, "Production", PW_KEY_NODE_NAME, streamName, PW_KEY_NODE_DESCRIPTION, "Vintra",
        PW_KEY_TARGET_OBJECT, device.name.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true", kDontFallBack, "true",
        kDontMove, "true", PW_KEY_STREAM_DONT_REMIX, "true", "channelmix.upmix", "false",
        "channelmix.normalize", "false", "state.restore-props", "false", "state.restore-target", "false",
        nullptr);
    if (isCapture && device.isSink()) pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
    return properties;
}

void setChannelPositions(spa_audio_info_raw& raw, const PipeWireAudioFormat& device) {
    const bool areKnown = device.positions.size() >= raw.channels;
    for (uint32_t channel = 0; channel < raw.channels; ++channel) {
        raw.position[channel] = areKnown ? device.positions[channel] : SPA_AUDIO_CHANNEL_AUX0 + channel;
    }
}

bool connectPipeWireStream(pw_stream* stream, PipeWireStreamDirection direction,
                           const spa_audio_info_raw& raw) {
    uint8_t memory[2048];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    spa_audio_info_raw asked = raw;
    const spa_pod* params[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &asked)};
    const auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                     PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    const auto way = direction == PipeWireStreamDirection::capture ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT;
    return pw_stream_connect(stream, way, PW_ID_ANY, flags, params, 1) >= 0;
}

} // namespace vintra
