#include "tests/app/qt/ProgramFixture.h"

#include <QAction>
#include <QMenu>

namespace vintra {
namespace {

class ProgramMenuTest : public ProgramFixture {
protected:
    void choose(const QString& command) {
        click("Vintra");
        click(command);
    }
    /// Once it is made and has drawn; else null.
    QQuickWindow* shownAbout() {
        return awaited([this] { return program->informationWindows().aboutWindow(); });
    }
    QQuickWindow* shownLicences() {
        return awaited([this] { return program->informationWindows().acknowledgementsWindow(); });
    }
    QQuickWindow* awaited(const std::function<QQuickWindow*()>& window) {
        return hand.until([&] { return window() != nullptr; }) && hand.awaitShown(window()) ? window()
                                                                                            : nullptr;
    }
    QAction* trayCommand(const QString& title) {
        for (QAction* action : program->trayItem().contextMenu().actions()) {
            if (action->text() == title) return action;
        }
        return nullptr;
    }
};

TEST_F(ProgramMenuTest, itHoldsTheCommandsAboutTheProgram) {
    click("Vintra");
    for (const char* title : {"About Vintra", "Acknowledgements", "Check for Updates…", "Remove Vintra…"}) {
        EXPECT_TRUE(hand.until([&] { return control(window(), title) != nullptr; })) << title;
        EXPECT_EQ(accessibleRole(control(window(), title)), QAccessible::MenuItem);
    }
    hand.pointAt(control(window(), "Acknowledgements"));
    hand.pictureUnderPointer(window(), "program-menu");
    hand.key("Escape");
    EXPECT_TRUE(hand.until([&] { return !control(window(), "About Vintra"); }));
}

TEST_F(ProgramMenuTest, keysOpenItAndChooseInIt) {
    EXPECT_TRUE(hand.until([&] { return window().isActive(); }));
    hand.key("F10");
    EXPECT_TRUE(hand.until([&] { return control(window(), "About Vintra") != nullptr; }));
    hand.key("Down");
    hand.key("Return");
    EXPECT_NE(shownAbout(), nullptr);
}

TEST_F(ProgramMenuTest, thePanelAboutTheProgramSaysItsVersion) {
    choose("About Vintra");
    QQuickWindow* const about = shownAbout();
    ASSERT_NE(about, nullptr);
    EXPECT_EQ(about->title(), "About Vintra");
    EXPECT_TRUE(shows(*about, "Version 0 (0)"));
    EXPECT_TRUE(shows(*about,
                      "Vintra includes Sparkle and code from Apple, each used under its license. The full "
                      "text is in Vintra → Acknowledgements."));
    hand.picture(*about, "about");
    EXPECT_TRUE(hand.until([&] { return about->isActive(); }));
    hand.key("Escape");
    EXPECT_TRUE(hand.until([&] { return !about->isVisible(); }));
    choose("About Vintra");
    EXPECT_TRUE(hand.until([&] { return about->isExposed(); })) << "it opens again";
}

TEST_F(ProgramMenuTest, theLicencesAreShownWithTheirHeadings) {
    std::string text = "# A library\nIts licence, as it was written.\n\f\n# Another\n";
    for (int n = 0; n < 100; ++n)
        text += "line " + std::to_string(n) + "\n";
    machine.fileManager->put(kAcknowledgements, text);
    choose("Acknowledgements");
    QQuickWindow* const licences = shownLicences();
    ASSERT_NE(licences, nullptr);
    EXPECT_EQ(licences->title(), "Acknowledgements");
    EXPECT_EQ(licences->size(), QSize(640, 600));
    QQuickItem* const field = named(*licences, "Acknowledgements");
    ASSERT_NE(field, nullptr);
    EXPECT_TRUE(field->property("text").toString().startsWith(
        "A library\nIts licence, as it was written.\n\nAnother\nline 0\n"));
    hand.picture(*licences, "acknowledgements");
    // Keys scroll, and the text can be selected and copied but not changed.
    EXPECT_TRUE(hand.until([&] { return licences->isActive(); }));
    hand.key("Tab");
    EXPECT_TRUE(hand.until([&] { return licences->activeFocusItem() == field; }));
    QQuickItem* const scroller = field->parentItem()->parentItem();
    hand.key("End");
    EXPECT_TRUE(hand.until([&] { return scroller->property("contentY").toDouble() > 500; }));
    hand.picture(*licences, "acknowledgements-end");
    hand.key("Home");
    EXPECT_TRUE(hand.until([&] { return scroller->property("contentY").toDouble() == 0; }));
    hand.key("a", true);
    hand.type("x");
    EXPECT_TRUE(
        hand.until([&] { return field->property("selectedText").toString().startsWith("A library"); }));
    EXPECT_TRUE(field->property("text").toString().startsWith("A library"));
}

TEST_F(ProgramMenuTest, aMissingTextIsSaid) {
    choose("Acknowledgements");
    QQuickWindow* const licences = shownLicences();
    ASSERT_NE(licences, nullptr);
    EXPECT_TRUE(shows(*licences, "The acknowledgements are missing from this copy of Vintra.\n"));
}

TEST_F(ProgramMenuTest, removalCannotBeChosenInATake) {
    click("Start Recording");
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    click("Vintra");
    EXPECT_TRUE(hand.until([&] { return control(window(), "Remove Vintra…") != nullptr; }));
    EXPECT_FALSE(control(window(), "Remove Vintra…")->isEnabled());
    EXPECT_TRUE(control(window(), "Check for Updates…")->isEnabled());
    hand.picture(window(), "program-menu-recording");
    EXPECT_FALSE(trayCommand("Remove Vintra…")->isEnabled());
    hand.key("Escape");
    click("Stop Recording");
    EXPECT_TRUE(hand.until([&] { return trayCommand("Remove Vintra…")->isEnabled(); }));
}

TEST_F(ProgramMenuTest, theTraysMenuHasTheSameCommands) {
    ASSERT_NE(trayCommand("About Vintra"), nullptr);
    trayCommand("About Vintra")->trigger();
    EXPECT_NE(shownAbout(), nullptr);
    ASSERT_NE(trayCommand("Acknowledgements"), nullptr);
    trayCommand("Acknowledgements")->trigger();
    EXPECT_NE(shownLicences(), nullptr);
    web->holdsBack = true;
    ASSERT_NE(trayCommand("Check for Updates…"), nullptr);
    trayCommand("Check for Updates…")->trigger();
    EXPECT_TRUE(hand.until([&] { return !trayCommand("Check for Updates…")->isEnabled(); }));
}

} // namespace
} // namespace vintra
