#pragma once

#include "Vintra/app/qt/MenuModel.h"
#include "Vintra/app/qt/MeterModel.h"
#include "Vintra/app/qt/TrackRowModel.h"

namespace vintra {

class ComputerAudioRows;
struct AudioSelection;
struct Platform;

/// The row of another virtual input, or the link that brings it.
class OtherVirtualInputRowModel : public TrackRowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool isShown READ isShown NOTIFY changed)
    Q_PROPERTY(bool isArmed READ isArmed NOTIFY changed)
    Q_PROPERTY(bool canArm READ canArm NOTIFY changed)
    Q_PROPERTY(bool disabled READ disabled NOTIFY changed)
    Q_PROPERTY(vintra::MenuModel* devices READ devices CONSTANT)
    Q_PROPERTY(vintra::MeterModel* meter READ meter CONSTANT)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString image READ image CONSTANT)
    Q_PROPERTY(QString removeHelp READ removeHelp CONSTANT)
    Q_PROPERTY(QString showTitle READ showTitle CONSTANT)

public:
    OtherVirtualInputRowModel(ComputerAudioRows& rows, const AudioSelection& audio, const Platform& platform,
                              QObject* parent = nullptr);

    QString view() const override { return "OtherVirtualInputRowView.qml"; }
    Group group() const override { return Group::otherVirtualInput; }
    void show(const TrackRow& newRow) override;
    void setWatched(bool watched) override;

    Q_INVOKABLE void setArmed(bool armed);
    Q_INVOKABLE void bring();
    Q_INVOKABLE void remove();

    bool isShown() const { return row.isShown; }
    bool isArmed() const { return row.isArmed(); }
    bool canArm() const { return !row.disabled && (row.canArm || row.isArmed()); }
    bool disabled() const { return row.disabled; }
    MenuModel* devices() { return &deviceMenu; }
    MeterModel* meter() { return &levelMeter; }
    QString title() const;
    QString image() const;
    QString removeHelp() const;
    QString showTitle() const;

private:
    ComputerAudioRows& rows;
    bool isWatched = false;
    MenuModel deviceMenu;
    MeterModel levelMeter;
    OtherVirtualInputRow row;
};

} // namespace vintra
