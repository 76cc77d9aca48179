#pragma once

#include "Vintra/app/qt/MenuModel.h"
#include "Vintra/app/qt/TrackRowModel.h"

namespace vintra {

class ScreenRows;

/// What of the screen is captured.
class CaptureAreaRowModel : public TrackRowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool disabled READ disabled NOTIFY changed)
    Q_PROPERTY(QString limits READ limits NOTIFY changed)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString image READ image CONSTANT)
    Q_PROPERTY(QString displayLabel READ displayLabel CONSTANT)
    Q_PROPERTY(vintra::MenuModel* displays READ displays CONSTANT)
    Q_PROPERTY(vintra::MenuModel* modes READ modes CONSTANT)

public:
    CaptureAreaRowModel(ScreenRows& rows, QObject* parent = nullptr);

    QString view() const override { return "CaptureAreaRowView.qml"; }
    Group group() const override { return Group::screen; }
    void show(const TrackRow& newRow) override;

    bool disabled() const { return row.disabled; }
    QString limits() const { return QString::fromStdString(row.limits); }
    QString title() const;
    QString image() const;
    QString displayLabel() const;
    MenuModel* displays() { return &displayMenu; }
    MenuModel* modes() { return &modeMenu; }

private:
    ScreenRows& rows;
    MenuModel displayMenu;
    MenuModel modeMenu;
    CaptureAreaRow row;
};

} // namespace vintra
