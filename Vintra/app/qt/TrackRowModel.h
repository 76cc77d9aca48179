#pragma once

#include "Vintra/app/TrackRow.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vintra {

/// A row of the tracks for the QML file that draws it. It stays the same object for as long as the row is there. Owned
/// by `TracksModel`. Main thread.
class TrackRowModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")

public:
    using QObject::QObject;

    /// The file that draws such a row.
    virtual QString view() const = 0;
    /// Which rows stand together.
    enum class Group { audioInputs, screen, webcams, computerAudio, otherVirtualInput };
    virtual Group group() const = 0;
    virtual void show(const TrackRow& row) = 0;
    /// Whether the user can see the row.
    virtual void setWatched(bool /*watched*/) {}

Q_SIGNALS:
    void changed();
};

} // namespace vintra
