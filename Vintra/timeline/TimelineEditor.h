#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// The program that a take's timeline file is written for.
enum class TimelineEditor { finalCut, resolve, premiere, none };

/// In the order in which a picker lists them.
inline constexpr std::array kAllTimelineEditors = {TimelineEditor::finalCut, TimelineEditor::resolve,
                                                   TimelineEditor::premiere, TimelineEditor::none};

/// The stored value: "finalCut", "resolve", "premiere", "none".
std::string rawValue(TimelineEditor editor);
/// Nothing if the text is none of the stored values.
std::optional<TimelineEditor> timelineEditorWithRawValue(std::string_view rawValue);
/// As the user knows it: "Final Cut", "Resolve", "Premiere"; "None" for none.
std::string displayName(TimelineEditor editor);

} // namespace vintra
