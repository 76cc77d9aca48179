#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/URL.h"

#include <map>
#include <string>

namespace vintra {

/// The portal's restore tokens, one a display and one for the window that was chosen last: each lets the next
/// recording of it begin without the desktop's question, and is good for one use. They are the state of this
/// desktop, not settings, so they have a file of their own, a line for each: the name, a tab, the token. A file that can't be read
/// or written only means that the user is asked again. One thread.
class PortalRestoreTokens {
public:
    /// "screencast-restore-tokens" in the program's folder of $XDG_STATE_HOME, or of ".local/state" at home.
    static URL standardFile();
    /// In the place of a display's name; no connector has such a one.
    static constexpr const char* kWindow = "a window";

    explicit PortalRestoreTokens(URL file);

    /// The display's token, which is then no longer kept; empty if there is none.
    std::string take(const std::string& display);
    /// Keeps the token in the place of the one before. An empty one, or one that isn't a line, keeps none.
    void keep(const std::string& display, const std::string& token);

private:
    std::map<std::string, std::string> read() const;
    void write(const std::map<std::string, std::string>& tokens) const;

    const URL file;
};

} // namespace vintra
