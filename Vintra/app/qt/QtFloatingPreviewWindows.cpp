#include "Vintra/app/qt/QtFloatingPreviewWindows.h"

#include "Vintra/app/qt/QtFloatingPreviewWindow.h"

#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace vintra {

QtFloatingPreviewWindows::QtFloatingPreviewWindows(QQmlEngine& engine, Platform platform)
    : engine(engine)
    , platform(std::move(platform)) {}

std::shared_ptr<FloatingPreviewWindow>
QtFloatingPreviewWindows::makeWindow(const FloatingPreviewRecipe& recipe) {
    return std::make_shared<QtFloatingPreviewWindow>(engine, platform, recipe);
}

CGRect QtFloatingPreviewWindows::visibleFrame() const {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    if (!screen) return {};
    const QRect visible = screen->availableGeometry();
    return {{static_cast<double>(visible.x()), static_cast<double>(visible.y())},
            {static_cast<double>(visible.width()), static_cast<double>(visible.height())}};
}

} // namespace vintra
