#include "tests/support/ScreenStreamFixture.h"

#include <utility>

namespace vintra {

ScreenCapture::Content ScreenStreamFixture::contentOf(ScreenCapture& capture) {
    ScreenCapture::Content result;
    capture.getShareableContent(false, true, [&](ScreenCapture::Content read) { result = std::move(read); });
    return result;
}

std::shared_ptr<LinuxScreenStream> ScreenStreamFixture::makeStream(ScreenCapture& capture,
                                                                   const SCContentFilter& filter) {
    auto stream = capture.makeStream(filter, configuration, listener);
    stream->addStreamOutput(collector, SCStreamOutputType::screen, queue);
    return std::dynamic_pointer_cast<LinuxScreenStream>(stream);
}

std::optional<SystemError> ScreenStreamFixture::start(LinuxScreenStream& stream) {
    CompletionResult started;
    stream.startCapture(started.function());
    EXPECT_TRUE(waitUntil([&] { return started.calls() > 0; }));
    return started.error();
}

void ScreenStreamFixture::stop(LinuxScreenStream& stream) {
    CompletionResult stopped;
    stream.stopCapture(stopped.function());
    EXPECT_TRUE(waitUntil([&] { return stopped.calls() > 0; }));
    EXPECT_EQ(stopped.error(), std::nullopt);
}

bool ScreenStreamFixture::waitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 5000; ++i) {
        if (condition()) return true;
        clock.sleep(2000);
    }
    return condition();
}

std::optional<ScreenPicture> ScreenStreamFixture::newestPicture() const {
    const auto samples = collector->samples();
    if (samples.empty()) return std::nullopt;
    return ScreenPicture(*samples.back().imageBuffer());
}

bool ScreenStreamFixture::waitForPicture(const ScreenPicture& expected) {
    std::shared_ptr<CVPixelBuffer> seen;
    return waitUntil([&] {
        const auto samples = collector->samples();
        if (samples.empty() || samples.back().imageBuffer() == seen) return false;
        seen = samples.back().imageBuffer();
        return ScreenPicture(*seen) == expected;
    });
}

bool ScreenStreamFixture::waitForColour(int x, int y, uint32_t colour) {
    return waitUntil([&] {
        const auto picture = newestPicture();
        return picture && x < picture->width && y < picture->height && picture->at(x, y) == colour;
    });
}

} // namespace vintra
