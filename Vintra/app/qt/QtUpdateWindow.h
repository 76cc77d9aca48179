#pragma once

#include "Vintra/app/qt/UpdateModel.h"
#include "Vintra/platform/Observation.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <memory>

namespace vintra {

/// The update window on the screen, for as long as there is something to show. Owned by `QtProgram`. Main thread.
class QtUpdateWindow {
public:
    /// Both outlive this.
    QtUpdateWindow(QQmlEngine& engine, UpdateWindow& window);
    ~QtUpdateWindow();

    /// In front, if it is shown.
    void raise();
    QQuickWindow* window() const { return shown.get(); }

private:
    void show(const UpdateWindow::State& state);

    QQmlEngine& engine;
    UpdateModel model;
    std::unique_ptr<QQuickWindow> shown; ///< made when it is first needed
    bool isShown = false;
    Observation observation;
};

} // namespace vintra
