#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/pipewire/PipeWireChange.h"
#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"
#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_core;
struct pw_registry;
struct spa_dict;

namespace vintra {

class PipeWireNodeBinding;

/// The server's sound devices. Owned by the connection, which tells it what the server says; any thread may read
/// it.
///
/// A device's number is given once to its name for the list's life: a device that comes back has the number it
/// had.
class PipeWireDeviceList {
public:
    using ChangeHandler = std::function<void(const PipeWireChange&)>;

    /// The handler is called with the loop's lock held, after each change.
    PipeWireDeviceList(PipeWireLoop& loop, ChangeHandler changed);
    ~PipeWireDeviceList();
    PipeWireDeviceList(const PipeWireDeviceList&) = delete;
    PipeWireDeviceList& operator=(const PipeWireDeviceList&) = delete;

    /// In the order in which the devices were first seen.
    std::vector<uint32_t> numbers() const EXCLUDES(mutex);
    std::optional<PipeWireNode> device(uint32_t number) const EXCLUDES(mutex);
    std::optional<uint32_t> numberNamed(const std::string& name) const EXCLUDES(mutex);
    std::optional<PipeWireNode> deviceNamed(const std::string& name) const EXCLUDES(mutex);
    /// Also of a device that has gone.
    std::optional<std::string> nameOf(uint32_t number) const EXCLUDES(mutex);
    std::optional<uint32_t> numberOfNode(uint32_t globalID) const EXCLUDES(mutex);
    // Of every node that is a device, with the loop's lock held. Empty texts: it hasn't said yet.
    std::optional<std::string> nameOfNode(uint32_t globalID) const;
    std::optional<std::string> linkGroupOfNode(uint32_t globalID) const;

    // What follows is the connection's, with the loop's lock held.

    /// Follows the node if it is a sound device.
    void bind(pw_core& core, pw_registry& registry, uint32_t globalID, const spa_dict& properties);
    /// Whether a device has yet to say what it is.
    bool isPending() const;
    void syncDone(int sequence, uint32_t graphRate);
    /// False if the object is none of the list's.
    bool remove(uint32_t globalID) EXCLUDES(mutex);
    /// For the end of the server: no device is left.
    void clear() EXCLUDES(mutex);
    /// Follows no node any more, for the end of the connection.
    void unbind();
    /// The rate at which a device has been made to run, whether it runs now or not; 0 ends that, and the device
    /// has the graph's rate.
    void setForcedRate(uint32_t number, uint32_t rate, uint32_t graphRate) EXCLUDES(mutex);

private:
    void publish(PipeWireNode node) EXCLUDES(mutex);

    PipeWireLoop& loop;
    const ChangeHandler changed;
    std::map<uint32_t, std::unique_ptr<PipeWireNodeBinding>> bindings GUARDED_BY(loop); ///< by global id

    mutable Mutex mutex;
    std::map<std::string, uint32_t> numbers_ GUARDED_BY(mutex); ///< by name
    std::map<uint32_t, PipeWireNode> devices GUARDED_BY(mutex);
    std::map<uint32_t, uint32_t> lastRates GUARDED_BY(mutex); ///< also of devices that have gone
    std::map<uint32_t, uint32_t> forcedRates GUARDED_BY(mutex);
};

} // namespace vintra
