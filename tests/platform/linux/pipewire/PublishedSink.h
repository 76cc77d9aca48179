#pragma once

#include "tests/support/ChildProcess.h"

#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// A null sink of a test's own in a PipeWire server. Ends with this object. It is never suspended:
/// WirePlumber 0.4 crashes when a device goes for which it has a suspension in mind.
class PublishedSink {
public:
    /// Properties as in a configuration file.
    PublishedSink(std::string name, const std::string& properties, std::vector<std::string> environment = {})
        : name(std::move(name))
        , environment(std::move(environment)) {
        ChildProcess made({"pw-cli", "create-node", "adapter",
                           "{ factory.name=support.null-audio-sink media.class=Audio/Sink "
                           "object.linger=true session.suspend-timeout-seconds=0 node.name=" +
                               this->name + " " + properties + " }"},
                          this->environment);
        made.wait();
        isThere = true;
    }
    ~PublishedSink() { unplug(); }
    PublishedSink(const PublishedSink&) = delete;
    PublishedSink& operator=(const PublishedSink&) = delete;

    void unplug() {
        if (!std::exchange(isThere, false)) return;
        ChildProcess gone({"pw-cli", "destroy", name}, environment);
        gone.wait();
    }

private:
    const std::string name;
    const std::vector<std::string> environment;
    bool isThere = false;
};

} // namespace vintra
