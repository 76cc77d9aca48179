#include "tests/platform/linux/x11/X11ScreenFixture.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/x11/X11Screens.h"

#include <unistd.h>

namespace vintra {

class X11DisplaysTest : public X11ScreenFixture {
protected:
    /// A desktop of two monitors: the left 400 pixels and the other 240.
    void splitScreen() {
        ASSERT_TRUE(server.xrandr({"--setmonitor", "LEFT", "400/400x480/480+0+0", "screen"}));
        ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "240/240x480/480+400+0", "none"}));
    }
    std::vector<NSScreen> screens() { return X11Screens(mainThread, server.displayName()).screens(); }
    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();

    SCDisplay displayNamed(const std::string& name) {
        for (const NSScreen& screen : screens()) {
            if (screen.localizedName != name) continue;
            for (const SCDisplay& display : content().content.displays) {
                if (display.displayID == screen.screenNumber) return display;
            }
        }
        ADD_FAILURE() << "no display " << name;
        return {};
    }
};

TEST_F(X11DisplaysTest, theOneScreenIsADisplayOfItsSize) {
    const auto displays = content().content.displays;
    ASSERT_EQ(displays.size(), 1u);
    EXPECT_EQ(displays[0].width, 640);
    EXPECT_EQ(displays[0].height, 480);
    EXPECT_EQ(screens(),
              (std::vector<NSScreen>{{displays[0].displayID, "screen", CGRect{{0, 0}, {640, 480}}, 1}}));
}

TEST_F(X11DisplaysTest, aDisplayKeepsItsIdWhenOthersComeAndGo) {
    splitScreen();
    const uint32_t right = displayNamed("RIGHT").displayID;
    ASSERT_TRUE(server.xrandr({"--delmonitor", "LEFT"}));
    EXPECT_EQ(displayNamed("RIGHT").displayID, right);
    ASSERT_TRUE(server.xrandr({"--setmonitor", "MIDDLE", "40/40x480/480+380+0", "none"}));
    EXPECT_EQ(displayNamed("RIGHT").displayID, right);
}

TEST_F(X11DisplaysTest, everyDisplayIsCapturedByItself) {
    splitScreen();
    painter.fill(0, 0, 400, 480, 0x111111);
    painter.fill(400, 0, 240, 480, 0x222222);
    const auto left = run(displayNamed("LEFT"));
    ScreenPicture expected(400, 480);
    expected.fill(0, 0, 400, 480, 0x111111);
    EXPECT_EQ(newestPicture(), expected);
    painter.fill(400, 0, 240, 480, 0x333333);
    clock.sleep(200'000);
    EXPECT_EQ(collector->samples().size(), 1u);
    stop(*left);

    const auto right = run(displayNamed("RIGHT"));
    ScreenPicture other(240, 480);
    other.fill(0, 0, 240, 480, 0x333333);
    EXPECT_EQ(newestPicture(), other);
    painter.fill(390, 0, 20, 20, 0x444444);
    other.fill(0, 0, 10, 20, 0x444444);
    EXPECT_TRUE(waitForPicture(other));
    stop(*right);
}

TEST_F(X11DisplaysTest, aDisplayThatGoesIsToldAndItsPictureComesBackWithIt) {
    splitScreen();
    painter.fill(400, 0, 240, 480, 0x112233);
    const auto stream = run(displayNamed("RIGHT"));
    EXPECT_EQ(stream->interruption(), std::nullopt);
    ASSERT_TRUE(server.xrandr({"--delmonitor", "RIGHT"}));
    ASSERT_TRUE(waitUntil([&] { return stream->interruption().has_value(); }));
    EXPECT_EQ(stream->interruption(), "The display to record isn't there: it was unplugged or switched off.");
    const size_t before = collector->samples().size();
    painter.fill(400, 0, 240, 480, 0x445566);
    clock.sleep(1'500'000); // longer than it takes to look for the display again
    EXPECT_EQ(collector->samples().size(), before);
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "240/240x480/480+400+0", "none"}));
    EXPECT_TRUE(waitForColour(239, 479, 0x445566));
    EXPECT_EQ(stream->interruption(), std::nullopt);
    painter.fill(400, 0, 240, 480, 0x778899);
    EXPECT_TRUE(waitForColour(239, 479, 0x778899));
    EXPECT_TRUE(listener->errors().empty());
    EXPECT_TRUE(collector->missed().empty()) << "what a display shows that isn't there is no loss";
    stop(*stream);
    const std::string note = stream->endNote().value_or("");
    EXPECT_TRUE(note.starts_with("The display to record isn't there: it was unplugged or switched off. For "))
        << note;
    EXPECT_TRUE(note.ends_with(" seconds of the recording the movie shows the last picture.")) << note;
}

