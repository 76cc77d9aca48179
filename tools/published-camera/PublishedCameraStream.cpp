#include "tools/published-camera/PublishedCameraStream.h"

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sstream>

namespace vintra {
namespace {

constexpr int64_t kSecond = 1'000'000'000;

int64_t nowNanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * kSecond + time.tv_nsec;
}

uint32_t subtypeOf(CameraPixelKind kind) {
    if (kind == CameraPixelKind::mjpg) return SPA_MEDIA_SUBTYPE_mjpg;
    return kind == CameraPixelKind::h264 ? SPA_MEDIA_SUBTYPE_h264 : SPA_MEDIA_SUBTYPE_raw;
}

uint32_t videoFormatOf(CameraPixelKind kind) {
    switch (kind) {
    case CameraPixelKind::yuy2:
        return SPA_VIDEO_FORMAT_YUY2;
    case CameraPixelKind::uyvy:
        return SPA_VIDEO_FORMAT_UYVY;
    case CameraPixelKind::yvyu:
        return SPA_VIDEO_FORMAT_YVYU;
    case CameraPixelKind::nv12:
        return SPA_VIDEO_FORMAT_NV12;
    case CameraPixelKind::nv21:
        return SPA_VIDEO_FORMAT_NV21;
    case CameraPixelKind::i420:
        return SPA_VIDEO_FORMAT_I420;
    case CameraPixelKind::yv12:
        return SPA_VIDEO_FORMAT_YV12;
    case CameraPixelKind::bgrx:
        return SPA_VIDEO_FORMAT_BGRx;
    case CameraPixelKind::rgbx:
        return SPA_VIDEO_FORMAT_RGBx;
    case CameraPixelKind::xrgb:
        return SPA_VIDEO_FORMAT_xRGB;
    case CameraPixelKind::rgb:
        return SPA_VIDEO_FORMAT_RGB;
    case CameraPixelKind::bgr:
        return SPA_VIDEO_FORMAT_BGR;
    case CameraPixelKind::gray:
        return SPA_VIDEO_FORMAT_GRAY8;
    default:
        return SPA_VIDEO_FORMAT_UNKNOWN;
    }
}

bool isRed(CameraPixelKind kind) {
    return kind >= CameraPixelKind::bgrx && kind <= CameraPixelKind::bgr;
}

void addRates(spa_pod_builder& builder, const PublishedFormat& format) {
    spa_pod_frame choice;
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
    const bool isOne = format.rates.size() == 1;
    const uint32_t kind =
        format.areRatesRange ? SPA_CHOICE_Range : (isOne ? SPA_CHOICE_None : SPA_CHOICE_Enum);
    spa_pod_builder_push_choice(&builder, &choice, kind, 0);
    const PublishedRate usual = format.areRatesRange ? format.rates.back() : format.rates.front();
    if (!isOne) spa_pod_builder_fraction(&builder, usual.first, usual.second);
    for (const PublishedRate& one : format.rates)
        spa_pod_builder_fraction(&builder, one.first, one.second);
    spa_pod_builder_pop(&builder, &choice);
}

} // namespace

struct PublishedCameraStream::Events {
    static PublishedCameraStream& self(void* data) { return *static_cast<PublishedCameraStream*>(data); }
    static void process(void* data) { self(data).process(); }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char* error) {
        self(data).stateChanged(state, error);
    }
    static void paramChanged(void* data, uint32_t id, const spa_pod* parameter) {
        if (id == SPA_PARAM_Format && parameter != nullptr) self(data).formatChanged(parameter);
    }
    static void tick(void* data, uint64_t) { self(data).tick(); }
    static constexpr pw_stream_events table = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = stateChanged;
        events.param_changed = paramChanged;
        events.process = process;
        return events;
    }();
};

PublishedCameraStream::PublishedCameraStream(PublishedCameraOptions cameraOptions)
    : options(std::move(cameraOptions)) {
    pw_init(nullptr, nullptr);
}

PublishedCameraStream::~PublishedCameraStream() {
    if (loop != nullptr) {
        pw_thread_loop_lock(loop);
        if (timer != nullptr) pw_loop_destroy_source(pw_thread_loop_get_loop(loop), timer);
        if (stream != nullptr) pw_stream_destroy(stream);
        pw_thread_loop_unlock(loop);
        pw_thread_loop_stop(loop);
        pw_thread_loop_destroy(loop);
    }
    pw_deinit();
}

