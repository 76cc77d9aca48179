#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/pipewire/PipeWireChange.h"
#include "Vintra/platform/linux/pipewire/PipeWireDeviceList.h"
#include "Vintra/platform/linux/pipewire/PipeWireFilters.h"
#include "Vintra/platform/linux/pipewire/PipeWireLinks.h"
#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"
#include "Vintra/platform/linux/pipewire/PipeWireTables.h"
#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"
#include "Vintra/platform/linux/pipewire/PipeWireVideoSources.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_context;
struct pw_core;
struct pw_core_info;
struct pw_registry;
struct spa_dict;
struct spa_hook;

namespace vintra {

/// The program's one connection to the PipeWire server, with the server's sound devices, cameras and tables. Shared by all
/// that speaks PipeWire. Any thread, except that the last reference must not go on PipeWire's own.
///
///     connected --(the server ends)--> away: no devices, no tables --(it answers again)--> connected --> ...
///
/// A server that is away is looked for until it is there. Streams of the old one have ended for good, and whoever
/// wants them makes new ones.
class PipeWireConnection {
public:
    /// Blocks until the list of devices is complete, for 2 s at most. Without a server the list is empty until there
    /// is one. An empty name stands for the user's own server; PIPEWIRE_REMOTE, where it is set, outranks the name.
    explicit PipeWireConnection(const std::string& serverName = {});
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    /// Why there are no devices, as a sentence for the user; nothing while the server answers.
    std::optional<std::string> problem() const EXCLUDES(mutex);
    /// Whether devices can be used: the server answers, and a session manager links its streams.
    bool isServiceRunning();

    const PipeWireDeviceList& devices() const { return devices_; }
    /// With the loop's lock held.
    PipeWireTables& tables() { return tables_; }
    /// With the loop's lock held.
    const PipeWireLinks& links() const { return links_; }
    /// With the loop's lock held.
    const PipeWireFilters& filters() const { return filters_; }
    /// With the loop's lock held.
    const PipeWireVideoSources& videoSources() const { return videoSources_; }
    /// For what has come of a change rather later than with it. With the loop's lock held.
    void announce(const PipeWireChange& change) { notify(change); }

    /// Calls the block with PipeWire's lock held, mostly on its thread, after each change for as long as the
    /// result is kept. A call that is under way when the result goes is not waited for. The block must not wait
    /// for anything.
    [[nodiscard]] std::shared_ptr<void> observe(std::function<void(const PipeWireChange&)> block)
        EXCLUDES(mutex);

    PipeWireLoop& loop() VINTRA_THREAD_ANNOTATION(lock_returned(loop_)) { return loop_; }
    /// Null without a server. Whoever makes something on it keeps it until that has gone, and lets go of it with the
    /// loop's lock held.
    std::shared_ptr<pw_core> core() REQUIRES(loop_) { return core_; }
    /// For further connections to the same server; empty for the user's own.
    const std::string& serverName() const { return serverName_; }
    /// The rate of the graph's cycles where nobody asks for another one.
    uint32_t graphRate() REQUIRES(loop_);

    /// The rate at which a device has been made to run, whether it runs now or not; 0 ends that.
    void setForcedRate(uint32_t number, uint32_t rate);

private:
    struct Events;
    using Block = std::function<void(const PipeWireChange&)>;

    bool connect() REQUIRES(loop_);
    void disconnect() REQUIRES(loop_);
    void reconnect() REQUIRES(loop_);
    void awaitDevices() REQUIRES(loop_);
    bool isComplete() const REQUIRES(loop_);
    /// The number of a request that the server answers after all that was asked before.
    int requestSync() REQUIRES(loop_);

    void globalAppeared(uint32_t id, const char* type, const spa_dict& properties) REQUIRES(loop_);
    void globalRemoved(uint32_t id) REQUIRES(loop_);
    void coreInfo(const pw_core_info* info) REQUIRES(loop_);
    void syncDone(int sequence) REQUIRES(loop_);
    void answered() REQUIRES(loop_) EXCLUDES(mutex);
    void lost() REQUIRES(loop_) EXCLUDES(mutex);
    void tableChanged(const std::string& table, const std::string& key);
    void notify(const PipeWireChange& change) EXCLUDES(mutex);

    const std::string serverName_;
    PipeWireLoop loop_{"vintra-pipewire"};
    pw_context* context GUARDED_BY(loop_) = nullptr;
    std::shared_ptr<pw_core> core_ GUARDED_BY(loop_);
    pw_registry* registry GUARDED_BY(loop_) = nullptr;
    std::unique_ptr<spa_hook> coreHook GUARDED_BY(loop_);
    std::unique_ptr<spa_hook> registryHook GUARDED_BY(loop_);
    uint32_t defaultRate GUARDED_BY(loop_) = 48000;
    int awaitedSync GUARDED_BY(loop_) = 0;
    int syncsToCome GUARDED_BY(loop_) = 0; ///< before the first list of this server is complete
    bool isFirstServer GUARDED_BY(loop_) = true;
    std::unique_ptr<PipeWireTimer> retry GUARDED_BY(loop_);
    PipeWireDeviceList devices_;
    PipeWireTables tables_;
    PipeWireLinks links_{loop_};
    PipeWireFilters filters_;
    PipeWireVideoSources videoSources_;

    mutable Mutex mutex;
    std::optional<std::string> problem_ GUARDED_BY(mutex);
    std::vector<std::weak_ptr<Block>> observers GUARDED_BY(mutex);
};

} // namespace vintra
