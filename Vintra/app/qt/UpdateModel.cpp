#include "Vintra/app/qt/UpdateModel.h"

#include "Vintra/app/qt/QtStrings.h"

namespace vintra {

UpdateModel::UpdateModel(UpdateWindow& window, QObject* parent)
    : DialogModel({.press = [&window](size_t button) { window.press(button); },
                   .close = [&window] { window.close(); }},
                  parent) {}

void UpdateModel::show(const UpdateWindow::State& newState) {
    if (state == newState) return;
    state = newState;
    QStringList buttons;
    for (const std::string& button : state.buttons)
        buttons.append(qString(button));
    DialogModel::show({.windowTitle = UpdateWindow::kTitle,
                       .title = qString(state.title),
                       .text = qString(state.text),
                       .buttons = buttons,
                       .hasDefault = !hasProgress()});
    Q_EMIT changed();
}

QString UpdateModel::releaseNotes() const {
    return qString(state.releaseNotes);
}

} // namespace vintra
