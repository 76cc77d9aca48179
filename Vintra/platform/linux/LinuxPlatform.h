#pragma once

#include "Vintra/platform/Log.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/linux/SoundRoutingClaim.h"
#include "Vintra/platform/linux/overlays/LinuxOverlays.h"

#include <memory>
#include <string>

namespace vintra {

class EventLoop;
class PipeWireCaptureDevices;

/// The services of the real machine, and what only a `main` needs of them. Made on the main thread, once.
struct LinuxPlatform {
    struct Settings {
        LogLevel logLevel = LogLevel::error;
        /// In memory: the program's own settings are neither read nor written.
        bool keepsSettingsInMemory = false;
        /// For a program that chooses where the session's sound goes: the setting, a text, in which it notes the
        /// output that it has to put back. Empty: it leaves the outputs as they are.
        std::string outputToPutBackKey;
        /// A crash of the process leaves a report in the folder of `Platform::crashReports`.
        bool reportsCrashes = false;
    };

    /// The screen is that of the Wayland desktop if the session has one that answers, else of the X server. A
    /// missing desktop or PipeWire server shows as empty lists. Connecting takes its time, so the event loop is
    /// made before and may already watch for signals.
    static LinuxPlatform make(std::shared_ptr<EventLoop> eventLoop, Settings settings);

    /// What the program's overlays are made of. The event loop and the painter outlive it.
    LinuxOverlays makeOverlays(EventLoop& eventLoop, OverlayPainter& painter) const;

    /// Whether the desktop tells of its windows; if not, none can be chosen by its number.
    bool namesWindows() const;

    Platform services;
    std::shared_ptr<PipeWireCaptureDevices> captureDevices;
    /// With an `outputToPutBackKey`: whether this program may choose where the session's sound goes. Then its note
    /// is on disk before the change of the setting returns. Otherwise another program may: the note and the default
    /// output are that one's, and the services neither show nor change them.
    bool routesSound = false;
    /// Held from the start if `routesSound`. Released, it lets another program route the sound.
    SoundRoutingClaim soundRouting{SoundRoutingClaim::standardPath()};

private:
    void claimSoundRouting(const std::string& outputToPutBackKey);
};

} // namespace vintra
