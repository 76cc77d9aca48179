#include "tests/support/LoopbackWebServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace vintra {
namespace {

constexpr int kPollMilliseconds = 20;

/// Whether all of the request is there: its head, and as much behind it as that says.
bool isWholeRequest(const std::string& request) {
    const size_t head = request.find("\r\n\r\n");
    if (head == std::string::npos) return false;
    const size_t length = request.find("Content-Length: ");
    const size_t body = length < head ? std::stoul(request.substr(length + 16)) : 0;
    return request.size() >= head + 4 + body;
}

} // namespace

LoopbackWebServer::LoopbackWebServer(Answer answer)
    : answer(std::move(answer))
    , listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), size);
    ::listen(listener.get(), 16);
    ::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    server = std::thread([this] { serve(); });
}

LoopbackWebServer::~LoopbackWebServer() {
    isEnding = true;
    server.join();
    for (std::thread& connection : connections)
        connection.join();
}

std::string LoopbackWebServer::address(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

std::vector<std::string> LoopbackWebServer::requests() const {
    const MutexLock lock(mutex);
    return kept;
}

LoopbackWebServer::Reply LoopbackWebServer::response(const std::string& status, const std::string& body,
                                                     const std::string& headers) {
    return {.bytes = "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + headers +
                     "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body};
}

void LoopbackWebServer::serve() {
    while (!isEnding) {
        pollfd waiting{listener.get(), POLLIN, 0};
        if (::poll(&waiting, 1, kPollMilliseconds) <= 0) continue;
        const int connection = ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) connections.emplace_back([this, connection] { handle(connection); });
    }
}

void LoopbackWebServer::handle(int connection) {
    const FileDescriptor owned(connection);
    std::string request;
    while (!isWholeRequest(request)) {
        pollfd waiting{connection, POLLIN, 0};
        if (::poll(&waiting, 1, kPollMilliseconds) == 0) {
            if (isEnding) return;
            continue;
        }
        char bytes[4096];
        const ssize_t count = ::recv(connection, bytes, sizeof bytes, 0);
        if (count <= 0) return;
        request.append(bytes, static_cast<size_t>(count));
    }
    {
        const MutexLock lock(mutex);
        kept.push_back(request);
    }
    const Reply reply = answer(request);
    if (!sendAll(connection, reply)) return;
    while (reply.staysOpen && !isEnding) {
        pollfd waiting{connection, POLLIN, 0};
        char byte = 0;
        if (::poll(&waiting, 1, kPollMilliseconds) > 0 && ::recv(connection, &byte, 1, 0) <= 0) return;
    }
}

bool LoopbackWebServer::sendAll(int connection, const Reply& reply) const {
    const size_t piece = reply.pieceSize == 0 ? reply.bytes.size() : reply.pieceSize;
    for (size_t at = 0; at < reply.bytes.size();) {
        const size_t size = std::min(piece, reply.bytes.size() - at);
        const ssize_t count = ::send(connection, reply.bytes.data() + at, size, MSG_NOSIGNAL);
        if (count <= 0 || isEnding) return false;
        at += static_cast<size_t>(count);
        if (reply.pieceSize > 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

} // namespace vintra
