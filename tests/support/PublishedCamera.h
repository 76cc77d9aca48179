#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vintra {

/// A camera of a test's own in the session's PipeWire server. Ends with this object.
class PublishedCamera {
public:
    /// Returns when others can find it. Options are those of published-camera.
    explicit PublishedCamera(const std::string& name, std::vector<std::string> options = {},
                             std::vector<std::string> environment = {})
        : process(command(name, pipePath(), std::move(options)), std::move(environment)) {
        isPublished_ = process.readLine() == "ready";
    }
    ~PublishedCamera() {
        if (pipe >= 0) ::close(pipe);
        process.kill(); // a sanitizer takes a second for an orderly end
    }
    PublishedCamera(const PublishedCamera&) = delete;
    PublishedCamera& operator=(const PublishedCamera&) = delete;

    bool isPublished() const { return isPublished_; }
    void unplug() { process.kill(); }
    /// Returns once it does as told; false if it didn't understand.
    bool tell(const std::string& what) {
        if (pipe < 0) pipe = ::open(pipePath().c_str(), O_WRONLY | O_CLOEXEC);
        const std::string line = what + "\n";
        if (::write(pipe, line.data(), line.size()) != static_cast<ssize_t>(line.size())) return false;
        return process.readLine() == "done";
    }

private:
    std::string pipePath() const { return folder.file("commands").path(); }
    static std::vector<std::string> command(const std::string& name, const std::string& pipe,
                                            std::vector<std::string> options) {
        ::mkfifo(pipe.c_str(), 0600);
        std::vector<std::string> result{VINTRA_BIN_DIR "/published-camera", "--name", name, "--commands",
                                        pipe};
        result.insert(result.end(), options.begin(), options.end());
        return result;
    }
    TemporaryFolder folder;
    ChildProcess process;
    int pipe = -1;
    bool isPublished_ = false;
};

} // namespace vintra
