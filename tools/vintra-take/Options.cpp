#include "tools/vintra-take/Options.h"

#include "tools/vintra-take/Numbers.h"
#include "tools/vintra-take/RegionChoice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vintra {
namespace {

/// Thrown and caught within this file.
struct Wrong {
    std::string sentence;
};

constexpr double kLongestTake = 7 * 24 * 3600.0; // seconds

double number(const std::string& option, const std::string& text, double least, double most) {
    const auto value = wholeTextAsNumber(text);
    if (!value || !(*value >= least && *value <= most)) {
        throw Wrong{option + " takes a number from " + plainNumber(least) + " to " + plainNumber(most) +
                    ", not “" + text + "”."};
    }
    return *value;
}

double secondsOf(const std::string& text) {
    const auto value = wholeTextAsNumber(text);
    if (!value || !(*value > 0 && *value <= kLongestTake))
        throw Wrong{"--seconds takes a number above 0 and up to " + plainNumber(kLongestTake) + ", not “" +
                    text + "”."};
    return *value;
}

uint32_t displayOf(const std::string& text) {
    const auto value = wholeTextAsWholeNumber(text);
    if (!value || *value < 0 || *value > std::numeric_limits<uint32_t>::max())
        throw Wrong{"--display takes the number of a display as --list shows it, not “" + text + "”."};
    return static_cast<uint32_t>(*value);
}

uint32_t windowOf(const std::string& text) {
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    const auto value = isHex ? wholeTextAsHexNumber(text.substr(2)) : wholeTextAsWholeNumber(text);
    if (!value || *value < 0 || *value > std::numeric_limits<uint32_t>::max())
        throw Wrong{"--window takes the number of a window as --list shows it, or in hex as 0x2A, not “" +
                    text + "”."};
    return static_cast<uint32_t>(*value);
}

CGRect regionOf(const std::string& text) {
    if (const auto region = parseRegion(text)) return *region;
    throw Wrong{
        "--region takes four numbers X,Y,W,H, such as 0,0,1280,720: where the region begins, from the "
        "display's top left, and its size above 0, not “" +
        text + "”."};
}

AspectPreset aspectOf(const std::string& text) {
    if (const auto preset = aspectPreset(text)) return *preset;
    throw Wrong{"--aspect takes freeform, widescreen, vertical or square, not “" + text + "”."};
}

int fpsOf(const std::string& text) {
    for (const int rate : {24, 30, 60}) {
        if (text == std::to_string(rate)) return rate;
    }
    throw Wrong{"--fps takes 24, 30 or 60, not “" + text + "”."};
}

ScreenCodec codecOf(const std::string& text) {
    if (text == "h264") return ScreenCodec::h264;
    if (text == "hevc") return ScreenCodec::hevc;
    throw Wrong{"--codec takes h264 or hevc, not “" + text + "”."};
}

TimelineEditor timelineOf(const std::string& text) {
    if (const auto editor = timelineEditorWithRawValue(text)) return *editor;
    throw Wrong{"--timeline takes finalCut, resolve, premiere or none, not “" + text + "”."};
}

std::string filled(const std::string& option, const std::string& text) {
    if (text.empty()) throw Wrong{option + " takes something after it, and there is nothing."};
    return text;
}

/// Reads one command line.
class Reader {
public:
    explicit Reader(const std::vector<std::string>& arguments)
        : arguments(arguments) {}

    Options read() {
        while (position < arguments.size())
            readOption();
        options.settings.merge(fromFiles);
        if (options.report && options.command == Options::Command::take && takeOption.empty())
            options.command = Options::Command::report;
        checkTogether();
        return options;
    }

private:
    void readOption() {
        std::string option = arguments[position++];
        inlineValue.reset();
        if (option.starts_with("--")) {
            if (const size_t equals = option.find('='); equals != std::string::npos) {
                inlineValue = option.substr(equals + 1);
                option.resize(equals);
            }
        }
        if (!readFlag(option) && !readValue(option)) refuse(option);
    }

    bool readFlag(const std::string& option) {
        if (option == "--help" || option == "-h")
            options.command = Options::Command::help;
        else if (option == "--list")
            options.command = Options::Command::list;
        else if (option == "--json")
            options.json = true;
        else if (option == "--report")
            options.report = true;
        else if (option == "--verbose")
            options.verbose = true;
        else if (option == "--no-screen")
            options.screen = false;
        else if (option == "--computer-audio")
            options.computerAudio = true;
        else if (option == "--low-latency")
            options.lowLatency = true;
        else
            return false;
        if (inlineValue) throw Wrong{option + " takes nothing after it."};
        if (option != "--list" && option != "--json" && option != "--verbose" && option != "--report")
            takeOption = option;
        return true;
    }

