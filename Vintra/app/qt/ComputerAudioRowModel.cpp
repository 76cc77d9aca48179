#include "Vintra/app/qt/ComputerAudioRowModel.h"

#include "Vintra/app/ComputerAudioRows.h"
#include "Vintra/app/qt/QtStrings.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/platform/Platform.h"

#include <variant>

namespace vintra {

ComputerAudioRowModel::ComputerAudioRowModel(ComputerAudioRows& rows, const AudioSelection& audio,
                                             const Platform& platform, QObject* parent)
    : TrackRowModel(parent)
    , rows(rows)
    , operatingSystem(platform.words.operatingSystem)
    , monitorMenu([this](const std::string& id) { this->rows.chooseMonitor(id); })
    , levelMeter(audio.levels, platform.wallClock) {
    levelMeter.setSource(LevelKey::daw());
}

/// The level of the second track is another device's while this isn't armed.
void ComputerAudioRowModel::show(const TrackRow& newRow) {
    row = std::get<ComputerAudioRow>(newRow.content);
    monitorMenu.show(row.monitors);
    setWatched(isWatched);
    Q_EMIT changed();
}

void ComputerAudioRowModel::setWatched(bool watched) {
    isWatched = watched;
    levelMeter.setWatched(watched && row.isArmed);
}

QString ComputerAudioRowModel::deviceName() const {
    return qString(row.deviceName);
}

QString ComputerAudioRowModel::message() const {
    return row.message ? qString(row.message->text) : QString();
}

QString ComputerAudioRowModel::recordedAt() const {
    return qString(row.recordedAt);
}

QString ComputerAudioRowModel::title() const {
    return TrackTexts::computerAudio;
}

QString ComputerAudioRowModel::image() const {
    return TrackTexts::computerAudioImage;
}

QString ComputerAudioRowModel::help() const {
    return qString(computerAudioHelp(operatingSystem));
}

QString ComputerAudioRowModel::monitorLabel() const {
    return TrackTexts::hearingItThrough;
}

QString ComputerAudioRowModel::lowLatencyTitle() const {
    return TrackTexts::lowLatency;
}

QString ComputerAudioRowModel::lowLatencyHelp() const {
    return TrackTexts::lowLatencyHelp;
}

void ComputerAudioRowModel::setArmed(bool armed) {
    rows.setArmed(armed);
}

void ComputerAudioRowModel::setLowLatency(bool on) {
    rows.setLowLatency(on);
}

} // namespace vintra
