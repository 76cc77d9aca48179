#include "tests/platform/linux/x11/X11ScreenFixture.h"

#include "tests/support/ChildProcess.h"

#include <cstdio>

namespace vintra {

X11ScreenFixture::X11ScreenFixture(const std::string& screen, std::vector<std::string> options)
    : server(screen, std::move(options))
    , painter(server.displayName())
    , capture(server.displayName()) {
    configuration.showsCursor = false;
}

std::shared_ptr<LinuxScreenStream> X11ScreenFixture::run(const SCContentFilter& filter) {
    auto stream = makeStream(filter);
    const size_t before = collector->samples().size();
    EXPECT_EQ(start(*stream), std::nullopt);
    EXPECT_TRUE(waitForFrames(before + 1));
    return stream;
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

} // namespace vintra
