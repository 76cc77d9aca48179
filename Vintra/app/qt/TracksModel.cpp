#include "Vintra/app/qt/TracksModel.h"

#include "Vintra/app/TracksSection.h"
#include "Vintra/app/qt/CaptureAreaRowModel.h"
#include "Vintra/app/qt/ComputerAudioRowModel.h"
#include "Vintra/app/qt/MicTrackRowModel.h"
#include "Vintra/app/qt/OtherVirtualInputRowModel.h"
#include "Vintra/app/qt/ScreenRowModel.h"
#include "Vintra/app/qt/WebcamRowModel.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <QQmlEngine>
#include <algorithm>
#include <type_traits>
#include <utility>
#include <variant>

namespace vintra {

TracksModel::TracksModel(TracksSection& section, const AppSurroundings& surroundings, QObject* parent)
    : QAbstractListModel(parent)
    , section(section)
    , surroundings(surroundings) {
    show(*section.rows);
    observation = section.rows.observe([this](const std::vector<TrackRow>& rows) { show(rows); });
}

TracksModel::~TracksModel() = default;

int TracksModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries.size());
}

QVariant TracksModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
    const auto row = static_cast<size_t>(index.row());
    switch (role) {
    case RowRole:
        return QVariant::fromValue(entries[row].model.get());
    case ViewRole:
        return entries[row].model->view();
    case BeginsGroupRole:
        return beginsGroup(row);
    default:
        return {};
    }
}

QHash<int, QByteArray> TracksModel::roleNames() const {
    return {{RowRole, "row"}, {ViewRole, "view"}, {BeginsGroupRole, "beginsGroup"}};
}

bool TracksModel::beginsGroup(size_t index) const {
    return index > 0 && entries[index].model->group() != entries[index - 1].model->group();
}

void TracksModel::setWatched(bool watched) {
    isWatched = watched;
    for (const Entry& entry : entries)
        entry.model->setWatched(watched);
}

/// A row that stays keeps its object, so that what shows it stays too, with the keyboard's focus.
void TracksModel::show(const std::vector<TrackRow>& rows) {
    removeOthers(rows);
    for (size_t n = 0; n < rows.size(); ++n) {
        const auto to = static_cast<std::ptrdiff_t>(n);
        const auto found = std::ranges::find(entries, rows[n].id, &Entry::id);
        const auto from = found - entries.begin();
        if (found == entries.end()) {
            auto model = makeModel(rows[n]);
            beginInsertRows({}, static_cast<int>(n), static_cast<int>(n));
            entries.insert(entries.begin() + to, Entry{rows[n].id, rows[n], std::move(model)});
            endInsertRows();
        } else if (from != to) {
            beginMoveRows({}, static_cast<int>(from), static_cast<int>(from), {}, static_cast<int>(to));
            std::rotate(entries.begin() + to, found, found + 1);
            endMoveRows();
        }
        if (entries[n].shown == rows[n]) continue;
        entries[n].shown = rows[n];
        entries[n].model->show(rows[n]);
    }
    if (!entries.empty())
        Q_EMIT dataChanged(index(0), index(static_cast<int>(entries.size()) - 1), {BeginsGroupRole});
}

void TracksModel::removeOthers(const std::vector<TrackRow>& rows) {
    for (size_t n = entries.size(); n-- > 0;) {
        if (std::ranges::find(rows, entries[n].id, &TrackRow::id) != rows.end()) continue;
        const int row = static_cast<int>(n);
        beginRemoveRows({}, row, row);
        TrackRowModel* const gone = entries[n].model.release();
        entries.erase(entries.begin() + row);
        endRemoveRows();
        gone->setParent(this);
        gone->deleteLater(); // what shows the row goes with the signal, or a moment later
    }
}

std::unique_ptr<TrackRowModel> TracksModel::makeModel(const TrackRow& row) {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const Platform& platform = surroundings.platform;
    auto model = std::visit(
        [&](const auto& content) -> std::unique_ptr<TrackRowModel> {
            using Row = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Row, MicTrackRow>)
                return std::make_unique<MicTrackRowModel>(section.microphones, recorder, platform);
            else if constexpr (std::is_same_v<Row, ScreenRow>)
                return std::make_unique<ScreenRowModel>(section.screen);
            else if constexpr (std::is_same_v<Row, CaptureAreaRow>)
                return std::make_unique<CaptureAreaRowModel>(section.screen);
            else if constexpr (std::is_same_v<Row, WebcamRow>)
                return std::make_unique<WebcamRowModel>(section.webcams, platform.words.computer);
            else if constexpr (std::is_same_v<Row, ComputerAudioRow>)
                return std::make_unique<ComputerAudioRowModel>(section.computerAudio, recorder, platform);
            else
                return std::make_unique<OtherVirtualInputRowModel>(section.computerAudio, recorder, platform);
        },
        row.content);
    // The engine never takes the object for its own.
    QQmlEngine::setObjectOwnership(model.get(), QQmlEngine::CppOwnership);
    model->show(row);
    model->setWatched(isWatched);
    return model;
}

} // namespace vintra
