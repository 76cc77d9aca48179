#pragma once

#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/Workspace.h"
#include "Vintra/timeline/TimelineEditor.h"

#include <memory>
#include <optional>

namespace vintra {

inline constexpr const char* kTimelineEditorKey = "timelineEditor";

/// Which editor the user wants timelines for. Owned by whoever asks, for the whole run. Main thread.
class TimelineEditorSetting {
public:
    TimelineEditorSetting(std::shared_ptr<UserDefaults> defaults, std::shared_ptr<Workspace> workspace);

    /// The stored choice; `installedDefault` where none is stored or what is stored is not known.
    TimelineEditor current();
    void set(TimelineEditor editor);
    /// The first editor that is installed here. Looked for once; later answers are the same.
    TimelineEditor installedDefault();

private:
    bool isInstalled(const std::string& bundleIdentifier) const;
    bool isPremiereInstalled() const;
    TimelineEditor findInstalled() const;

    std::shared_ptr<UserDefaults> defaults;
    std::shared_ptr<Workspace> workspace;
    std::optional<TimelineEditor> cachedDefault;
};

} // namespace vintra
