#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/URL.h"
#include "Vintra/platform/WallClock.h"

#include <optional>
#include <string>
#include <vector>

/// Notes in the state folder of where unfinished takes lie, a file each. Whoever records or recovers a take has its
/// note locked. Functions throw `SystemError` where the disk refuses; any thread.
namespace vintra::UnfinishedTakes {

struct Note {
    URL journal; ///< where the take's journal lay when the take began
    Date begun;
    bool wasTold = false; ///< the user knows that the take couldn't be recovered yet
};

/// The note's file.
URL noteURL(const FileManager& files, const std::string& id);
/// The ids of all notes.
std::vector<std::string> noteIDs(const FileManager& files);
/// Nothing if there is no such note, or it was torn.
std::optional<Note> read(FileManager& files, const std::string& id);
/// Into a file that is there: whoever writes has locked it.
void write(FileManager& files, const std::string& id, const Note& note);

/// Where the journal of a take lies: a hidden file beside the others.
URL journalURL(const URL& inFolder, const std::string& take);
/// The journals in a folder, sorted.
std::vector<URL> journals(const FileManager& files, const URL& inFolder);
/// The whole text.
std::string textOf(FileManager& files, const URL& at);

} // namespace vintra::UnfinishedTakes
