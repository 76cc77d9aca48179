#include "Vintra/platform/linux/runtime/LinuxProcessInfo.h"

#include <algorithm>
#include <cerrno>
#include <sched.h>
#include <sys/random.h>
#include <unistd.h>

namespace vintra {

int32_t LinuxProcessInfo::processIdentifier() const {
    return static_cast<int32_t>(getpid());
}

int LinuxProcessInfo::activeProcessorCount() const {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) return std::max(1, CPU_COUNT(&allowed));
    return std::max(1, static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN))); // more processors than the set holds
}

UUID LinuxProcessInfo::makeUUID() {
    UUID id;
    // 16 bytes come whole or, before the kernel's pool is seeded and a signal arrives, not at all.
    while (getrandom(id.bytes.data(), id.bytes.size(), 0) < 0 && errno == EINTR) {
    }
    id.bytes[6] = static_cast<uint8_t>((id.bytes[6] & 0x0F) | 0x40);
    id.bytes[8] = static_cast<uint8_t>((id.bytes[8] & 0x3F) | 0x80);
    return id;
}

} // namespace vintra
