#include "tests/platform/linux/wayland/ScriptedScreen.h"

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr size_t kMostSpare = 4096; // bytes a plane beside the rows: for an offset, and pages
constexpr int kMostRegions = 16;

size_t planeSize(const ScriptedScreen::Script& script) {
    const auto side = static_cast<size_t>(std::max(script.width, script.height));
    return side * (side * 4 + 64) + kMostSpare;
}

} // namespace

struct ScriptedScreen::Events {
    static ScriptedScreen& self(void* data) { return *static_cast<ScriptedScreen*>(data); }
    static void stateChanged(void* data, pw_stream_state, pw_stream_state now, const char*) {
        self(data).state = now;
        if (now == PW_STREAM_STATE_STREAMING) ++self(data).begun;
        pw_thread_loop_signal(self(data).loop, false);
    }
    static void paramChanged(void* data, uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format && param) self(data).formatChanged(param);
    }
    static void addBuffer(void* data, pw_buffer* buffer) { self(data).addBuffer(*buffer); }
    static void removeBuffer(void* data, pw_buffer* buffer) { self(data).removeBuffer(*buffer); }
    static constexpr pw_stream_events table = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = stateChanged;
        events.param_changed = paramChanged;
        events.add_buffer = addBuffer;
        events.remove_buffer = removeBuffer;
        return events;
    }();
};

FileDescriptor ScriptedScreen::remote() {
    const char* folder = std::getenv("PIPEWIRE_RUNTIME_DIR");
    if (!folder) folder = std::getenv("XDG_RUNTIME_DIR");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = std::string(folder ? folder : "") + "/pipewire-0";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return FileDescriptor();
    }
    return connection;
}

ScriptedScreen::ScriptedScreen(Script wanted)
    : script(std::move(wanted)) {
    pw_init(nullptr, nullptr);
    loop = pw_thread_loop_new("scripted-screen", nullptr);
    pw_thread_loop_start(loop);
    pw_thread_loop_lock(loop);
    if (publish()) node_ = pw_stream_get_node_id(stream);
    pw_thread_loop_unlock(loop);
}

ScriptedScreen::~ScriptedScreen() {
    pw_thread_loop_lock(loop);
    if (stream) pw_stream_destroy(stream);
    pw_thread_loop_unlock(loop);
    pw_thread_loop_stop(loop);
    pw_thread_loop_destroy(loop);
    pw_deinit();
}

bool ScriptedScreen::publish() {
    stream = pw_stream_new_simple(
        pw_thread_loop_get_loop(loop), "kwin-screencast-scripted",
        pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_VIRTUAL, "true", nullptr),
        &Events::table, this);
    if (!stream) return false;
    auto pods = formats(std::nullopt);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_ALLOC_BUFFERS);
    if (pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, pods.data(),
                          static_cast<uint32_t>(pods.size())) < 0) {
        return false;
    }
    while (state != PW_STREAM_STATE_PAUSED && state != PW_STREAM_STATE_ERROR)
        if (pw_thread_loop_timed_wait(loop, 10) != 0) return false;
    return state == PW_STREAM_STATE_PAUSED;
}

/// One after another, what was settled first. A choice of modifiers is left to the other side and then to this one.
std::vector<const spa_pod*> ScriptedScreen::formats(std::optional<Offer> fixated) {
    std::vector<Offer> offers = script.offers;
    if (fixated) offers.insert(offers.begin(), *fixated);
    podMemory.assign(2048 * offers.size(), 0);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, podMemory.data(), static_cast<uint32_t>(podMemory.size()));
    std::vector<uint32_t> offsets;
    for (size_t i = 0; i < offers.size(); ++i) {
        const auto& modifiers = offers[i].modifiers;
        offsets.push_back(builder.state.offset);
        spa_pod_frame object;
        spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                            SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
                            SPA_FORMAT_VIDEO_format, SPA_POD_Id(offers[i].video), 0);
        if (!modifiers.empty() && fixated && i == 0) {
            spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY);
            spa_pod_builder_long(&builder, static_cast<int64_t>(modifiers.front()));
        } else if (!modifiers.empty()) {
            spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier,
                                 SPA_POD_PROP_FLAG_MANDATORY | SPA_POD_PROP_FLAG_DONT_FIXATE);
            spa_pod_frame choice;
            spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
            spa_pod_builder_long(&builder, static_cast<int64_t>(modifiers.front()));
            for (const uint64_t one : modifiers)
                spa_pod_builder_long(&builder, static_cast<int64_t>(one));
            spa_pod_builder_pop(&builder, &choice);
        }
        const spa_rectangle size{static_cast<uint32_t>(script.width), static_cast<uint32_t>(script.height)};
        const spa_fraction rate{0, 1};
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size),
                            SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
        spa_pod_builder_pop(&builder, &object);
    }
    std::vector<const spa_pod*> pods;
    for (const uint32_t offset : offsets)
        pods.push_back(reinterpret_cast<const spa_pod*>(podMemory.data() + offset));
    return pods;
}

