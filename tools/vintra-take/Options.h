#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/timeline/TimelineEditor.h"
#include "tools/vintra-take/HandSetKeys.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

enum class ScreenCodec { h264, hevc };

/// What the command line asks for. A value.
struct Options {
    enum class Command { take, list, report, recover, help };

    Command command = Command::take;
    std::string recoverFolder; ///< of the command `recover`
    bool json = false;
    bool verbose = false;
    bool report = false;           ///< print the diagnostics report, of a take behind its table
    HandSetValues settings;        ///< set by hand, from a file or in the command line
    std::optional<double> seconds; ///< nothing: until a signal
    std::string folder;            ///< empty: the program's own
    std::string name;              ///< empty: a generated one
    bool screen = true;
    std::optional<uint32_t> display; ///< nothing: the first
    std::optional<CGRect> region;    ///< points of the display, from its top left
    AspectPreset aspect = AspectPreset::freeform;
    std::optional<uint32_t> window;
    std::optional<int> fps; ///< 24, 30 or 60
    std::optional<ScreenCodec> codec;
    std::optional<std::string> mic; ///< ID[:CHANNEL], to be read against the devices there are
    std::string micName;
    double micGainDB = 0;
    std::vector<std::string> inputs;         ///< ID[:CHANNEL[:NAME[:DB]]] each, likewise
    std::vector<std::string> cameras;        ///< ID[:NAME] each, likewise
    std::vector<std::string> camerasOf1080p; ///< ids
    bool computerAudio = false;
    std::optional<std::string> monitor; ///< the output to hear the computer on; nothing: the user's own
    bool lowLatency = false;
    std::optional<std::string> virtualInput;
    std::optional<TimelineEditor> timeline;

    bool hasSecondTrack() const { return computerAudio || virtualInput; }
};

/// A sentence that says what is wrong with the command line.
struct UsageError {
    std::string sentence;
};

/// Reads the words behind the program's name. Of an option given twice the last counts, but for --input and
/// the cameras.
std::variant<Options, UsageError> parseOptions(const std::vector<std::string>& arguments);

/// The text of --help.
std::string usageText();

} // namespace vintra
