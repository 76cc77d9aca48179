#include "Vintra/platform/linux/pipewire/PipeWireFilters.h"

#include "Vintra/platform/linux/pipewire/PipeWireLinks.h"
#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <pipewire/pipewire.h>

#include <string_view>
#include <utility>

namespace vintra {
namespace {

std::string textOf(const spa_dict* properties, const char* key) {
    const char* const value = properties != nullptr ? spa_dict_lookup(properties, key) : nullptr;
    return value != nullptr ? value : "";
}

} // namespace

struct PipeWireFilters::Stream {
    Stream(pw_proxy* proxy, bool plays, const std::function<void()>& changed)
        : proxy(proxy)
        , plays(plays)
        , changed(changed) {
        pw_node_add_listener(reinterpret_cast<pw_node*>(proxy), &hook, &table, this);
    }
    ~Stream() {
        spa_hook_remove(&hook);
        pw_proxy_destroy(proxy);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    static void info(void* data, const pw_node_info* info) {
        auto& self = *static_cast<Stream*>(data);
        if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) == 0) return;
        const std::string group = std::exchange(self.linkGroup, textOf(info->props, PW_KEY_NODE_LINK_GROUP));
        const std::string target = textOf(info->props, PW_KEY_TARGET_OBJECT);
        const std::string node = textOf(info->props, "node.target");
        const auto isNamed = [](const std::string& text) { return !text.empty() && text != "-1"; };
        self.hasTarget = isNamed(target) || isNamed(node);
        if (self.linkGroup != group) self.changed();
    }
    static constexpr pw_node_events table = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.info = info;
        return events;
    }();

    pw_proxy* const proxy;
    const bool plays;
    const std::function<void()>& changed;
    spa_hook hook{};
    std::string linkGroup;
    bool hasTarget = false;
};

PipeWireFilters::PipeWireFilters(PipeWireLoop& loop, const PipeWireLinks& links,
                                 std::function<void()> changed)
    : loop(loop)
    , links(links)
    , changed(std::move(changed)) {}

PipeWireFilters::~PipeWireFilters() = default;

void PipeWireFilters::bind(pw_registry& registry, uint32_t globalID, const char* type,
                           const spa_dict& properties) {
    loop.assertHeld();
    if (std::string_view(type) != PW_TYPE_INTERFACE_Node) return;
    const std::string mediaClass = textOf(&properties, PW_KEY_MEDIA_CLASS);
    const bool plays = mediaClass == "Stream/Output/Audio";
    if (!plays && mediaClass != "Stream/Input/Audio") return;
    void* const proxy = pw_registry_bind(&registry, globalID, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0);
    if (proxy != nullptr)
        streams[globalID] = std::make_unique<Stream>(static_cast<pw_proxy*>(proxy), plays, changed);
}

void PipeWireFilters::remove(uint32_t globalID) {
    loop.assertHeld();
    streams.erase(globalID);
}

void PipeWireFilters::clear() {
    loop.assertHeld();
    streams.clear();
}

const PipeWireFilters::Stream* PipeWireFilters::streamBehind(const PipeWireNode& sink,
                                                             uint32_t* globalID) const {
    loop.assertHeld();
    if (sink.linkGroup.empty() || !sink.isOutput()) return nullptr;
    for (const auto& [id, stream] : streams) {
        if (!stream->plays || stream->linkGroup != sink.linkGroup) continue;
        if (globalID != nullptr) *globalID = id;
        return stream.get();
    }
    return nullptr;
}

bool PipeWireFilters::followsDefault(const PipeWireNode& sink) const {
    const Stream* const stream = streamBehind(sink);
    return stream != nullptr && !stream->hasTarget;
}

std::optional<uint32_t> PipeWireFilters::playsTo(const PipeWireNode& sink) const {
    uint32_t player = PW_ID_ANY;
    if (streamBehind(sink, &player) == nullptr) return std::nullopt;
    const auto receivers = links.receiversOf(player);
    return receivers.empty() ? std::nullopt : std::optional(receivers.front());
}

std::vector<uint32_t> PipeWireFilters::streamsOf(const std::string& linkGroup, bool thatPlay) const {
    loop.assertHeld();
    std::vector<uint32_t> result;
    for (const auto& [id, stream] : streams) {
        if (stream->plays == thatPlay && stream->linkGroup == linkGroup) result.push_back(id);
    }
    return result;
}

} // namespace vintra
