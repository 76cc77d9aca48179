#include "Vintra/app/qt/QtAlerts.h"

#include "Vintra/app/qt/QmlWindow.h"
#include "Vintra/app/qt/QtStrings.h"

namespace vintra {

QtAlerts::QtAlerts(QQmlEngine& engine)
    : engine(engine)
    , model({.press = [this](size_t button) { answer(button); }, .close = [this] { close(); }}) {}

QtAlerts::~QtAlerts() = default;

void QtAlerts::runModal(const Alert& alert, std::function<void(size_t)> onAnswer) {
    waiting.emplace_back(alert, std::move(onAnswer));
    if (waiting.size() == 1) showNext();
}

void QtAlerts::showNext() {
    const Alert& alert = waiting.front().first;
    QStringList buttons;
    for (const std::string& button : alert.buttons)
        buttons.append(qString(button));
    model.show({.windowTitle = "Vintra",
                .title = qString(alert.messageText),
                .text = qString(alert.informativeText),
                .isWarning = alert.isWarning,
                .buttons = buttons});
    if (!shown) shown = makeQmlWindow(engine, "AlertWindow.qml", {{"model", QVariant::fromValue(&model)}});
    if (!shown) return;
    shown->show();
    shown->raise();
    shown->requestActivate();
}

void QtAlerts::answer(size_t button) {
    if (waiting.empty()) return;
    const auto onAnswer = std::move(waiting.front().second);
    waiting.pop_front();
    if (shown) shown->hide();
    if (!waiting.empty()) showNext();
    onAnswer(button);
}

void QtAlerts::close() {
    if (waiting.empty()) return;
    const size_t count = waiting.front().first.buttons.size();
    answer(count == 0 ? 0 : count - 1);
}

} // namespace vintra
