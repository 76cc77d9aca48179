#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct pw_core;
struct pw_node;
struct pw_registry;
struct spa_hook;
struct spa_pod;

namespace vintra {

/// What the desktop's end of a video stream can send. A receiver isn't told by PipeWire that no format is in common: the
/// link between the two just never comes about. Owned by the receiver, on its thread.
class PortalNode {
public:
    struct Listener {
        /// All formats are known, or as much as can be; once at the beginning, and when they change.
        std::function<void()> onFormats;
    };
    PortalNode(pw_core* core, pw_registry* registry, uint32_t id, Listener listener);
    /// Before the core goes.
    ~PortalNode();
    PortalNode(const PortalNode&) = delete;
    PortalNode& operator=(const PortalNode&) = delete;

    /// Whether one of these formats is among those that it can send. True too if those aren't known.
    bool canSendAnyOf(const std::vector<const spa_pod*>& formats) const;
    bool hasToldFormats() const { return !formats.empty(); }
    /// What the desktop calls the stream; empty if it doesn't.
    const std::string& name() const { return name_; }
    /// Its formats in words; empty if they aren't known.
    std::string formatsInWords() const;

private:
    struct Events;

    void note(uint32_t index, const spa_pod* param);
    void await();

    pw_core* const core;
    const Listener listener;
    pw_node* node = nullptr;
    std::unique_ptr<spa_hook> coreHook;
    std::unique_ptr<spa_hook> nodeHook;
    std::string name_;
    int awaited = 0;                            ///< the answer after which all has been told
    std::vector<std::vector<uint64_t>> formats; ///< parameters, by their words
    std::vector<std::vector<uint64_t>> coming;  ///< as much of the next list as has been told
};

} // namespace vintra
