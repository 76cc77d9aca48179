#pragma once

#include "Vintra/platform/Log.h"
#include "Vintra/platform/linux/desktop/MainThreadBus.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vintra {

/// Keeps the computer awake and its screen on while a take runs, and has a shutdown wait until the take is saved: by
/// locks of logind on the system bus, and of the desktop's screen saver on the session bus. Where there is none of
/// them, or where they refuse, the log says so and the take goes on. Owned by a `main`. Main thread.
class TakeInhibitors {
public:
    /// `onShutdown` is called when the computer is about to be shut down while the locks are held: it waits until
    /// they are released, for the few seconds that logind allows. The buses outlive this.
    TakeInhibitors(MainThreadBus& systemBus, MainThreadBus& sessionBus, std::shared_ptr<Log> log,
                   std::function<void()> onShutdown);
    ~TakeInhibitors();
    TakeInhibitors(const TakeInhibitors&) = delete;
    TakeInhibitors& operator=(const TakeInhibitors&) = delete;

    void setHeld(bool isHeld);

private:
    /// A lock is held for as long as its descriptor is open.
    struct Lock {
        BusSlot pending;
        FileDescriptor descriptor;
    };

    void hold();
    void release();
    std::unique_ptr<Lock> askForLock(const char* what, const char* why, const char* mode);
    void askScreenSaver();

    MainThreadBus& systemBus;
    MainThreadBus& sessionBus;
    const std::shared_ptr<Log> log;
    bool held = false;
    std::vector<std::unique_ptr<Lock>> locks;
    BusSlot screenSaver;
    std::optional<uint32_t> screenSaverCookie;
    BusSlot shutdowns;
};

} // namespace vintra
