#include "Vintra/app/qt/QtFloatingPreviewWindow.h"

#include "Vintra/app/qt/QmlWindow.h"
#include "Vintra/platform/UserDefaults.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace vintra {
namespace {

constexpr int kRestMilliseconds = 400;

std::optional<CGRect> savedFrame(const UserDefaults& defaults, const std::string& key) {
    const auto numbers = doublesForKey(defaults, key);
    if (!numbers || numbers->size() != 4 || (*numbers)[2] <= 0 || (*numbers)[3] <= 0) return std::nullopt;
    return CGRect{{(*numbers)[0], (*numbers)[1]}, {(*numbers)[2], (*numbers)[3]}};
}

QRect qRect(const CGRect& frame) {
    return QRectF(frame.origin.x, frame.origin.y, frame.size.width, frame.size.height).toRect();
}

/// A window must not stand where no screen is any more.
QRect onScreen(QRect wanted) {
    const auto screens = QGuiApplication::screens();
    const bool isSeen = std::ranges::any_of(
        screens, [&](const QScreen* screen) { return screen->availableGeometry().intersects(wanted); });
    if (!isSeen && !screens.isEmpty()) wanted.moveTopLeft(screens.first()->availableGeometry().topLeft());
    return wanted;
}

} // namespace

QtFloatingPreviewWindow::QtFloatingPreviewWindow(QQmlEngine& engine, const Platform& platform,
                                                 const FloatingPreviewRecipe& recipe)
    : platform(platform)
    , recipe(recipe)
    , model(platform)
    , window(makeQmlWindow(engine, "PreviewWindow.qml", {{"model", QVariant::fromValue(&model)}})) {
    saveTimer.setSingleShot(true);
    saveTimer.setInterval(kRestMilliseconds);
    connect(&saveTimer, &QTimer::timeout, this, [this] { save(); });
    startAt(savedFrame(*platform.userDefaults, key()).value_or(recipe.frame));
    if (!window) return;
    window->setMinimumSize(
        {static_cast<int>(recipe.contentMinSize.width), static_cast<int>(recipe.contentMinSize.height)});
    window->installEventFilter(this);
    model.onMove = [this] { window->startSystemMove(); };
    model.onResize = [this](double width) { resizeTo(width); };
}

QtFloatingPreviewWindow::~QtFloatingPreviewWindow() {
    close();
}

void QtFloatingPreviewWindow::startAt(CGRect frame) {
    place = frame;
    if (window) window->setGeometry(onScreen(qRect(frame)));
}

CGRect QtFloatingPreviewWindow::frame() const {
    return place;
}

void QtFloatingPreviewWindow::setFrame(const CGRect& frame) {
    startAt(frame);
    save();
}

/// Keeps the shape, and the top left corner where it is.
void QtFloatingPreviewWindow::resizeTo(double width) {
    const double ratio = recipe.contentAspectRatio.height / recipe.contentAspectRatio.width;
    const double kept = std::max(width, recipe.contentMinSize.width);
    startAt({place.origin, {kept, std::round(kept * ratio)}});
    saveTimer.start();
}

bool QtFloatingPreviewWindow::hasSavedFrame() const {
    return savedFrame(*platform.userDefaults, key()).has_value();
}

std::string QtFloatingPreviewWindow::key() const {
    return "windowFrame." + recipe.frameAutosaveName;
}

void QtFloatingPreviewWindow::save() {
    platform.userDefaults->set(
        key(), std::vector<double>{place.origin.x, place.origin.y, place.size.width, place.size.height});
}

void QtFloatingPreviewWindow::setContent(FloatingPreviewContent content) {
    model.setContent(std::move(content));
}

void QtFloatingPreviewWindow::orderFront() {
    isOrdered = true;
    show();
    if (window) window->raise();
}

void QtFloatingPreviewWindow::orderOut() {
    isOrdered = false;
    show();
}

void QtFloatingPreviewWindow::setAlphaValue(double alpha) {
    isSeeThrough = alpha <= 0;
    if (window && !isSeeThrough) window->setOpacity(alpha);
    show();
}

void QtFloatingPreviewWindow::setIgnoresMouseEvents(bool ignores) {
    if (window) window->setFlag(Qt::WindowTransparentForInput, ignores);
}

void QtFloatingPreviewWindow::show() {
    const bool isSeen = isOrdered && !isSeeThrough && window;
    model.feed()->setWatched(isSeen);
    if (window) window->setVisible(isSeen);
}

void QtFloatingPreviewWindow::close() {
    isOrdered = false;
    model.setContent({});
    model.feed()->setWatched(false);
    if (saveTimer.isActive()) save();
    saveTimer.stop();
    window = nullptr;
}

/// The user moves the window by the desktop's own means. Closing it by those is as by its button.
bool QtFloatingPreviewWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window.get()) return false;
    if (event->type() == QEvent::Close) {
        event->ignore();
        model.close();
        return true;
    }
    if (event->type() == QEvent::Move && window->isVisible()) {
        const QPoint corner = window->position();
        place.origin = {static_cast<double>(corner.x()), static_cast<double>(corner.y())};
        saveTimer.start();
    }
    return false;
}

} // namespace vintra
