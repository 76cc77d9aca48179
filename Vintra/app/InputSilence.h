#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/audio/LevelKey.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Observation.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// Which of the armed inputs have brought no sound for a while: one that is muted, or not the one that was meant, is to
/// be noticed before the take. Sound is what moves a meter. Owned by `MicTrackRows`. Main thread.
class InputSilence {
public:
    static constexpr int kSecondsOfSilence = 5;

    /// `changed` is called when an answer of `isSilent` has changed.
    InputSilence(const AppSurroundings& surroundings, std::function<void()> changed);

    bool isSilent(const LevelKey& input) const;

private:
    struct Watched {
        std::string device;
        int quietSeconds = 0;
    };

    void followSelection();
    void followLevels(LevelKey::Kind kind);
    void tick();

    const AppSurroundings surroundings;
    const std::function<void()> changed;
    std::map<LevelKey, Watched> inputs;     ///< the armed ones
    std::unique_ptr<MainThreadTimer> timer; ///< while any is armed
    std::vector<Observation> observations;
};

} // namespace vintra
