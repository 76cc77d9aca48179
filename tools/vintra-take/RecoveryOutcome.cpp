#include "tools/vintra-take/RecoveryOutcome.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/platform/linux/runtime/LinuxProcessInfo.h"
#include "Vintra/platform/linux/runtime/LinuxWallClock.h"
#include "Vintra/take/TakeRecovery.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

namespace vintra {
namespace {

TakeRecovery::Services recoveryServices(bool isVerbose) {
    return {.fileManager = std::make_shared<LinuxFileManager>(),
            .processInfo = std::make_shared<LinuxProcessInfo>(),
            .wallClock = std::make_shared<LinuxWallClock>(),
            .assetWriters = std::make_shared<LinuxAssetWriters>(),
            .assetProbing = std::make_shared<LinuxAssetProbing>(),
            .log = std::make_shared<LinuxLog>(isVerbose ? LogLevel::info : LogLevel::error)};
}

} // namespace

int RecoveryOutcome::exitCode() const {
    const bool areWhole = std::ranges::all_of(
        takes, [](const RecoveredTake& take) { return !take.problem && take.missing.empty(); });
    return problems.empty() && areWhole ? 0 : 1;
}

RecoveryOutcome recoverTakes(const std::string& folder, bool isVerbose) {
    // Timelines name files by absolute paths.
    std::error_code error;
    const auto absolute = std::filesystem::absolute(folder, error);
    const URL url = URL::fileURL(error ? folder : absolute.lexically_normal().string());
    TakeRecovery recovery(recoveryServices(isVerbose), std::make_shared<std::atomic<bool>>(false));
    auto found = recovery.recoverFolder(url);
    RecoveryOutcome outcome{.takes = std::move(found.takes), .problems = std::move(found.problems)};
    if (outcome.takes.empty() && outcome.problems.empty()) {
        outcome.problems.push_back(
            "The folder “" + url.path() +
            "” holds no take that was cut off. Give the one in which its files lie now.");
    }
    return outcome;
}

std::string textOf(const RecoveryOutcome& outcome) {
    std::string text;
    for (const RecoveredTake& take : outcome.takes)
        text += take.text() + "\n";
    return text;
}

std::string jsonOf(const RecoveryOutcome& outcome) {
    nlohmann::ordered_json object;
    object["takes"] = nlohmann::ordered_json::array();
    for (const RecoveredTake& take : outcome.takes) {
        nlohmann::ordered_json entry;
        entry["take"] = take.take;
        entry["folder"] = take.folder.path();
        entry["files"] = take.usableFiles;
        entry["missing"] = take.missing;
        entry["empty"] = take.empty;
        entry["unplaced"] = take.unplaced;
        entry["timeline"] =
            take.timeline ? nlohmann::ordered_json(take.timeline->path()) : nlohmann::ordered_json();
        entry["text"] = take.text();
        object["takes"].push_back(std::move(entry));
    }
    object["problems"] = outcome.problems;
    return object.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace vintra
