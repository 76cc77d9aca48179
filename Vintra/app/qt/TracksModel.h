#pragma once

#include "Vintra/app/qt/TrackRowModel.h"
#include "Vintra/platform/Observation.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

class TracksSection;
struct AppSurroundings;

/// The rows of the tracks for the list that shows them. Owned by `MainWindowModel`. Main thread.
class TracksModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")

public:
    enum Role { RowRole = Qt::UserRole, ViewRole, BeginsGroupRole };

    /// Both outlive this.
    TracksModel(TracksSection& section, const AppSurroundings& surroundings, QObject* parent = nullptr);
    ~TracksModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Whether the user can see the rows.
    void setWatched(bool watched);

private:
    struct Entry {
        std::string id;
        TrackRow shown;
        std::unique_ptr<TrackRowModel> model;
    };

    void show(const std::vector<TrackRow>& rows);
    void removeOthers(const std::vector<TrackRow>& rows);
    std::unique_ptr<TrackRowModel> makeModel(const TrackRow& row);
    bool beginsGroup(size_t index) const;

    TracksSection& section;
    const AppSurroundings& surroundings;
    bool isWatched = false;
    std::vector<Entry> entries;
    Observation observation;
};

} // namespace vintra
