#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/OutputFolderSetting.h"
#include "Vintra/app/Refresher.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/Task.h"

#include <string>

namespace vintra {

/// The one button that starts and stops a take, wherever it is shown, and the name under which the take is saved.
/// Owned by `ContentView`. Main thread.
class TakeControl {
public:
    enum class Style { primary, destructive };
    struct Button {
        std::string title;
        Style style = Style::primary;
        bool isEnabled = true;
        bool operator==(const Button&) const = default;
    };

    TakeControl(const AppSurroundings& surroundings, OutputFolderSetting& folder);

    Published<Button> footerButton;
    Published<std::string> sessionName;       ///< the text of the name field
    Published<std::string> activeSessionName; ///< of the running or last take

    std::string footerButtonTitle() const { return footerButton->title; }
    /// Ends the running take, or starts one under `sessionName`. Does nothing while the button is disabled.
    void toggleRecording();
    /// The same with a generated name, for where no name is typed.
    void toggleRecordingWithGeneratedName();

private:
    Button currentButton() const;
    bool mayToggle();
    void toggle(const std::string& name);
    Task<> start(std::string name);
    Task<> stop();
    void noteBusy();

    const AppSurroundings surroundings;
    OutputFolderSetting& folder;
    bool isStopping = false; ///< what the recorder is busy with began in a take
    std::string generatedName;
    Observation busyObservation;
    MainThreadTasks tasks;
    Refresher refresher;
};

} // namespace vintra
