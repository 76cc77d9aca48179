#pragma once

#include "Vintra/app/TrackLevelMeter.h"

#include <QColor>
#include <QObject>
#include <QTimer>
#include <QtQml/qqmlregistration.h>
#include <memory>

namespace vintra {

/// A row's meter for the QML file that draws it. While nobody can see it, it doesn't follow the levels. Owned by the
/// model of its row. Main thread.
class MeterModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the models")
    Q_PROPERTY(double barWidth READ barWidth NOTIFY changed)
    Q_PROPERTY(QColor barColor READ barColor NOTIFY changed)
    Q_PROPERTY(bool hasTick READ hasTick NOTIFY changed)
    Q_PROPERTY(double tickX READ tickX NOTIFY changed)
    Q_PROPERTY(int decibels READ decibels NOTIFY decibelsChanged)

public:
    MeterModel(std::shared_ptr<LevelsModel> levels, std::shared_ptr<WallClock> wallClock,
               QObject* parent = nullptr);

    void setSource(const LevelKey& newSource);
    void setWatched(bool watched);

    double barWidth() const { return state().bar.frame.size.width; }
    QColor barColor() const;
    bool hasTick() const { return state().tick.has_value(); }
    double tickX() const { return state().tick ? state().tick->frame.origin.x : 0; }
    /// The level for those who don't see the bar, at most twice a second: -60 to 0.
    int decibels() const { return shownDecibels; }

Q_SIGNALS:
    void changed();
    void decibelsChanged();

private:
    TrackLevelMeter::State state() const;
    void follow();
    void tellDecibels();

    const std::shared_ptr<LevelsModel> levels;
    const std::shared_ptr<WallClock> wallClock;
    LevelKey source;
    bool isWatched = false;
    int shownDecibels = -60;
    QTimer decibelTimer;
    std::unique_ptr<TrackLevelMeter> meter; ///< while it is watched
    Observation observation;
};

} // namespace vintra
