#include "Vintra/app/qt/WebcamRowModel.h"

#include "Vintra/app/WebcamRows.h"
#include "Vintra/app/qt/QtStrings.h"

#include <optional>
#include <utility>
#include <variant>

namespace vintra {
namespace {

MenuState resolutionMenuOf(const WebcamRow& row) {
    MenuState menu{.selectedID = rawValue(row.resolution), .isEnabled = row.canChooseResolution};
    for (const CameraResolution resolution : {CameraResolution::uhd, CameraResolution::hd})
        menu.options.push_back({rawValue(resolution), rawValue(resolution)});
    return menu;
}

} // namespace

WebcamRowModel::WebcamRowModel(WebcamRows& rows, std::string computer, QObject* parent)
    : TrackRowModel(parent)
    , rows(rows)
    , computer(std::move(computer))
    , deviceMenu([this](const std::string& id) {
        this->rows.setDevice(row.config, id.empty() ? std::nullopt : std::optional(id));
    })
    , resolutionMenu([this](const std::string& id) {
        if (const auto resolution = cameraResolution(id)) this->rows.setResolution(row.config, *resolution);
    }) {}

void WebcamRowModel::show(const TrackRow& newRow) {
    row = std::get<WebcamRow>(newRow.content);
    MenuState devices = row.availableDevices;
    devices.isEnabled = devices.isEnabled && !row.disabled;
    deviceMenu.show(devices);
    resolutionMenu.show(resolutionMenuOf(row));
    Q_EMIT changed();
}

QString WebcamRowModel::title() const {
    return qString(row.label);
}

QString WebcamRowModel::image() const {
    return TrackTexts::webcamImage;
}

QString WebcamRowModel::resolutionHelp() const {
    return qString(cameraResolutionHelp(computer));
}

QString WebcamRowModel::previewTitle() const {
    return TrackTexts::showPreview;
}

QString WebcamRowModel::addTitle() const {
    return TrackTexts::addWebcam;
}

void WebcamRowModel::setArmed(bool armed) {
    rows.setArmed(row.config, armed);
}

void WebcamRowModel::showPreview() {
    rows.showPreview(row.config);
}

void WebcamRowModel::add() {
    rows.addWebcam();
}

void WebcamRowModel::remove() {
    if (row.config) rows.removeWebcam(*row.config);
}

} // namespace vintra
