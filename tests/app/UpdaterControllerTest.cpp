#include "Vintra/app/UpdaterController.h"

#include "tests/app/UpdaterFixture.h"

namespace vintra {
namespace {

using UpdateCheckTest = UpdaterFixture;

TEST_F(UpdateCheckTest, anUpdateThatWasFoundByItselfIsToldQuietly) {
    installation.items = {item("2.4.1", "318")};
    launch(true);
    EXPECT_EQ(*updateNotice.waiting, "2.4.1 (build 318)");
    EXPECT_FALSE(shown().isShown);
    EXPECT_TRUE(*updaterState->canCheck);
    view->cards.press(Card::Kind::update, 0);
    EXPECT_EQ(*updateNotice.waiting, std::nullopt) << "the user has seen it";
    EXPECT_TRUE(shown().isShown);
    EXPECT_EQ(
        stateText(),
        "A new version of Vintra is ready. | Vintra 2.4.1 (build 318) is out, and you have 1.2.3 (build 45). "
        "It is installed when no recording runs.");
    EXPECT_EQ(shown().releaseNotes, "What is new");
    EXPECT_EQ(web.loads.size(), 1u) << "it isn't looked for again";
    EXPECT_TRUE(web.downloads.empty()) << "nothing is fetched that the user doesn't want";
    pressButton("Later");
    EXPECT_FALSE(shown().isShown);
}

TEST_F(UpdateCheckTest, notNowWaitsForTheNextCheck) {
    installation.items = {item("2.0")};
    launch(true);
    view->cards.press(Card::Kind::update, 1);
    EXPECT_EQ(*updateNotice.waiting, std::nullopt);
    machine.run(kDay / 2);
    EXPECT_EQ(*updateNotice.waiting, std::nullopt);
    machine.run(kDay / 2 + 3600);
    EXPECT_EQ(*updateNotice.waiting, "2.0 (build 1)");
}

TEST_F(UpdateCheckTest, itLooksOnceADayAlsoOverSeveralRuns) {
    launch(true);
    EXPECT_EQ(web.loads.size(), 1u);
    machine.run(kDay - 3600);
    launch(true);
    EXPECT_EQ(web.loads.size(), 1u);
    machine.run(2 * 3600);
    EXPECT_EQ(web.loads.size(), 2u);
    machine.wallClock->offsetSeconds -= 100 * kDay;
    machine.run(3600);
    EXPECT_EQ(web.loads.size(), 3u) << "a clock that was set back doesn't put off the check";
}

TEST_F(UpdateCheckTest, itDoesNotLookByItselfDuringATake) {
    recorder->isRecording.set(true); // without its pictures, of which there would be many
    launch(true);
    machine.run(2 * kDay);
    EXPECT_TRUE(web.loads.empty());
    recorder->isRecording.set(false);
    machine.run(3600);
    EXPECT_EQ(web.loads.size(), 1u);
}

TEST_F(UpdateCheckTest, whatGoesWrongWithoutTheUsersAskingIsNotTold) {
    web.responses.clear();
    launch(true);
    EXPECT_FALSE(shown().isShown);
    EXPECT_EQ(controller->session->stage, UpdateSession::Stage::idle);
    EXPECT_TRUE(*updaterState->canCheck);
}

TEST_F(UpdateCheckTest, theNewestVersionIsSaidToBeIt) {
    installation.items = {item("1.2.3", "45"), item("1.2.2", "99"), item("1.2.3", "44"), item("0.9")};
    check();
    EXPECT_EQ(stateText(), "You're up to date. | Vintra 1.2.3 (build 45) is the newest version.");
    pressButton("OK");
    EXPECT_FALSE(shown().isShown);
}

TEST_F(UpdateCheckTest, theLatestOfSeveralIsTaken) {
    installation.items = {item("1.3"), item("1.10", "2"), item("1.10", "10"), item("1.9")};
    check();
    EXPECT_EQ(versionTextOf(controller->session->item), "1.10 (build 10)");
    pressButton("Later");
    installation.items = {item("1.2.3", "46")};
    check();
    EXPECT_EQ(versionTextOf(controller->session->item), "1.2.3 (build 46)") << "a later build of the same";
}

TEST_F(UpdateCheckTest, aVersionForALaterSystemIsLeftOut) {
    auto late = item("3.0", "7");
    late.minimumSystemVersion = "16";
    installation.items = {late};
    check();
    EXPECT_EQ(stateText(),
              "There is no update for this computer. | Vintra 3.0 (build 7) needs macOS 16 or later.");
    pressButton("OK");
    installation.items = {late, item("2.0")};
    check();
    EXPECT_EQ(controller->session->item.displayVersionString, "2.0");
}

TEST_F(UpdateCheckTest, aCheckThatFailsSaysSoInASentence) {
    web.responses.clear();
    check();
    EXPECT_EQ(
        stateText(),
        "Updates couldn't be looked for. | The server can't be reached; check the connection and try again.");
    web.responses[installation.feed] = {.status = 404, .body = "feed"};
    check();
    EXPECT_EQ(shown().text, "The server answered with the error 404; try again later.");
    web.responses[installation.feed] = {.status = 302, .body = "feed"};
    check();
    EXPECT_EQ(shown().text, "The server answered with the error 302; try again later.");
    web.responses[installation.feed] = {.status = 200, .body = "broken"};
    check();
    EXPECT_EQ(shown().text, "The feed can't be read.");
    pressButton("OK");
    EXPECT_FALSE(shown().isShown);
}

TEST_F(UpdateCheckTest, aCopyThatSomebodyElseUpdatesAsksNobody) {
    installation.ownership = "Vintra came with Debian, which also updates it.";
    check();
    EXPECT_EQ(shown().text, "Vintra came with Debian, which also updates it.");
    EXPECT_TRUE(web.loads.empty());
}

TEST_F(UpdateCheckTest, withoutAFeedThatIsSaid) {
    installation.feed.clear();
    check();
    EXPECT_EQ(shown().text, "Updates aren't set up in this copy of Vintra.");
    EXPECT_TRUE(web.loads.empty());
    machine.userDefaults->values["VintraTestFeedURL"] = std::string("http://127.0.0.1:8000/appcast.xml");
    check();
    ASSERT_EQ(web.loads.size(), 1u) << "another feed counts from the next check on";
    EXPECT_EQ(web.loads[0]->request.address, "http://127.0.0.1:8000/appcast.xml");
    EXPECT_EQ(web.loads[0]->request.longestBody, 1u << 20);
}

TEST_F(UpdateCheckTest, aCheckCanBeCancelled) {
    web.holdsBack = true;
    check();
    EXPECT_EQ(shown().title, "Checking for updates…");
    EXPECT_EQ(shown().progress, UpdateWindow::Progress::indeterminate);
    EXPECT_FALSE(*updaterState->canCheck);
    pressButton("Cancel");
    EXPECT_TRUE(web.loads[0]->isCancelled);
    EXPECT_FALSE(shown().isShown);
    EXPECT_TRUE(*updaterState->canCheck);
    web.loads[0]->onResponse(WebResponse{.status = 200, .body = "feed"});
    machine.settle();
    EXPECT_EQ(controller->session->stage, UpdateSession::Stage::idle) << "its answer comes too late";
}

TEST_F(UpdateCheckTest, aQuietCheckThatTheUserAsksForIsShown) {
    web.holdsBack = true;
    launch(true);
    EXPECT_FALSE(shown().isShown);
    check();
    EXPECT_TRUE(shown().isShown);
    EXPECT_EQ(web.loads.size(), 1u);
    installation.items = {item("2.0")};
    web.loads[0]->onResponse(WebResponse{.status = 200, .body = "feed"});
    machine.settle();
    EXPECT_EQ(shown().title, "A new version of Vintra is ready.");
    EXPECT_EQ(*updateNotice.waiting, std::nullopt);
}

TEST_F(UpdateCheckTest, theControllerMayGoAtAnyMoment) {
    web.holdsBack = true;
    check();
    launch(false);
    EXPECT_TRUE(web.loads[0]->isCancelled);
    web.loads[0]->onResponse(WebResponse{.status = 200, .body = "feed"});
    machine.settle();
}

} // namespace
} // namespace vintra
