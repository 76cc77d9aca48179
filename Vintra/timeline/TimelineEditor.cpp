#include "Vintra/timeline/TimelineEditor.h"

namespace vintra {

std::string rawValue(TimelineEditor editor) {
    switch (editor) {
    case TimelineEditor::finalCut:
        return "finalCut";
    case TimelineEditor::resolve:
        return "resolve";
    case TimelineEditor::premiere:
        return "premiere";
    case TimelineEditor::none:
        break;
    }
    return "none";
}

std::optional<TimelineEditor> timelineEditorWithRawValue(std::string_view text) {
    for (const TimelineEditor editor : kAllTimelineEditors)
        if (rawValue(editor) == text) return editor;
    return std::nullopt;
}

std::string displayName(TimelineEditor editor) {
    switch (editor) {
    case TimelineEditor::finalCut:
        return "Final Cut";
    case TimelineEditor::resolve:
        return "Resolve";
    case TimelineEditor::premiere:
        return "Premiere";
    case TimelineEditor::none:
        break;
    }
    return "None";
}

} // namespace vintra
