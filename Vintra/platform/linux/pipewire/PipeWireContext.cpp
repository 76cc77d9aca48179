#include "Vintra/platform/linux/pipewire/PipeWireContext.h"

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/MessageBus.h"

#include <pipewire/pipewire.h>

namespace vintra {

pw_context* newRealTimeContext(pw_loop* loop) {
    // The library asks for the user's name in a way that only one thread at a time may.
    static Mutex one;
    const bool isAskable = !messageBusHangs(MessageBus::session) && !messageBusHangs(MessageBus::system);
    const char* const configuration = isAskable ? "client-rt.conf" : "client.conf";
    MutexLock lock(one);
    return pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, configuration, nullptr), 0);
}

} // namespace vintra
