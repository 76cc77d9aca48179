#pragma once

#include "Vintra/app/DesignColor.h"
#include "Vintra/platform/URL.h"

#include <string>
#include <string_view>
#include <vector>

namespace vintra {

class FileManager;

/// The window with the licences of what the program includes, without its looks. Owned by the window. Main thread.
class AcknowledgementsView {
public:
    /// A line of its text, followed by a line feed.
    struct Run {
        std::string text;
        bool isHeading =
            false; ///< semibold Helvetica; else monospaced in `DesignColor::text` at `kTextOpacity`
        bool operator==(const Run&) const = default;
    };
    static constexpr const char* kWindowID = "acknowledgements";
    static constexpr const char* kTitle = "Acknowledgements";
    static constexpr double kWidth = 640;
    static constexpr double kHeight = 600;
    static constexpr double kTextSize = 11;
    static constexpr double kTextOpacity = 0.72;
    static constexpr const char* kMissing = "The acknowledgements are missing from this copy of Vintra.";

    /// Of the file "Acknowledgements.txt" that came with the program.
    AcknowledgementsView(FileManager& fileManager, const URL& file);

    const std::vector<Run>& runs() const { return lines; }

private:
    std::vector<Run> lines;
};

} // namespace vintra
