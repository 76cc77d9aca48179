#include "Vintra/platform/linux/x11/X11ScreenCapture.h"
#include "Vintra/platform/linux/x11/X11WindowList.h"

#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/X11SlowLine.h"
#include "tests/platform/linux/x11/X11TestWindow.h"
#include "tests/platform/linux/x11/XvfbServer.h"

#include <memory>

namespace vintra {

/// How often the main thread waits for a server with many windows, however slow the line to it is.
class X11WaitsTest : public ::testing::Test {
protected:
    static constexpr int kWindows = 100;
    /// The connection and the displays take about 20; each window by itself would take one more at least.
    static constexpr int64_t kMostWaits = 80;

    void openWindows() {
        std::vector<unsigned long> managed;
        for (int i = 0; i < kWindows; ++i) {
            windows.push_back(std::make_unique<X11TestWindow>(
                server.displayName(), X11TestWindow::Settings{.x = i, .y = i, .hasFrame = i % 2 == 0}));
            managed.push_back(windows.back()->id());
        }
        painter.setManagedWindows(managed);
    }

    XvfbServer server{"640x480x24"};
    X11Painter painter{server.displayName()};
    X11SlowLine line{server.displayName()};
    std::vector<std::unique_ptr<X11TestWindow>> windows;
};

TEST_F(X11WaitsTest, manyWindowsAreReadInAFewWaits) {
    openWindows();
    X11ScreenCapture capture(line.displayName());
    ScreenCapture::Content content;
    capture.getShareableContent(false, true, [&](ScreenCapture::Content read) { content = std::move(read); });
    ASSERT_EQ(content.error, std::nullopt);
    EXPECT_EQ(content.content.windows.size(), static_cast<size_t>(kWindows));
    EXPECT_GT(line.waits(), 3);
    EXPECT_LT(line.waits(), kMostWaits);
}

TEST_F(X11WaitsTest, theListOfWindowsIsReadInAFewWaits) {
    openWindows();
    const X11WindowList list(line.displayName());
    EXPECT_EQ(list.onScreenWindowsExcludingDesktopElements().size(), static_cast<size_t>(kWindows));
    EXPECT_GT(line.waits(), 3);
    EXPECT_LT(line.waits(), kMostWaits);
}

TEST_F(X11WaitsTest, forDisplaysNoWindowIsAskedAnything) {
    X11ScreenCapture capture(line.displayName());
    const auto bytesForDisplays = [&] {
        line.forget();
        size_t displays = 0;
        capture.getShareableDisplays(
            [&](ScreenCapture::Content read) { displays = read.content.displays.size(); });
        EXPECT_EQ(displays, 1u);
        return line.bytesSent();
    };
    const int64_t without = bytesForDisplays();
    openWindows();
    EXPECT_GT(without, 0);
    EXPECT_EQ(bytesForDisplays(), without);
}

} // namespace vintra
