#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/X11PictureSource.h"

#include <memory>
#include <string>
#include <vector>

namespace vintra {

class X11Capture;

/// A stream of a display of an X desktop, or of one window. The alpha bytes of its pictures mean nothing: a
/// window's own translucency shows as if it lay on black. A picture has the size that its subject has on the
/// screen, less an odd row or column, whatever size the configuration gives: who writes it scales. Made by
/// `X11ScreenCapture`. Main thread.
class X11ScreenStream : public SCStream, public std::enable_shared_from_this<X11ScreenStream> {
public:
    X11ScreenStream(std::string displayName, X11PictureSubject subject, SCStreamConfiguration configuration,
                    std::weak_ptr<SCStreamDelegate> delegate);
    ~X11ScreenStream() override;

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

    const std::string displayName;
    const X11PictureSubject subject;
    const SCStreamConfiguration configuration;
    const std::weak_ptr<SCStreamDelegate> delegate;
    std::vector<Output> outputs;
    std::shared_ptr<X11Capture> capture;
};

} // namespace vintra
