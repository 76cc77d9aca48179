#include "Vintra/platform/linux/files/LinuxFileHandle.h"

#include "Vintra/platform/linux/runtime/PosixError.h"

#include <cerrno>
#include <unistd.h>

namespace vintra {

size_t LinuxFileHandle::read(uint8_t* bytes, size_t count) {
    while (true) {
        const ssize_t got = ::read(descriptor.get(), bytes, count);
        if (got >= 0) return static_cast<size_t>(got);
        if (errno != EINTR) throw posixError(errno, "The file “%s” can't be read", file);
    }
}

void LinuxFileHandle::write(const uint8_t* bytes, size_t count) {
    while (count > 0) {
        const ssize_t put = ::write(descriptor.get(), bytes, count);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) throw posixError(errno, "The file “%s” can't be written", file);
        bytes += put;
        count -= static_cast<size_t>(put);
    }
}

void LinuxFileHandle::seek(uint64_t offset) {
    if (lseek(descriptor.get(), static_cast<off_t>(offset), SEEK_SET) < 0)
        throw posixError(errno, "The file “%s” can't be read at the place wanted", file);
}

void LinuxFileHandle::close() {
    if (!descriptor.isOpen()) return;
    // The descriptor is gone even where close fails; EINTR says nothing about the bytes.
    if (::close(descriptor.release()) != 0 && errno != EINTR)
        throw posixError(errno, "The file “%s” can't be completed", file);
}

void LinuxFileHandle::synchronize() {
    // EINVAL and EROFS: the file is of a kind that has nothing to synchronise.
    if (fsync(descriptor.get()) != 0 && errno != EINVAL && errno != EROFS)
        throw posixError(errno, "The file “%s” can't be completed", file);
}

} // namespace vintra
