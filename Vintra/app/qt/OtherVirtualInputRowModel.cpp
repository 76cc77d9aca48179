#include "Vintra/app/qt/OtherVirtualInputRowModel.h"

#include "Vintra/app/ComputerAudioRows.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/platform/Platform.h"

#include <optional>
#include <variant>

namespace vintra {

OtherVirtualInputRowModel::OtherVirtualInputRowModel(ComputerAudioRows& rows, const AudioSelection& audio,
                                                     const Platform& platform, QObject* parent)
    : TrackRowModel(parent)
    , rows(rows)
    , deviceMenu([this](const std::string& id) {
        this->rows.setOtherDevice(id.empty() ? std::nullopt : std::optional(id));
    })
    , levelMeter(audio.levels, platform.wallClock) {
    levelMeter.setSource(LevelKey::daw());
}

/// The level of the second track is the computer's while this isn't armed.
void OtherVirtualInputRowModel::show(const TrackRow& newRow) {
    row = std::get<OtherVirtualInputRow>(newRow.content);
    MenuState devices = row.availableDevices;
    devices.isEnabled = devices.isEnabled && !row.disabled;
    deviceMenu.show(devices);
    setWatched(isWatched);
    Q_EMIT changed();
}

void OtherVirtualInputRowModel::setWatched(bool watched) {
    isWatched = watched;
    levelMeter.setWatched(watched && row.isArmed());
}

QString OtherVirtualInputRowModel::title() const {
    return TrackTexts::otherVirtualInput;
}

QString OtherVirtualInputRowModel::image() const {
    return TrackTexts::otherVirtualInputImage;
}

QString OtherVirtualInputRowModel::removeHelp() const {
    return TrackTexts::removeVirtualInputHelp;
}

QString OtherVirtualInputRowModel::showTitle() const {
    return TrackTexts::useDifferentVirtualInput;
}

void OtherVirtualInputRowModel::setArmed(bool armed) {
    rows.setOtherArmed(armed);
}

void OtherVirtualInputRowModel::bring() {
    rows.showOtherVirtualInput();
}

void OtherVirtualInputRowModel::remove() {
    rows.removeOtherVirtualInput();
}

} // namespace vintra
