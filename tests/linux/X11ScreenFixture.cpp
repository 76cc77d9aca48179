#include "X11ScreenFixture.h"

#include "ChildProcess.h"

#include <cstdio>

namespace vintra {

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

std::shared_ptr<LinuxScreenStream> X11ScreenFixture::makeStream(const SCContentFilter& filter) {
    auto stream = capture.makeStream(filter, configuration, listener);
    stream->addStreamOutput(collector, SCStreamOutputType::screen, queue);
    return std::dynamic_pointer_cast<LinuxScreenStream>(stream);
}

std::shared_ptr<LinuxScreenStream> X11ScreenFixture::run(const SCContentFilter& filter) {
    auto stream = makeStream(filter);
    const size_t before = collector->samples().size();
    EXPECT_EQ(start(*stream), std::nullopt);
    EXPECT_TRUE(waitForFrames(before + 1));
    return stream;
}

std::optional<SystemError> X11ScreenFixture::start(LinuxScreenStream& stream) {
    CompletionResult started;
    stream.startCapture(started.function());
    EXPECT_TRUE(waitUntil([&] { return started.calls() > 0; }));
    return started.error();
}

void X11ScreenFixture::stop(LinuxScreenStream& stream) {
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

ScreenPicture X11ScreenFixture::screenshot(const std::string& window) const {
    ChildProcess import({"import", "-silent", "-window", window, "-depth", "8", "ppm:-"},
                        {"DISPLAY=" + server.displayName()});
    const std::string file = import.restOfOutput();
    int width = 0;
    int height = 0;
    int start = 0; // of the pixels, after the one blank that ends the header
    if (std::sscanf(file.c_str(), "P6 %d %d 255%n", &width, &height, &start) != 2 ||
        file.size() != static_cast<size_t>(start + 1 + width * height * 3)) {
        ADD_FAILURE() << "import gave no picture of " << window;
        return {0, 0};
    }
    ScreenPicture picture(width, height);
    const auto* byte = reinterpret_cast<const unsigned char*>(file.data()) + start + 1;
    for (uint32_t& pixel : picture.pixels) {
        pixel = static_cast<uint32_t>(byte[0]) << 16 | static_cast<uint32_t>(byte[1]) << 8 | byte[2];
        byte += 3;
    }
    return picture;
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
