#pragma once

#include "Vintra/take/SavedFile.h"
#include "tools/vintra-take/TakeEvent.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// What a file of a take holds.
enum class FileKind { screen, camera, sound };

/// A finished file by its own account.
struct TakeFile {
    std::string path;
    FileKind kind = FileKind::screen;
    double seconds = 0;
    int64_t units = 0;                  ///< frames of a movie, samples of a sound file's channel
    double rate = 0;                    ///< units a second: of a movie as it was asked for
    std::optional<double> padding;      ///< seconds of leading silence that were put before a sound file
    std::optional<std::string> problem; ///< why the above could not be read
    std::optional<SavedFile> saved{};   ///< how it lies in time
    std::string camera{};               ///< the name of the camera; empty: another file
};

/// What a take, or the attempt at one, has come to.
struct TakeSummary {
    std::string status;
    std::optional<std::string> lastError;
    std::string folder;
    std::optional<std::string> screen; ///< what the screen movie shows
    std::vector<TakeFile> files;
    std::optional<std::string> timeline; ///< path
    std::vector<std::string> warnings;
    std::vector<TakeEvent> events;     ///< what it warned of while it ran
    std::optional<std::string> report; ///< all of the setup, if it was asked for
    std::optional<std::string> relay;  ///< how the user came to hear the computer's sound

    /// 0 if the take was saved, with or without warnings, else 1.
    int exitCode() const;
};

/// The files as a table, with the outcome before and where they lie behind.
std::string tableOf(const TakeSummary& summary);
/// One JSON object, with a line feed behind. A path that isn't UTF-8 has its odd bytes replaced.
std::string jsonOf(const TakeSummary& summary);
/// A report alone, likewise.
std::string jsonOfReport(const std::string& report);

} // namespace vintra
