#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace vintra {

/// A slow line to an X server, which counts how often the program at its other end waits for the server: it hands on what the
/// server says only when the program has been silent for a while. One connection at a time. Owned by a test.
class X11SlowLine {
public:
    /// To the server of that display of this machine, such as ":7".
    explicit X11SlowLine(const std::string& serverName);
    ~X11SlowLine();
    X11SlowLine(const X11SlowLine&) = delete;
    X11SlowLine& operator=(const X11SlowLine&) = delete;

    /// What to connect to in the server's place; empty if there is no free port.
    const std::string& displayName() const { return name; }
    int64_t waits() const { return waited; }
    int64_t bytesSent() const { return sent; }
    void forget() { waited = sent = 0; }

private:
    void run();
    void serve(int program, int server);

    const std::string serverPath;
    std::string name;
    int listening = -1;
    std::atomic<bool> stopping = false;
    std::atomic<int64_t> waited = 0;
    std::atomic<int64_t> sent = 0; ///< by programs
    std::thread thread;
};

} // namespace vintra
