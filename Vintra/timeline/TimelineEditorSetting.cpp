#include "Vintra/timeline/TimelineEditorSetting.h"

#include <utility>

namespace vintra {

TimelineEditorSetting::TimelineEditorSetting(std::shared_ptr<UserDefaults> defaults,
                                             std::shared_ptr<Workspace> workspace)
    : defaults(std::move(defaults))
    , workspace(std::move(workspace)) {}

TimelineEditor TimelineEditorSetting::current() {
    if (const auto stored = stringForKey(*defaults, kTimelineEditorKey))
        if (const auto editor = timelineEditorWithRawValue(*stored)) return *editor;
    return installedDefault();
}

void TimelineEditorSetting::set(TimelineEditor editor) {
    defaults->set(kTimelineEditorKey, rawValue(editor));
}

TimelineEditor TimelineEditorSetting::installedDefault() {
    if (!cachedDefault) cachedDefault = findInstalled();
    return *cachedDefault;
}

TimelineEditor TimelineEditorSetting::findInstalled() const {
    if (isInstalled("com.apple.FinalCut")) return TimelineEditor::finalCut;
    if (isInstalled("com.blackmagic-design.DaVinciResolve") ||
        isInstalled("com.blackmagic-design.DaVinciResolveLite"))
        return TimelineEditor::resolve;
    return isPremiereInstalled() ? TimelineEditor::premiere : TimelineEditor::none;
}

bool TimelineEditorSetting::isPremiereInstalled() const {
    // Premiere's identifier carries the two digits of its year.
    constexpr int firstYear = 22;
    constexpr int lastYear = 35;
    for (int year = firstYear; year <= lastYear; ++year)
        if (isInstalled("com.adobe.PremierePro." + std::to_string(year))) return true;
    return false;
}

bool TimelineEditorSetting::isInstalled(const std::string& bundleIdentifier) const {
    return workspace->urlForApplication(bundleIdentifier).has_value();
}

} // namespace vintra
