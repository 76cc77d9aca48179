#include "Vintra/platform/linux/PipeWireDevicePin.h"

#include "Vintra/platform/linux/PipeWireConnection.h"

#include <pipewire/pipewire.h>
#include <spa/node/io.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>

namespace vintra {

struct PipeWireDevicePin::Events {
    static void ioChanged(void* data, uint32_t id, void* area, uint32_t) {
        auto& self = *static_cast<PipeWireDevicePin*>(data);
        if (id == SPA_IO_Position) self.position = static_cast<const spa_io_position*>(area);
        self.connection.loop().assertHeld();
        self.connection.loop().signal();
    }
    static void process(void* data) { static_cast<PipeWireDevicePin*>(data)->process(); }
    static constexpr pw_stream_events table = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.io_changed = ioChanged;
        events.process = process;
        return events;
    }();
};

PipeWireDevicePin::PipeWireDevicePin(PipeWireConnection& itsConnection, const PipeWireNode& node,
                                     PipeWireCycleWishes itsWishes)
    : connection(itsConnection)
    , wishes(itsWishes)
    , hook(std::make_unique<spa_hook>())
    , nodeID(node.globalID) {
    connection.loop().assertHeld();
    if (connection.core() == nullptr) return;
    pw_properties* properties = pw_properties_new(
        PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Production",
        PW_KEY_NODE_NAME, "vintra.pin", PW_KEY_NODE_DESCRIPTION, "Vintra", PW_KEY_TARGET_OBJECT,
        node.name.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true", PW_KEY_STREAM_CAPTURE_SINK, "true",
        PW_KEY_NODE_PASSIVE, "true", PW_KEY_STREAM_DONT_REMIX, "true", "state.restore-props", "false",
        "state.restore-target", "false", nullptr);
    if (wishes.rate != 0) pw_properties_setf(properties, PW_KEY_NODE_FORCE_RATE, "%u", wishes.rate);
    if (wishes.frames != 0) pw_properties_setf(properties, PW_KEY_NODE_FORCE_QUANTUM, "%u", wishes.frames);
    stream = pw_stream_new(connection.core(), "Vintra", properties);
    if (stream == nullptr) return;
    pw_stream_add_listener(stream, hook.get(), &Events::table, this);
    // Without a rate of its own it takes on the device's, whatever that is by then.
    spa_audio_info_raw raw{};
    raw.format = SPA_AUDIO_FORMAT_F32P;
    raw.channels = std::clamp<uint32_t>(node.format.channels, 1, 2);
    std::copy_n(node.format.positions.begin(), std::min<size_t>(raw.channels, node.format.positions.size()),
                raw.position);
    uint8_t memory[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    const spa_pod* params[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &raw)};
    const auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                     PW_STREAM_FLAG_RT_PROCESS | PW_STREAM_FLAG_DONT_RECONNECT);
    pw_stream_connect(stream, PW_DIRECTION_INPUT, PW_ID_ANY, flags, params, 1);
}

PipeWireDevicePin::~PipeWireDevicePin() {
    connection.loop().assertHeld();
    if (stream == nullptr) return;
    pw_stream_disconnect(stream);
    spa_hook_remove(hook.get());
    pw_stream_destroy(stream);
}

bool PipeWireDevicePin::isInForce() const {
    if (position == nullptr || position->clock.id != nodeID) return false;
    return wishes.rate == 0 || position->clock.rate.denom == wishes.rate;
}

void PipeWireDevicePin::process() {
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(stream))
        pw_stream_queue_buffer(stream, buffer);
}

} // namespace vintra