bool PublishedCameraStream::start() {
    loop = pw_thread_loop_new("published-camera", nullptr);
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

std::vector<const spa_pod*> PublishedCameraStream::formatPods() {
    podMemory.assign(1024 * (options.formats.size() + 1), 0);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, podMemory.data(), static_cast<uint32_t>(podMemory.size()));
    std::vector<uint32_t> offsets;
    for (const PublishedFormat& one : options.formats) {
        offsets.push_back(builder.state.offset);
        spa_pod_frame frame;
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                            SPA_FORMAT_mediaSubtype, SPA_POD_Id(subtypeOf(one.kind)), 0);
        const bool isRaw = subtypeOf(one.kind) == SPA_MEDIA_SUBTYPE_raw;
        if (isRaw)
            spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(videoFormatOf(one.kind)), 0);
        const spa_rectangle size{one.width, one.height};
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), 0);
        addRates(builder, one);
        if (options.colours && isRaw && !isRed(one.kind)) {
            const bool isRec601 = *options.colours == CanvasColours::rec601 ||
                                  *options.colours == CanvasColours::rec601FullRange;
            const bool isFull = *options.colours == CanvasColours::rec601FullRange ||
                                *options.colours == CanvasColours::rec709FullRange;
            spa_pod_builder_add(
                &builder, SPA_FORMAT_VIDEO_colorMatrix,
                SPA_POD_Id(isRec601 ? SPA_VIDEO_COLOR_MATRIX_BT601 : SPA_VIDEO_COLOR_MATRIX_BT709),
                SPA_FORMAT_VIDEO_colorRange,
                SPA_POD_Id(isFull ? SPA_VIDEO_COLOR_RANGE_0_255 : SPA_VIDEO_COLOR_RANGE_16_235), 0);
        }
        spa_pod_builder_pop(&builder, &frame);
    }
    std::vector<const spa_pod*> pods;
    for (const uint32_t offset : offsets)
        pods.push_back(reinterpret_cast<const spa_pod*>(podMemory.data() + offset));
    return pods;
}

bool PublishedCameraStream::connectStream() {
    timer = pw_loop_add_timer(pw_thread_loop_get_loop(loop), Events::tick, this);
    stream = pw_stream_new_simple(pw_thread_loop_get_loop(loop), options.name.c_str(),
                                  pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE,
                                                    "Camera", PW_KEY_NODE_NAME, options.name.c_str(),
                                                    PW_KEY_NODE_DESCRIPTION, options.description.c_str(),
                                                    PW_KEY_NODE_VIRTUAL, "true", nullptr),
                                  &Events::table, this);
    if (stream == nullptr || timer == nullptr) return false;
    baseTime = nowNanoseconds();
    auto pods = formatPods();
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    return pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, pods.data(),
                             static_cast<uint32_t>(pods.size())) >= 0;
}

void PublishedCameraStream::stateChanged(int newState, const char* error) {
    if (error != nullptr) std::fprintf(stderr, "%s: %s\n", options.name.c_str(), error);
    const bool isLost = newState == PW_STREAM_STATE_UNCONNECTED && state != 0;
    state = newState;
    if (newState == PW_STREAM_STATE_STREAMING) {
        // The pictures that nobody took have been taken all the same.
        while (timeOf(number) < nowNanoseconds())
            ++number;
        arm(timeOf(number));
    } else {
        arm(0);
    }
    pw_thread_loop_signal(loop, false);
    if (isLost && onLost) onLost();
}

int64_t PublishedCameraStream::timeOf(uint64_t ofNumber) const {
    const double interval = static_cast<double>(kSecond) * rate.second / rate.first;
    return baseTime + static_cast<int64_t>(static_cast<double>(ofNumber - baseNumber) * interval *
                                           (1 - options.driftPPM * 1e-6));
}

/// 0 ends it.
void PublishedCameraStream::arm(int64_t at) {
    captureTime = at;
    if (at != 0 && options.jitterMilliseconds > 0) {
        std::uniform_real_distribution<double> jitter(-options.jitterMilliseconds,
                                                      options.jitterMilliseconds);
        captureTime += static_cast<int64_t>(jitter(random) * 1e6);
    }
    timespec time{captureTime / kSecond, captureTime % kSecond};
    pw_loop_update_timer(pw_thread_loop_get_loop(loop), timer, &time, nullptr, true);
}

void PublishedCameraStream::tick() {
    if (mode != Mode::stopped) {
        ++sequence;
        if (picturesToLose > 0) {
            --picturesToLose;
        } else {
            pw_stream_trigger_process(stream);
        }
    }
    ++number;
    arm(timeOf(number));
}

