#pragma once

#include "tests/support/ChildProcess.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

namespace vintra {

/// A PipeWire server beside the session's own, for tests that take it down. Ends with this object.
class PrivatePipeWireServer {
public:
    PrivatePipeWireServer() { isReady_ = startAgain(); }
    ~PrivatePipeWireServer() {
        if (policy) thawSessionManager(); // a process that stands still doesn't end
    }
    PrivatePipeWireServer(const PrivatePipeWireServer&) = delete;
    PrivatePipeWireServer& operator=(const PrivatePipeWireServer&) = delete;
    /// It answers and links streams.
    bool isReady() const { return isReady_; }
    const std::string& name() const { return name_; }
    /// For programs that are to use it.
    std::vector<std::string> environment() const { return {"PIPEWIRE_REMOTE=" + name_}; }
    /// At once, as in a crash.
    void kill() { server->kill(); }
    /// After `kill`, under the same name, with a session manager of its own. False if they don't begin.
    bool startAgain() {
        policy.reset();
        defaults.reset();
        server = std::make_unique<ChildProcess>(
            std::vector<std::string>{"pipewire"},
            std::vector<std::string>{"PIPEWIRE_CORE=" + name_, "PIPEWIRE_CONFIG_DIR=" + sessionsFolder()});
        return server->awaitLineWith("ready") && startSessionManager();
    }
    void killSessionManager() { policy->kill(); }
    /// It links, ends and configures nothing until it is thawed: what it would do a test can do in its place. Its links
    /// and tables stay.
    void freezeSessionManager() { policy->signal(SIGSTOP); }
    void thawSessionManager() { policy->signal(SIGCONT); }
    /// As after an update of the system. False if the new one doesn't begin.
    bool restartSessionManager() {
        policy.reset();
        return startSessionManager();
    }

private:
    bool startSessionManager() {
        policy = std::make_unique<ChildProcess>(std::vector<std::string>{"wireplumber"}, environment());
        defaults = std::make_unique<ChildProcess>(
            std::vector<std::string>{"pw-metadata", "-m", "0", "default.audio.sink"}, environment());
        return defaults->awaitLineWith("key:'default.audio.sink'");
    }
    /// The session's server is set up from here.
    static std::string sessionsFolder() {
        const char* const configuration = std::getenv("XDG_CONFIG_HOME");
        return std::string(configuration != nullptr ? configuration : "") + "/pipewire";
    }
    static std::string freshName() {
        static int count = 0;
        return "vintra-test-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
    }

    const std::string name_ = freshName();
    std::unique_ptr<ChildProcess> server;
    std::unique_ptr<ChildProcess> policy;   ///< links streams to devices
    std::unique_ptr<ChildProcess> defaults; ///< says when it has begun to
    bool isReady_ = false;
};

} // namespace vintra
