#pragma once

#include "Vintra/app/qt/TrackRowModel.h"

namespace vintra {

class ScreenRows;

/// The screen's row.
class ScreenRowModel : public TrackRowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool isArmed READ isArmed NOTIFY changed)
    Q_PROPERTY(bool disabled READ disabled NOTIFY changed)
    Q_PROPERTY(QString summary READ summary NOTIFY changed)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString image READ image CONSTANT)

public:
    ScreenRowModel(ScreenRows& rows, QObject* parent = nullptr);

    QString view() const override { return "ScreenRowView.qml"; }
    Group group() const override { return Group::screen; }
    void show(const TrackRow& newRow) override;

    Q_INVOKABLE void setArmed(bool armed);

    bool isArmed() const { return row.isArmed; }
    bool disabled() const { return row.disabled; }
    QString summary() const;
    QString title() const;
    QString image() const;

private:
    ScreenRows& rows;
    ScreenRow row;
};

} // namespace vintra
