// The item in the tray, as a desktop's panel sees and uses it.

#include "tests/app/qt/ProgramFixture.h"
#include "tests/app/qt/TrayHostDouble.h"

#include <QColor>
#include <QDBusArgument>
#include <QImage>
#include <memory>

namespace vintra {
namespace {

class TrayItemTest : public ProgramFixture {
protected:
    void SetUp() override {
        if (!QDBusConnection::sessionBus().isConnected()) GTEST_SKIP() << "there is no session";
        ProgramFixture::SetUp();
    }
    void TearDown() override {
        if (!program) return;
        ProgramFixture::TearDown();
    }
    bool openTray() {
        tray = std::make_unique<TrayHostDouble>(
            [this](const std::function<bool()>& condition) { return hand.until(condition); });
        return hand.until([&] { return !tray->items().isEmpty() && program->trayItem().hasHost(); });
    }
    bool closeTray() {
        tray = nullptr;
        return hand.until([&] { return !program->trayItem().hasHost(); });
    }
    /// The item's largest picture.
    QImage icon() {
        QImage largest;
        const auto list = tray->property("IconPixmap").value<QDBusArgument>();
        for (list.beginArray(); !list.atEnd();) {
            int width = 0;
            int height = 0;
            QByteArray bytes;
            list.beginStructure();
            list >> width >> height >> bytes;
            list.endStructure();
            // Alpha, red, green and blue, as the bytes stand.
            QImage image(width, height, QImage::Format_ARGB32);
            for (qsizetype n = 0; n + 3 < bytes.size(); n += 4) {
                const auto at = [&](qsizetype k) { return static_cast<int>(static_cast<uchar>(bytes[k])); };
                image.setPixelColor(static_cast<int>(n / 4) % width, static_cast<int>(n / 4) / width,
                                    QColor(at(n + 1), at(n + 2), at(n + 3), at(n)));
            }
            if (width > largest.width()) largest = image;
        }
        list.endArray();
        return largest;
    }
    /// How much of the picture is red.
    static double redness(const QImage& image) {
        int red = 0;
        int all = 0;
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() < 128) continue;
                ++all;
                if (pixel.red() > 200 && pixel.green() < 140) ++red;
            }
        }
        return all > 0 ? static_cast<double>(red) / all : 0;
    }

    std::unique_ptr<TrayHostDouble> tray;
};

TEST_F(TrayItemTest, aTrayThatComesLaterIsTakenUpAndOneThatDiesIsLivedWithout) {
    EXPECT_FALSE(program->trayItem().hasHost());
    ASSERT_TRUE(openTray());
    // With a tray the closed window hides.
    window().close();
    EXPECT_TRUE(hand.until([&] { return window().visibility() == QWindow::Hidden; }));
    // Without it the window is to be found again, and closing doesn't hide it.
    ASSERT_TRUE(closeTray());
    EXPECT_TRUE(hand.until([&] { return window().visibility() == QWindow::Minimized; }));
    program->raise();
    ASSERT_TRUE(hand.until([&] { return window().isExposed(); }));
    window().close();
    EXPECT_TRUE(hand.until([&] { return window().visibility() == QWindow::Minimized; }));
    // Another one is served as the first was.
    ASSERT_TRUE(openTray());
    EXPECT_FALSE(icon().isNull());
}

TEST_F(TrayItemTest, itsPictureTellsOfATakeAndOfAMarker) {
    ASSERT_TRUE(openTray());
    EXPECT_FALSE(icon().isNull());
    EXPECT_EQ(redness(icon()), 0);
    program->menuBarItem().toggleRecording();
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    EXPECT_TRUE(hand.until([&] { return redness(icon()) > 0.9; }));
    const QImage recording = icon();
    recording.save(QString(VINTRA_PICTURES) + "/tray-icon-recording.png");
    live().markerJustAdded.set(true); // a marker's flash, for as long as it takes to look
    EXPECT_TRUE(hand.until([&] { return icon() != recording && redness(icon()) > 0.9; }));
    live().markerJustAdded.set(false);
    EXPECT_TRUE(hand.until([&] { return icon() == recording; }));
    program->menuBarItem().toggleRecording();
    ASSERT_TRUE(hand.until([&] { return !isRecording(); }));
    EXPECT_TRUE(hand.until([&] { return redness(icon()) == 0; }));
}

TEST_F(TrayItemTest, aClickOpensThePanelAndTheNextTakesItAway) {
    ASSERT_TRUE(openTray());
    const auto click = [&] {
        tray->call("/StatusNotifierItem", TrayHostDouble::kItem, "Activate", {10, 10});
    };
    click();
    ASSERT_TRUE(hand.awaitShown(program->trayItem().panel()));
    EXPECT_TRUE(shows(*program->trayItem().panel(), "Start Recording"));
    click();
    EXPECT_TRUE(hand.until([&] { return !program->trayItem().panel()->isVisible(); }));
}

/// As bars do that show menus alone.
TEST_F(TrayItemTest, itsMenuStartsBringsTheWindowBackAndQuitsAfterAHiddenStart) {
    ASSERT_TRUE(openTray());
    window().hide();
    const QString path = tray->property("Menu").value<QDBusObjectPath>().path();
    ASSERT_FALSE(path.isEmpty());
    const auto choose = [&](const QString& title) {
        const QDBusMessage layout =
            tray->call(path, "com.canonical.dbusmenu", "GetLayout", {0, -1, QStringList("label")});
        const auto root = layout.arguments().value(1).value<QDBusArgument>();
        int number = 0;
        QVariantMap properties;
        QVariantList children;
        root.beginStructure();
        root >> number >> properties >> children;
        root.endStructure();
        for (const QVariant& child : children) {
            const auto entry = child.value<QDBusVariant>().variant().isValid()
                                   ? child.value<QDBusVariant>().variant().value<QDBusArgument>()
                                   : child.value<QDBusArgument>();
            QVariantList none;
            entry.beginStructure();
            entry >> number >> properties >> none;
            entry.endStructure();
            if (properties["label"].toString() != title) continue;
            tray->call(path, "com.canonical.dbusmenu", "Event",
                       {number, "clicked", QVariant::fromValue(QDBusVariant(0)), 0u});
            return true;
        }
        return false;
    };
    EXPECT_TRUE(choose("Start Recording"));
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    EXPECT_TRUE(hand.until([&] { return program->menuBarItem().recordButton()->title == "Stop Recording"; }));
    EXPECT_TRUE(choose("Stop Recording"));
    EXPECT_TRUE(hand.until([&] { return !isRecording() && !*live().isBusy; }));
    EXPECT_FALSE(window().isVisible());
    EXPECT_TRUE(choose("Open VINTRA Recorder"));
    EXPECT_TRUE(hand.until([&] { return window().isExposed(); }));
    window().hide();
    EXPECT_TRUE(choose("Quit VINTRA Recorder"));
    EXPECT_TRUE(hand.until([&] { return terminations == 1; }));
}

} // namespace
} // namespace vintra
