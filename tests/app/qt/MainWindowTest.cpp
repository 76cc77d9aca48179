#include "tests/app/qt/ProgramFixture.h"

#include "Vintra/app/FlatControls.h"
#include "Vintra/app/qt/MeterModel.h"
#include "tests/app/qt/RepaintWatch.h"

#include <QQmlComponent>

namespace vintra {
namespace {

class MainWindowTest : public ProgramFixture {};

TEST_F(MainWindowTest, itIsAsHighAsItsContent) {
    EXPECT_TRUE(hand.until([&] { return window().height() == 692; })) << window().height();
    EXPECT_EQ(window().width(), 744);
    hand.picture(window(), "main-simplest");
    click("Add another microphone");
    EXPECT_TRUE(hand.until([&] { return window().height() == 692 + 44; })) << window().height();
    hand.picture(window(), "main-two-microphones");
}

TEST_F(MainWindowTest, itFollowsItsContentHoweverFastThatChanges) {
    for (int n = 0; n < 12; ++n) {
        live().lastError.set(n % 2 == 0
                                 ? std::optional<std::string>("It takes two lines. " + std::string(90, 'n'))
                                 : std::nullopt);
        live().captureSystemAudioForDaw.set(n % 3 == 0);
        hand.moments(2);
    }
    live().lastError.set("The last of them.");
    live().captureSystemAudioForDaw.set(true);
    EXPECT_TRUE(shown("Low latency monitoring"));
    hand.moments(60); // the server has answered every change
    EXPECT_EQ(window().height(), window().property("wantedHeight").toInt());
    EXPECT_GT(window().height(), 692);
}

TEST_F(MainWindowTest, whatTheScreenHasNoRoomForScrollsBetweenTheBrandRowAndTheFooter) {
    window().removeEventFilter(&program->windows()); // which asks the real screen
    program->mainWindow().setHeightLimit(500);
    EXPECT_TRUE(hand.until([&] { return window().height() == 500; })) << window().height();
    hand.picture(window(), "main-scrolling");
    const QQuickItem* const button = control(window(), "Start Recording");
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->mapToScene({0, 0}).y(), 500 - 16 - 44);
    // The keyboard's focus brings what it comes to into view.
    QQuickItem* const name = control(window(), "Session name");
    ASSERT_NE(name, nullptr);
    name->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(hand.until([&] {
        const double top = name->mapToScene({0, 0}).y();
        return top >= 60 && top + name->height() <= 500 - 76;
    }));
}

TEST_F(MainWindowTest, clicksArmEveryKindOfTrack) {
    const auto camera = plugCamera("cam.one", "Desk Camera");
    click("Microphone");
    EXPECT_TRUE(hand.until([&] { return live().selectedMicDeviceID->has_value(); }));
    click("Screen");
    EXPECT_TRUE(gone("Capture options"));
    click("Screen");
    EXPECT_TRUE(shown("Capture options"));
    click("Webcam");
    EXPECT_TRUE(hand.until([&] { return *live().selectedCameraDeviceID == "cam.one"; }));
    click("Computer audio");
    EXPECT_TRUE(hand.until([&] { return *live().captureSystemAudioForDaw; }));
    EXPECT_TRUE(shown("Routing your audio through Vintra · you're hearing it via Speakers"));
    EXPECT_TRUE(shown("4 armed"));
    hand.picture(window(), "main-all-armed");
    click("Computer audio");
    EXPECT_TRUE(shown("3 armed"));
}

TEST_F(MainWindowTest, aTakeIsNamedStartedAndStopped) {
    click("Microphone");
    click("Session name");
    hand.key("a", true);
    hand.type("interview");
    EXPECT_TRUE(hand.until([&] { return *program->contentView().take.sessionName == "interview"; }));
    click("Start Recording");
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    EXPECT_TRUE(shown("Stop Recording"));
    EXPECT_TRUE(shown("0:02"));
    EXPECT_TRUE(window().title().contains("Recording"));
    hand.picture(window(), "main-recording");
    const QQuickItem* const microphone = control(window(), "Microphone");
    ASSERT_NE(microphone, nullptr);
    EXPECT_FALSE(microphone->isEnabled());
    click("Stop Recording");
    EXPECT_TRUE(shown("Start Recording"));
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL(path("interview_video.mov"))));
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL(path("interview_mic.wav"))));
}

