#include "tests/platform/linux/wayland/FakePortal.h"
#include "tests/support/PrivateBus.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/wayland/PortalScreenCast.h"
#include "tests/support/MuteBus.h"

#include <atomic>
#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr const char* kDeclined = "The screen wasn't shared: the desktop's question "
                                  "was declined. Start again and choose what to share.";
constexpr const char* kUnanswered =
    "The screen wasn't shared: the desktop ended its question without an answer. "
    "Start again; if that doesn't help, log in again.";
constexpr const char* kNoScreenCast =
    "The screen can't be recorded: the desktop portal can't share the screen. "
    "Install the one of your desktop (xdg-desktop-portal-gnome, -kde or -wlr), and log in again.";

/// A bus of its own with a portal that follows a script.
class PortalScreenCastTest : public ::testing::Test {
protected:
    void begin(FakePortal::Script script) {
        portal = std::make_unique<FakePortal>(privateBus.address(), std::move(script));
        connect();
    }
    void connect() {
        bus = std::make_unique<PortalBus>(privateBus.address(),
                                          PortalBus::GivingUp{wakeUp, [this] { return isAsked.load(); }});
    }
    PortalScreenCast::Stream start(const PortalScreenCast::Request& request = {}) {
        session = std::make_unique<PortalScreenCast>(*bus);
        return session->start(request);
    }
    /// The sentence with which a start is refused; empty if it isn't.
    std::string refusal(const PortalScreenCast::Request& request = {}) {
        try {
            start(request);
        } catch (const SystemError& error) {
            return error.localizedDescription();
        }
        return {};
    }

    PrivateBus privateBus;
    std::unique_ptr<FakePortal> portal;
    std::shared_ptr<WakeUp> wakeUp = std::make_shared<WakeUp>();
    std::atomic<bool> isAsked{false};
    std::unique_ptr<PortalBus> bus;
    std::unique_ptr<PortalScreenCast> session;
};

TEST_F(PortalScreenCastTest, aGrantIsAStreamWithItsPlaceAndItsToken) {
    begin({.position = std::pair{1920, 0}, .size = std::pair{1280, 720}, .restoreToken = "again"});
    const auto stream = start();
    EXPECT_EQ(stream.node, FakePortal::kNode);
    ASSERT_TRUE(stream.position && stream.size);
    EXPECT_EQ(stream.position->first, 1920);
    EXPECT_EQ(stream.position->second, 0);
    EXPECT_EQ(stream.size->first, 1280);
    EXPECT_EQ(stream.size->second, 720);
    EXPECT_EQ(stream.restoreToken, "again");
    EXPECT_TRUE(stream.remote.isOpen());
    EXPECT_FALSE(session->isClosed());
    EXPECT_FALSE(session->isOfWlroots());
}

TEST_F(PortalScreenCastTest, itAsksForOneDisplayWithThePointerThatIsRememberedUntilRevoked) {
    begin({});
    start({.restoreToken = "of yesterday"});
    auto options = portal->options("SelectSources");
    EXPECT_EQ(std::get<uint32_t>(options["types"]), 1u);
    EXPECT_EQ(std::get<bool>(options["multiple"]), false);
    EXPECT_EQ(std::get<uint32_t>(options["cursor_mode"]), 2u);
    EXPECT_EQ(std::get<uint32_t>(options["persist_mode"]), 2u);
    EXPECT_EQ(std::get<std::string>(options["restore_token"]), "of yesterday");
    std::vector<std::string> members;
    for (const auto& call : portal->calls())
        members.push_back(call.member);
    EXPECT_EQ(members,
              (std::vector<std::string>{"CreateSession", "SelectSources", "Start", "OpenPipeWireRemote"}));
}

TEST_F(PortalScreenCastTest, withoutThePointerItIsHidden) {
    begin({});
    start({.showsCursor = false});
    EXPECT_EQ(std::get<uint32_t>(portal->options("SelectSources")["cursor_mode"]), 1u);
    EXPECT_FALSE(portal->options("SelectSources").contains("restore_token"));
}

TEST_F(PortalScreenCastTest, anOldPortalIsAskedForNothingThatItDoesNotKnow) {
    begin({.version = 1, .cursorModes = 0, .answersElsewhere = true});
    EXPECT_EQ(start({.restoreToken = "token"}).node, FakePortal::kNode);
    const auto options = portal->options("SelectSources");
    EXPECT_FALSE(options.contains("cursor_mode"));
    EXPECT_FALSE(options.contains("persist_mode"));
    EXPECT_FALSE(options.contains("restore_token"));
}

TEST_F(PortalScreenCastTest, aWindowIsAskedForWhereThePortalSharesThem) {
    begin({.sourceTypes = 3});
    start({.source = PortalScreenCast::Source::window, .isRemembered = false});
    EXPECT_EQ(std::get<uint32_t>(portal->options("SelectSources")["types"]), 2u);
    EXPECT_FALSE(portal->options("SelectSources").contains("persist_mode"));
}

