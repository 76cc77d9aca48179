#include "Vintra/platform/linux/wayland/PortalNode.h"

#include <pipewire/pipewire.h>
#include <spa/debug/types.h>
#include <spa/param/video/format-utils.h>
#include <spa/param/video/type-info.h>
#include <spa/pod/filter.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace vintra {
namespace {

const spa_pod* asPod(const std::vector<uint64_t>& words) {
    return reinterpret_cast<const spa_pod*>(words.data());
}

} // namespace

struct PortalNode::Events {
    static PortalNode& self(void* data) { return *static_cast<PortalNode*>(data); }

    static void done(void* data, uint32_t id, int sequence) {
        PortalNode& owner = self(data);
        if (id != PW_ID_CORE || sequence != owner.awaited) return;
        owner.formats = std::exchange(owner.coming, {});
        owner.listener.onFormats();
    }
    static void info(void* data, const pw_node_info* info) {
        const char* const name = info->props ? spa_dict_lookup(info->props, PW_KEY_MEDIA_NAME) : nullptr;
        if (name) self(data).name_ = name;
    }
    static void param(void* data, int, uint32_t id, uint32_t index, uint32_t, const spa_pod* param) {
        if (id == SPA_PARAM_EnumFormat && param) self(data).note(index, param);
    }

    static constexpr pw_core_events core = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.done = done;
        return events;
    }();
    static constexpr pw_node_events node = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.info = info;
        events.param = param;
        return events;
    }();
};

PortalNode::PortalNode(pw_core* core, pw_registry* registry, uint32_t id, Listener listener)
    : core(core)
    , listener(std::move(listener))
    , coreHook(std::make_unique<spa_hook>())
    , nodeHook(std::make_unique<spa_hook>()) {
    pw_core_add_listener(core, coreHook.get(), &Events::core, this);
    node = static_cast<pw_node*>(pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    if (node) {
        pw_node_add_listener(node, nodeHook.get(), &Events::node, this);
        std::array<uint32_t, 1> wanted{SPA_PARAM_EnumFormat};
        pw_node_subscribe_params(node, wanted.data(), static_cast<uint32_t>(wanted.size()));
    }
    await();
}

PortalNode::~PortalNode() {
    if (node) {
        spa_hook_remove(nodeHook.get());
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(node));
    }
    spa_hook_remove(coreHook.get());
}

void PortalNode::await() {
    awaited = pw_core_sync(core, PW_ID_CORE, 0);
}

/// A changed list comes from its beginning again.
void PortalNode::note(uint32_t index, const spa_pod* param) {
    if (index == 0) {
        coming.clear();
        await();
    }
    std::vector<uint64_t> words((SPA_POD_SIZE(param) + sizeof(uint64_t) - 1) / sizeof(uint64_t));
    std::memcpy(words.data(), param, SPA_POD_SIZE(param));
    coming.push_back(std::move(words));
}

bool PortalNode::canSendAnyOf(const std::vector<const spa_pod*>& wanted) const {
    if (formats.empty()) return true;
    return std::ranges::any_of(formats, [&](const std::vector<uint64_t>& theirs) {
        return std::ranges::any_of(wanted, [&](const spa_pod* ours) {
            std::vector<uint64_t> memory(theirs.size() + SPA_POD_SIZE(ours) / sizeof(uint64_t) + 128);
            spa_pod_builder builder{};
            spa_pod_builder_init(&builder, memory.data(),
                                 static_cast<uint32_t>(memory.size() * sizeof(uint64_t)));
            spa_pod* common = nullptr;
            return spa_pod_filter(&builder, &common, asPod(theirs), ours) >= 0;
        });
    });
}

std::string PortalNode::formatsInWords() const {
    std::string words;
    for (const auto& format : formats) {
        spa_video_info_raw raw{};
        if (spa_format_video_raw_parse(asPod(format), &raw) < 0) continue;
        const char* const name = spa_debug_type_find_short_name(spa_type_video_format, raw.format);
        const bool isGraphics = (raw.flags & SPA_VIDEO_FLAG_MODIFIER) != 0;
        const std::string one = std::string(name ? name : "an unknown format") +
                                (isGraphics ? " in the graphics card's memory" : " in plain memory");
        if (words.find(one) == std::string::npos) words += (words.empty() ? "" : ", ") + one;
    }
    return words;
}

} // namespace vintra
