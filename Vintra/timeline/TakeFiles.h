#pragma once

#include "Vintra/platform/URL.h"

#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What one take produced. A value: any thread.
struct TakeFiles {
    std::string take; ///< the take's name, the common prefix of its file names
    URL folder;
    std::optional<URL> screen;
    std::vector<URL> cameras; ///< the built-in camera's movie first
    std::vector<URL> sounds;
    std::optional<URL> cameraSound; ///< the sound file of which a copy lies inside the first camera's movie
    std::vector<double> markers;    ///< seconds from the start of the take, in the order they were added

    /// What an editor shows for a file of this take: "Screen", "Webcam 2", "Desk Mixer".
    std::string trackName(const URL& url) const;
    /// What a sound track that is a copy of this file is called: "mic", "computer audio", "Desk Mixer".
    std::string shortName(const URL& url) const;

private:
    /// The file's name without the take's name, the separator and the extension.
    std::string tail(const URL& url) const;
};

} // namespace vintra
