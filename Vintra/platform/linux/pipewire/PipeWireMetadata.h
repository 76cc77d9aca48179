#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct pw_proxy;
struct spa_hook;

namespace vintra {

class PipeWireLoop;

/// One of the server's tables of keys and values that all programs share, such as the default devices. It keeps
/// only the values that concern no single object. Owned by `PipeWireTables`; everything happens with the loop's
/// lock held.
class PipeWireMetadata {
public:
    using ChangeHandler = std::function<void(const std::string& key)>;

    /// Takes the proxy over. The handler is called after each change of a value; an empty key stands for all of
    /// them.
    PipeWireMetadata(PipeWireLoop& loop, pw_proxy* proxy, std::string name, ChangeHandler changed);
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

    PipeWireLoop& loop;
    pw_proxy* const proxy;
    const std::string name_;
    const ChangeHandler changed;
    std::unique_ptr<spa_hook> hook;
    std::map<std::string, std::string> values;
};

} // namespace vintra
