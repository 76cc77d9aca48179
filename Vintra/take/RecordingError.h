#pragma once

#include "Vintra/platform/MachineWords.h"
#include "Vintra/platform/SystemError.h"

#include <exception>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// Why a take couldn't be started, other than an error of the machine itself. A value: any thread.
class RecordingError : public std::exception {
public:
    struct CannotConfigureWriter {
        std::string name;
    };
    struct OutputFilesExist {
        std::vector<std::string> names;
    };
    struct WriterFailed {
        std::string name;
        std::optional<SystemError> underlying;
    };
    struct NoDisplay {};
    struct MicrophoneAccessDenied {};
    struct DuplicateAudioDevice {};
    struct CameraAccessDenied {};
    struct SystemAudioUnavailable {};
    struct WindowUnavailable {};
    using Case =
        std::variant<CannotConfigureWriter, OutputFilesExist, WriterFailed, NoDisplay, MicrophoneAccessDenied,
                     DuplicateAudioDevice, CameraAccessDenied, SystemAudioUnavailable, WindowUnavailable>;

    static RecordingError cannotConfigureWriter(std::string name);
    static RecordingError outputFilesExist(std::vector<std::string> names);
    static RecordingError writerFailed(std::string name, std::optional<SystemError> underlying);
    static RecordingError noDisplay();
    static RecordingError microphoneAccessDenied();
    static RecordingError duplicateAudioDevice();
    static RecordingError cameraAccessDenied();
    static RecordingError systemAudioUnavailable();
    static RecordingError windowUnavailable();

    explicit RecordingError(Case kind);

    const Case& kind() const { return kind_; }
    template <typename Alternative>
    bool is() const {
        return std::holds_alternative<Alternative>(kind_);
    }
    /// The text for the user.
    const std::string& errorDescription() const { return errorDescription_; }
    /// The same, with the words that a machine has for itself.
    std::string errorDescription(const MachineWords& words) const;
    const char* what() const noexcept override { return errorDescription_.c_str(); }

private:
    Case kind_;
    std::string errorDescription_;
};

} // namespace vintra
