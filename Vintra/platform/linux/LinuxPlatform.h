#pragma once

#include "Vintra/platform/Log.h"
#include "Vintra/platform/Platform.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

class LinuxEventLoop;
class PipeWireCaptureDevices;

/// The services of the real machine, and what only a `main` needs of them. Made on the main thread, once.
struct LinuxPlatform {
    struct Settings {
        LogLevel logLevel = LogLevel::error;
        /// In memory: the program's own settings are neither read nor written.
        bool keepsSettingsInMemory = false;
        /// A setting, a text, that is on disk before its change returns, also where the others are in memory.
        std::string crashSafeKey;
    };

    /// The screen is that of the Wayland desktop if the session has one that answers, else of the X server. A
    /// missing desktop or PipeWire server shows as empty lists. Connecting takes its time, so the event
    /// loop is made before and may already watch for signals.
    static LinuxPlatform make(std::shared_ptr<LinuxEventLoop> mainThread, Settings settings);

    /// Whether the desktop tells of its windows; if not, none can be chosen by its number.
    bool namesWindows() const;

    Platform services;
    std::shared_ptr<LinuxEventLoop> mainThread;
    std::shared_ptr<PipeWireCaptureDevices> captureDevices;
};

} // namespace vintra
