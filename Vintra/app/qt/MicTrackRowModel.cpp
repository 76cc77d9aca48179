#include "Vintra/app/qt/MicTrackRowModel.h"

#include "Vintra/app/MicTrackRows.h"
#include "Vintra/app/qt/QtStrings.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/platform/Platform.h"

#include <cmath>
#include <optional>
#include <variant>

namespace vintra {
namespace {

MenuState channelMenuOf(const MicTrackRow& row) {
    MenuState menu{.selectedID = std::to_string(row.channelIndex), .isEnabled = !row.disabled};
    for (int channel = 0; channel < row.channelCount; ++channel)
        menu.options.push_back({std::to_string(channel), "Ch " + std::to_string(channel + 1)});
    return menu;
}

std::optional<std::string> deviceOfOption(const std::string& optionID) {
    return optionID.empty() ? std::nullopt : std::optional(optionID);
}

} // namespace

MicTrackRowModel::MicTrackRowModel(MicTrackRows& rows, const AudioSelection& audio, const Platform& platform,
                                   QObject* parent)
    : TrackRowModel(parent)
    , rows(rows)
    , deviceMenu([this](const std::string& id) { this->rows.setDevice(row.config, deviceOfOption(id)); })
    , channelMenu([this](const std::string& id) { this->rows.setChannel(row.config, std::stoi(id)); })
    , levelMeter(audio.levels, platform.wallClock) {}

void MicTrackRowModel::show(const TrackRow& newRow) {
    row = std::get<MicTrackRow>(newRow.content);
    MenuState devices = row.availableDevices;
    devices.isEnabled = devices.isEnabled && !row.disabled;
    deviceMenu.show(devices);
    channelMenu.show(channelMenuOf(row));
    levelMeter.setSource(row.meterSource);
    Q_EMIT changed();
}

void MicTrackRowModel::setWatched(bool watched) {
    levelMeter.setWatched(watched);
}

QString MicTrackRowModel::name() const {
    return qString(row.name);
}

QString MicTrackRowModel::placeholder() const {
    return qString(row.namePlaceholder);
}

QString MicTrackRowModel::title() const {
    return qString(row.name.empty() ? row.namePlaceholder : row.name);
}

QString MicTrackRowModel::gainTitle() const {
    return qString(row.gainTitle());
}

int MicTrackRowModel::decibels() const {
    return static_cast<int>(std::lround(row.gainDB));
}

QString MicTrackRowModel::warning() const {
    return row.isSilent ? TrackTexts::noSound : "";
}

QString MicTrackRowModel::addTitle() const {
    return TrackTexts::addMicrophone;
}

void MicTrackRowModel::setArmed(bool armed) {
    rows.setArmed(row.config, armed);
}

void MicTrackRowModel::setName(const QString& name) {
    rows.setName(row.config, name.toStdString());
}

void MicTrackRowModel::setDecibels(int decibels) {
    rows.setGain(row.config, decibels);
}

void MicTrackRowModel::add() {
    rows.addMicrophone();
}

void MicTrackRowModel::remove() {
    if (row.config) rows.removeMicrophone(*row.config);
}

} // namespace vintra
