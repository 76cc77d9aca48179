#include "Vintra/platform/linux/pipewire/PipeWireDevicePin.h"

#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireStreamSetup.h"

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

PipeWireDevicePin::PipeWireDevicePin(PipeWireConnection& connection, const PipeWireNode& node,
                                     PipeWireCycleWishes wishes)
    : connection(connection)
    , wishes(wishes)
    , hook(std::make_unique<spa_hook>())
    , nodeID(node.globalID) {
    this->connection.loop().assertHeld();
    core = connection.core();
    if (core == nullptr) return;
    pw_properties* properties =
        pipeWireStreamProperties("vintra.pin", node, PipeWireStreamDirection::capture);
    pw_properties_set(properties, PW_KEY_NODE_PASSIVE, "true");
    if (wishes.rate != 0) pw_properties_setf(properties, PW_KEY_NODE_FORCE_RATE, "%u", wishes.rate);
    if (wishes.frames != 0) pw_properties_setf(properties, PW_KEY_NODE_FORCE_QUANTUM, "%u", wishes.frames);
    stream = pw_stream_new(core.get(), "Vintra", properties);
    if (stream == nullptr) return;
    pw_stream_add_listener(stream, hook.get(), &Events::table, this);
    // Without a rate of its own it takes the rate that the device has by then.
    spa_audio_info_raw raw{};
    raw.format = SPA_AUDIO_FORMAT_F32P;
    raw.channels = std::clamp<uint32_t>(node.format.channels, 1, 2);
    setChannelPositions(raw, node.format);
    connectPipeWireStream(stream, PipeWireStreamDirection::capture, raw);
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
