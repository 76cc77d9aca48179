#include "Vintra/platform/linux/pipewire/PipeWireVideoSources.h"

#include "Vintra/platform/linux/pipewire/PipeWireLinks.h"
#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <pipewire/pipewire.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace vintra {
namespace {

std::string videoProperty(const spa_dict* properties, const char* key) {
    const char* const value = properties != nullptr ? spa_dict_lookup(properties, key) : nullptr;
    return value != nullptr ? value : "";
}

bool isCamera(const spa_dict& properties) {
    if (videoProperty(&properties, PW_KEY_MEDIA_CLASS) != "Video/Source") return false;
    const std::string role = videoProperty(&properties, PW_KEY_MEDIA_ROLE);
    const std::string api = videoProperty(&properties, PW_KEY_DEVICE_API);
    return role == "Camera" || (role.empty() && (api == "v4l2" || api == "libcamera"));
}

} // namespace

struct PipeWireVideoSources::Node {
    Node(PipeWireLoop& loop, pw_core& core, pw_proxy* proxy, uint32_t globalID)
        : loop(loop)
        , core(core)
        , proxy(proxy) {
        source.globalID = globalID;
        pw_node_add_listener(reinterpret_cast<pw_node*>(proxy), &hook, &table, this);
    }
    ~Node() {
        spa_hook_remove(&hook);
        pw_proxy_destroy(proxy);
    }
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    bool isPending() const { return awaitedSync.has_value() || !isKnown; }
    bool isListed() const { return isComplete && !source.name.empty() && !source.formats.empty(); }

    static void info(void* data, const pw_node_info* info) { static_cast<Node*>(data)->info(*info); }
    static void param(void* data, int sequence, uint32_t id, uint32_t, uint32_t, const spa_pod* parameter) {
        auto& self = *static_cast<Node*>(data);
        // What an earlier question brings is out of date.
        if (id != SPA_PARAM_EnumFormat || parameter == nullptr || sequence != self.question) return;
        const size_t bytes = SPA_POD_SIZE(parameter);
        std::vector<uint64_t> copy((bytes + 7) / 8);
        std::memcpy(copy.data(), parameter, bytes);
        self.coming.push_back(std::move(copy));
    }
    static constexpr pw_node_events table = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.info = info;
        events.param = param;
        return events;
    }();

    void info(const pw_node_info& info) {
        loop.assertHeld();
        bool hasChanged = !isKnown;
        if ((info.change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info.props != nullptr) {
            source.name = videoProperty(info.props, PW_KEY_NODE_NAME);
            source.description = videoProperty(info.props, PW_KEY_NODE_DESCRIPTION);
            if (source.description.empty()) source.description = videoProperty(info.props, PW_KEY_NODE_NICK);
            if (source.description.empty()) source.description = source.name;
            hasChanged = true;
        }
        for (uint32_t i = 0; (info.change_mask & PW_NODE_CHANGE_MASK_PARAMS) != 0 && i < info.n_params; ++i) {
            const spa_param_info& offered = info.params[i];
            if (offered.id != SPA_PARAM_EnumFormat || formatFlags == offered.flags) continue;
            formatFlags = offered.flags;
            hasChanged = true;
            coming.clear();
            if ((offered.flags & SPA_PARAM_INFO_READ) == 0) continue;
            question = pw_node_enum_params(reinterpret_cast<pw_node*>(proxy), 0, SPA_PARAM_EnumFormat, 0,
                                           UINT32_MAX, nullptr);
        }
        // What was asked is answered before this is.
        if (hasChanged) awaitedSync = pw_core_sync(&core, PW_ID_CORE, 0);
        isKnown = true;
    }

    PipeWireLoop& loop;
    pw_core& core;
    pw_proxy* const proxy;
    spa_hook hook{};
    PipeWireVideoSource source;
    std::vector<std::vector<uint64_t>> coming; ///< the formats, as they are told
    std::optional<uint32_t> formatFlags;       ///< when the formats were last asked for
    int question = 0;                          ///< the number of that request
    std::optional<int> awaitedSync;
    bool isKnown = false;
    bool isComplete = false;
};

PipeWireVideoSources::PipeWireVideoSources(PipeWireLoop& loop, const PipeWireLinks& links,
                                           ChangeHandler changed)
    : loop(loop)
    , links(links)
    , changed(std::move(changed)) {}

PipeWireVideoSources::~PipeWireVideoSources() = default;

std::vector<PipeWireVideoSource> PipeWireVideoSources::all() const {
    loop.assertHeld();
    std::vector<PipeWireVideoSource> result;
    for (const auto& [id, node] : nodes) {
        if (node->isListed()) result.push_back(node->source);
    }
    return result;
}

bool PipeWireVideoSources::isReadByAnother(uint32_t source, const std::vector<uint32_t>& than) const {
    loop.assertHeld();
    return std::ranges::any_of(links.receiversOf(source), [&](uint32_t reader) {
        return std::ranges::find(than, reader) == than.end();
    });
}

void PipeWireVideoSources::bind(pw_core& core, pw_registry& registry, uint32_t globalID, const char* type,
                                const spa_dict& properties) {
    loop.assertHeld();
    if (std::string_view(type) != PW_TYPE_INTERFACE_Node || !isCamera(properties)) return;
    void* const proxy = pw_registry_bind(&registry, globalID, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0);
    if (proxy == nullptr) return;
    nodes[globalID] = std::make_unique<Node>(loop, core, static_cast<pw_proxy*>(proxy), globalID);
}

bool PipeWireVideoSources::isPending() const {
    loop.assertHeld();
    return std::ranges::any_of(nodes, [](const auto& entry) { return entry.second->isPending(); });
}

void PipeWireVideoSources::syncDone(int sequence) {
    loop.assertHeld();
    bool hasChanged = false;
    for (const auto& [id, node] : nodes) {
        if (node->awaitedSync != sequence) continue;
        node->awaitedSync.reset();
        node->source.formats = node->coming;
        node->isComplete = true;
        hasChanged = true;
    }
    if (hasChanged) changed({.cameras = true});
}

void PipeWireVideoSources::remove(uint32_t globalID) {
    loop.assertHeld();
    if (nodes.erase(globalID) > 0) changed({.cameras = true});
}

void PipeWireVideoSources::clear() {
    loop.assertHeld();
    const bool hadNodes = !nodes.empty();
    unbind();
    if (hadNodes) changed({.cameras = true});
}

void PipeWireVideoSources::unbind() {
    loop.assertHeld();
    nodes.clear();
}

} // namespace vintra
