#pragma once

#include "Vintra/app/qt/MenuModel.h"
#include "Vintra/app/qt/MeterModel.h"
#include "Vintra/app/qt/TrackRowModel.h"

namespace vintra {

class ComputerAudioRows;
struct AudioSelection;
struct Platform;

/// The row of the computer's sound, with how it is heard.
class ComputerAudioRowModel : public TrackRowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(bool isArmed READ isArmed NOTIFY changed)
    Q_PROPERTY(bool disabled READ disabled NOTIFY changed)
    Q_PROPERTY(QString deviceName READ deviceName NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(bool isWarning READ isWarning NOTIFY changed)
    Q_PROPERTY(QString recordedAt READ recordedAt NOTIFY changed)
    Q_PROPERTY(bool lowLatency READ lowLatency NOTIFY changed)
    Q_PROPERTY(vintra::MenuModel* monitors READ monitors CONSTANT)
    Q_PROPERTY(vintra::MeterModel* meter READ meter CONSTANT)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString image READ image CONSTANT)
    Q_PROPERTY(QString help READ help CONSTANT)
    Q_PROPERTY(QString monitorLabel READ monitorLabel CONSTANT)
    Q_PROPERTY(QString lowLatencyTitle READ lowLatencyTitle CONSTANT)
    Q_PROPERTY(QString lowLatencyHelp READ lowLatencyHelp CONSTANT)

public:
    ComputerAudioRowModel(ComputerAudioRows& rows, const AudioSelection& audio, const Platform& platform,
                          QObject* parent = nullptr);

    QString view() const override { return "ComputerAudioRowView.qml"; }
    Group group() const override { return Group::computerAudio; }
    void show(const TrackRow& newRow) override;
    void setWatched(bool watched) override;

    Q_INVOKABLE void setArmed(bool armed);
    Q_INVOKABLE void setLowLatency(bool on);

    bool isArmed() const { return row.isArmed; }
    bool disabled() const { return row.disabled; }
    QString deviceName() const;
    QString message() const; ///< empty for none
    bool isWarning() const { return row.message && row.message->isWarning; }
    QString recordedAt() const;
    bool lowLatency() const { return row.lowLatency; }
    MenuModel* monitors() { return &monitorMenu; }
    MeterModel* meter() { return &levelMeter; }
    QString title() const;
    QString image() const;
    QString help() const;
    QString monitorLabel() const;
    QString lowLatencyTitle() const;
    QString lowLatencyHelp() const;

private:
    ComputerAudioRows& rows;
    const std::string operatingSystem;
    bool isWatched = false;
    MenuModel monitorMenu;
    MeterModel levelMeter;
    ComputerAudioRow row;
};

} // namespace vintra
