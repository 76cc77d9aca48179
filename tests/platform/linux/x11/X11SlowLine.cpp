#include "tests/platform/linux/x11/X11SlowLine.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vintra {
namespace {

constexpr int kSilence = 20;   // milliseconds
constexpr int kLookAgain = 50; // likewise
constexpr int kFirstPort = 6000;

bool sendAll(int to, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written = ::send(to, bytes, count, MSG_NOSIGNAL);
        if (written <= 0) return false;
        bytes += written;
        count -= static_cast<size_t>(written);
    }
    return true;
}

int connectToServer(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int connection = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return connection;
    ::close(connection);
    return -1;
}

} // namespace

X11SlowLine::X11SlowLine(const std::string& serverName)
    : serverPath("/tmp/.X11-unix/X" + serverName.substr(1)) {
    for (int number = 300; number < 600 && name.empty(); ++number) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<uint16_t>(kFirstPort + number));
        listening = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            ::listen(listening, 4) == 0) {
            name = "127.0.0.1:" + std::to_string(number);
        } else {
            ::close(listening);
            listening = -1;
        }
    }
    if (listening >= 0) thread = std::thread([this] { run(); });
}

X11SlowLine::~X11SlowLine() {
    stopping = true;
    if (thread.joinable()) thread.join();
    if (listening >= 0) ::close(listening);
}

void X11SlowLine::run() {
    while (!stopping) {
        pollfd incoming{listening, POLLIN, 0};
        if (::poll(&incoming, 1, kLookAgain) <= 0) continue;
        const int program = ::accept(listening, nullptr, nullptr);
        const int server = connectToServer(serverPath);
        if (program >= 0 && server >= 0) serve(program, server);
        if (program >= 0) ::close(program);
        if (server >= 0) ::close(server);
    }
}

void X11SlowLine::serve(int program, int server) {
    std::string held; // what the server has said
    char bytes[65'536];
    while (!stopping) {
        pollfd ends[] = {{program, POLLIN, 0}, {server, POLLIN, 0}};
        const int ready = ::poll(ends, 2, held.empty() ? kLookAgain : kSilence);
        if (ready < 0) return;
        if (ends[1].revents != 0) {
            const ssize_t count = ::recv(server, bytes, sizeof bytes, 0);
            if (count <= 0) return;
            held.append(bytes, static_cast<size_t>(count));
        }
        if (ends[0].revents != 0) {
            const ssize_t count = ::recv(program, bytes, sizeof bytes, 0);
            if (count <= 0 || !sendAll(server, bytes, static_cast<size_t>(count))) return;
            sent += count;
        }
        if (ready == 0 && !held.empty()) {
            ++waited;
            if (!sendAll(program, held.data(), held.size())) return;
            held.clear();
        }
    }
}

} // namespace vintra
