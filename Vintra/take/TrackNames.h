#pragma once

#include "Vintra/platform/URL.h"

#include <set>
#include <string>

namespace vintra {

// Names of a take's files. All derive from the screen movie's URL, which stands for the take even when it has
// no screen.

/// session name + "_video.mov" in the folder.
URL screenMovieURL(const URL& inFolder, const std::string& sessionName);

/// The URL's last component without extension and without one trailing "_video".
std::string takeBaseName(const URL& forVideoURL);

/// base + "_" + suffix + ".wav" beside the screen movie.
URL trackURL(const URL& forVideoURL, const std::string& suffix);
/// base + "_webcam.mov" beside the screen movie.
URL webcamURL(const URL& forVideoURL);
/// base + "_webcam-" + number + ".mov"; a number below 2 gives the first camera's name.
URL webcamURL(const URL& forVideoURL, int number);

/// Computer audio and a chosen virtual input share this suffix.
inline constexpr const char* kSecondTrackSuffix = "computer-audio";

/// "mic", or the user's name for the track made fit for a file name.
std::string micTrackSuffix(const std::string& micTrackName);
/// The row's name made fit for a file name; without one the device's and "_ch" + (channel + 1).
std::string extraInputSuffix(const std::string& name, const std::string& deviceName, int channelIndex);

/// The base, or the first of base-2, base-3, ... whose lower-cased form isn't among the reserved ones. That
/// form is added to them; the name returned keeps its case.
std::string reserveTrackName(const std::string& base, std::set<std::string>& reservedTrackNames);

} // namespace vintra
