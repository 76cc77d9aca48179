#include "Vintra/platform/linux/desktop/HungSessionBus.h"

#include "Vintra/platform/linux/runtime/MessageBus.h"

#include <cstdlib>

namespace vintra {

bool leaveHungSessionBus() {
    if (!messageBusHangs(MessageBus::session)) return false;
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null", 1);
    return true;
}

} // namespace vintra
