#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/MenuState.h"
#include "Vintra/app/OutputFolderSetting.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/app/TakeControl.h"
#include "Vintra/platform/Published.h"

#include <string>

namespace vintra {

/// Under which name and where a take is saved, and for which editor. Owned by `ContentView`. Main thread.
class OutputSection {
public:
    struct State {
        std::string sessionName; ///< the running take's while one runs
        bool isSessionNameEnabled = true;
        std::string folder;     ///< its path
        std::string folderNote; ///< after the path: " — missing"
        std::string showTitle;
        bool isShowEnabled = true;
        MenuState timeline; ///< option ids are the stored values
        bool operator==(const State&) const = default;
    };
    static constexpr const char* kTitle = "Output";
    static constexpr const char* kSessionName = "Session name";
    static constexpr const char* kFolder = "folder"; ///< its name for those who don't see the picture
    static constexpr const char* kChoose = "Choose…";
    static constexpr const char* kTimeline = "Timeline for";
    static constexpr const char* kTimelineHelp =
        "Saves a timeline file with each recording. Open it in your editor and every track arrives lined up.";

    OutputSection(const AppSurroundings& surroundings, OutputFolderSetting& folder, TakeControl& take);

    Published<State> state;

    /// Ignored in a take.
    void setSessionName(const std::string& name);
    void showFolder() { folder.show(); }
    void chooseOutputFolder() { folder.chooseOutputFolder(); }
    void chooseTimelineEditor(const std::string& optionID);

private:
    State currentState();
    MenuState timelineMenu();

    const AppSurroundings surroundings;
    OutputFolderSetting& folder;
    TakeControl& take;
    Refresher refresher;
};

} // namespace vintra