void PublishedCameraStream::formatChanged(const spa_pod* parameter) {
    uint32_t type = 0;
    uint32_t subtype = 0;
    spa_rectangle size{};
    spa_fraction framerate{};
    uint32_t videoFormat = SPA_VIDEO_FORMAT_UNKNOWN;
    if (spa_format_parse(parameter, &type, &subtype) < 0) return;
    spa_pod_parse_object(parameter, SPA_TYPE_OBJECT_Format, nullptr, SPA_FORMAT_VIDEO_format,
                         SPA_POD_OPT_Id(&videoFormat), SPA_FORMAT_VIDEO_size, SPA_POD_OPT_Rectangle(&size),
                         SPA_FORMAT_VIDEO_framerate, SPA_POD_OPT_Fraction(&framerate));
    const auto found = std::ranges::find_if(options.formats, [&](const PublishedFormat& one) {
        return subtypeOf(one.kind) == subtype && videoFormatOf(one.kind) == videoFormat &&
               one.width == size.width && one.height == size.height;
    });
    if (found == options.formats.end()) return;
    format = *found;
    baseTime = timeOf(number);
    baseNumber = number;
    if (framerate.num > 0 && framerate.denom > 0) rate = {framerate.num, framerate.denom};
    pixels = std::make_unique<CameraPixels>(format->kind, size.width, size.height,
                                            static_cast<double>(rate.first) / rate.second);
    const CanvasColours unsaid = format->kind == CameraPixelKind::mjpg ? CanvasColours::rec601FullRange
                                 : size.height <= 576                  ? CanvasColours::rec601
                                                                       : CanvasColours::rec709;
    CanvasColours colours = format->kind == CameraPixelKind::mjpg ? unsaid : options.colours.value_or(unsaid);
    if (isRed(format->kind)) colours = CanvasColours::rgb;
    canvas = std::make_unique<CameraCanvas>(size.width, size.height, colours);
    uint8_t memory[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory, sizeof memory);
    const spa_pod* params[2];
    params[0] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
        SPA_POD_Int(static_cast<int>(pixels->mostBytes())), SPA_PARAM_BUFFERS_stride,
        SPA_POD_Int(static_cast<int>(pixels->stride()))));
    params[1] = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header),
        SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header)))));
    pw_stream_update_params(stream, params, 2);
}

void PublishedCameraStream::process() {
    pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
    if (buffer == nullptr) return;
    spa_chunk& chunk = *buffer->buffer->datas[0].chunk;
    chunk.offset = 0;
    chunk.size = 0;
    chunk.flags = 0;
    if (canvas && !fill(*buffer)) chunk.size = 0;
    pw_stream_queue_buffer(stream, buffer);
}

bool PublishedCameraStream::fill(pw_buffer& buffer) {
    spa_data& data = buffer.buffer->datas[0];
    if (mode == Mode::black) canvas->drawBlack();
    if (mode == Mode::live && flashes && flashes->contain(captureTime))
        canvas->drawWhite();
    else if (mode == Mode::live)
        canvas->draw({.number = static_cast<uint32_t>(number), .nanoseconds = captureTime});
    const std::vector<uint8_t>& bytes = pixels->pack(*canvas);
    auto* const header = static_cast<spa_meta_header*>(
        spa_buffer_find_meta_data(buffer.buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header != nullptr) {
        header->flags = 0;
        header->offset = 0;
        header->pts = options.hasStamps ? captureTime : -1;
        header->dts_offset = 0;
        header->seq = sequence;
    }
    if (data.data == nullptr || bytes.size() > data.maxsize) return false;
    std::memcpy(data.data, bytes.data(), bytes.size());
    data.chunk->size = static_cast<uint32_t>(bytes.size());
    data.chunk->stride = static_cast<int32_t>(pixels->stride());
    return true;
}

bool PublishedCameraStream::obey(const std::string& command) {
    std::istringstream words(command);
    std::string verb;
    double value = 0;
    words >> verb >> value;
    pw_thread_loop_lock(loop);
    bool isKnown = true;
    if (verb == "live") {
        mode = Mode::live;
    } else if (verb == "freeze") {
        mode = Mode::frozen;
    } else if (verb == "black") {
        mode = Mode::black;
    } else if (verb == "stop") {
        mode = Mode::stopped;
    } else if (verb == "lose") {
        picturesToLose = static_cast<int>(value);
    } else if (verb == "flash") {
        Flashes wanted{.first = static_cast<int64_t>(value), .interval = 0, .length = 0};
        isKnown = static_cast<bool>(words >> wanted.interval >> wanted.length) && wanted.interval > 0;
        if (isKnown) flashes = wanted;
    } else if (verb == "jitter") {
        options.jitterMilliseconds = value;
    } else if (verb == "drift") {
        baseTime = timeOf(number);
        baseNumber = number;
        options.driftPPM = value;
    } else if (verb == "only" && value >= 1 && value <= static_cast<double>(options.formats.size())) {
        const auto only = static_cast<std::ptrdiff_t>(value) - 1;
        options.formats = {*(options.formats.begin() + only)};
        auto pods = formatPods();
        pw_stream_update_params(stream, pods.data(), static_cast<uint32_t>(pods.size()));
    } else {
        isKnown = false;
    }
    pw_thread_loop_unlock(loop);
    return isKnown;
}

} // namespace vintra
