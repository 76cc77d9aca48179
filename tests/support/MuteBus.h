#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vintra {

/// Stands where a message bus would, takes connections and says nothing, as one does whose process was stopped.
class MuteBus {
public:
    MuteBus() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        listens = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                  ::listen(socket, 16) == 0;
    }
    ~MuteBus() { ::close(socket); }
    MuteBus(const MuteBus&) = delete;
    MuteBus& operator=(const MuteBus&) = delete;

    bool isListening() const { return listens; }
    std::string address() const { return "unix:path=" + path; }

private:
    TemporaryFolder folder;
    const std::string path = folder.file("bus").path();
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool listens = false;
};

} // namespace vintra