    bool readValue(const std::string& option) {
        if (option == "--recover") {
            options.command = Options::Command::recover;
            options.recoverFolder = filled(option, value(option));
            return true;
        }
        if (option == "--set" || option == "--settings") {
            readSettings(option, filled(option, value(option)));
            return true;
        }
        if (option == "--seconds")
            options.seconds = secondsOf(value(option));
        else if (option == "--folder")
            options.folder = filled(option, value(option));
        else if (option == "--name")
            options.name = value(option);
        else if (option == "--display")
            options.display = displayOf(value(option));
        else if (option == "--region")
            options.region = regionOf(value(option));
        else if (option == "--window")
            options.window = windowOf(value(option));
        else if (option == "--aspect")
            options.aspect = aspectOf(value(option));
        else if (option == "--fps")
            options.fps = fpsOf(value(option));
        else if (option == "--codec")
            options.codec = codecOf(value(option));
        else if (option == "--mic")
            options.mic = filled(option, value(option));
        else if (option == "--mic-name")
            options.micName = value(option);
        else if (option == "--mic-gain")
            options.micGainDB = number(option, value(option), -kLargestGain, kLargestGain);
        else if (option == "--input")
            options.inputs.push_back(filled(option, value(option)));
        else if (option == "--camera")
            options.cameras.push_back(filled(option, value(option)));
        else if (option == "--camera-1080p")
            options.camerasOf1080p.push_back(filled(option, value(option)));
        else if (option == "--monitor")
            options.monitor = filled(option, value(option));
        else if (option == "--virtual-input")
            options.virtualInput = filled(option, value(option));
        else if (option == "--timeline")
            options.timeline = timelineOf(value(option));
        else
            return false;
        takeOption = option;
        given.push_back(option);
        return true;
    }

    /// What the command line sets outranks what a file does, wherever either stands.
    void readSettings(const std::string& option, const std::string& text) {
        settingsOption = option;
        if (option == "--settings") {
            const auto read = readHandSetKeys(text);
            if (const auto* problem = std::get_if<std::string>(&read)) throw Wrong{*problem};
            for (const auto& [key, stored] : std::get<HandSetValues>(read))
                fromFiles[key] = stored;
        } else {
            const auto read = parseHandSetKey(text);
            if (const auto* problem = std::get_if<std::string>(&read)) throw Wrong{*problem};
            const auto& [key, stored] = std::get<0>(read);
            options.settings[key] = stored;
        }
    }

    std::string value(const std::string& option) {
        if (inlineValue) return *inlineValue;
        if (position == arguments.size()) throw Wrong{option + " takes something after it."};
        return arguments[position++];
    }

    [[noreturn]] static void refuse(const std::string& option) {
        if (option.starts_with("-")) throw Wrong{"There is no option “" + option + "”."};
        throw Wrong{"“" + option + "” belongs to no option."};
    }

    bool has(const char* option) const {
        return std::find(given.begin(), given.end(), option) != given.end();
    }

    void checkTogether() const {
        if (options.command == Options::Command::help) return;
        if (options.command == Options::Command::recover) {
            refuseBeside("--recover");
            return;
        }
        if (options.command == Options::Command::list) {
            refuseBeside("--list");
            return;
        }
        if (options.command == Options::Command::report) return;
        if (!options.screen) {
            for (const char* option : {"--display", "--region", "--window", "--aspect", "--fps", "--codec"}) {
                if (has(option)) throw Wrong{std::string(option) + " has no place beside --no-screen."};
            }
            if (!options.mic && options.inputs.empty() && options.cameras.empty() &&
                !options.hasSecondTrack()) {
                throw Wrong{"There is nothing to record: with --no-screen give a --camera, a --mic, an "
                            "--input, --computer-audio or a --virtual-input."};
            }
        }
        if (options.window) {
            for (const char* option : {"--display", "--region", "--aspect"}) {
                if (has(option)) throw Wrong{std::string(option) + " has no place beside --window."};
            }
        }
        if (has("--aspect") && !options.region) throw Wrong{"--aspect needs a --region."};
        if (!options.mic) {
            for (const char* option : {"--mic-name", "--mic-gain"}) {
                if (has(option)) throw Wrong{std::string(option) + " needs a --mic."};
            }
        }
        if (options.cameras.empty() && !options.camerasOf1080p.empty())
            throw Wrong{"--camera-1080p needs a --camera."};
        checkSecondTrack();
    }