TEST_F(MainWindowTest, keysStartAndStopAndChooseTheFolder) {
    hand.key("r", true);
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    EXPECT_TRUE(shown("Stop Recording"));
    hand.key("r", true);
    EXPECT_TRUE(hand.until([&] { return !isRecording(); }));
    hand.key("o", true);
    EXPECT_TRUE(hand.until([&] { return desktop->panels.size() == 1; }));
}

TEST_F(MainWindowTest, aMenuIsOpenedAndAChoiceIsMadeInIt) {
    click("Microphone, device");
    EXPECT_TRUE(shown("Stage Box"));
    hand.picture(window(), "main-menu");
    click("Stage Box");
    EXPECT_TRUE(hand.until([&] { return *live().selectedMicDeviceID == "multi.eight"; }));
    EXPECT_NE(control(window(), "Microphone, channel"), nullptr);
    // By the keyboard too.
    click("Microphone, channel");
    hand.key("Down");
    hand.key("Return");
    EXPECT_TRUE(hand.until([&] { return *live().selectedMicChannelIndex == 1; }));
}

TEST_F(MainWindowTest, everythingThatTakesTheFocusHasANameAndARole) {
    plugCamera("cam.one", "Desk Camera");
    click("Use a different virtual input");
    click("Computer audio");
    click("Add another microphone");
    click("Add another webcam");
    int found = 0;
    for (QQuickItem* item : visibleItems(window())) {
        if (!item->activeFocusOnTab()) continue;
        ++found;
        EXPECT_NE(accessibleName(item), "") << item->metaObject()->className();
        EXPECT_NE(accessibleRole(item), QAccessible::NoRole) << accessibleName(item).toStdString();
    }
    EXPECT_GT(found, 25);
}

TEST_F(MainWindowTest, tabGoesDownTheWindowAndSpaceAndReturnPress) {
    EXPECT_TRUE(hand.until([&] { return window().isActive(); }));
    const auto tab = [&](bool isBack = false) {
        const QQuickItem* const before = window().activeFocusItem();
        hand.key("Tab", false, isBack);
        EXPECT_TRUE(hand.until([&] { return window().activeFocusItem() != before; }));
    };
    QStringList names;
    for (int n = 0; n < 5; ++n) {
        tab();
        names.append(accessibleName(window().activeFocusItem()));
    }
    EXPECT_EQ(names, (QStringList{"Vintra", "Report a bug", "Copy diagnostics", "Microphone",
                                  "Microphone, name of the track"}));
    tab(true);
    EXPECT_EQ(accessibleName(window().activeFocusItem()), "Microphone");
    EXPECT_TRUE(window().activeFocusItem()->property("visualFocus").toBool());
    hand.picture(window(), "main-focus");
    hand.key("space");
    EXPECT_TRUE(hand.until([&] { return live().selectedMicDeviceID->has_value(); }));
    hand.key("Return");
    EXPECT_TRUE(hand.until([&] { return !live().selectedMicDeviceID->has_value(); }));
    // Escape leaves a text field; a click shows no ring.
    tab();
    hand.key("Escape");
    EXPECT_TRUE(hand.until([&] {
        return !(window().activeFocusItem() &&
                 accessibleRole(window().activeFocusItem()) == QAccessible::EditableText);
    }));
    click("Screen");
    EXPECT_FALSE(control(window(), "Screen")->property("visualFocus").toBool());
}

TEST_F(MainWindowTest, segmentsAreChosenByClicksAndArrowKeys) {
    click("Capture options: Selected area");
    EXPECT_TRUE(hand.until([&] { return *live().screenCaptureMode == CaptureModeChoice::region; }));
    hand.key("Right");
    EXPECT_TRUE(hand.until([&] { return *live().screenCaptureMode == CaptureModeChoice::window; }));
    EXPECT_TRUE(
        hand.until([&] { return accessibleName(window().activeFocusItem()) == "Capture options: Window"; }));
}

TEST_F(MainWindowTest, aFolderThatIsGoneIsSaidAndNothingStarts) {
    click("Choose…");
    ASSERT_TRUE(hand.until([&] { return desktop->panels.size() == 1; }));
    desktop->panels[0].onChosen(URL::fileURL("/media/disk/Interviews about the coast/working title/Vintra"));
    EXPECT_TRUE(shown(" — missing"));
    hand.picture(window(), "main-folder-missing");
    const QQuickItem* const button = control(window(), "Start Recording");
    ASSERT_NE(button, nullptr);
    EXPECT_FALSE(button->isEnabled());
    hand.key("r", true);
    hand.moments(5);
    EXPECT_FALSE(isRecording());
}

