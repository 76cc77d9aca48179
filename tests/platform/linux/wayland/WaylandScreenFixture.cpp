#include "tests/platform/linux/wayland/WaylandScreenFixture.h"

namespace vintra {

void WaylandScreenFixture::SetUp() {
    if (!WaylandSession::isThere()) GTEST_SKIP() << "there is no Wayland session";
    WaylandSession::choose(kDisplay);
    ASSERT_TRUE(WaylandSession::resize(kDisplay, 640, 480));
    window = std::make_unique<WaylandWindow>(kDisplay);
    ASSERT_TRUE(window->isOpen());
}

void WaylandScreenFixture::TearDown() {
    window.reset();
}

ScreenCapture::Content WaylandScreenFixture::content() {
    WaylandScreenCapture capture(desktop);
    return contentOf(capture);
}

SCDisplay WaylandScreenFixture::display() {
    return content().content.displays.at(0);
}

std::shared_ptr<LinuxScreenStream> WaylandScreenFixture::makeStream() {
    WaylandScreenCapture capture(desktop);
    return ScreenStreamFixture::makeStream(capture, {SCContentFilter::Display{display(), {}, {}}});
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

bool WaylandScreenFixture::waitForRest() {
    for (int i = 0; i < 50; ++i) {
        const size_t before = collector->samples().size();
        clock.sleep(200'000);
        if (collector->samples().size() == before) return true;
    }
    return false;
}

void WaylandScreenFixture::keepShowing() {
    for (int i = 0; i < 10; ++i) {
        window->touched({0, 0, window->width(), window->height()});
        window->show();
        clock.sleep(100'000);
    }
}

} // namespace vintra
