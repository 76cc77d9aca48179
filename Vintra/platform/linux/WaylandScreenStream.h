#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/WaylandDesktop.h"

#include <memory>
#include <optional>
#include <vector>

namespace vintra {

class WaylandCapture;

/// A stream of a display of a Wayland desktop, or of a window of it that the user chooses. The alpha bytes of
/// its pictures mean nothing. A picture has the size that its display, or the part of it, has on the screen,
/// whatever size the configuration gives: who writes it scales. Made by `WaylandScreenCapture`. Main thread.
class WaylandScreenStream : public SCStream, public std::enable_shared_from_this<WaylandScreenStream> {
public:
    /// Without a display: of a window.
    WaylandScreenStream(WaylandDesktop desktop, std::optional<SCDisplay> display,
                        const SCStreamConfiguration& configuration, std::weak_ptr<SCStreamDelegate> delegate);
    ~WaylandScreenStream() override;

    void addStreamOutput(std::weak_ptr<SCStreamOutput> output, SCStreamOutputType type,
                         std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
    void startCapture(std::function<void(std::optional<SystemError>)> completion) override;
    void stopCapture(std::function<void(std::optional<SystemError>)> completion) override;

    /// Of the newest capture: how often its thread has woken, what it has sent, and what it has left out.
    uint64_t wakeUps() const;
    uint64_t framesSent() const;
    uint64_t framesLeftOut() const;

private:
    struct Output {
        std::weak_ptr<SCStreamOutput> output;
        std::shared_ptr<DispatchQueue> queue;
    };

    const WaylandDesktop desktop;
    const std::optional<SCDisplay> display;
    const SCStreamConfiguration configuration;
    const std::weak_ptr<SCStreamDelegate> delegate;
    std::vector<Output> outputs;
    std::shared_ptr<WaylandCapture> capture;
};

} // namespace vintra
