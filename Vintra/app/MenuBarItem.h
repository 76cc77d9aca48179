#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/app/StatusIndicator.h"
#include "Vintra/app/TakeControl.h"
#include "Vintra/platform/ProgramWindows.h"
#include "Vintra/platform/Published.h"

#include <functional>
#include <string>

namespace vintra {

/// The item in the menu bar or tray: its icon, and the panel that it opens. Owned by the program. Main thread.
class MenuBarItem {
public:
    struct Icon {
        std::string systemImage;
        bool isRed = false; ///< else in the bar's own colour
        bool operator==(const Icon&) const = default;
    };
    struct Update {
        std::string title;  ///< in `DesignColor::accent`; empty without an update
        std::string detail; ///< in `DesignColor::text` at `kDetailOpacity`
        bool operator==(const Update&) const = default;
    };
    static constexpr const char* kOpen = "Open VINTRA Recorder";
    static constexpr const char* kQuit = "Quit VINTRA Recorder";
    static constexpr double kDetailOpacity = 0.6;
    static constexpr double kQuitOpacity = 0.75;

    /// The take's control is the main window's, which outlives this, as do the windows. `quit` ends the program in
    /// order.
    MenuBarItem(const AppSurroundings& surroundings, TakeControl& take, ProgramWindows& windows,
                std::function<void()> quit);

    Published<Icon> icon;
    Published<Update> update;
    StatusIndicator status;

    const Published<TakeControl::Button>& recordButton() const { return take.footerButton; }
    void toggleRecording() { take.toggleRecordingWithGeneratedName(); }
    void showUpdate();
    /// The main window in front, made anew if it was closed.
    void openMainWindow();
    void quit() { quitProgram(); }

private:
    Icon currentIcon() const;
    Update currentUpdate() const;
    void refresh();

    const AppSurroundings surroundings;
    TakeControl& take;
    ProgramWindows& windows;
    const std::function<void()> quitProgram;
    Refresher refresher;
};

} // namespace vintra