TEST_F(X11DisplaysTest, aStreamWhoseDisplayIsGoneStopsAndSaysSo) {
    splitScreen();
    const auto stream = run(displayNamed("RIGHT"));
    ASSERT_TRUE(server.xrandr({"--delmonitor", "RIGHT"}));
    ASSERT_TRUE(waitUntil([&] { return stream->interruption().has_value(); }));
    stop(*stream);
    EXPECT_TRUE(stream->endNote().has_value());
    EXPECT_TRUE(listener->errors().empty());
}

TEST_F(X11DisplaysTest, aDisplayThatIsOffForAMomentGoesOn) {
    splitScreen();
    const auto stream = run(displayNamed("RIGHT"));
    ASSERT_TRUE(server.xrandr({"--delmonitor", "RIGHT"}));
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "200/200x480/480+440+0", "none"}));
    painter.fill(440, 0, 10, 10, 0x998877);
    EXPECT_TRUE(waitForColour(0, 0, 0x998877));
    EXPECT_EQ(newestPicture()->width, 200);
    EXPECT_TRUE(listener->errors().empty());
    EXPECT_EQ(stream->interruption(), std::nullopt);
    stop(*stream);
}

TEST_F(X11DisplaysTest, anotherDisplayThatGoesIsNoFrameAndNoEnd) {
    splitScreen();
    const auto stream = run(displayNamed("LEFT"));
    ASSERT_TRUE(server.xrandr({"--delmonitor", "RIGHT"}));
    painter.fill(0, 0, 10, 10, 0x777777);
    ASSERT_TRUE(waitForColour(0, 0, 0x777777));
    EXPECT_EQ(newestPicture()->width, 400);
    EXPECT_TRUE(listener->errors().empty());
    stop(*stream);
}

TEST_F(X11DisplaysTest, aDesktopThatChangesItsSizeGoesOnInTheNewOne) {
    const auto stream = run();
    painter.fill(0, 0, 640, 480, 0x102030);
    ASSERT_TRUE(waitForColour(0, 0, 0x102030));
    ASSERT_TRUE(
        server.xrandr({"--newmode", "small", "6", "320", "330", "340", "360", "240", "243", "246", "259"}));
    ASSERT_TRUE(server.xrandr({"--addmode", "screen", "small"}));
    ASSERT_TRUE(server.xrandr({"--output", "screen", "--mode", "small"}));
    ASSERT_TRUE(waitUntil([&] { return newestPicture()->width == 320; }));
    EXPECT_EQ(newestPicture()->height, 240);
    painter.fill(310, 230, 10, 10, 0x0000ff);
    EXPECT_TRUE(waitForColour(319, 239, 0x0000ff));
    ASSERT_TRUE(server.xrandr({"--output", "screen", "--mode", "640x480"}));
    ASSERT_TRUE(waitUntil([&] { return newestPicture()->width == 640; }));
    painter.fill(600, 400, 10, 10, 0x00ff00);
    EXPECT_TRUE(waitForColour(605, 405, 0x00ff00));
    EXPECT_TRUE(listener->errors().empty());
    stop(*stream);
}

TEST_F(X11DisplaysTest, pointsFollowTheDesktopsFontResolutionInQuarterSteps) {
    const std::pair<const char*, double> scales[] = {
        {"192", 2}, {"120", 1.25}, {"100", 1}, {"72", 1}, {"x", 1}};
    for (const auto& [dpi, scale] : scales) {
        painter.setResources(std::string("*customization: -color\nXft.dpi:\t") + dpi + "\n");
        ASSERT_EQ(screens().size(), 1u);
        EXPECT_EQ(screens()[0].backingScaleFactor, scale) << dpi;
        EXPECT_EQ(content().content.displays.at(0).width, static_cast<int>(640 / scale)) << dpi;
    }
}

