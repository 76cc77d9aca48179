#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Screens.h"

#include <optional>
#include <vector>

namespace vintra {

class ProgramWindows;

/// Whether the main window is on what is recorded, which no desktop leaves out of the picture, and the choice to put it
/// away while a take runs. Owned by the program. Main thread.
class WindowInPicture {
public:
    struct State {
        bool isInPicture = false; ///< said before a take, not in it
        bool minimizes = false;   ///< the choice
        bool operator==(const State&) const = default;
    };
    static constexpr const char* kMinimizesKey = "minimizesWhileRecording"; ///< where the choice is kept
    static constexpr const char* kTitle = "Minimize this window while recording";
    static constexpr const char* kHelp =
        "This window is on the screen that is recorded, so the recording shows it. Minimize it, or move it to another "
        "screen.";

    /// The windows outlive this.
    WindowInPicture(const AppSurroundings& surroundings, ProgramWindows& windows);

    Published<State> state;

    /// Where the main window is, in points on the desktop. Nothing if the desktop doesn't tell: then it may be
    /// anywhere.
    void setWindowFrame(const std::optional<CGRect>& frame);
    void setMinimizes(bool minimizes);

private:
    State currentState();
    bool isInPicture();
    std::optional<CGRect> recordedFrame();
    void followTake();

    const AppSurroundings surroundings;
    ProgramWindows& windows;
    std::optional<CGRect> windowFrame;
    std::optional<std::vector<NSScreen>> screens; ///< asked for once: an X desktop is asked anew each time
    bool isUnderWay = false;                      ///< a start, a take or a stop
    bool isPutAway = false;                       ///< by this, for the take
    std::vector<Observation> observations;
    Refresher refresher;
};

} // namespace vintra
