#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace vintra {

/// An X server of a test's own, without a screen, on a display number that was free. Ends with this object.
class XvfbServer {
public:
    /// Returns when it takes connections.
    explicit XvfbServer(const std::string& screen = "1280x720x24", std::vector<std::string> options = {});
    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    /// ":7"; empty if it didn't start.
    const std::string& displayName() const { return name; }
    /// At once, as in a crash.
    void kill();
    /// It takes connections and says nothing, until it goes on.
    void suspend();
    void resume();
    /// Runs xrandr on it; false if it refused.
    bool xrandr(const std::vector<std::string>& arguments) const;

private:
    pid_t process = -1;
    std::string name;
};

} // namespace vintra
