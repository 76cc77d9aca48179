#pragma once

#include "Vintra/app/qt/DialogModel.h"
#include "Vintra/platform/Alerts.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

namespace vintra {

/// Alerts in a window of the kit, one at a time, before which the program's other windows take no clicks. Owned by
/// `QtProgram`; what hasn't been answered by its end is dropped. Main thread.
class QtAlerts final : public Alerts {
public:
    /// The engine outlives this.
    explicit QtAlerts(QQmlEngine& engine);
    ~QtAlerts() override;

    void runModal(const Alert& alert, std::function<void(size_t button)> onAnswer) override;
    /// Made with the first alert, and hidden while there is none.
    QQuickWindow* window() const { return shown.get(); }

private:
    void showNext();
    void answer(size_t button);
    void close();

    QQmlEngine& engine;
    DialogModel model;
    std::deque<std::pair<Alert, std::function<void(size_t)>>> waiting; ///< the first is shown
    std::unique_ptr<QQuickWindow> shown;
};

} // namespace vintra
