#pragma once

namespace vintra {

/// The program's own windows, and its end. Main thread.
class ProgramWindows {
public:
    virtual ~ProgramWindows() = default;
    /// Brings the main window to the front, before other programs'. False if there is none.
    virtual bool bringMainWindowToFront() = 0;
    /// Makes the main window, in front.
    virtual void openMainWindow() = 0;
    /// Takes the main window away as its closing does. False if it isn't shown.
    virtual bool putMainWindowAway() = 0;
    /// Takes the menu bar item's panel off the screen.
    virtual void dismissPanel() = 0;
    /// Ends the program's event loop.
    virtual void terminate() = 0;
};

} // namespace vintra
