#pragma once

#include "Vintra/platform/Desktop.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/URL.h"

#include "Vintra/app/AppSurroundings.h"

#include <string>

namespace vintra {

/// The folder that takes go to, as the user chose it. It is looked for again and again, since a disk may be taken away
/// or put back at any time. Owned by `ContentView`. Main thread.
class OutputFolderSetting {
public:
    explicit OutputFolderSetting(const AppSurroundings& surroundings);

    Published<std::string> outputFolderPath;    ///< empty for the default folder
    Published<bool> outputFolderMissing{false}; ///< a folder that was chosen isn't there

    URL outputFolderURL() const;
    /// Looks now.
    void check();
    /// Lets the user choose another one.
    void chooseOutputFolder();
    /// Shows the last take's first movie in the folder, or the folder.
    void show();

private:
    void setPath(const std::string& path);

    const AppSurroundings surroundings;
    MainThreadTimer timer;
    MainThreadTasks tasks;
};

} // namespace vintra
