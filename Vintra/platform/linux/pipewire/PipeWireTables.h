#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"
#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

struct pw_registry;

namespace vintra {

class PipeWireMetadata;

/// The server's tables of keys and values, such as `default` and `settings`. Owned by the connection; everything
/// happens with the loop's lock held.
class PipeWireTables {
public:
    using ChangeHandler = std::function<void(const std::string& table, const std::string& key)>;

    /// The handler is called after each change of a value; an empty key stands for all of them.
    PipeWireTables(PipeWireLoop& loop, ChangeHandler changed);
    ~PipeWireTables();
    PipeWireTables(const PipeWireTables&) = delete;
    PipeWireTables& operator=(const PipeWireTables&) = delete;

    /// To be called before anything else. The registry outlives this.
    void begin(pw_registry& registry);
    void bind(uint32_t globalID, const std::string& name);
    /// A session manager that has just begun fills its table first. Whoever writes to it meanwhile may wedge it
    /// (WirePlumber 0.4.13).
    void bindWhenFilled(uint32_t globalID, const std::string& name);
    /// False if the object is none of the tables.
    bool remove(uint32_t globalID);
    /// For the end of the server or of the connection.
    void clear();

    /// Null if the server has no such table.
    PipeWireMetadata* named(const std::string& name) const;
    /// Forgets the table and asks the server for all of it: an owner that has just begun may tell a client of no
    /// change (PipeWire 0.3.65). Not from a callback of the table's own.
    void readAgain(const std::string& name);

private:
    void bindFilled();

    PipeWireLoop& loop;
    const ChangeHandler changed;
    pw_registry* registry GUARDED_BY(loop) = nullptr;
    std::map<uint32_t, std::unique_ptr<PipeWireMetadata>> tables GUARDED_BY(loop); ///< by global id
    std::map<uint32_t, std::string> beingFilled GUARDED_BY(loop);                  ///< names by global id
    std::unique_ptr<PipeWireTimer> timer GUARDED_BY(loop);
};

} // namespace vintra
