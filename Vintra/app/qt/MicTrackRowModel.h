#pragma once

#include "Vintra/app/qt/MenuModel.h"
#include "Vintra/app/qt/MeterModel.h"
#include "Vintra/app/qt/TrackRowModel.h"

namespace vintra {

class MicTrackRows;
struct AudioSelection;
struct Platform;

/// The microphone's row, or that of a further input.
class MicTrackRowModel : public TrackRowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool isArmed READ isArmed NOTIFY changed)
    Q_PROPERTY(bool canArm READ canArm NOTIFY changed)
    Q_PROPERTY(bool disabled READ disabled NOTIFY changed)
    Q_PROPERTY(bool isFirst READ isFirst NOTIFY changed)
    Q_PROPERTY(bool isRemovable READ isRemovable NOTIFY changed)
    Q_PROPERTY(bool showAddLink READ showAddLink NOTIFY changed)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool hasChannels READ hasChannels NOTIFY changed)
    Q_PROPERTY(QString gainTitle READ gainTitle NOTIFY changed)
    Q_PROPERTY(int decibels READ decibels NOTIFY changed)
    Q_PROPERTY(vintra::MenuModel* devices READ devices CONSTANT)
    Q_PROPERTY(vintra::MenuModel* channels READ channels CONSTANT)
    Q_PROPERTY(vintra::MeterModel* meter READ meter CONSTANT)
    Q_PROPERTY(QString warning READ warning NOTIFY changed)
    Q_PROPERTY(QString addTitle READ addTitle CONSTANT)

public:
    MicTrackRowModel(MicTrackRows& rows, const AudioSelection& audio, const Platform& platform,
                     QObject* parent = nullptr);

    QString view() const override { return "MicTrackRowView.qml"; }
    Group group() const override { return Group::audioInputs; }
    void show(const TrackRow& newRow) override;
    void setWatched(bool watched) override;

    Q_INVOKABLE void setArmed(bool armed);
    Q_INVOKABLE void setName(const QString& name);
    Q_INVOKABLE void setDecibels(int decibels);
    Q_INVOKABLE void add();
    Q_INVOKABLE void remove();

    bool isArmed() const { return row.isArmed(); }
    bool canArm() const { return !row.disabled && (row.canArm || row.isArmed()); }
    bool disabled() const { return row.disabled; }
    bool isFirst() const { return !row.config; }
    bool isRemovable() const { return row.isRemovable(); }
    bool showAddLink() const { return row.showAddLink; }
    QString name() const;
    QString placeholder() const;
    QString title() const; ///< the name, or what stands for one
    bool hasChannels() const { return row.channelCount > 1; }
    QString gainTitle() const;
    int decibels() const;
    MenuModel* devices() { return &deviceMenu; }
    MenuModel* channels() { return &channelMenu; }
    MeterModel* meter() { return &levelMeter; }
    QString warning() const; ///< under the meter; empty for none
    QString addTitle() const;

private:
    MicTrackRows& rows;
    MenuModel deviceMenu;
    MenuModel channelMenu;
    MeterModel levelMeter;
    MicTrackRow row;
};

} // namespace vintra
