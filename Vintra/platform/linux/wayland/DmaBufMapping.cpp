#include "Vintra/platform/linux/wayland/DmaBufMapping.h"

#include <cerrno>
#include <cstring>
#include <linux/dma-buf.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vintra {

DmaBufMapping::DmaBufMapping(int descriptor, const uint8_t* bytes, size_t size)
    : descriptor(descriptor)
    , bytes_(bytes)
    , size_(size) {}

DmaBufMapping::~DmaBufMapping() {
    ::munmap(const_cast<uint8_t*>(bytes_), size_);
}

DmaBufMapping::Made DmaBufMapping::map(int descriptor, size_t size) {
    const off_t told = ::lseek(descriptor, 0, SEEK_END);
    if (told > 0) size = static_cast<size_t>(told);
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (memory == MAP_FAILED) return {nullptr, std::string("mmap: ") + std::strerror(errno)};
    return {std::unique_ptr<DmaBufMapping>(
                new DmaBufMapping(descriptor, static_cast<const uint8_t*>(memory), size)),
            {}};
}

/// 0, or the number of the error. The kernel may ask to try again.
int DmaBufMapping::synchronise(uint64_t flags) const {
    dma_buf_sync request{.flags = DMA_BUF_SYNC_READ | flags};
    int result = 0;
    do {
        result = ::ioctl(descriptor, DMA_BUF_IOCTL_SYNC, &request);
    } while (result != 0 && (errno == EINTR || errno == EAGAIN));
    // Memory that other drivers share in a DMA-BUF's place needs no synchronisation.
    return result == 0 || errno == ENOTTY ? 0 : errno;
}

std::optional<SystemError> DmaBufMapping::begin() {
    const int error = synchronise(DMA_BUF_SYNC_START);
    if (error == 0) return std::nullopt;
    return SystemError("posix", error,
                       std::string("The picture of the screen can't be read from the graphics card (") +
                           std::strerror(error) + ").");
}

void DmaBufMapping::end() {
    synchronise(DMA_BUF_SYNC_END);
}

} // namespace vintra
