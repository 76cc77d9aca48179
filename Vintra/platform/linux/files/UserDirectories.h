#pragma once

#include "Vintra/platform/FileManager.h"

#include <optional>
#include <string>

namespace vintra {

/// $HOME if it is an absolute path, else what the user database says, else the root.
URL userHomeDirectory();

/// $XDG_STATE_HOME if it is an absolute path, else ".local/state" at home.
URL userStateDirectory();

/// Where the sound server of this session is met: $PIPEWIRE_RUNTIME_DIR, else $XDG_RUNTIME_DIR, whichever is
/// an absolute path; nothing if neither is. What concerns one server's sound is kept by it.
std::optional<URL> soundServerDirectory();

/// The folder that "user-dirs.dirs" in the configuration folder names for films, or "Videos" at home.
URL videosDirectory(const FileManager& fileManager);

/// The XDG_VIDEOS_DIR line of such a file's text: an absolute path, or one below $HOME. Nothing if there is
/// no such line, it is malformed, or it names the home folder itself, which by the file's rules means that
/// there is none.
std::optional<URL> videosDirectoryOfText(const std::string& text, const URL& home);

} // namespace vintra
