#include "Vintra/app/OutputSection.h"

#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {

OutputSection::OutputSection(const AppSurroundings& surroundings, OutputFolderSetting& folder,
                             TakeControl& take)
    : surroundings(surroundings)
    , folder(folder)
    , take(take)
    , refresher(*surroundings.platform.mainThread, [this] { publish(state, currentState()); }) {
    refresher.follow(surroundings.recorder.isRecording, folder.outputFolderPath, folder.outputFolderMissing,
                     take.sessionName, take.activeSessionName);
    state.set(currentState());
}

OutputSection::State OutputSection::currentState() {
    const bool isRecording = *surroundings.recorder.isRecording;
    const bool isMissing = *folder.outputFolderMissing;
    return {.sessionName = isRecording ? *take.activeSessionName : *take.sessionName,
            .isSessionNameEnabled = !isRecording,
            .folder = folder.outputFolderURL().path(),
            .folderNote = isMissing ? " — missing" : "",
            .showTitle = "Show in " + surroundings.platform.words.fileBrowser,
            .isShowEnabled = !isMissing,
            .timeline = timelineMenu()};
}

MenuState OutputSection::timelineMenu() {
    MenuState menu{.selectedID = rawValue(surroundings.recorder.timelineEditor.current())};
    for (const TimelineEditor editor : kAllTimelineEditors)
        menu.options.push_back({rawValue(editor), displayName(editor)});
    return menu;
}

void OutputSection::setSessionName(const std::string& name) {
    if (!*surroundings.recorder.isRecording) take.sessionName.set(name);
}

void OutputSection::chooseTimelineEditor(const std::string& optionID) {
    const auto editor = timelineEditorWithRawValue(optionID);
    if (!editor) return;
    surroundings.recorder.timelineEditor.set(*editor);
    refresher.note();
}

} // namespace vintra
