#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Published.h"

#include <memory>
#include <string>

namespace vintra {

/// The dot with its words beside the record button: whether a take runs and for how long, else what is armed. In a take
/// it ticks once a second, from the take's start time, so that a reopened window goes on with it. Owned by what shows
/// it. Main thread.
class StatusIndicator {
public:
    struct State {
        bool isRecording = false; ///< the dot is in `DesignColor::accent`, else in `neutral500`
        std::string text;
        std::string time; ///< empty without a take
        bool operator==(const State&) const = default;
    };
    /// What is said without a take.
    enum class Idle { armedTracks, notRecording };

    StatusIndicator(const AppSurroundings& surroundings, Idle idle);

    Published<State> state;

private:
    State currentState() const;
    void refresh();

    const AppSurroundings surroundings;
    const Idle idle;
    std::unique_ptr<MainThreadTimer> ticks; ///< while a take runs
    Refresher refresher;
};

} // namespace vintra
