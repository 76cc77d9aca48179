#include "Vintra/app/qt/StatusIndicatorModel.h"

#include "Vintra/app/qt/QtStrings.h"

namespace vintra {

StatusIndicatorModel::StatusIndicatorModel(StatusIndicator& indicator, QObject* parent)
    : QObject(parent)
    , indicator(indicator)
    , observation(indicator.state.observe([this](const StatusIndicator::State&) { Q_EMIT changed(); })) {}

QString StatusIndicatorModel::text() const {
    return qString(indicator.state->text);
}

QString StatusIndicatorModel::time() const {
    return qString(indicator.state->time);
}

} // namespace vintra