    void refuseBeside(const std::string& command) const {
        const std::string other = !takeOption.empty() ? takeOption
                                  : options.report    ? "--report"
                                                      : settingsOption;
        if (!other.empty()) throw Wrong{other + " has no place beside " + command + "."};
    }

    void checkSecondTrack() const {
        if (options.computerAudio && options.virtualInput)
            throw Wrong{"--virtual-input has no place beside --computer-audio: a take has one of the two."};
        if (options.computerAudio) return;
        if (options.monitor) throw Wrong{"--monitor needs --computer-audio."};
        if (options.lowLatency) throw Wrong{"--low-latency needs --computer-audio."};
    }

    const std::vector<std::string>& arguments;
    size_t position = 0;
    std::optional<std::string> inlineValue; ///< of the option being read, if written --option=value
    std::string takeOption;                 ///< the last one that a list has no use for
    std::string settingsOption;             ///< the last one that gave settings
    HandSetValues fromFiles;
    std::vector<std::string> given;
    Options options;
};

} // namespace

std::variant<Options, UsageError> parseOptions(const std::vector<std::string>& arguments) {
    try {
        return Reader(arguments).read();
    } catch (const Wrong& wrong) {
        return UsageError{wrong.sentence};
    }
}

std::string usageText() {
    return std::string() +
           R"(vintra-take records a take: a movie of the screen, one of each camera and a WAV per sound source, on one clock.

    vintra-take --list [--json]      shows the displays, windows, cameras, sound inputs and outputs
    vintra-take --report [--json]    describes the setup for whoever helps you
    vintra-take --recover FOLDER     puts takes in order that a crash cut off and whose files lie in FOLDER
    vintra-take [options]            records until --seconds are over, or until a signal, as of Ctrl-C

  --seconds S                        stop after S seconds
  --folder DIR                       where the files go; made if missing (default: Vintra in the films folder)
  --name NAME                        the front part of the files' names (default: session_DATE_TIME)
  --no-screen                        record no screen
  --display ID                       which display (default: the first)
  --region X,Y,W,H                   only this part of the display, in points from its top left; it must lie
                                     inside of the display
  --aspect freeform|widescreen|vertical|square
                                     hold the region's picture to 16:9, 9:16 or 1:1 (default: freeform)
  --window ID                        only this window, whatever lies over it; on a Wayland desktop 0, for the
                                     one that you choose in the desktop's own question
  --fps 24|30|60                     frames a second of the screen movie (default: 60)
  --codec h264|hevc                  its codec (default: h264)
  --mic ID[:CHANNEL]                 record this microphone; channels count from 1
  --mic-name NAME                    the end of its file's name (default: mic)
  --mic-gain DB                      louder or softer by so much
  --input ID[:CHANNEL[:NAME[:DB]]]   a further sound input; may be given several times
  --camera ID[:NAME]                 record this camera into a movie of its own, at its best format; may be
                                     given several times. The name is the one in the table at the end
  --camera-1080p ID                  record that camera at 1080 lines at the most
  --computer-audio                   record what the computer plays, through the virtual device Vintra Audio;
                                     while the take runs it is the default output, and a relay lets you hear
                                     it on your own
  --monitor ID                       hear it on this output instead of the default one
  --low-latency                      hear it with less delay
  --virtual-input ID                 record this input as the second track instead: one or two channels
  --timeline finalCut|resolve|premiere|none
                                     write a timeline file for this editor (default: one that is installed)
  --set KEY=VALUE                    set by hand what no option sets; may be given several times
  --settings FILE                    the same from a file, such as the program's settings.json
  --report                           print the diagnostics report behind the table, in JSON as "report"; alone,
                                     or beside settings only, that of the setup, without a take
  --json                             print one JSON object at the end instead of the table; what the take warns
                                     of meanwhile is one JSON object a line on stderr, with "event": "warning"
  --verbose                          show the log

What can be set by hand:
)" + handSetKeysHelp() +
           R"(
Exit code: 0 saved, with or without warnings; 1 failed; 2 wrong usage.
)";
}

} // namespace vintra
