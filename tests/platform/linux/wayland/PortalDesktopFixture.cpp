#include "tests/platform/linux/wayland/PortalDesktopFixture.h"

#include "Vintra/platform/linux/screen/DisplayID.h"

#include <algorithm>

namespace vintra {

void PortalDesktopFixture::SetUp() {
    if (!PortalDesktop::isThere()) GTEST_SKIP() << "there is neither GNOME nor KDE";
    // The last test may have ended before it had put this right.
    const SCDisplay first = display(PortalDesktop::display());
    if (first.width < first.height || first.width < first.pixelWidth) {
        ASSERT_TRUE(PortalDesktop::turn(PortalDesktop::display(), 0));
    }
    configuration.showsCursor = false;
    window = std::make_unique<WaylandWindow>(PortalDesktop::display());
    ASSERT_TRUE(window->isOpen());
}

SCDisplay PortalDesktopFixture::display(const std::string& name) {
    WaylandScreenCapture capture(desktop);
    const auto displays = contentOf(capture).content.displays;
    const auto found = std::ranges::find(displays, displayIDFromName(name), &SCDisplay::displayID);
    return found == displays.end() ? SCDisplay{} : *found;
}

std::shared_ptr<LinuxScreenStream> PortalDesktopFixture::run(const std::string& name) {
    EXPECT_TRUE(PortalDesktop::grant(tokensFile(), name));
    WaylandScreenCapture capture(desktop);
    auto stream = makeStream(capture, {SCContentFilter::Display{display(name), {}, {}}});
    const auto error = start(*stream);
    EXPECT_EQ(error, std::nullopt) << error->localizedDescription();
    // On a busy machine KWin may lose the only frame of what stands still: then it has to be shown again.
    for (int tries = 0; tries < 10 && collector->samples().empty(); ++tries) {
        for (int i = 0; i < 500 && collector->samples().empty(); ++i)
            clock.sleep(2000);
        if (collector->samples().empty()) showAgain();
    }
    return stream;
}

void PortalDesktopFixture::showAgain() {
    window->touched({0, 0, window->width(), window->height()});
    window->show();
}

ScreenPicture PortalDesktopFixture::picture(int width, int height, int number) {
    ScreenPicture picture(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            picture.pixels[static_cast<size_t>(y * width + x)] =
                static_cast<uint32_t>(x * 255 / width) << 16 | static_cast<uint32_t>(y * 255 / height) << 8 |
                static_cast<uint32_t>((x ^ y ^ number) & 255);
    }
    return picture;
}

void PortalDesktopFixture::paintPicture(WaylandWindow& onto, int number) {
    const ScreenPicture picture = PortalDesktopFixture::picture(onto.width(), onto.height(), number);
    for (int y = 0; y < picture.height; ++y)
        std::copy_n(picture.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(picture.width),
                    picture.width, onto.row(y));
    onto.touched({0, 0, onto.width(), onto.height()});
    onto.showAndAwaitFrame();
}

bool PortalDesktopFixture::turn(int degrees, int scale) {
    const SCDisplay before = display(PortalDesktop::display());
    const int side = std::max(before.pixelWidth, before.pixelHeight);
    const int other = std::min(before.pixelWidth, before.pixelHeight);
    const int width = (degrees % 180 == 0 ? side : other) / scale;
    return PortalDesktop::turn(PortalDesktop::display(), degrees, scale) && waitUntil([&] {
               window->show(); // adopts the size once it is told
               return display(PortalDesktop::display()).width == width && window->width() == width;
           });
}

bool PortalDesktopFixture::shows(const ScreenPicture& expected) {
    return newestPicture() == expected || waitForPicture(expected) || newestPicture() == expected;
}

} // namespace vintra
