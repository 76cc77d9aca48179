#include "X11ScreenFixture.h"

namespace vintra {

ScreenPicture::ScreenPicture(int aWidth, int aHeight)
    : width(aWidth)
    , height(aHeight)
    , pixels(static_cast<size_t>(aWidth * aHeight)) {}

ScreenPicture::ScreenPicture(const CVPixelBuffer& buffer)
    : ScreenPicture(static_cast<int>(buffer.width()), static_cast<int>(buffer.height())) {
    const auto& plane = buffer.plane(0);
    for (int y = 0; y < height; ++y) {
        const uint8_t* byte = plane.baseAddress + static_cast<size_t>(y) * plane.bytesPerRow;
        for (int x = 0; x < width; ++x, byte += 4) {
            pixels[static_cast<size_t>(y * width + x)] =
                static_cast<uint32_t>(byte[2]) << 16 | static_cast<uint32_t>(byte[1]) << 8 | byte[0];
        }
    }
}

void ScreenPicture::fill(int x, int y, int fillWidth, int fillHeight, uint32_t colour) {
    for (int row = std::max(y, 0); row < std::min(y + fillHeight, height); ++row) {
        for (int column = std::max(x, 0); column < std::min(x + fillWidth, width); ++column) {
            pixels[static_cast<size_t>(row * width + column)] = colour;
        }
    }
}

X11ScreenFixture::X11ScreenFixture(const std::string& screen, std::vector<std::string> options)
    : server(screen, std::move(options))
    , painter(server.displayName())
    , capture(server.displayName()) {
    configuration.minimumFrameInterval = CMTimeMake(1, 30);
    configuration.showsCursor = false;
}

ScreenCapture::Content X11ScreenFixture::content() {
    ScreenCapture::Content result;
    capture.getShareableContent(false, true, [&](ScreenCapture::Content read) { result = std::move(read); });
    return result;
}

std::shared_ptr<X11ScreenStream> X11ScreenFixture::makeStream(const SCDisplay& display) {
    auto stream = capture.makeStream({SCContentFilter::Display{display, {}, {}}}, configuration, listener);
    stream->addStreamOutput(collector, SCStreamOutputType::screen, queue);
    return std::dynamic_pointer_cast<X11ScreenStream>(stream);
}

std::shared_ptr<X11ScreenStream> X11ScreenFixture::run(const SCDisplay& display) {
    auto stream = makeStream(display);
    const size_t before = collector->samples().size();
    EXPECT_EQ(start(*stream), std::nullopt);
    EXPECT_TRUE(waitForFrames(before + 1));
    return stream;
}

std::optional<SystemError> X11ScreenFixture::start(X11ScreenStream& stream) {
    CompletionResult started;
    stream.startCapture(started.function());
    EXPECT_TRUE(waitUntil([&] { return started.calls() > 0; }));
    return started.error();
}

void X11ScreenFixture::stop(X11ScreenStream& stream) {
    CompletionResult stopped;
    stream.stopCapture(stopped.function());
    EXPECT_TRUE(waitUntil([&] { return stopped.calls() > 0; }));
    EXPECT_EQ(stopped.error(), std::nullopt);
}

bool X11ScreenFixture::waitUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 5000; ++i) {
        if (condition()) return true;
        clock.sleep(2000);
    }
    return condition();
}

std::optional<ScreenPicture> X11ScreenFixture::newestPicture() const {
    const auto samples = collector->samples();
    if (samples.empty()) return std::nullopt;
    return ScreenPicture(*samples.back().imageBuffer());
}

bool X11ScreenFixture::waitForPicture(const ScreenPicture& expected) {
    std::shared_ptr<CVPixelBuffer> seen;
    return waitUntil([&] {
        const auto samples = collector->samples();
        if (samples.empty() || samples.back().imageBuffer() == seen) return false;
        seen = samples.back().imageBuffer();
        return ScreenPicture(*seen) == expected;
    });
}

bool X11ScreenFixture::waitForColour(int x, int y, uint32_t colour) {
    return waitUntil([&] {
        const auto picture = newestPicture();
        return picture && x < picture->width && y < picture->height && picture->at(x, y) == colour;
    });
}

} // namespace vintra
