#include "Vintra/app/qt/RecordButtonModel.h"

#include "Vintra/app/qt/QtStrings.h"

#include <utility>

namespace vintra {

RecordButtonModel::RecordButtonModel(TakeControl& take, std::function<void()> onPressed, QObject* parent)
    : QObject(parent)
    , take(take)
    , onPressed(std::move(onPressed))
    , observation(take.footerButton.observe([this](const TakeControl::Button&) { Q_EMIT changed(); })) {}

QString RecordButtonModel::title() const {
    return qString(take.footerButton->title);
}

DesignPalette::ButtonStyle RecordButtonModel::style() const {
    return take.footerButton->style == TakeControl::Style::primary ? DesignPalette::Primary
                                                                   : DesignPalette::Destructive;
}

} // namespace vintra
