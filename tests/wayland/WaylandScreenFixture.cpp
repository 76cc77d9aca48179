#include "WaylandScreenFixture.h"

namespace vintra {

void WaylandScreenFixture::SetUp() {
    if (!WaylandSession::isThere()) GTEST_SKIP() << "there is no Wayland session";
    WaylandSession::choose(kDisplay);
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 640, 480));
    window = std::make_unique<WaylandWindow>(kDisplay);
    ASSERT_TRUE(window->isOpen());
    configuration.minimumFrameInterval = CMTimeMake(1, 30);
}

void WaylandScreenFixture::TearDown() {
    window.reset();
}

ScreenCapture::Content WaylandScreenFixture::content() {
    ScreenCapture::Content result;
    WaylandScreenCapture(desktop).getShareableContent(
        false, true, [&](ScreenCapture::Content read) { result = std::move(read); });
    return result;
}

SCDisplay WaylandScreenFixture::display() {
    return content().content.displays.at(0);
}

std::shared_ptr<LinuxScreenStream> WaylandScreenFixture::makeStream() {
    auto stream = WaylandScreenCapture(desktop).makeStream({SCContentFilter::Display{display(), {}, {}}},
                                                           configuration, listener);
    stream->addStreamOutput(collector, SCStreamOutputType::screen, queue);
    return std::dynamic_pointer_cast<LinuxScreenStream>(stream);
}

std::shared_ptr<LinuxScreenStream> WaylandScreenFixture::run() {
    auto stream = makeStream();
    const size_t before = collector->samples().size();
    const auto error = start(*stream);
    EXPECT_EQ(error, std::nullopt) << error->localizedDescription();
    // This portal's first frame tells what changed since the capture before, if anything did.
    for (int tries = 0; tries < 10 && collector->samples().size() == before; ++tries) {
        for (int i = 0; i < 500 && collector->samples().size() == before; ++i)
            clock.sleep(2000);
        if (collector->samples().size() == before) paint({0, 0, 1, 1}, 0x000000);
    }
    EXPECT_TRUE(waitForFrames(before + 1));
    return stream;
}

std::optional<SystemError> WaylandScreenFixture::start(LinuxScreenStream& stream) {
    CompletionResult started;
    stream.startCapture(started.function());
    EXPECT_TRUE(waitUntil([&] { return started.calls() > 0; }));
    return started.error();
}

void WaylandScreenFixture::stop(LinuxScreenStream& stream) {
    CompletionResult stopped;
    stream.stopCapture(stopped.function());
    EXPECT_TRUE(waitUntil([&] { return stopped.calls() > 0; }));
    EXPECT_EQ(stopped.error(), std::nullopt);
}

bool WaylandScreenFixture::waitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 5000; ++i) {
        if (condition()) return true;
        clock.sleep(2000);
    }
    return condition();
}

bool WaylandScreenFixture::waitForRest() {
    for (int i = 0; i < 50; ++i) {
        const size_t before = collector->samples().size();
        clock.sleep(200'000);
        if (collector->samples().size() == before) return true;
    }
    return false;
}

std::optional<ScreenPicture> WaylandScreenFixture::newestPicture() const {
    const auto samples = collector->samples();
    if (samples.empty()) return std::nullopt;
    return ScreenPicture(*samples.back().imageBuffer());
}

bool WaylandScreenFixture::waitForPicture(const ScreenPicture& expected) {
    std::shared_ptr<CVPixelBuffer> seen;
    return waitUntil([&] {
        const auto samples = collector->samples();
        if (samples.empty() || samples.back().imageBuffer() == seen) return false;
        seen = samples.back().imageBuffer();
        return ScreenPicture(*seen) == expected;
    });
}

bool WaylandScreenFixture::waitForColour(int x, int y, uint32_t colour) {
    return waitUntil([&] {
        const auto picture = newestPicture();
        return picture && x < picture->width && y < picture->height && picture->at(x, y) == colour;
    });
}

} // namespace vintra
