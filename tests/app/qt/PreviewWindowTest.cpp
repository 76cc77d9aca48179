#include "Vintra/app/qt/PreviewModel.h"
#include "Vintra/platform/UserDefaults.h"
#include "tests/app/qt/ProgramFixture.h"

#include <QGuiApplication>
#include <cmath>

namespace vintra {
namespace {

class PreviewWindowTest : public ProgramFixture {
protected:
    /// The one window besides the main window that is on the screen.
    QQuickWindow* preview() {
        for (QWindow* candidate : QGuiApplication::topLevelWindows()) {
            auto* const found = qobject_cast<QQuickWindow*>(candidate);
            if (found && found != &window() && found->isVisible() &&
                found->property("model").value<PreviewModel*>())
                return found;
        }
        return nullptr;
    }
    QQuickWindow* openPreview() {
        plugCamera("cam.one", "Desk Camera");
        click("Webcam");
        EXPECT_TRUE(hand.until([&] { return preview() != nullptr; }));
        QQuickWindow* const opened = preview();
        if (!opened) return nullptr;
        EXPECT_TRUE(hand.awaitShown(opened));
        // Beside the main window.
        opened->setPosition(1000, 100);
        hand.moments(5);
        return opened;
    }
};

TEST_F(PreviewWindowTest, itsControlsShowUnderThePointer) {
    QQuickWindow* const opened = openPreview();
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(opened->size(), QSize(240, 135));
    EXPECT_FALSE(shows(*opened, "Preview only"));
    hand.picture(*opened, "preview-plain");
    hand.pointAt(opened->contentItem());
    EXPECT_TRUE(hand.until([&] { return shows(*opened, "Preview only") && shows(*opened, "S"); }));
    hand.pictureUnderPointer(*opened, "preview-hovered");
}

TEST_F(PreviewWindowTest, aPillSizesIt) {
    QQuickWindow* const opened = openPreview();
    ASSERT_NE(opened, nullptr);
    hand.pointAt(opened->contentItem());
    hand.click(*opened, "large");
    EXPECT_TRUE(hand.until([&] { return opened->size() == QSize(520, 293); })) << opened->width();
    EXPECT_EQ(*live().webcamPreviewSize, WebcamPreviewSize::large);
}

TEST_F(PreviewWindowTest, closingHidesItAndTheRowShowsItAgain) {
    QQuickWindow* const opened = openPreview();
    ASSERT_NE(opened, nullptr);
    hand.pointAt(opened->contentItem());
    hand.click(*opened, WebcamPreviewView::kCloseHelp);
    EXPECT_TRUE(hand.until([&] { return !*live().webcamPreviewVisible && !opened->isVisible(); }));
    click("Show preview of Webcam");
    EXPECT_TRUE(hand.until([&] { return opened->isExposed(); }));
}

TEST_F(PreviewWindowTest, itsPlaceIsKept) {
    QQuickWindow* const opened = openPreview();
    ASSERT_NE(opened, nullptr);
    EXPECT_TRUE(hand.until([&] {
        const auto kept = doublesForKey(*machine.userDefaults, "windowFrame.WebcamFloatingPreviewWindow");
        return kept && (*kept)[0] == 1000 && (*kept)[1] == 100;
    }));
}

TEST_F(PreviewWindowTest, theGripResizesItAndKeepsItsShape) {
    QQuickWindow* const opened = openPreview();
    ASSERT_NE(opened, nullptr);
    hand.pointAt(opened->contentItem());
    QQuickItem* grip = nullptr;
    EXPECT_TRUE(hand.until([&] {
        for (QQuickItem* item : visibleItems(*opened)) {
            if (item->inherits("ResizeGrip") ||
                QString(item->metaObject()->className()).startsWith("ResizeGrip"))
                grip = item;
        }
        return grip != nullptr;
    }));
    ASSERT_NE(grip, nullptr);
    hand.drag(grip, {100, 60});
    EXPECT_TRUE(hand.until([&] { return opened->width() > 300; })) << opened->width();
    EXPECT_EQ(opened->height(), static_cast<int>(std::lround(opened->width() * 9 / 16.0)));
}

} // namespace
} // namespace vintra