TEST_F(X11DisplaysTest, aPartInPointsIsCapturedInItsPixels) {
    painter.setResources("Xft.dpi: 192\n");
    painter.fill(20, 40, 60, 80, 0xaabbcc);
    configuration.sourceRect = CGRect{{10, 20}, {30, 40}};
    const auto stream = run();
    ScreenPicture expected(60, 80);
    expected.fill(0, 0, 60, 80, 0xaabbcc);
    EXPECT_EQ(newestPicture(), expected);
    stop(*stream);
}

TEST_F(X11DisplaysTest, windowsAreListedWithFrameAndTitle) {
    const auto id = painter.openWindow(30, 40, 200, 100, "Übersicht", 4711);
    painter.openWindow(700, 500, 20, 20, "elsewhere", 4711);
    const SCShareableContent shareable = content().content;
    ASSERT_EQ(shareable.windows.size(), 1u);
    EXPECT_EQ(shareable.windows[0],
              (SCWindow{static_cast<uint32_t>(id), CGRect{{30, 40}, {200, 100}}, "Übersicht"}));
    EXPECT_TRUE(shareable.applications.empty()); // none can be left out
}

TEST_F(X11DisplaysTest, leavingAProgramOutIsRefusedInASentence) {
    const SCDisplay display = content().content.displays.at(0);
    try {
        capture.makeStream({SCContentFilter::Display{display, {{4711, "painter"}}, {}}}, configuration,
                           listener);
        FAIL() << "not refused";
    } catch (const SystemError& error) {
        EXPECT_EQ(
            error.localizedDescription(),
            "A program's windows can't be left out of a recording on this desktop. Move them off what is "
            "recorded, or record one window by itself.");
    }
}

TEST_F(X11DisplaysTest, changesOfTheScreensAreToldOnTheMainThread) {
    X11Screens watched(mainThread, server.displayName());
    int told = 0;
    auto observation = watched.observeChanges([&] {
        EXPECT_TRUE(mainThread->isCurrent());
        ++told;
    });
    const auto after = [&](int times) {
        return mainThread->runUntil([&] { return told >= times; }, 10'000'000'000);
    };
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "240/240x480/480+400+0", "none"}));
    EXPECT_TRUE(after(1));
    EXPECT_EQ(watched.screens().size(), 2u);
    painter.setResources("Xft.dpi: 192\n");
    EXPECT_TRUE(after(2));
    EXPECT_EQ(watched.screens().at(0).backingScaleFactor, 2);
    painter.setResources("Xft.dpi: 192\nXft.antialias: 1\n"); // not of the screens
    ASSERT_TRUE(server.xrandr({"--delmonitor", "RIGHT"}));
    EXPECT_TRUE(after(3));
    server.kill();
    EXPECT_TRUE(after(4));
    EXPECT_TRUE(watched.screens().empty());
    EXPECT_EQ(told, 4);
}

TEST_F(X11DisplaysTest, anObserverThatHasGoneIsNotTold) {
    X11Screens watched(mainThread, server.displayName());
    int told = 0;
    int toldGone = 0;
    auto gone = watched.observeChanges([&] { ++toldGone; });
    const auto stays = watched.observeChanges([&] { ++told; });
    gone.reset();
    ASSERT_TRUE(server.xrandr({"--setmonitor", "RIGHT", "240/240x480/480+400+0", "none"}));
    EXPECT_TRUE(mainThread->runUntil([&] { return told == 1; }, 10'000'000'000));
    EXPECT_EQ(toldGone, 0);
}

TEST_F(X11DisplaysTest, withoutAServerChangesArentTold) {
    server.kill();
    EXPECT_EQ(X11Screens(mainThread, server.displayName()).observeChanges([] {}), nullptr);
}

TEST_F(X11DisplaysTest, withoutAServerTheErrorSaysWhatToDoAndThereAreNoScreens) {
    const std::string name = server.displayName();
    server.kill();
    const auto result = content();
    ASSERT_TRUE(result.error.has_value());
    EXPECT_EQ(result.error->localizedDescription(),
              "No X display can be recorded: the server of display \"" + name +
                  "\" can't be reached. Check that DISPLAY names a running X server that lets you in.");
    EXPECT_TRUE(result.content.displays.empty());
    EXPECT_TRUE(screens().empty());
}

TEST_F(X11DisplaysTest, aStartWithoutAServerCompletesWithTheError) {
    const SCDisplay display = content().content.displays.at(0);
    server.kill();
    const auto error = start(*makeStream(display));
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->domain(), "x11");
}

} // namespace vintra
