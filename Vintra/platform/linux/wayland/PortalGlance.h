#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/wayland/PortalSharing.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace vintra {

/// Has the desktop share a display, or a window that the user chooses, and looks at the first picture of it. Only that
/// says how large a window is, since a desktop may share it in a picture of its display's size. It ends with this object,
/// which then doesn't wait for the user.
///
/// Made and let go on one thread; the function given to it is called on its own.
class PortalGlance {
public:
    struct Subject {
        /// Nothing for a window.
        std::optional<uint32_t> displayID;
        /// The user is asked for a window, whatever was chosen before; else the desktop may remember it.
        bool isNew = false;
    };
    struct Outcome {
        std::optional<SystemError> error;
        bool isGivenUp = false; ///< nobody waits for it any more
        PixelRect content;      ///< of the picture, in its pixels
        std::shared_ptr<CVPixelBuffer>
            picture; ///< of a display, if there was one in time; without the pointer
        /// Goes on, with the picture kept, for whoever takes it over.
        std::shared_ptr<PortalSharing> sharing;
    };

    PortalGlance(WaylandDesktop desktop, const Subject& subject, std::function<void(Outcome)> completion);
    ~PortalGlance();
    PortalGlance(const PortalGlance&) = delete;
    PortalGlance& operator=(const PortalGlance&) = delete;

private:
    void run();
    Outcome look();
    PortalScreenCast::Stream ask(PortalSharing& sharing) const;
    void awaitPicture(PortalSharing& sharing, PixelRect& content);

    const WaylandDesktop desktop;
    const Subject subject;
    const std::function<void(Outcome)> completion;
    const std::shared_ptr<WakeUp> wakeUp = std::make_shared<WakeUp>();
    std::atomic<bool> isEnding{false};
    std::thread thread;
};

} // namespace vintra
