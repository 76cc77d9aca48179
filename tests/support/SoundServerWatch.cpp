#include "tests/support/SoundServerWatch.h"

#include <pipewire/impl.h>

#include <pipewire/extensions/profiler.h>
#include <spa/param/profiler.h>
#include <spa/pod/iter.h>
#include <spa/pod/parser.h>

#include <cstdlib>
#include <string_view>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kLateNanoseconds = 2'000'000;
constexpr int32_t kFinished = 3; // of a node in its cycle

} // namespace

struct SoundServerWatch::Events {
    static SoundServerWatch& self(void* data) {
        auto& watch = *static_cast<SoundServerWatch*>(data);
        watch.loop.assertHeld();
        return watch;
    }
    static void global(void* data, uint32_t id, uint32_t, const char* type, uint32_t, const spa_dict*) {
        SoundServerWatch& watch = self(data);
        watch.loop.assertHeld();
        watch.bind(id, type);
    }
    static void profile(void* data, const spa_pod* pod) {
        SoundServerWatch& watch = self(data);
        watch.loop.assertHeld();
        watch.profile(pod);
    }
    static constexpr pw_registry_events registry = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global = global;
        return events;
    }();
    static constexpr pw_profiler_events profiler = [] {
        pw_profiler_events events{};
        events.version = PW_VERSION_PROFILER_EVENTS;
        events.profile = profile;
        return events;
    }();
};

std::string SoundServerWatch::Losses::text() const {
    return std::to_string(cycles) + " cycles, " + std::to_string(lateClocks) + " late, " +
           std::to_string(unfinished) + " unfinished, " + std::to_string(unwatched) + " unwatched";
}

SoundServerWatch::SoundServerWatch() {
    PipeWireLock lock(loop);
    const int64_t deadline = PipeWireLoop::deadlineIn(2.0);
    if (!loop.isUsable() || !connect()) return;
    while (losses_.cycles == 0 && loop.waitUntil(deadline)) {
    }
}

SoundServerWatch::~SoundServerWatch() {
    PipeWireLock lock(loop);
    if (profiler != nullptr) {
        spa_hook_remove(profilerHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(profiler));
    }
    if (registry != nullptr) {
        spa_hook_remove(registryHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    if (core != nullptr) pw_core_disconnect(core);
    if (context != nullptr) pw_context_destroy(context);
}

bool SoundServerWatch::connect() {
    context = pw_context_new(loop.loop(), nullptr, 0);
    if (context == nullptr) return false;
    pw_context_load_module(context, PW_EXTENSION_MODULE_PROFILER, nullptr, nullptr); // its protocol
    core = pw_context_connect(context, nullptr, 0);
    if (core == nullptr) return false;
    registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    registryHook = std::make_unique<spa_hook>();
    pw_registry_add_listener(registry, registryHook.get(), &Events::registry, this);
    return true;
}

void SoundServerWatch::bind(uint32_t id, const char* type) {
    if (profiler != nullptr || std::string_view(type) != PW_TYPE_INTERFACE_Profiler) return;
    profiler = static_cast<pw_profiler*>(pw_registry_bind(registry, id, type, PW_VERSION_PROFILER, 0));
    if (profiler == nullptr) return;
    profilerHook = std::make_unique<spa_hook>();
    pw_profiler_add_listener(profiler, profilerHook.get(), &Events::profiler, this);
}

void SoundServerWatch::profile(const spa_pod* pod) {
    const void* const body = SPA_POD_BODY_CONST(pod);
    const auto* cycle = static_cast<const spa_pod*>(body);
    while (spa_pod_is_inside(body, SPA_POD_BODY_SIZE(pod), cycle)) {
        if (spa_pod_is_object_type(cycle, SPA_TYPE_OBJECT_Profiler)) readCycle(cycle);
        cycle = static_cast<const spa_pod*>(spa_pod_next(cycle));
    }
    loop.signal();
}

void SoundServerWatch::readCycle(const spa_pod* cycle) {
    ++losses_.cycles;
    const auto* const object = reinterpret_cast<const spa_pod_object*>(cycle);
    const spa_pod_prop* field = nullptr;
    SPA_POD_OBJECT_FOREACH(object, field) {
        if (field->key == SPA_PROFILER_info) {
            int64_t count = 0;
            spa_pod_parse_struct(&field->value, SPA_POD_Long(&count));
            if (lastCount >= 0 && count > lastCount + 1) losses_.unwatched += count - lastCount - 1;
            lastCount = count;
        } else if (field->key == SPA_PROFILER_clock) {
            readClock(&field->value);
        } else if (field->key == SPA_PROFILER_followerBlock) {
            int32_t id = 0;
            const char* name = nullptr;
            int64_t times[4] = {};
            int32_t status = 0;
            spa_pod_parse_struct(&field->value, SPA_POD_Int(&id), SPA_POD_String(&name),
                                 SPA_POD_Long(&times[0]), SPA_POD_Long(&times[1]), SPA_POD_Long(&times[2]),
                                 SPA_POD_Long(&times[3]), SPA_POD_Int(&status));
            losses_.unfinished += status != kFinished;
        }
    }
}

void SoundServerWatch::readClock(const spa_pod* clock) {
    int32_t flags = 0;
    int32_t id = 0;
    const char* name = nullptr;
    int64_t nanoseconds = 0;
    spa_fraction rate{};
    int64_t position = 0;
    int64_t duration = 0;
    spa_pod_parse_struct(clock, SPA_POD_Int(&flags), SPA_POD_Int(&id), SPA_POD_String(&name),
                         SPA_POD_Long(&nanoseconds), SPA_POD_Fraction(&rate), SPA_POD_Long(&position),
                         SPA_POD_Long(&duration));
    if (rate.denom == 0) return;
    const auto known = clocks.find(id);
    if (known != clocks.end() && std::llabs(nanoseconds - known->second.nextNanoseconds) >= kLateNanoseconds)
        ++losses_.lateClocks;
    clocks[id].nextNanoseconds = nanoseconds + duration * 1'000'000'000 * rate.num / rate.denom;
}

SoundServerWatch::Losses SoundServerWatch::losses() {
    PipeWireLock lock(loop);
    return losses_;
}

SoundServerWatch::Losses SoundServerWatch::takeLosses() {
    PipeWireLock lock(loop);
    return std::exchange(losses_, {});
}

} // namespace vintra
