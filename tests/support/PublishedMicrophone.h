#pragma once

#include "tests/support/ChildProcess.h"

#include <csignal>
#include <string>
#include <vector>

namespace vintra {

/// A microphone of a test's own in the session's PipeWire server. Ends with this object.
class PublishedMicrophone {
public:
    /// Returns when others can find it. Options are those of published-microphone.
    explicit PublishedMicrophone(const std::string& name, std::vector<std::string> options = {},
                                 std::vector<std::string> environment = {})
        : process(command(name, std::move(options)), std::move(environment)) {
        isPublished_ = process.readLine() == "ready";
    }

    ~PublishedMicrophone() { thaw(); } // a process that stands still doesn't end
    PublishedMicrophone(const PublishedMicrophone&) = delete;
    PublishedMicrophone& operator=(const PublishedMicrophone&) = delete;

    bool isPublished() const { return isPublished_; }
    void unplug() { process.stop(); }
    /// Stands still as it is, still plugged in, until it is thawed.
    void freeze() { process.signal(SIGSTOP); }
    void thaw() { process.signal(SIGCONT); }

private:
    static std::vector<std::string> command(const std::string& name, std::vector<std::string> options) {
        std::vector<std::string> result{VINTRA_BIN_DIR "/published-microphone", "--name", name};
        result.insert(result.end(), options.begin(), options.end());
        return result;
    }
    ChildProcess process;
    bool isPublished_ = false;
};

} // namespace vintra
