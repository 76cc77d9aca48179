#pragma once

#include "Vintra/platform/URL.h"
#include "Vintra/timeline/TimelineEditor.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A take that was cut off, and what became of it. A value.
struct RecoveredTake {
    std::string take;
    URL folder;
    size_t usableFiles = 0;
    std::vector<std::string> missing; ///< names of files that aren't in the folder
    std::vector<std::string> empty;   ///< that hold nothing
    std::vector<std::string>
        unplaced; ///< sound files that may begin too early: the crash came before the note of when
    std::vector<std::string> unmended; ///< movies that play, but not in every program
    TimelineEditor editor = TimelineEditor::none;
    std::optional<URL> timeline;
    /// Why it has to be tried again, a sentence; its files are no worse than before.
    std::optional<std::string> problem;

    /// What the user is to know.
    std::string text() const;
};

} // namespace vintra
