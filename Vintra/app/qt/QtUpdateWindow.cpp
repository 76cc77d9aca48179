#include "Vintra/app/qt/QtUpdateWindow.h"

#include "Vintra/app/qt/QmlWindow.h"

#include <utility>

namespace vintra {

QtUpdateWindow::QtUpdateWindow(QQmlEngine& engine, UpdateWindow& window)
    : engine(engine)
    , model(window)
    , observation(window.state.observe([this](const UpdateWindow::State& state) { show(state); })) {
    show(*window.state);
}

QtUpdateWindow::~QtUpdateWindow() = default;

void QtUpdateWindow::show(const UpdateWindow::State& state) {
    // What it showed last stays in it while it goes.
    if (state.isShown) model.show(state);
    if (std::exchange(isShown, state.isShown) == state.isShown) return;
    if (!isShown) {
        if (shown) shown->hide();
        return;
    }
    if (!shown) shown = makeQmlWindow(engine, "UpdateWindow.qml", {{"model", QVariant::fromValue(&model)}});
    if (shown) shown->show();
    raise();
}

void QtUpdateWindow::raise() {
    if (!shown || !isShown) return;
    if (shown->visibility() == QWindow::Minimized) shown->showNormal();
    shown->raise();
    shown->requestActivate();
}

} // namespace vintra
