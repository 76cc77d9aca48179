#include "Vintra/platform/linux/pipewire/PipeWireContext.h"

#include "Vintra/platform/linux/runtime/MessageBus.h"

#include <pipewire/pipewire.h>

namespace vintra {

pw_context* newRealTimeContext(pw_loop* loop) {
    const bool isAskable = !messageBusHangs(MessageBus::session) && !messageBusHangs(MessageBus::system);
    const char* const configuration = isAskable ? "client-rt.conf" : "client.conf";
    return pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, configuration, nullptr), 0);
}

} // namespace vintra