void ScriptedScreen::formatChanged(const spa_pod* param) {
    spa_video_info_raw raw{};
    spa_format_video_raw_parse(param, &raw);
    const spa_pod_prop* const prop = spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_modifier);
    if (prop && (prop->flags & SPA_POD_PROP_FLAG_DONT_FIXATE) != 0) {
        if (!script.decides) return;
        uint32_t count = 0;
        uint32_t choice = 0;
        const spa_pod* const values = spa_pod_get_values(&prop->value, &count, &choice);
        const auto* const list = static_cast<const int64_t*>(SPA_POD_BODY_CONST(values));
        int64_t chosen = count > 0 ? list[0] : 0;
        for (uint32_t i = 0; i < count; ++i)
            if (script.preferredModifier == static_cast<uint64_t>(list[i])) chosen = list[i];
        auto pods = formats(Offer{raw.format, {static_cast<uint64_t>(chosen)}});
        pw_stream_update_params(stream, pods.data(), static_cast<uint32_t>(pods.size()));
        return;
    }
    isGraphics = prop != nullptr;
    modifier = prop ? std::optional<uint64_t>(raw.modifier) : std::nullopt;
    ++agreed;
    if (script.failsToAllocate) {
        pw_stream_set_error(stream, -ENOMEM, "no memory for buffers");
        return;
    }
    uint8_t bytes[2048];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes, sizeof bytes);
    std::vector<const spa_pod*> params;
    params.push_back(static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks,
        SPA_POD_Int(isGraphics ? script.planes : 1), SPA_PARAM_BUFFERS_size,
        SPA_POD_Int(static_cast<int>(planeSize(script))), SPA_PARAM_BUFFERS_stride,
        SPA_POD_Int(script.width * static_cast<int>(PackedPicture::bytesPerPixel(raw.format))),
        SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int(1 << (isGraphics ? SPA_DATA_DmaBuf : SPA_DATA_MemFd)))));
    const std::pair<uint32_t, size_t> metas[] = {
        {SPA_META_Header, sizeof(spa_meta_header)},
        {SPA_META_VideoCrop, sizeof(spa_meta_region)},
        {SPA_META_VideoTransform, sizeof(spa_meta_videotransform)},
        {SPA_META_VideoDamage, sizeof(spa_meta_region) * kMostRegions}};
    for (const auto& [type, size] : metas) {
        params.push_back(static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(type),
            SPA_PARAM_META_size, SPA_POD_Int(static_cast<int>(size)))));
    }
    pw_stream_update_params(stream, params.data(), static_cast<uint32_t>(params.size()));
}

void ScriptedScreen::addBuffer(pw_buffer& buffer) {
    const bool isSecond = memory.size() == 1;
    auto& planes = memory[&buffer];
    for (uint32_t i = 0; i < buffer.buffer->n_datas; ++i) {
        Memory plane;
        plane.size = planeSize(script);
        plane.descriptor = ::memfd_create("scripted-screen", MFD_CLOEXEC);
        if (::ftruncate(plane.descriptor, static_cast<off_t>(plane.size)) != 0) std::abort();
        plane.bytes = static_cast<uint8_t*>(
            ::mmap(nullptr, plane.size, PROT_READ | PROT_WRITE, MAP_SHARED, plane.descriptor, 0));
        spa_data& data = buffer.buffer->datas[i];
        const bool isStray = isSecond && script.hasStrayGraphics;
        data.type = isGraphics || isStray ? SPA_DATA_DmaBuf : SPA_DATA_MemFd;
        data.flags = SPA_DATA_FLAG_READWRITE;
        data.mapoffset = 0;
        data.maxsize = isGraphics && !script.tellsSizes ? 0 : static_cast<uint32_t>(plane.size);
        data.data = plane.bytes;
        data.fd = plane.descriptor;
        if (isGraphics &&
            (script.hasUnmappable || (script.hasOneUnmappable && isSecond))) { // a pipe's end stands for it
            int ends[2];
            if (::pipe(ends) != 0) std::abort();
            ::close(ends[1]);
            ::close(plane.descriptor);
            data.fd = plane.descriptor = ends[0];
        }
        planes.push_back(plane);
    }
}

