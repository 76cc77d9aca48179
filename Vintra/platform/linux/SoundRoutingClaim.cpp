#include "Vintra/platform/linux/SoundRoutingClaim.h"

#include "Vintra/platform/linux/files/UserDirectories.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

namespace vintra {
namespace {

constexpr int kBetweenTries = 10; // milliseconds

} // namespace

std::string SoundRoutingClaim::standardPath() {
    const auto folder = soundServerDirectory();
    return folder ? folder->appendingPathComponent("vintra-sound-routing.lock").path() : "";
}

SoundRoutingClaim::SoundRoutingClaim(std::string path)
    : path(std::move(path)) {}

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
