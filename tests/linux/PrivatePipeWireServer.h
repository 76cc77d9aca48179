#pragma once

#include "ChildProcess.h"

#include <memory>
#include <string>
#include <unistd.h>

namespace vintra {

/// A PipeWire server beside the session's own, for tests that take it down. Ends with this object.
class PrivatePipeWireServer {
public:
    PrivatePipeWireServer()
        : server({"pipewire", "-c", VINTRA_TEST_DATA "/../../tools/headless/pipewire/pipewire.conf"},
                 {"PIPEWIRE_CORE=" + name_}) {
        if (!server.awaitLineWith("ready")) return;
        policy = std::make_unique<ChildProcess>(std::vector<std::string>{"wireplumber"}, environment());
        defaults = std::make_unique<ChildProcess>(
            std::vector<std::string>{"pw-metadata", "-m", "0", "default.audio.sink"}, environment());
        isReady_ = defaults->awaitLineWith("key:'default.audio.sink'");
    }
    /// It answers and links streams.
    bool isReady() const { return isReady_; }
    const std::string& name() const { return name_; }
    /// For programs that are to use it.
    std::vector<std::string> environment() const { return {"PIPEWIRE_REMOTE=" + name_}; }
    /// At once, as in a crash.
    void kill() { server.kill(); }

private:
    static std::string freshName() {
        static int count = 0;
        return "vintra-test-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
    }

    const std::string name_ = freshName();
    ChildProcess server;
    std::unique_ptr<ChildProcess> policy;   ///< links streams to devices
    std::unique_ptr<ChildProcess> defaults; ///< says when it has begun to
    bool isReady_ = false;
};

} // namespace vintra
