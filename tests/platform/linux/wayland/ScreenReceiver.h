#pragma once

#include "tests/platform/linux/wayland/ScriptedScreen.h"

#include "Vintra/platform/linux/wayland/PortalFrameCopier.h"
#include "Vintra/platform/linux/wayland/PortalVideoStream.h"

#include <chrono>
#include <optional>
#include <poll.h>
#include <string>

namespace vintra {

/// The stream of a scripted screen, as a capture takes it: every frame is kept, and can be copied. One thread.
class ScreenReceiver {
public:
    explicit ScreenReceiver(ScriptedScreen& screen, EglLibraries libraries = {})
        : screen(screen)
        , stream_(ScriptedScreen::remote(), screen.node(), listener(), std::move(libraries)) {}

    void enterThread() { stream_.enterThread(listener()); }
    PortalVideoStream& stream() { return stream_; }
    const std::optional<PortalVideoFormat>& format() const { return format_; }
    int frames() const { return frames_; }
    int losses() const { return losses_; }

    /// Takes what comes until something holds; false after 20 s.
    template <typename Condition>
    bool await(Condition holds) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!holds()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            pollfd waiting{stream_.fileDescriptor(), POLLIN, 0};
            if (::poll(&waiting, 1, 5) == 0) screen.nudge();
            stream_.dispatch();
        }
        return true;
    }
    bool awaitStreaming() {
        return await([this] { return stream_.isStreaming(); });
    }
    /// Why the stream ended, once it has; empty if it doesn't.
    std::string awaitEnd() {
        await([this] { return stream_.end().has_value(); });
        return stream_.end() ? stream_.end()->localizedDescription() : "";
    }
    /// Sends a picture and receives it; false if it doesn't come as a frame.
    bool receive(const ScriptedScreen::Sent& sent) {
        const int before = frames_;
        return sendSoon(sent) && await([&] { return frames_ > before || stream_.end(); }) && frames_ > before;
    }
    bool sendSoon(const ScriptedScreen::Sent& sent) {
        return await([&] { return screen.send(sent) || stream_.end(); }) && !stream_.end();
    }
    /// The frame that was received last, by a copier that has seen none before; of no size if that fails.
    ScreenPicture copied(double displayWidth = 0, std::optional<CGRect> sourceRect = std::nullopt) {
        PortalFrameCopier copier({.sourceRect = sourceRect,
                                  .displayWidth = displayWidth,
                                  .queueDepth = 1,
                                  .onFree = std::make_shared<WakeUp>()});
        const PortalFrame* const frame = stream_.frame();
        if (!frame || !copier.look(*frame)) return {0, 0};
        const auto picture = copier.copy(*frame);
        return picture ? ScreenPicture(*picture) : ScreenPicture(0, 0);
    }

private:
    PortalVideoStream::Listener listener() {
        return {.onFormat = [this](const PortalVideoFormat& agreed) { format_ = agreed; },
                .onFrame =
                    [this](const PortalFrame&) {
                        ++frames_;
                        return true;
                    },
                .onLoss = [this] { ++losses_; }};
    }

    ScriptedScreen& screen;
    std::optional<PortalVideoFormat> format_;
    int frames_ = 0;
    int losses_ = 0;
    PortalVideoStream stream_;
};

} // namespace vintra
