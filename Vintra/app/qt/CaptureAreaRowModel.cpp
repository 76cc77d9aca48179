#include "Vintra/app/qt/CaptureAreaRowModel.h"

#include "Vintra/app/ScreenRows.h"

#include <variant>

namespace vintra {
namespace {

MenuState modeMenuOf(const CaptureAreaRow& row) {
    MenuState menu{.selectedID = rawValue(row.mode), .isEnabled = !row.disabled};
    for (const CaptureModeChoice mode : row.modes)
        menu.options.push_back({rawValue(mode), segmentTitle(mode)});
    return menu;
}

} // namespace

CaptureAreaRowModel::CaptureAreaRowModel(ScreenRows& rows, QObject* parent)
    : TrackRowModel(parent)
    , rows(rows)
    , displayMenu([this](const std::string& id) { this->rows.chooseDisplay(id); })
    , modeMenu([this](const std::string& id) {
        if (const auto mode = captureModeChoice(id)) this->rows.chooseMode(*mode);
    }) {}

void CaptureAreaRowModel::show(const TrackRow& newRow) {
    row = std::get<CaptureAreaRow>(newRow.content);
    MenuState displays = row.displays;
    displays.isEnabled = displays.isEnabled && !row.disabled;
    displayMenu.show(displays);
    modeMenu.show(modeMenuOf(row));
    Q_EMIT changed();
}

QString CaptureAreaRowModel::title() const {
    return TrackTexts::captureOptions;
}

QString CaptureAreaRowModel::image() const {
    return TrackTexts::captureOptionsImage;
}

QString CaptureAreaRowModel::displayLabel() const {
    return TrackTexts::display;
}

} // namespace vintra
