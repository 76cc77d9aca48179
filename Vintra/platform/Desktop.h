#pragma once

#include "Vintra/platform/URL.h"

#include <functional>
#include <string>

namespace vintra {

/// The desktop around a program that has windows: its clipboard, its browsers of files and of the web, its panel for
/// folders. What can't be done is left undone. Main thread.
class Desktop {
public:
    virtual ~Desktop() = default;
    /// Replaces what the clipboard holds.
    virtual void copyToPasteboard(const std::string& text) = 0;
    /// Opens the address in the user's browser.
    virtual void openAddress(const std::string& address) = 0;
    /// Shows a file selected in its folder, or the inside of a folder.
    virtual void showInFileBrowser(const URL& item) = 0;
    /// Lets the user choose one folder, which may be made in the panel. The function is called later with the
    /// choice, or not at all if there is none.
    virtual void chooseFolder(const std::string& title, const URL& startingAt,
                              std::function<void(const URL&)> onChosen) = 0;
};

} // namespace vintra
