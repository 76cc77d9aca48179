#pragma once

namespace vintra {

/// How far an update has come when the user is told of it. A value.
struct SPUUserUpdateState {
    enum class Stage { notDownloaded, downloaded, installing };
    Stage stage = Stage::notDownloaded;
    bool userInitiated = false; ///< the user asked for the check
};

} // namespace vintra
