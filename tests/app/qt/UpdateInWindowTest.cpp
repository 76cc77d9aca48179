#include "tests/app/qt/ProgramFixture.h"

namespace vintra {
namespace {

/// An update in the feed of the simulated machine, whose program is version 0, build 0.
class UpdateInWindowTest : public ProgramFixture {
protected:
    void offer() {
        web->responses[updates->feed] = {.status = 200, .body = "feed"};
        updates->items = {{.versionString = "318",
                           .displayVersionString = "2.4.1",
                           .itemDescription = notes(),
                           .minimumSystemVersion = "",
                           .fileURL = "https://updates.test/vintra.deb",
                           .contentLength = 10,
                           .edSignature = "abc/def+"}};
    }
    static std::string notes() {
        std::string text = "What is new:\n• The update window\n";
        for (int n = 1; n <= 20; ++n)
            text += "• Improvement " + std::to_string(n) + "\n";
        return text;
    }
    void check() {
        click("Vintra");
        click("Check for Updates…");
        ASSERT_TRUE(hand.until([&] { return program->updateWindow().window() != nullptr; }));
        ASSERT_TRUE(hand.awaitShown(&update()));
    }
    QQuickWindow& update() { return *program->updateWindow().window(); }
    bool told(const QString& text) {
        return hand.until([&] { return shows(update(), text); });
    }
    void press(const QString& button) {
        hand.letDoubleClickPass();
        hand.click(update(), button);
    }
    bool isGone() {
        return hand.until([&] { return !update().isVisible(); });
    }
    void findUpdate() {
        offer();
        check();
        ASSERT_TRUE(told("A new version of Vintra is ready."));
    }
};

TEST_F(UpdateInWindowTest, theCardOpensTheWindowWithWhatIsNew) {
    offer();
    machine.run(2 * 86'400); // past the check of each day
    EXPECT_TRUE(shown("Vintra 2.4.1 (build 318) is ready to install."));
    EXPECT_EQ(program->updateWindow().window(), nullptr) << "nothing comes up by itself";
    click("See what's new");
    ASSERT_TRUE(hand.until([&] { return program->updateWindow().window() != nullptr; }));
    ASSERT_TRUE(hand.awaitShown(&update()));
    EXPECT_EQ(update().title(), "Software Update");
    EXPECT_TRUE(told("A new version of Vintra is ready."));
    EXPECT_TRUE(
        told("Vintra 2.4.1 (build 318) is out, and you have 0 (build 0). It is installed when no recording "
             "runs."));
    EXPECT_NE(named(update(), "What is new"), nullptr);
    hand.picture(update(), "update-found");
    EXPECT_TRUE(gone("Vintra 2.4.1 (build 318) is ready to install.")) << "it has been seen";
    press("Later");
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(web->downloads.empty());
}

TEST_F(UpdateInWindowTest, theTraysPanelOpensTheWindow) {
    offer();
    machine.run(2 * 86'400);
    program->trayItem().togglePanel();
    QQuickWindow* const panel = program->trayItem().panel();
    ASSERT_TRUE(hand.awaitShown(panel));
    hand.click(*panel, "Update ready to install");
    ASSERT_TRUE(hand.until([&] { return program->updateWindow().window() != nullptr; }));
    ASSERT_TRUE(hand.awaitShown(&update()));
    EXPECT_TRUE(hand.until([&] { return update().isActive() && !panel->isVisible(); }));
    hand.key("Escape");
    EXPECT_TRUE(isGone());
}

TEST_F(UpdateInWindowTest, theWholeWayToTheNewVersion) {
    findUpdate();
    press("Install Update");
    EXPECT_TRUE(told("Downloading Vintra 2.4.1…"));
    web->send("01234");
    EXPECT_TRUE(told("0.0 of 0.0 MB"));
    EXPECT_TRUE(hand.until([&] { return update().height() < 200; })) << "as high as its content";
    hand.picture(update(), "update-downloading");
    web->send("56789");
    web->end();
    EXPECT_TRUE(told("Installing Vintra 2.4.1…"));
    EXPECT_TRUE(told("You may be asked for your password."));
    hand.picture(update(), "update-installing");
    EXPECT_TRUE(hand.until([&] { return updates->installs.size() == 1; }));
    updates->installs.back().second.progress(40);
    hand.moments(5);
    hand.picture(update(), "update-installing-40");
    EXPECT_EQ(terminations, 0);
    const auto on = updates->installs.back().second;
    on.ended(std::nullopt);
    EXPECT_TRUE(hand.until([&] { return terminations == 1; }));
    EXPECT_EQ(updates->relaunches, 1);
}

TEST_F(UpdateInWindowTest, keysInstallAndCancel) {
    findUpdate();
    EXPECT_TRUE(hand.until([&] { return update().isActive(); }));
    EXPECT_EQ(accessibleName(update().activeFocusItem()), "Install Update") << "the default button";
    hand.key("Return");
    EXPECT_TRUE(told("Downloading Vintra 2.4.1…"));
    hand.key("Return");
    EXPECT_TRUE(told("Downloading Vintra 2.4.1…")) << "a second press cancels nothing";
    hand.key("Tab");
    EXPECT_TRUE(hand.until([&] {
        return update().activeFocusItem() && accessibleName(update().activeFocusItem()) == "Cancel";
    }));
    hand.picture(update(), "update-focus");
    hand.letDoubleClickPass();
    hand.key("space");
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(web->downloads.back()->isCancelled);
}

TEST_F(UpdateInWindowTest, whatGoesWrongIsToldAndTriedAgain) {
    check();
    EXPECT_TRUE(told("Updates couldn't be looked for."));
    EXPECT_TRUE(told("The server can't be reached; check the connection and try again."));
    hand.picture(update(), "update-problem");
    press("OK");
    EXPECT_TRUE(isGone());
    updates->verification = "The file isn't signed by Vintra's makers, so it wasn't used.";
    findUpdate();
    press("Install Update");
    EXPECT_TRUE(told("Downloading Vintra 2.4.1…"));
    web->send("0123456789");
    web->end();
    EXPECT_TRUE(told("The update wasn't installed."));
    hand.picture(update(), "update-refused");
    press("Try Again");
    EXPECT_TRUE(told("Downloading Vintra 2.4.1…"));
    EXPECT_TRUE(updates->installs.empty());
}

TEST_F(UpdateInWindowTest, aCheckIsCancelledByTheWindowsCloseButton) {
    web->holdsBack = true;
    check();
    EXPECT_TRUE(told("Checking for updates…"));
    hand.picture(update(), "update-checking");
    update().close();
    EXPECT_TRUE(isGone());
    EXPECT_TRUE(web->loads.back()->isCancelled);
    // The same window comes back with what is new by then.
    web->holdsBack = false;
    updates->items.clear();
    web->responses[updates->feed] = {.status = 200, .body = "feed"};
    check();
    EXPECT_TRUE(told("You're up to date."));
    EXPECT_TRUE(told("Vintra 0 (build 0) is the newest version."));
    hand.picture(update(), "update-none");
}

TEST_F(UpdateInWindowTest, everythingThatTakesTheFocusHasAName) {
    findUpdate();
    int found = 0;
    for (QQuickItem* item : visibleItems(update())) {
        if (!item->activeFocusOnTab()) continue;
        ++found;
        EXPECT_NE(accessibleName(item), "");
        EXPECT_NE(accessibleRole(item), QAccessible::NoRole);
    }
    EXPECT_EQ(found, 3) << "what is new, and two buttons";
}

} // namespace
} // namespace vintra
