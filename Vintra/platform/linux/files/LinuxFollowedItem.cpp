#include "Vintra/platform/linux/files/LinuxFollowedItem.h"

#include <climits>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vintra {

std::unique_ptr<LinuxFollowedItem> LinuxFollowedItem::find(const URL& at) {
    FileDescriptor descriptor(::open(at.path().c_str(), O_PATH | O_CLOEXEC));
    struct stat status {};
    if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0) return nullptr;
    return std::unique_ptr<LinuxFollowedItem>(
        new LinuxFollowedItem(at, std::move(descriptor), status.st_dev, status.st_ino));
}

LinuxFollowedItem::LinuxFollowedItem(URL at, FileDescriptor descriptor, dev_t device, ino_t node)
    : foundAt(std::move(at))
    , descriptor(std::move(descriptor))
    , device(device)
    , node(node) {}

std::optional<URL> LinuxFollowedItem::currentURL() const {
    if (liesAt(foundAt)) return foundAt;
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor.get());
    char path[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
    if (length <= 0 || length == sizeof path) return std::nullopt;
    // The kernel marks a path without a file by words behind it, which could also be a file's name.
    const URL now = URL::fileURL(std::string(path, static_cast<size_t>(length)));
    return liesAt(now) ? std::optional(now) : std::nullopt;
}

bool LinuxFollowedItem::liesAt(const URL& at) const {
    struct stat status {};
    return ::stat(at.path().c_str(), &status) == 0 && status.st_dev == device && status.st_ino == node;
}

} // namespace vintra
