#include "Vintra/platform/linux/SoundRoutingClaim.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vintra {
namespace {

constexpr int kBetweenTries = 10; // milliseconds

} // namespace

std::string SoundRoutingClaim::standardPath() {
    for (const char* const name : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
        const char* const folder = std::getenv(name);
        if (folder && *folder == '/') return std::string(folder) + "/vintra-sound-routing.lock";
    }
    return {};
}

SoundRoutingClaim::SoundRoutingClaim(std::string aPath)
    : path(std::move(aPath)) {}

bool SoundRoutingClaim::take(int waitMilliseconds) {
    if (held.isOpen()) return true;
    FileDescriptor descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!descriptor.isOpen()) return true;
    for (int waited = 0; ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0; waited += kBetweenTries) {
        if (errno != EWOULDBLOCK) break; // a file system without locks
        if (waited >= waitMilliseconds) return false;
        ::usleep(kBetweenTries * 1000);
    }
    held = std::move(descriptor);
    return true;
}

} // namespace vintra
