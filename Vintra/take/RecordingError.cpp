#include "Vintra/take/RecordingError.h"

#include "Vintra/take/Text.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr size_t kShownNames = 4;

struct Describe {
    const MachineWords& words;

    std::string operator()(const RecordingError::CannotConfigureWriter& error) const {
        return "Couldn't set up " + error.name + ".";
    }
    std::string operator()(const RecordingError::OutputFilesExist& error) const {
        const auto& names = error.names;
        const size_t shown = std::min(names.size(), kShownNames);
        std::string text = "Output files already exist: ";
        text += joined({names.begin(), names.begin() + static_cast<std::ptrdiff_t>(shown)}, ", ");
        if (names.size() > shown) text += " (and " + std::to_string(names.size() - shown) + " more)";
        return text + ". Choose a different session name — recording over them would fail silently.";
    }
    std::string operator()(const RecordingError::WriterFailed& error) const {
        return "Could not start writing " + error.name + ": " +
               (error.underlying ? error.underlying->localizedDescription() : "unknown error");
    }
    std::string operator()(const RecordingError::NoDisplay&) const {
        return "No display available to capture.";
    }
    std::string operator()(const RecordingError::MicrophoneAccessDenied&) const {
        return "Microphone access was denied. Enable it in " + words.microphoneSettings + ".";
    }
    std::string operator()(const RecordingError::DuplicateAudioDevice&) const {
        return "Mic and Virtual Input are set to the same device. "
               "Choose two different devices, or set one to None.";
    }
    std::string operator()(const RecordingError::CameraAccessDenied&) const {
        return "Camera access was denied. Enable it in " + words.cameraSettings + ".";
    }
    std::string operator()(const RecordingError::SystemAudioUnavailable&) const {
        return "Computer audio couldn't be routed through Vintra's audio driver, so this recording was "
               "stopped rather than saved without it. Check the driver is installed, and that your output "
               "device's sample rate is one Vintra Audio supports (44.1kHz or 48kHz).";
    }
    std::string operator()(const RecordingError::WindowUnavailable&) const {
        return "The window you chose isn't available any more — it may have been closed. Pick another "
               "window, or switch to Full screen.";
    }
};

} // namespace

RecordingError::RecordingError(Case kind)
    : kind_(std::move(kind))
    , errorDescription_(errorDescription(MachineWords{})) {}

std::string RecordingError::errorDescription(const MachineWords& words) const {
    return std::visit(Describe{words}, kind_);
}

RecordingError RecordingError::cannotConfigureWriter(std::string name) {
    return RecordingError(CannotConfigureWriter{std::move(name)});
}

RecordingError RecordingError::outputFilesExist(std::vector<std::string> names) {
    return RecordingError(OutputFilesExist{std::move(names)});
}

RecordingError RecordingError::writerFailed(std::string name, std::optional<SystemError> underlying) {
    return RecordingError(WriterFailed{std::move(name), std::move(underlying)});
}

RecordingError RecordingError::noDisplay() {
    return RecordingError(NoDisplay{});
}

RecordingError RecordingError::microphoneAccessDenied() {
    return RecordingError(MicrophoneAccessDenied{});
}

RecordingError RecordingError::duplicateAudioDevice() {
    return RecordingError(DuplicateAudioDevice{});
}

RecordingError RecordingError::cameraAccessDenied() {
    return RecordingError(CameraAccessDenied{});
}

RecordingError RecordingError::systemAudioUnavailable() {
    return RecordingError(SystemAudioUnavailable{});
}

RecordingError RecordingError::windowUnavailable() {
    return RecordingError(WindowUnavailable{});
}

} // namespace vintra