void ScriptedScreen::removeBuffer(pw_buffer& buffer) {
    for (const Memory& plane : memory[&buffer]) {
        ::munmap(plane.bytes, plane.size);
        ::close(plane.descriptor);
    }
    memory.erase(&buffer);
}

bool ScriptedScreen::send(const Sent& sent) {
    pw_thread_loop_lock(loop);
    pw_buffer* const buffer = state == PW_STREAM_STATE_STREAMING ? pw_stream_dequeue_buffer(stream) : nullptr;
    if (buffer) {
        fill(*buffer, sent);
        pw_stream_queue_buffer(stream, buffer);
        pw_stream_trigger_process(stream);
    }
    pw_thread_loop_unlock(loop);
    return buffer != nullptr;
}

void ScriptedScreen::nudge() {
    pw_thread_loop_lock(loop);
    if (state == PW_STREAM_STATE_STREAMING) pw_stream_trigger_process(stream);
    pw_thread_loop_unlock(loop);
}

void ScriptedScreen::fill(pw_buffer& buffer, const Sent& sent) {
    spa_buffer* const spa = buffer.buffer;
    const auto& planes = memory[&buffer];
    std::memset(planes[0].bytes, 0x77, planes[0].size); // what was there before is no picture
    if (sent.offset + sent.picture.bytes.size() > planes[0].size) std::abort();
    std::copy(sent.picture.bytes.begin(), sent.picture.bytes.end(), planes[0].bytes + sent.offset);
    if (planes.size() > 1) std::copy(sent.secondPlane.begin(), sent.secondPlane.end(), planes[1].bytes);
    for (uint32_t i = 0; i < spa->n_datas; ++i) {
        *spa->datas[i].chunk = {
            sent.offset,
            sent.isEmpty || !script.tellsSizes ? 0 : static_cast<uint32_t>(sent.picture.bytes.size()),
            sent.picture.stride, static_cast<int32_t>(sent.chunkFlags)};
    }
    const auto meta = [spa]<typename Meta>(uint32_t type, Meta*) {
        return static_cast<Meta*>(spa_buffer_find_meta_data(spa, type, sizeof(Meta)));
    };
    const auto asRegion = [](const Region& one) {
        return spa_meta_region{{{one.x, one.y}, {one.width, one.height}}};
    };
    if (auto* const header = meta(SPA_META_Header, static_cast<spa_meta_header*>(nullptr)))
        *header = {.flags = sent.headerFlags, .offset = 0, .pts = -1, .dts_offset = 0, .seq = ++sequence};
    if (auto* const turn = meta(SPA_META_VideoTransform, static_cast<spa_meta_videotransform*>(nullptr)))
        turn->transform = sent.picture.transform;
    if (auto* const crop = meta(SPA_META_VideoCrop, static_cast<spa_meta_region*>(nullptr)))
        *crop = asRegion(sent.crop.value_or(Region{}));
    if (auto* const list = spa_buffer_find_meta(spa, SPA_META_VideoDamage)) {
        auto* const regions = static_cast<spa_meta_region*>(list->data);
        std::fill_n(regions, list->size / sizeof *regions, spa_meta_region{});
        const auto everything = std::vector<Region>{
            {0, 0, static_cast<uint32_t>(sent.picture.width), static_cast<uint32_t>(sent.picture.height)}};
        const auto damage = sent.damage.value_or(everything);
        std::transform(damage.begin(), damage.end(), regions, asRegion);
    }
}

void ScriptedScreen::offer(Script changed) {
    pw_thread_loop_lock(loop);
    script = std::move(changed);
    auto pods = formats(std::nullopt);
    pw_stream_update_params(stream, pods.data(), static_cast<uint32_t>(pods.size()));
    pw_thread_loop_unlock(loop);
}

void ScriptedScreen::end() {
    pw_thread_loop_lock(loop);
    pw_stream_destroy(std::exchange(stream, nullptr));
    state = PW_STREAM_STATE_UNCONNECTED;
    pw_thread_loop_unlock(loop);
}

std::optional<uint64_t> ScriptedScreen::agreedModifier() const {
    pw_thread_loop_lock(loop);
    const auto result = modifier;
    pw_thread_loop_unlock(loop);
    return result;
}

int ScriptedScreen::beginnings() const {
    pw_thread_loop_lock(loop);
    const int result = begun;
    pw_thread_loop_unlock(loop);
    return result;
}

int ScriptedScreen::negotiations() const {
    pw_thread_loop_lock(loop);
    const int result = agreed;
    pw_thread_loop_unlock(loop);
    return result;
}

} // namespace vintra
