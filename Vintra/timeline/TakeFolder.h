#pragma once

#include "Vintra/timeline/TakeFiles.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

// Takes that lie in a folder already, recognised by the names that a recording gives its files: the take's
// name and "_video.mov", "_webcam.mov", "_webcam-2.mov" and on, or "_" and the track's name and ".wav". A
// sound file belongs to the take with the longest name that fits. Where no movie and no "_mic" or
// "_computer-audio" tells a take's name, it is what stands before the last "_", a channel's "_ch1" not
// counted.

/// Every take of the folder, by name. `names` are those of all its files; others than a take's are passed
/// over.
std::vector<TakeFiles> takesInFolder(const URL& folder, const std::vector<std::string>& names);

/// The take of that name, even where its files seem to be another take's; nothing if no file is its.
std::optional<TakeFiles> takeInFolder(const URL& folder, const std::vector<std::string>& names,
                                      const std::string& take);

} // namespace vintra
