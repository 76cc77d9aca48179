#include "Vintra/app/qt/DialogModel.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <utility>

namespace vintra {

DialogModel::DialogModel(Actions actions, QObject* parent)
    : QObject(parent)
    , actions(std::move(actions)) {}

void DialogModel::show(const Content& newContent) {
    if (content == newContent) return;
    const bool hasOtherButtons = content.buttons != newContent.buttons ||
                                 content.hasDefault != newContent.hasDefault ||
                                 content.isWarning != newContent.isWarning;
    content = newContent;
    Q_EMIT changed();
    // Buttons that stay keep the focus.
    if (hasOtherButtons) Q_EMIT buttonsChanged();
}

DesignPalette::ButtonStyle DialogModel::style(int button) const {
    if (button != 0 || !content.hasDefault) return DesignPalette::Outlined;
    const bool isDestructive = content.isWarning && content.buttons.size() > 1;
    return isDestructive ? DesignPalette::Destructive : DesignPalette::Primary;
}

void DialogModel::press(int button) {
    if (button < 0 || button >= content.buttons.size()) return;
    const int doubleClick = QGuiApplication::styleHints()->mouseDoubleClickInterval();
    if (sincePress.isValid() && sincePress.elapsed() < doubleClick) return;
    sincePress.start();
    actions.press(static_cast<size_t>(button));
}

} // namespace vintra
