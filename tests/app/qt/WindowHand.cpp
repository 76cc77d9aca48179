#include "tests/app/qt/WindowHand.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QStyleHints>
#include <chrono>
#include <filesystem>
#include <utility>

namespace vintra {
namespace {

constexpr std::chrono::seconds kPatience{15};

std::string namesOf(const QQuickWindow& window) {
    std::string names;
    for (QQuickItem* item : visibleItems(window)) {
        const QString name = accessibleName(item);
        if (!name.isEmpty())
            names += " \"" + name.toStdString() + "\" " + std::to_string(accessibleRole(item)) +
                     (item->isEnabled() ? "," : " disabled,");
    }
    return names;
}

QPoint onScreen(const QQuickItem* item) {
    return item->mapToGlobal(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

/// Rows and columns put what is new in them to its place when the next frame is made ready, which may be late.
void putInPlace(QQuickItem* item) {
    for (QQuickItem* around = item; around; around = around->parentItem())
        around->ensurePolished();
}

} // namespace

WindowHand::WindowHand(std::function<void()> pass)
    : pass(std::move(pass)) {}

bool WindowHand::until(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        pass();
    }
    return true;
}

void WindowHand::moments(int count) {
    for (int n = 0; n < count; ++n)
        pass();
}

bool WindowHand::awaitShown(QQuickWindow* window) {
    return until([window] { return window && window->isExposed() && window->isSceneGraphInitialized(); });
}

void WindowHand::letDoubleClickPass() {
    const auto interval =
        std::chrono::milliseconds(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    const auto end = std::chrono::steady_clock::now() + interval;
    until([end] { return std::chrono::steady_clock::now() > end; });
}

/// What has changed finds its place with the next frame only. The machine behind the windows stands still meanwhile.
void WindowHand::drawAnew(QQuickWindow& window) {
    if (!window.isExposed()) return;
    bool isDrawn = false;
    const auto connection =
        QObject::connect(&window, &QQuickWindow::frameSwapped, [&isDrawn] { isDrawn = true; });
    window.update();
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!isDrawn && window.isExposed() && std::chrono::steady_clock::now() < end)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QObject::disconnect(connection);
}

void WindowHand::pointAt(const QQuickItem* item) {
    input.moveTo(onScreen(item));
    moments(3);
}

void WindowHand::clickItem(const QQuickItem* item) {
    // By way of a place without controls: a help text goes on the way, before it covers what is to be clicked.
    if (item->window()) {
        input.moveTo(item->window()->mapToGlobal(QPoint(2, 2)));
        moments(3);
    }
    pointAt(item);
    input.press();
    moments(2);
    input.release();
    moments(3);
}

void WindowHand::click(QQuickWindow& window, const QString& name) {
    // Where it is once the rows above it have found their places.
    constexpr int kSteadyLooks = 2;
    QQuickItem* item = nullptr;
    QPoint place;
    int looks = 0;
    EXPECT_TRUE(until([&] {
        drawAnew(window);
        item = control(window, name);
        if (!item || !item->isEnabled()) return false;
        putInPlace(item);
        looks = onScreen(item) == place ? looks + 1 : 0;
        place = onScreen(item);
        return looks >= kSteadyLooks;
    })) << "no control "
        << name.toStdString() << " among" << namesOf(window);
    if (item) clickItem(item);
}

void WindowHand::key(const std::string& name, bool control, bool shift) {
    input.key(name, control, shift);
    moments(3);
}

void WindowHand::type(const std::string& text) {
    input.type(text);
    moments(3);
}

void WindowHand::drag(const QQuickItem* item, QPoint by) {
    const QPoint from = onScreen(item);
    input.moveTo(from);
    moments(2);
    input.press();
    for (int step = 1; step <= 8; ++step) {
        input.moveTo(from + by * step / 8);
        moments(2);
    }
    input.release();
    moments(2);
}

void WindowHand::focus(QQuickWindow& window, const QString& name) {
    QQuickItem* item = nullptr;
    EXPECT_TRUE(until([&] { return (item = control(window, name)) != nullptr; })) << name.toStdString();
    if (item) item->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(until([&] { return item && item->hasActiveFocus(); }));
    moments(2);
}

void WindowHand::picture(QQuickWindow& window, const std::string& name) {
    // Without the help text and the colours of what the pointer is on.
    if (QGuiApplication::platformName() == "xcb") input.moveTo({0, 0});
    pictureUnderPointer(window, name);
}

void WindowHand::pictureUnderPointer(QQuickWindow& window, const std::string& name) {
    // A window that grows with its content is that of the server a few moments later.
    constexpr int kSteadyLooks = 3;
    QSize size;
    int looks = 0;
    EXPECT_TRUE(until([&] {
        drawAnew(window);
        looks = window.size() == size ? looks + 1 : 0;
        size = window.size();
        return looks >= kSteadyLooks;
    }));
    const QImage image = window.grabWindow();
    EXPECT_FALSE(image.isNull());
    std::filesystem::create_directories(VINTRA_PICTURES);
    EXPECT_TRUE(image.save(QString::fromStdString(std::string(VINTRA_PICTURES) + "/" + name + ".png")));
}

} // namespace vintra
