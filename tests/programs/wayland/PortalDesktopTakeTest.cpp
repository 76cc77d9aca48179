// Takes by the program itself on GNOME's and KDE's desktops, with their own portals.

#include "tests/platform/linux/wayland/PortalDesktopFixture.h"
#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MediaProbe.h"

#include <chrono>
#include <filesystem>
#include <future>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

class PortalDesktopTakeTest : public PortalDesktopFixture {
protected:
    struct Outcome {
        int code = 0;
        nlohmann::json json;
    };
    Outcome take(const std::string& name, const std::vector<std::string>& options) {
        std::vector<std::string> words{WaylandSession::program("vintra-take"),
                                       "--folder",
                                       folder.url().path(),
                                       "--timeline",
                                       "none",
                                       "--json",
                                       "--fps",
                                       "30",
                                       "--seconds",
                                       "1",
                                       "--name",
                                       name};
        words.insert(words.end(), options.begin(), options.end());
        ChildProcess program(words, {"XDG_STATE_HOME=" + folder.url().path()});
        // The same picture again and again: on a busy machine KWin may lose the only frame of what stands still.
        auto output = std::async(std::launch::async, [&program] { return program.restOfOutput(); });
        while (output.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready)
            showAgain();
        const std::string text = output.get();
        Outcome outcome{program.wait(), nlohmann::json::parse(text, nullptr, false)};
        if (!outcome.json.is_object()) outcome.json = {{"text", text}};
        return outcome;
    }
    /// Saved; a slow machine may have left some out.
    static bool hasPictures(const Outcome& outcome) {
        return outcome.json.value("status", "").starts_with("Saved") &&
               outcome.json.dump().find("No video was captured") == std::string::npos;
    }
    std::string programsTokens() const { return folder.file("vintra/screencast-restore-tokens").path(); }
    URL movie(const std::string& name) const { return folder.file(name + "_video.mov"); }
};

TEST_F(PortalDesktopTakeTest, aDisplayAndAPartOfItAreRecordedInTheirColours) {
    window->fill({0, 0, window->width(), window->height()}, 0xc86432);
    window->fill({400, 300, 200, 100}, 0x3264c8);
    window->showAndAwaitFrame();
    ASSERT_TRUE(PortalDesktop::grant(programsTokens(), PortalDesktop::display()));
    const Outcome whole = take("whole", {});
    EXPECT_EQ(whole.code, 0) << whole.json;
    ASSERT_TRUE(hasPictures(whole)) << whole.json;
    const MediaProbe probe(movie("whole"));
    EXPECT_EQ(probe.track(0).width, window->width());
    EXPECT_EQ(probe.track(0).height, window->height());
    const auto ground = MediaProbe::meanColour(movie("whole"), 0, {0, 450, 1600, 400});
    EXPECT_NEAR(ground[0], 0xc8, 2);
    EXPECT_NEAR(ground[2], 0x32, 2);
    const auto patch = MediaProbe::meanColour(movie("whole"), 0, {404, 304, 192, 92});
    EXPECT_NEAR(patch[0], 0x32, 2);
    EXPECT_NEAR(patch[2], 0xc8, 2);

    const Outcome part = take("part", {"--region", "400,300,200,100"});
    EXPECT_EQ(part.code, 0) << part.json << ", with the grant of the take before";
    ASSERT_TRUE(hasPictures(part)) << part.json;
    EXPECT_EQ(MediaProbe(movie("part")).track(0).width, 200);
    EXPECT_EQ(MediaProbe(movie("part")).track(0).height, 100);
    EXPECT_NEAR(MediaProbe::meanColour(movie("part"), 0, {0, 0, 200, 100})[2], 0xc8, 2);
}

TEST_F(PortalDesktopTakeTest, whatIsGrantedForAnotherDisplayIsNotRecorded) {
    ASSERT_TRUE(PortalDesktop::grant(programsTokens(), PortalDesktop::display(), PortalDesktop::display(1)));
    const Outcome outcome = take("refused", {});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.json["status"], "Failed to start");
    EXPECT_TRUE(outcome.json.value("lastError", "")
                    .starts_with("The desktop was told to share the display " + PortalDesktop::display(1)))
        << outcome.json;
    EXPECT_FALSE(std::filesystem::exists(movie("refused").path()));
}

/// KDE's portal declines at once here, since nothing is installed that draws its question.
TEST_F(PortalDesktopTakeTest, onKdeAQuestionThatIsDeclinedLeavesNoFile) {
    const Outcome outcome = take("declined", {});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_TRUE(outcome.json.value("lastError", "").starts_with("The screen wasn't shared")) << outcome.json;
    EXPECT_FALSE(std::filesystem::exists(movie("declined").path()));
}

/// Bare mutter's portal shares no window: it asks GNOME's shell which there are.
TEST_F(PortalDesktopTakeTest, onKdeAWindowThatTheUserChoseIsTheWholePicture) {
    window->fill({0, 0, window->width(), window->height()}, 0xc86432);
    window->fill({0, 0, 20, window->height()}, 0x3264c8);
    window->showAndAwaitFrame();
    for (const char* const name : {"window", "again"}) {
        ASSERT_TRUE(PortalDesktop::grantWindow(programsTokens(), "Painted Window"));
        const Outcome outcome = take(name, {"--window", "0"});
        ASSERT_EQ(outcome.code, 0) << outcome.json;
        ASSERT_TRUE(hasPictures(outcome)) << outcome.json;
        const MediaProbe probe(movie(name));
        EXPECT_EQ(probe.track(0).width, window->width());
        EXPECT_EQ(probe.track(0).height, window->height());
        EXPECT_NEAR(MediaProbe::meanColour(movie(name), 0, {0, 0, 18, 900})[2], 0xc8, 3);
        EXPECT_NEAR(MediaProbe::meanColour(movie(name), 0, {24, 0, 1500, 900})[0], 0xc8, 3);
    }
}

} // namespace
} // namespace vintra
