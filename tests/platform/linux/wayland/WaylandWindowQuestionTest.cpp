#include "Vintra/platform/linux/wayland/WaylandWindowQuestion.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/wayland/WaylandScreenFixture.h"
#include "tests/platform/linux/wayland/WindowSharingPortal.h"

#include <fstream>
#include <iterator>
#include <optional>

namespace vintra {
namespace {

using Wish = WindowQuestion::Wish;

/// A program on a desktop whose portal follows a script.
class WaylandWindowQuestionTest : public WaylandScreenFixture {
protected:
    void open(const std::string& busAddress) {
        desktop.busAddress = busAddress;
        question = std::make_shared<WaylandWindowQuestion>(
            desktop, std::shared_ptr<MainThread>(std::shared_ptr<void>(), &loop));
    }
    void share(FakePortal::Script script = {}) {
        portal = std::make_unique<WindowSharingPortal>(std::move(script));
        open(portal->busAddress());
    }
    void TearDown() override {
        question.reset();
        portal.reset();
        WaylandScreenFixture::TearDown();
    }
    void ask(Wish wish) {
        answer.reset();
        question->ask(wish, [this](const WindowQuestion::Answer& given) {
            loop.post([this, given] { answer = given; });
        });
    }
    /// While the desktop goes on showing something.
    bool awaitAnswer() {
        for (int tries = 0; tries < 400 && !answer; ++tries) {
            window->touched({0, 0, window->width(), window->height()});
            window->show();
            loop.runUntil([this] { return answer.has_value(); }, 50'000'000);
        }
        return answer.has_value();
    }
    std::string tokens() const {
        std::ifstream file(desktop.restoreTokensFile);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::map<std::string, FakePortal::Value> sources() const {
        return portal->calls().options("SelectSources");
    }

    LinuxEventLoop loop;
    std::unique_ptr<WindowSharingPortal> portal;
    std::shared_ptr<WaylandWindowQuestion> question;
    std::optional<WindowQuestion::Answer> answer;
};

TEST_F(WaylandWindowQuestionTest, aPortalThatSharesDisplaysAloneOffersNone) {
    const PrivateBus bus;
    const FakePortal displaysAlone(bus.address(), {.sourceTypes = 1});
    open(bus.address());
    int timesTold = 0;
    const Observation observation = question->observeOffer([&] { ++timesTold; });
    EXPECT_EQ(question->offer(), WindowQuestion::Offer::asked) << "until the portal has answered";
    for (int tries = 0; tries < 400 && timesTold == 0; ++tries)
        loop.runUntil([&] { return timesTold > 0; }, 50'000'000);
    EXPECT_EQ(timesTold, 1);
    EXPECT_EQ(question->offer(), WindowQuestion::Offer::refused);
    ask(Wish::another);
    ASSERT_TRUE(awaitAnswer());
    ASSERT_TRUE(answer->error);
    EXPECT_EQ(
        answer->error->localizedDescription(),
        "A single window can't be recorded: the portal of this desktop shares only whole displays. Record the "
        "display, or a region of it.");
}

TEST_F(WaylandWindowQuestionTest, theUsersChoiceHasTheSizeOfItsPictureAndIsRemembered) {
    share({.restoreToken = "again"});
    ask(Wish::another);
    ASSERT_TRUE(awaitAnswer());
    ASSERT_FALSE(answer->error) << answer->error->localizedDescription();
    ASSERT_TRUE(answer->window);
    EXPECT_EQ(answer->window->windowID, 0u);
    EXPECT_EQ(answer->window->pixelWidth, 640);
    EXPECT_EQ(answer->window->pixelHeight, 480);
    EXPECT_EQ(std::get<uint32_t>(sources()["types"]), 2u);
    EXPECT_EQ(std::get<uint32_t>(sources()["persist_mode"]), 2u);
    EXPECT_FALSE(sources().contains("restore_token"));
    EXPECT_EQ(tokens(), "a window\tagain\n");

    ask(Wish::same);
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(std::get<std::string>(sources()["restore_token"]), "again");
    ask(Wish::another);
    ASSERT_TRUE(awaitAnswer());
    EXPECT_FALSE(sources().contains("restore_token")) << "another is another";
    EXPECT_EQ(question->offer(), WindowQuestion::Offer::asked);
}

TEST_F(WaylandWindowQuestionTest, aCaptureGoesOnWithWhatWasGrantedToTheLastPixel) {
    share({.restoreToken = "again"});
    ask(Wish::same);
    ASSERT_TRUE(awaitAnswer());
    ASSERT_TRUE(answer->window);
    WaylandScreenCapture capture(desktop, question);
    const auto stream = ScreenStreamFixture::makeStream(
        capture, {SCContentFilter::DesktopIndependentWindow{*answer->window}});
    ASSERT_EQ(start(*stream), std::nullopt);
    const auto sessions = [this] {
        int count = 0;
        for (const auto& call : portal->calls().calls())
            count += call.member == "CreateSession";
        return count;
    };
    EXPECT_EQ(sessions(), 1) << "the user isn't asked twice";
    EXPECT_TRUE(waitForFrames(1)) << "the picture that was looked at, though nothing has changed";
    ScreenPicture expected(640, 480);
    expected.fill(101, 53, 77, 31, 0x12abef);
    paint({101, 53, 77, 31}, 0x12abef);
    EXPECT_TRUE(waitForPicture(expected));
    stop(*stream);
    ASSERT_EQ(start(*stream), std::nullopt) << "once more, which asks";
    EXPECT_EQ(sessions(), 2);
    EXPECT_EQ(std::get<std::string>(sources()["restore_token"]), "again");
    stop(*stream);
}

TEST_F(WaylandWindowQuestionTest, aUserWhoSaysNoHasChosenNone) {
    share({.codes = {{"Start", 1}}});
    ask(Wish::another);
    ASSERT_TRUE(awaitAnswer());
    EXPECT_FALSE(answer->window);
    EXPECT_FALSE(answer->error) << answer->error->localizedDescription();
    ask(Wish::same);
    ASSERT_TRUE(awaitAnswer());
    EXPECT_FALSE(answer->window);
    ASSERT_TRUE(answer->error) << "a take that needs it fails";
    EXPECT_TRUE(answer->error->localizedDescription().starts_with("The screen wasn't shared"));
}

TEST_F(WaylandWindowQuestionTest, aQuestionThatNobodyWaitsForAnyMoreIsOverAtOnce) {
    share({.silentAt = "Start"});
    ask(Wish::same);
    ASSERT_TRUE(portal->calls().awaitCall("Start"));
    question->cancel();
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(answer->error->localizedDescription(),
              "The recording was ended before the desktop had granted the window.");
    ask(Wish::another);
    question->cancel();
    ASSERT_TRUE(awaitAnswer());
    EXPECT_FALSE(answer->error) << "a choice that was given up is none";
}

} // namespace
} // namespace vintra
