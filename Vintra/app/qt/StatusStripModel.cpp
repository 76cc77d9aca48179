#include "Vintra/app/qt/StatusStripModel.h"

#include "Vintra/app/qt/QtStrings.h"

namespace vintra {

StatusStripModel::StatusStripModel(StatusStrip& strip, QObject* parent)
    : QObject(parent)
    , strip(strip)
    , observation(strip.state.observe([this](const StatusStrip::State&) { Q_EMIT changed(); })) {}

QString StatusStripModel::message() const {
    return qString(strip.state->message);
}

QString StatusStripModel::error() const {
    return qString(strip.state->error.value_or(""));
}

QString StatusStripModel::copyTitle() const {
    return qString(strip.state->copyTitle);
}

} // namespace vintra
