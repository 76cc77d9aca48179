#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace vintra {

/// A web server on the loopback address that answers as a test says and keeps every byte that it was sent. It ends with
/// this object, whoever still waits for it.
class LoopbackWebServer {
public:
    struct Reply {
        std::string bytes;      ///< as they go over the wire
        bool staysOpen = false; ///< the connection isn't closed after them
        size_t pieceSize = 0;   ///< they go in such pieces, 20 ms apart; 0: at once
    };
    /// Called with a whole request, on a thread of the server.
    using Answer = std::function<Reply(const std::string& request)>;

    explicit LoopbackWebServer(Answer answer);
    ~LoopbackWebServer();
    LoopbackWebServer(const LoopbackWebServer&) = delete;
    LoopbackWebServer& operator=(const LoopbackWebServer&) = delete;

    std::string address(const std::string& path = "/") const;
    /// Every request so far, byte for byte.
    std::vector<std::string> requests() const;

    /// A response with its length.
    static Reply response(const std::string& status, const std::string& body,
                          const std::string& headers = "");

private:
    void serve();
    void handle(int connection);
    bool sendAll(int connection, const Reply& reply) const;

    const Answer answer;
    FileDescriptor listener;
    int port = 0;
    std::atomic<bool> isEnding = false;
    mutable Mutex mutex;
    std::vector<std::string> kept GUARDED_BY(mutex);
    std::vector<std::thread> connections; ///< of `server` alone until it has ended
    std::thread server;
};

} // namespace vintra
