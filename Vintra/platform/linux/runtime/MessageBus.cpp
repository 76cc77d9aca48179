#include "Vintra/platform/linux/runtime/MessageBus.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <memory>
#include <systemd/sd-bus.h>

namespace vintra {

bool messageBusHangs(MessageBus bus, int64_t patience) {
    sd_bus* opened = nullptr;
    const int result = bus == MessageBus::session ? sd_bus_open_user(&opened) : sd_bus_open_system(&opened);
    const std::unique_ptr<sd_bus, decltype([](sd_bus* one) { sd_bus_close_unref(one); })> connection(opened);
    if (result < 0) return false;
    const int64_t deadline = monotonicNanoseconds() + patience;
    while (sd_bus_is_ready(opened) == 0) {
        const int progress = sd_bus_process(opened, nullptr);
        if (progress < 0) return false;
        if (progress > 0) continue;
        const int64_t left = deadline - monotonicNanoseconds();
        if (left <= 0) return true;
        sd_bus_wait(opened, static_cast<uint64_t>(left / 1000));
    }
    return false;
}

} // namespace vintra
