#pragma once

#include "Vintra/timeline/TimelineEditor.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vintra {

/// What the user asked for on the command line.
struct TimelineToolOptions {
    std::string folder;
    std::optional<std::string> take;
    std::vector<TimelineEditor> editors;
    std::vector<double> markers;
    std::optional<std::string> output;
    bool help = false;
};

/// A command line that can't be understood; the text is a sentence for the user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

extern const char* const kTimelineToolUsage;

/// `arguments` without the program's name. Throws `UsageError`.
TimelineToolOptions parseTimelineToolOptions(const std::vector<std::string>& arguments);

} // namespace vintra
