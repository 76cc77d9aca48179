#include "Vintra/app/qt/MeterModel.h"

#include "Vintra/app/qt/DesignPalette.h"

#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr int kDecibelMilliseconds = 500;
constexpr int kQuietest = -60;

QColor colorOf(MeterColor color) {
    switch (color) {
    case MeterColor::green:
        return qColor(DesignColor::meterGreen);
    case MeterColor::yellow:
        return qColor(DesignColor::meterYellow);
    case MeterColor::red:
        return qColor(DesignColor::meterRed);
    case MeterColor::sectionText:
        return qColor(DesignColor::sectionText);
    }
    return {};
}

} // namespace

MeterModel::MeterModel(std::shared_ptr<LevelsModel> levels, std::shared_ptr<WallClock> wallClock,
                       QObject* parent)
    : QObject(parent)
    , levels(std::move(levels))
    , wallClock(std::move(wallClock)) {
    decibelTimer.setInterval(kDecibelMilliseconds);
    decibelTimer.setSingleShot(true);
    connect(&decibelTimer, &QTimer::timeout, this, [this] { tellDecibels(); });
}

void MeterModel::setSource(const LevelKey& newSource) {
    if (source == newSource) return;
    source = newSource;
    follow();
}

void MeterModel::setWatched(bool watched) {
    if (std::exchange(isWatched, watched) != watched) follow();
}

/// A meter that is seen again knows nothing of the peaks from before.
void MeterModel::follow() {
    observation = nullptr;
    meter = isWatched ? std::make_unique<TrackLevelMeter>(levels, source, wallClock) : nullptr;
    if (meter) {
        observation = meter->state.observe([this](const TrackLevelMeter::State&) {
            if (!decibelTimer.isActive()) decibelTimer.start();
            Q_EMIT changed();
        });
    }
    Q_EMIT changed();
}

TrackLevelMeter::State MeterModel::state() const {
    return meter ? *meter->state : TrackLevelMeter::State{};
}

QColor MeterModel::barColor() const {
    return colorOf(state().bar.color);
}

void MeterModel::tellDecibels() {
    const int now = static_cast<int>(std::lround(state().level * -kQuietest)) + kQuietest;
    if (std::exchange(shownDecibels, now) != now) Q_EMIT decibelsChanged();
}

} // namespace vintra
