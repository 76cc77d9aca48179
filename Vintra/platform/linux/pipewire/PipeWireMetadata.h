#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct pw_proxy;
struct spa_hook;

namespace vintra {

class PipeWireConnection;

/// The connection's hold on one of the server's tables of keys and values that all programs share, such as
/// the default devices. Only what concerns no single object is kept. Owned by the connection; everything
/// happens with the loop's lock held.
class PipeWireMetadata {
public:
    PipeWireMetadata(PipeWireConnection& connection, pw_proxy* proxy, std::string name);
    ~PipeWireMetadata();
    PipeWireMetadata(const PipeWireMetadata&) = delete;
    PipeWireMetadata& operator=(const PipeWireMetadata&) = delete;

    const std::string& name() const { return name_; }
    /// As the server last told it.
    std::optional<std::string> value(const std::string& key) const;
    /// The value as a whole number; 0 if there is none.
    uint32_t number(const std::string& key) const;
    /// The node.name in the value of a key that names a device.
    std::optional<std::string> nodeName(const std::string& key) const;

    /// Asked of the server; it shows in the values once the server has told everybody.
    void setNodeName(const std::string& key, const std::string& nodeName);
    void remove(const std::string& key);

private:
    struct Events;
    void property(uint32_t subject, const char* key, const char* value);

    PipeWireConnection& connection;
    pw_proxy* const proxy;
    const std::string name_;
    std::unique_ptr<spa_hook> hook;
    std::map<std::string, std::string> values;
};

} // namespace vintra
