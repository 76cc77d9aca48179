#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"
#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"

#include <cstdint>
#include <functional>
#include <map>
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

class PipeWireMetadata;
class PipeWireNodeBinding;

/// What has changed in the list of sound devices or in what is said about all of them.
struct PipeWireChange {
    bool devices = false;                 ///< one came, went, or has another name or other channels
    std::optional<uint32_t> rateOfDevice; ///< the one that has another nominal rate
    std::string defaultsKey;              ///< of the `default` metadata; empty: not that
};

/// The program's one connection to the PipeWire server, and the list of sound devices that it keeps up to
/// date. Shared by all that speaks PipeWire. Any thread, except that the last reference must not go on
/// PipeWire's own.
///
/// A device's number is given once to its name for the connection's life: a device that comes back has the
/// number it had.
class PipeWireConnection {
public:
    /// Blocks until the list is complete, for 2 s at most. Without a server the list is empty and stays so.
    /// An empty name stands for the user's own server; PIPEWIRE_REMOTE, where it is set, outranks the name.
    explicit PipeWireConnection(const std::string& serverName = {});
    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    /// Why there are no devices, as a sentence for the user; nothing while the server answers.
    std::optional<std::string> problem() const EXCLUDES(mutex);

    /// Devices in the order in which they were first seen.
    std::vector<uint32_t> deviceNumbers() const EXCLUDES(mutex);
    std::optional<PipeWireNode> device(uint32_t number) const EXCLUDES(mutex);
    std::optional<uint32_t> numberNamed(const std::string& name) const EXCLUDES(mutex);
    std::optional<PipeWireNode> deviceNamed(const std::string& name) const EXCLUDES(mutex);

    /// Calls the block with PipeWire's lock held, mostly on its thread, after each change for as long as the
    /// result is kept. When the result goes, a call that is under way goes on. The block must not wait for
    /// anything.
    [[nodiscard]] std::shared_ptr<void> observe(std::function<void(const PipeWireChange&)> block)
        EXCLUDES(mutex);

    PipeWireLoop& loop() VINTRA_THREAD_ANNOTATION(lock_returned(loop_)) { return loop_; }
    /// Null without a server.
    pw_core* core() REQUIRES(loop_) { return core_; }
    /// For further connections to the same server; empty for the user's own.
    const std::string& serverName() const { return serverName_; }
    /// Null if the server has no such table.
    PipeWireMetadata* metadata(const std::string& name) REQUIRES(loop_);
    /// Forgets the table and asks the server for all of it: an owner that has just begun may leave a client
    /// untold of every change (PipeWire 0.3.65). Not from a callback of the table's own.
    void readMetadataAgain(const std::string& name) REQUIRES(loop_);
    /// The rate that a cycle of the whole graph has where nobody asks for another one.
    uint32_t graphRate() REQUIRES(loop_);

    /// The rate at which a device has been made to run, whether it runs now or not; 0 ends that.
    void setForcedRate(uint32_t number, uint32_t rate) EXCLUDES(mutex);

private:
    struct Events;
    friend class PipeWireMetadata;
    friend class PipeWireNodeBinding;
    using Block = std::function<void(const PipeWireChange&)>;

    bool connect() REQUIRES(loop_);
    void awaitDevices() REQUIRES(loop_);
    bool isComplete() const REQUIRES(loop_);
    /// The number of a request that the server answers after all that was asked before.
    int requestSync() REQUIRES(loop_);

    void globalAppeared(uint32_t id, const char* type, const spa_dict* properties) REQUIRES(loop_);
    void metadataAppeared(uint32_t id, const spa_dict* properties) REQUIRES(loop_);
    void bindTable(uint32_t id, const std::string& name) REQUIRES(loop_);
    void bindNewTables() REQUIRES(loop_);
    void metadataChanged(const PipeWireMetadata& metadata, const std::string& key);
    void globalRemoved(uint32_t id) REQUIRES(loop_);
    void coreInfo(const pw_core_info* info) REQUIRES(loop_);
    void syncDone(int sequence) REQUIRES(loop_);
    void lost(const std::string& reason) REQUIRES(loop_);

    void publish(PipeWireNode node) EXCLUDES(mutex);
    void notify(const PipeWireChange& change) EXCLUDES(mutex);

    const std::string serverName_;
    PipeWireLoop loop_{"vintra-pipewire"};
    pw_context* context GUARDED_BY(loop_) = nullptr;
    pw_core* core_ GUARDED_BY(loop_) = nullptr;
    pw_registry* registry GUARDED_BY(loop_) = nullptr;
    std::unique_ptr<spa_hook> coreHook GUARDED_BY(loop_);
    std::unique_ptr<spa_hook> registryHook GUARDED_BY(loop_);
    std::map<uint32_t, std::unique_ptr<PipeWireNodeBinding>> bindings GUARDED_BY(loop_); ///< by global id
    std::map<uint32_t, std::unique_ptr<PipeWireMetadata>> tables GUARDED_BY(loop_);      ///< by global id
    std::map<uint32_t, std::string>
        newTables GUARDED_BY(loop_); ///< names by global id, soon to be taken hold of
    std::unique_ptr<PipeWireTimer> newTablesTimer GUARDED_BY(loop_);
    uint32_t defaultRate GUARDED_BY(loop_) = 48000;
    int awaitedSync GUARDED_BY(loop_) = 0;
    int syncsToCome GUARDED_BY(loop_) = 0; ///< before the first list is complete

    mutable Mutex mutex;
    std::optional<std::string> problem_ GUARDED_BY(mutex);
    std::map<std::string, uint32_t> numbers GUARDED_BY(mutex);
    std::map<uint32_t, PipeWireNode> devices GUARDED_BY(mutex);
    std::map<uint32_t, uint32_t> lastRates GUARDED_BY(mutex); ///< also of devices that have gone
    std::map<uint32_t, uint32_t> forcedRates GUARDED_BY(mutex);
    std::vector<std::weak_ptr<Block>> observers GUARDED_BY(mutex);
};

} // namespace vintra
