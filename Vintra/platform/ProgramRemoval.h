#pragma once

#include "Vintra/platform/URL.h"

#include <functional>
#include <string>
#include <variant>

namespace vintra {

/// Takes the program off the machine: itself and its virtual audio device, with the administrator's right, which is
/// asked for once, and makes the sound server begin anew. Settings and recordings stay. Main thread.
class ProgramRemoval {
public:
    struct Removed {};
    struct Cancelled {}; ///< the user didn't give the password
    struct Failed {
        std::string message; ///< a sentence
    };
    using Outcome = std::variant<Removed, Cancelled, Failed>;

    virtual ~ProgramRemoval() = default;
    /// The function is called later, once.
    virtual void run(std::function<void(Outcome)> onEnd) = 0;
    /// What the program has only to be quicker; it need not exist.
    virtual URL cachesFolder() const = 0;
};

} // namespace vintra
