#pragma once

#include "Vintra/platform/SUAppcastItem.h"
#include "Vintra/platform/URL.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// What a machine owes to a program that updates itself. Functions are called later, once, on the main thread. Main
/// thread.
class UpdateInstallation {
public:
    /// Nothing where all went well, else one sentence for the user that says what went wrong.
    using Outcome = std::optional<std::string>;
    struct OnInstall {
        std::function<void(int percent)> progress;
        std::function<void(Outcome)> ended;
    };

    virtual ~UpdateInstallation() = default;

    /// Where the feed lies; empty where the build names none.
    virtual std::string feedURL() const = 0;
    /// Whether this copy is one to be updated. The sentence says who else sees to it, or what is missing.
    virtual void checkOwnership(std::function<void(Outcome)> onChecked) = 0;
    /// The versions of a feed, those for other systems left out. Throws `SystemError` if it can't be read.
    virtual std::vector<SUAppcastItem> itemsOfFeed(const std::string& feed) const = 0;
    /// Whether this system is one of that version or later.
    virtual bool satisfies(const std::string& minimumSystemVersion) const = 0;
    /// A folder of the program's own for what it downloads. Throws `SystemError`.
    virtual URL downloadFolder() = 0;
    /// Whether the file bears the makers' signature and is the package of that very version.
    virtual void verify(const URL& file, const SUAppcastItem& item,
                        std::function<void(Outcome)> onVerified) = 0;
    /// Puts the package in the place of this one. The machine asks for the password. To be called for a file that
    /// was verified.
    virtual void install(const URL& file, OnInstall on) = 0;
    /// The program is to begin anew, in its new version, as soon as it has ended.
    virtual void relaunchAtEnd() = 0;
};

} // namespace vintra
