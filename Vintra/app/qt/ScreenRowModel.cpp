#include "Vintra/app/qt/ScreenRowModel.h"

#include "Vintra/app/ScreenRows.h"
#include "Vintra/app/qt/QtStrings.h"

#include <variant>

namespace vintra {

ScreenRowModel::ScreenRowModel(ScreenRows& rows, QObject* parent)
    : TrackRowModel(parent)
    , rows(rows) {}

void ScreenRowModel::show(const TrackRow& newRow) {
    row = std::get<ScreenRow>(newRow.content);
    Q_EMIT changed();
}

QString ScreenRowModel::summary() const {
    return qString(row.summary);
}

QString ScreenRowModel::title() const {
    return TrackTexts::screen;
}

QString ScreenRowModel::image() const {
    return TrackTexts::screenImage;
}

void ScreenRowModel::setArmed(bool armed) {
    rows.setArmed(armed);
}

} // namespace vintra
