#pragma once

#include "Vintra/platform/SUAppcastItem.h"

#include <cstdint>
#include <string>

namespace vintra {

/// How a search for updates stands, and what becomes of the one it found. A value.
///
///     idle --> checking --> found --install--> downloading --> verifying --> awaitingTake --> installing --> installed
///                  \--> upToDate, problem           \------------\----------------------------/--> problem
struct UpdateSession {
    enum class Stage {
        idle,
        checking,
        upToDate,
        found,
        downloading,
        verifying,
        awaitingTake, ///< nothing interrupts a recording
        installing,
        installed, ///< the program begins anew as soon as no take runs
        problem
    };
    Stage stage = Stage::idle;
    bool isShown = false;  ///< in the update window
    SUAppcastItem item;    ///< from `found` on; of a problem too, if it is about one
    uint64_t received = 0; ///< bytes
    int percent = 0;       ///< of the installation
    std::string sentence;  ///< what went wrong, and that nothing has changed
    bool operator==(const UpdateSession&) const = default;
};

} // namespace vintra