TEST_F(PortalScreenCastTest, aWindowIsRefusedWhereThePortalSharesOnlyDisplays) {
    begin({.sourceTypes = 1});
    EXPECT_EQ(refusal({.source = PortalScreenCast::Source::window}),
              "A single window can't be recorded: the portal of this desktop "
              "shares only whole displays. Record the display, or a region of it.");
    EXPECT_TRUE(portal->calls().empty());
}

TEST_F(PortalScreenCastTest, aDeclinedQuestionIsASentenceAtEveryStep) {
    for (const std::string member : {"CreateSession", "SelectSources", "Start"}) {
        SCOPED_TRACE(member);
        session.reset();
        portal.reset();
        begin({.codes = {{member, 1}}});
        EXPECT_EQ(refusal(), kDeclined);
        session.reset();
        portal.reset();
        begin({.codes = {{member, 2}}});
        EXPECT_EQ(refusal(), kUnanswered);
    }
}

TEST_F(PortalScreenCastTest, aGrantOfNothingIsASentence) {
    begin({.givesStreams = false});
    EXPECT_EQ(refusal(), kUnanswered);
}

TEST_F(PortalScreenCastTest, aSessionWithoutAHandleIsASentence) {
    begin({.givesSession = false});
    EXPECT_EQ(refusal(), "The desktop portal's answer can't be understood.");
}

TEST_F(PortalScreenCastTest, aQuestionThatNobodyAnswersEndsInASentence) {
    begin({.silentAt = "Start"});
    EXPECT_EQ(refusal({.patience = 50'000'000}), "The screen wasn't shared: nobody answered the desktop's "
                                                 "question. Start again and choose what to share.");
}

TEST_F(PortalScreenCastTest, aPortalThatGoesDuringItsQuestionIsASentence) {
    begin({.silentAt = "Start"});
    std::thread later([this] {
        portal->awaitCall("Start");
        portal->leave();
    });
    EXPECT_EQ(refusal(), kUnanswered);
    later.join();
}

TEST_F(PortalScreenCastTest, whoGivesUpDuringTheQuestionIsDoneAtOnce) {
    begin({.silentAt = "Start"});
    std::thread later([this] {
        portal->awaitCall("Start");
        isAsked = true;
        wakeUp->set();
    });
    EXPECT_EQ(refusal(), "The recording was ended before the desktop had granted the screen.");
    later.join();
}

TEST_F(PortalScreenCastTest, aSessionThatTheDesktopEndsIsClosed) {
    begin({});
    const auto stream = start();
    portal->close();
    EXPECT_TRUE(
        bus->waitUntil([this] { return session->isClosed(); }, monotonicNanoseconds() + 10'000'000'000));
}

TEST_F(PortalScreenCastTest, aPortalThatGoesLaterTakesNothingBack) {
    begin({});
    const auto stream = start();
    portal->leave();
    EXPECT_FALSE(
        bus->waitUntil([this] { return session->isClosed(); }, monotonicNanoseconds() + 200'000'000));
}

TEST_F(PortalScreenCastTest, aBusWithoutAPortalSaysWhatToInstall) {
    connect();
    EXPECT_EQ(refusal(),
              "The screen can't be recorded: the desktop portal doesn't answer. Install xdg-desktop-portal "
              "and the one of your desktop (xdg-desktop-portal-gnome, -kde or -wlr), and log in again.");
}

TEST_F(PortalScreenCastTest, aPortalWithoutScreenCastSaysWhatToInstall) {
    begin({.hasScreenCast = false});
    EXPECT_EQ(refusal(), kNoScreenCast);
}

TEST_F(PortalScreenCastTest, aPortalWithoutABackendSaysWhatToInstall) {
    begin({.sourceTypes = 0});
    EXPECT_EQ(refusal(), kNoScreenCast);
}

TEST_F(PortalScreenCastTest, aBusThatSaysNothingIsGivenUp) {
    const MuteBus mute;
    ASSERT_TRUE(mute.isListening());
    try {
        PortalBus(mute.address(), PortalBus::GivingUp{wakeUp, [] { return false; }});
        FAIL() << "not refused";
    } catch (const SystemError& error) {
        EXPECT_EQ(error.localizedDescription(),
                  "The screen can't be recorded: the session bus doesn't answer. Log out and in again.");
    }
    EXPECT_THROW(PortalBus(mute.address(), PortalBus::GivingUp{wakeUp, [] { return true; }}), SystemError)
        << "at once where that is asked for";
}

TEST_F(PortalScreenCastTest, withoutABusTheSentenceSaysSo) {
    try {
        PortalBus("unix:path=/nonexistent/bus", PortalBus::GivingUp{wakeUp, [] { return false; }});
        FAIL() << "not refused";
    } catch (const SystemError& error) {
        EXPECT_EQ(error.localizedDescription(), "The screen can't be recorded: there is no session bus. "
                                                "Start Vintra inside of the desktop's session.");
    }
}

} // namespace
} // namespace vintra
