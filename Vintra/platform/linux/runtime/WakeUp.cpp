#include "Vintra/platform/linux/runtime/WakeUp.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vintra {

WakeUp::WakeUp()
    : descriptor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

void WakeUp::set() noexcept {
    const uint64_t one = 1;
    // It can only fail when it is set to the brim.
    [[maybe_unused]] const auto written = ::write(descriptor.get(), &one, sizeof one);
}

void WakeUp::clear() noexcept {
    uint64_t count = 0;
    [[maybe_unused]] const auto got = ::read(descriptor.get(), &count, sizeof count);
}

} // namespace vintra
