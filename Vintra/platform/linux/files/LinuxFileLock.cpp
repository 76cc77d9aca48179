#include "Vintra/platform/linux/files/LinuxFileLock.h"

#include "Vintra/platform/linux/runtime/PosixError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vintra {
namespace {

constexpr int kMostTries = 10;

/// Whether the name still stands for the open file: who had the lock before may have removed it.
bool isStillNamed(const FileDescriptor& descriptor, const URL& at) {
    struct stat open {};
    struct stat named {};
    return ::fstat(descriptor.get(), &open) == 0 && ::stat(at.path().c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

FileDescriptor openOrMake(const URL& at) {
    while (true) {
        FileDescriptor descriptor(::open(at.path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (descriptor.isOpen()) return descriptor;
        if (errno != EINTR) throw posixError(errno, "The file “%s” can't be opened", at);
    }
}

} // namespace

std::unique_ptr<LinuxFileLock> LinuxFileLock::take(const URL& at) {
    for (int attempt = 0; attempt < kMostTries; ++attempt) {
        FileDescriptor descriptor = openOrMake(at);
        if (::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return nullptr;
        if (isStillNamed(descriptor, at))
            return std::unique_ptr<LinuxFileLock>(new LinuxFileLock(std::move(descriptor)));
    }
    return nullptr;
}

} // namespace vintra