TEST_F(MainWindowTest, aFailureMakesTheStatusLineACard) {
    live().statusMessage.set("Failed to start");
    live().lastError.set("Output files already exist: interview_video.mov. Choose a different session name.");
    EXPECT_TRUE(shown("Output files already exist: interview_video.mov. Choose a different session name."));
    hand.picture(window(), "main-status-card");
    click("Copy diagnostics");
    EXPECT_TRUE(shown("Copied — paste into the bug form"));
    EXPECT_TRUE(desktop->pasteboard.has_value());
}

TEST_F(MainWindowTest, metersFollowTheLevelsWhileTheWindowIsSeen) {
    click("Microphone");
    MeterModel* meter = nullptr;
    for (QQuickItem* item : visibleItems(window())) {
        if (auto* const found = item->property("meter").value<MeterModel*>(); found && !meter) meter = found;
    }
    ASSERT_NE(meter, nullptr);
    EXPECT_TRUE(hand.until([&] { return meter->barWidth() > 0; }));
    window().hide();
    hand.moments(3);
    EXPECT_EQ(meter->barWidth(), 0);
    program->raise();
    EXPECT_TRUE(hand.until([&] { return meter->barWidth() > 0; }));
}

TEST_F(MainWindowTest, onlyTheBarsAreRepaintedWhileTheMetersMove) {
    const auto device = machine.audioHardware->device("mic.one");
    device->signal = [](uint32_t, int64_t frame, CMTime) {
        return static_cast<float>((frame / 24'000 + 1) % 9) / 10 * (frame % 2 == 0 ? 1.0f : -1.0f);
    };
    click("Microphone");
    QQuickItem* bars = nullptr;
    for (QQuickItem* item : visibleItems(window())) {
        if (accessibleName(item) == "Microphone, level") bars = item;
    }
    ASSERT_NE(bars, nullptr);
    const QRect meter = bars->mapRectToScene(QRectF(0, 0, bars->width(), bars->height())).toAlignedRect();
    QRect repainted;
    const auto areOnlyTheBars = [&] {
        RepaintWatch watch(window().winId());
        EXPECT_TRUE(hand.until([&] {
            watch.look();
            return watch.count() >= 10;
        }));
        repainted = watch.bounds();
        return meter.adjusted(-2, -2, 2, 2).contains(repainted);
    };
    // Not at once: what the click has changed is still being drawn.
    EXPECT_TRUE(hand.until(areOnlyTheBars))
        << repainted.x() << "," << repainted.y() << " " << repainted.width() << "x" << repainted.height();
}

TEST_F(MainWindowTest, theWindowGoesForATakeThatItWouldBeSeenIn) {
    EXPECT_TRUE(shown("Minimize this window while recording"));
    click("Minimize this window while recording");
    hand.picture(window(), "main-in-picture");
    click("Start Recording");
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    EXPECT_TRUE(hand.until([&] { return window().visibility() == QWindow::Minimized; }));
    program->menuBarItem().toggleRecording();
    EXPECT_TRUE(hand.until([&] { return !isRecording() && window().visibility() == QWindow::Windowed; }));
    // Where the screen isn't recorded nothing is said.
    click("Screen");
    EXPECT_TRUE(gone("Minimize this window while recording"));
}

TEST_F(MainWindowTest, aGainHasItsValueForScreenReaders) {
    click("Microphone");
    QQuickItem* const gain = control(window(), "Microphone, gain");
    ASSERT_NE(gain, nullptr);
    QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(gain);
    QAccessibleValueInterface* const value = interface->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->minimumValue().toDouble(), -60);
    EXPECT_EQ(value->maximumValue().toDouble(), 60);
    EXPECT_EQ(value->currentValue().toDouble(), 0);
    value->setCurrentValue(6.0);
    EXPECT_TRUE(hand.until([&] { return *live().micGainDB == 6; }));
    EXPECT_TRUE(hand.until([&] { return value->currentValue().toDouble() == 6; }));
    value->setCurrentValue(100.0); // held at the most
    EXPECT_TRUE(
        hand.until([&] { return *live().micGainDB == 60 && value->currentValue().toDouble() == 60; }));
}

TEST_F(MainWindowTest, closingAsksNothingAndTheTakeGoesOn) {
    hand.key("r", true);
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    window().close();
    hand.moments(5);
    EXPECT_TRUE(isRecording());
    EXPECT_EQ(terminations, 0);
    EXPECT_NE(window().visibility(), QWindow::Windowed);
    program->raise();
    EXPECT_TRUE(
        hand.until([&] { return window().isExposed() && window().visibility() == QWindow::Windowed; }));
    EXPECT_TRUE(shown("Stop Recording"));
}

TEST_F(MainWindowTest, quittingInATakeEndsItFirstAndSaysSo) {
    hand.key("r", true);
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    machine.run(1);
    program->quit();
    EXPECT_TRUE(hand.until([&] { return terminations == 1; }));
    EXPECT_FALSE(isRecording());
    EXPECT_EQ(program->mainWindow().closingNote(), "Saving the recording, then quitting");
}

TEST(MeasuresTest, theMeasuresThatAreGivenAreThoseOfTheKit) {
    QQmlEngine engine;
    engine.addImportPath(":/qt/qml");
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Vintra\nQtObject { property QtObject measures: Measures }",
                      QUrl());
    const std::unique_ptr<QObject> holder(component.create());
    ASSERT_NE(holder, nullptr) << component.errorString().toStdString();
    const auto* const measures = holder->property("measures").value<QObject*>();
    ASSERT_NE(measures, nullptr);
    const auto measure = [&](const char* name) { return measures->property(name).toDouble(); };
    EXPECT_EQ(measure("disabledOpacity"), FlatControls::kDisabledOpacity);
    EXPECT_EQ(measure("outline"), FlatControls::kOutline);
    EXPECT_EQ(measure("checkbox"), FlatControls::checkbox.side);
    EXPECT_EQ(measure("checkboxStroke"), FlatControls::checkbox.stroke);
    EXPECT_EQ(measure("checkboxRadius"), FlatControls::checkbox.cornerRadius);
    EXPECT_EQ(measure("checkmark"), FlatControls::checkbox.checkmarkSize);
    EXPECT_EQ(measure("buttonPadding"), FlatControls::button.horizontalPadding);
    EXPECT_EQ(measure("buttonRadius"), FlatControls::button.cornerRadius);
    EXPECT_EQ(measure("inlinePadding"), FlatControls::inlineButton.horizontalPadding);
    EXPECT_EQ(measure("bodySize"), FlatControls::inlineButton.titleSize);
    EXPECT_EQ(measure("bodySize"), FlatControls::menu.titleSize);
    EXPECT_EQ(measure("cardButtonPadding"), FlatControls::cardButton.horizontalPadding);
    EXPECT_EQ(measure("cardButtonVerticalPadding"), FlatControls::cardButton.verticalPadding);
    EXPECT_EQ(measure("cardButtonRadius"), FlatControls::cardButton.cornerRadius);
    EXPECT_EQ(measure("cardButtonSize"), FlatControls::cardButton.titleSize);
    EXPECT_EQ(measure("labelSize"), FlatControls::sectionLabel.titleSize);
    EXPECT_EQ(measure("labelSpacing"), FlatControls::sectionLabel.letterSpacing);
    EXPECT_EQ(measure("tagSize"), FlatControls::tag.textSize);
    EXPECT_EQ(measure("tagSpacing"), FlatControls::tag.letterSpacing);
    EXPECT_EQ(measure("tagHorizontalPadding"), FlatControls::tag.horizontalPadding);
    EXPECT_EQ(measure("tagVerticalPadding"), FlatControls::tag.verticalPadding);
    EXPECT_EQ(measure("segmentedPadding"), FlatControls::segmented.padding);
    EXPECT_EQ(measure("segmentedSpacing"), FlatControls::segmented.spacing);
    EXPECT_EQ(measure("segmentedRadius"), FlatControls::segmented.cornerRadius);
}

TEST_F(MainWindowTest, whatTheDesktopDoesntAllowIsSaidUnderTheCaptureOptions) {
    machine.windowQuestion->change(WindowQuestion::Offer::refused);
    EXPECT_TRUE(shown("Not possible on this desktop: recording a single window."));
    EXPECT_EQ(control(window(), "Capture options: Window"), nullptr);
    EXPECT_NE(control(window(), "Capture options: Selected area"), nullptr);
    hand.picture(window(), "main-limits");
}

} // namespace
} // namespace vintra
