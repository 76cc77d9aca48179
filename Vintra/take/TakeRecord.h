#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/URL.h"
#include "Vintra/timeline/TakeFiles.h"
#include "Vintra/timeline/TimelineEditor.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What a take's journal says of it. A value.
struct TakeRecord {
    /// A file that the take was to write.
    struct File {
        enum class Kind { screen, camera, sound };

        Kind kind = Kind::screen;
        std::string name; ///< in the take's folder
        bool operator==(const File&) const = default;
    };

    std::string take;   ///< the common front part of its files' names
    std::string noteID; ///< of the note in the state folder; empty if there is none
    TimelineEditor editor = TimelineEditor::none;
    std::vector<File> files; ///< in the order of the timeline: screen, cameras, sounds
    std::string
        cameraSound; ///< the sound file of which a copy lies in the first camera's movie; may be empty
    std::optional<CMTime> commonStart;
    std::map<std::string, CMTime> firstStamps; ///< host time of a sound file's first sample
    std::vector<double> markers;               ///< seconds from the common start
    /// Bytes of a sound file before its leading silence was put in. A file that has another size has it.
    std::map<std::string, uint64_t> sizesBeforePadding;

    bool operator==(const TakeRecord&) const = default;

    /// What is known of a take before it starts.
    static TakeRecord of(const TakeFiles& files, TimelineEditor editor);
    /// The files, as they lie in the folder. Those that don't exist are listed too.
    TakeFiles filesIn(const URL& folder) const;
};

} // namespace vintra
