#include "Vintra/platform/linux/pipewire/PipeWireNodeBinding.h"

#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <pipewire/pipewire.h>

#include <cstdlib>

namespace vintra {

struct PipeWireNodeBinding::Events {
    static void info(void* data, const pw_node_info* info) {
        static_cast<PipeWireNodeBinding*>(data)->nodeInfo(info);
    }
    static void param(void* data, int, uint32_t id, uint32_t, uint32_t, const spa_pod* parameter) {
        static_cast<PipeWireNodeBinding*>(data)->parameter(id, parameter);
    }
    static constexpr pw_node_events table = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.info = info;
        events.param = param;
        return events;
    }();
};

PipeWireNodeBinding::PipeWireNodeBinding(PipeWireLoop& loop, pw_core& core, pw_proxy* proxy,
                                         uint32_t globalID, PipeWireNodeKind kind)
    : loop(loop)
    , core(core)
    , proxy(proxy)
    , hook(std::make_unique<spa_hook>()) {
    node.globalID = globalID;
    node.kind = kind;
    pw_node_add_listener(reinterpret_cast<pw_node*>(proxy), hook.get(), &Events::table, this);
}

PipeWireNodeBinding::~PipeWireNodeBinding() {
    spa_hook_remove(hook.get());
    pw_proxy_destroy(proxy);
}

void PipeWireNodeBinding::nodeInfo(const pw_node_info* info) {
    loop.assertHeld();
    bool hasChanged = false;
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0 && info->props != nullptr) {
        const auto text = [info](const char* key) {
            const char* value = spa_dict_lookup(info->props, key);
            return std::string(value != nullptr ? value : "");
        };
        node.name = text(PW_KEY_NODE_NAME);
        node.description = text(PW_KEY_NODE_DESCRIPTION);
        if (node.description.empty()) node.description = text(PW_KEY_NODE_NICK);
        if (node.description.empty()) node.description = node.name;
        node.sessionPriority = std::atoi(text(PW_KEY_PRIORITY_SESSION).c_str());
        node.isBuiltIn = isBuiltIn(info->props);
        node.linkGroup = text(PW_KEY_NODE_LINK_GROUP);
        propertyFormat = pipeWireAudioFormat(info->props);
        hasChanged = true;
    }
    if ((info->change_mask & PW_NODE_CHANGE_MASK_STATE) != 0) {
        const bool runsNow = info->state == PW_NODE_STATE_RUNNING;
        if (runsNow != isRunning && node.isVirtualDevice()) hasChanged = true;
        isRunning = runsNow;
    }
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PARAMS) != 0) {
        for (uint32_t index = 0; index < info->n_params; ++index) {
            const spa_param_info& offered = info->params[index];
            const bool isVolume = offered.id == SPA_PARAM_Props && node.isOutput();
            if (offered.id != SPA_PARAM_EnumFormat && offered.id != SPA_PARAM_Format && !isVolume) continue;
            const auto flags = parameterFlags.find(offered.id);
            if (flags != parameterFlags.end() && flags->second == offered.flags) continue;
            parameterFlags[offered.id] = offered.flags;
            parameterFormats.erase(offered.id);
            hasChanged = true;
            if ((offered.flags & SPA_PARAM_INFO_READ) == 0) continue;
            pw_node_enum_params(reinterpret_cast<pw_node*>(proxy), 0, offered.id, 0, UINT32_MAX, nullptr);
        }
    }
    // What was asked is answered before this is.
    if (hasChanged || !known) awaitedSync = pw_core_sync(&core, PW_ID_CORE, 0);
    known = true;
}

void PipeWireNodeBinding::parameter(uint32_t id, const spa_pod* parameter) {
    if (id == SPA_PARAM_Props) {
        readVolume(parameter, node);
        return;
    }
    // Of several formats the first is the one that the device prefers.
    if (parameterFormats.contains(id)) return;
    if (const auto format = pipeWireAudioFormat(parameter)) parameterFormats[id] = *format;
}

std::optional<PipeWireNode> PipeWireNodeBinding::syncDone(int sequence, uint32_t graphRate) {
    if (awaitedSync != sequence) return std::nullopt;
    awaitedSync.reset();
    // What it runs at counts for more than what its makers wrote down, and that for more than what it offers.
    PipeWireAudioFormat format = parameterFormats[SPA_PARAM_Format];
    format = completed(format, propertyFormat);
    format = completed(format, parameterFormats[SPA_PARAM_EnumFormat]);
    // The virtual device runs at the rate of its cycles, which is kept as its format until it is suspended.
    if (format.sampleRate == 0 || (node.isVirtualDevice() && !isRunning)) format.sampleRate = graphRate;
    node.format = format;
    if (node.name.empty()) return std::nullopt;
    return node;
}

} // namespace vintra
