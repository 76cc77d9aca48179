#pragma once

#include "Vintra/platform/Platform.h"

#include <string>

namespace vintra {

/// What the panel about the program says.
namespace AboutPanel {

constexpr double kCreditsSize = 11; ///< of the system's font, centred, in the secondary colour of labels

struct Content {
    std::string name = "Vintra";
    std::string version; ///< "Version 1.2.3 (45)"
    std::string credits;
    bool operator==(const Content&) const = default;
};

inline Content content(const Platform& platform) {
    const MachineFacts& facts = platform.facts;
    return {.version = "Version " + facts.appVersion + " (" + facts.buildVersion + ")",
            .credits = "Vintra includes " + platform.words.includedWork +
                       ", each used under its license. The full text is in Vintra → Acknowledgements."};
}

} // namespace AboutPanel
} // namespace vintra
