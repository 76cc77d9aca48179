#include "tools/testsignals/PublishedSource.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vintra {

struct PublishedSource::Events {
    static void process(void* data) { static_cast<PublishedSource*>(data)->process(); }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char* error) {
        static_cast<PublishedSource*>(data)->stateChanged(state, error);
    }
    static constexpr pw_stream_events table = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = stateChanged;
        events.process = process;
        return events;
    }();
};

PublishedSource::PublishedSource(PublishedSourceOptions sourceOptions,
                                 std::function<void(const SourceFrames&)> sourceFill)
    : options(std::move(sourceOptions))
    , fill(std::move(sourceFill)) {
    pw_init(nullptr, nullptr);
}

PublishedSource::~PublishedSource() {
    if (loop != nullptr) {
        pw_thread_loop_lock(loop);
        if (stream != nullptr) pw_stream_destroy(stream);
        pw_thread_loop_unlock(loop);
        pw_thread_loop_stop(loop);
        pw_thread_loop_destroy(loop);
    }
    pw_deinit();
}

bool PublishedSource::start() {
    loop = pw_thread_loop_new("published-source", nullptr);
    if (loop == nullptr || pw_thread_loop_start(loop) < 0) return false;
    pw_thread_loop_lock(loop);
    bool published = connectStream();
    while (published && state != PW_STREAM_STATE_PAUSED && state != PW_STREAM_STATE_STREAMING) {
        if (state == PW_STREAM_STATE_ERROR || pw_thread_loop_timed_wait(loop, 10) != 0) published = false;
    }
    pw_thread_loop_unlock(loop);
    if (!published) std::fprintf(stderr, "%s could not be published\n", options.name.c_str());
    return published;
}

bool PublishedSource::connectStream() {
    pw_properties* properties = pw_properties_new(
        PW_KEY_MEDIA_CLASS, "Audio/Source", PW_KEY_NODE_NAME, options.name.c_str(), PW_KEY_NODE_DESCRIPTION,
        options.description.c_str(), PW_KEY_NODE_VIRTUAL, "true", PW_KEY_PRIORITY_SESSION, "2000", nullptr);
    pw_properties_setf(properties, PW_KEY_AUDIO_CHANNELS, "%u", options.channels);
    pw_properties_setf(properties, PW_KEY_AUDIO_RATE, "%u", options.sampleRate);
    stream = pw_stream_new_simple(pw_thread_loop_get_loop(loop), options.name.c_str(), properties,
                                  &Events::table, this);
    if (stream == nullptr) return false;

    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = options.sampleRate;
    format.channels = std::min<uint32_t>(options.channels, SPA_AUDIO_MAX_CHANNELS);
    for (uint32_t channel = 0; channel < format.channels; ++channel) {
        format.position[channel] = SPA_AUDIO_CHANNEL_AUX0 + channel;
    }
    if (options.channels > SPA_AUDIO_MAX_CHANNELS) {
        format.channels = options.channels;
        format.flags = SPA_AUDIO_FLAG_UNPOSITIONED;
    }
    if (format.channels == 1) format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    if (format.channels == 2) {
        format.position[0] = SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
    }
    uint8_t memory[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    const spa_pod* params[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS);
    return pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, params, 1) >= 0;
}

void PublishedSource::stateChanged(int newState, const char* error) {
    const bool lost = newState == PW_STREAM_STATE_ERROR || newState == PW_STREAM_STATE_UNCONNECTED;
    if (error != nullptr) std::fprintf(stderr, "%s: %s\n", options.name.c_str(), error);
    state = newState;
    pw_thread_loop_signal(loop, false);
    if (lost && onLost) onLost();
}

void PublishedSource::process() {
    pw_buffer* buffer = pw_stream_dequeue_buffer(stream);
    if (buffer == nullptr) return;
    spa_data& data = buffer->buffer->datas[0];
    const uint32_t stride = options.channels * sizeof(float);
    uint32_t frames = data.maxsize / stride;
    if (buffer->requested != 0) frames = std::min<uint32_t>(frames, static_cast<uint32_t>(buffer->requested));
    pw_time time{};
    pw_stream_get_time_n(stream, &time, sizeof time);
    // A cycle that asks twice goes on where its first frames ended.
    if (time.now != cycleStart) {
        cycleStart = time.now;
        framesOfCycle = 0;
    }
    if (data.data != nullptr) {
        fill({.samples = static_cast<float*>(data.data),
              .frames = frames,
              .channels = options.channels,
              .firstFrame = framesPlayed,
              .firstFrameTime =
                  cycleStart + static_cast<int64_t>(framesOfCycle) * 1'000'000'000 / options.sampleRate});
        framesPlayed += frames;
        framesOfCycle += frames;
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<int32_t>(stride);
        data.chunk->size = frames * stride;
    }
    pw_stream_queue_buffer(stream, buffer);
}

} // namespace vintra
