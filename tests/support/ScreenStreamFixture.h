#pragma once

#include "tests/platform/ScreenStreamConformance.h"

#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/screen/LinuxScreenStream.h"
#include "tests/support/ScreenPicture.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vintra {

/// Streams of a real desktop at 30 frames a second, and what they delivered.
class ScreenStreamFixture : public ::testing::Test {
protected:
    ScreenStreamFixture() { configuration.minimumFrameInterval = CMTimeMake(1, 30); }

    static ScreenCapture::Content contentOf(ScreenCapture& capture);
    std::shared_ptr<LinuxScreenStream> makeStream(ScreenCapture& capture, const SCContentFilter& filter);
    std::optional<SystemError> start(LinuxScreenStream& stream);
    void stop(LinuxScreenStream& stream);

    bool waitUntil(const std::function<bool()>& condition);
    bool waitForFrames(size_t count) {
        return waitUntil([this, count] { return collector->samples().size() >= count; });
    }
    /// Until the newest picture is this one.
    bool waitForPicture(const ScreenPicture& expected);
    bool waitForColour(int x, int y, uint32_t colour);
    std::optional<ScreenPicture> newestPicture() const;

    SCStreamConfiguration configuration;
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<DispatchQueue> queue = queues.makeSerialQueue("samples");
    std::shared_ptr<ScreenSampleCollector> collector = std::make_shared<ScreenSampleCollector>();
    std::shared_ptr<ScreenStopListener> listener = std::make_shared<ScreenStopListener>();
};

} // namespace vintra
