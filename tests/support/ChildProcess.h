#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace vintra {

/// A program that a test starts and that ends with this object. One thread.
class ChildProcess {
public:
    /// Name or path first. `environment` is added to the test's own.
    explicit ChildProcess(std::vector<std::string> command, std::vector<std::string> environment = {});
    /// Tells it to end and waits for that.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool hasStarted() const { return process > 0; }
    /// The next line of its output without the line break; empty once there is none.
    std::string readLine();
    /// Returns once a line of its output contains the text; false if the output ended before.
    bool awaitLineWith(const std::string& text);
    /// All of its output that hasn't been read, up to its end.
    std::string restOfOutput();
    void signal(int number);
    /// Its exit code once it has ended; 128 + the signal that ended it.
    int wait();
    void stop();
    /// At once, as in a crash.
    void kill();

private:
    void end(int number);
    pid_t process = -1;
    int output = -1;
};

} // namespace vintra
