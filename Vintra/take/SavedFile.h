#pragma once

#include "Vintra/audio/SoundAccount.h"
#include "Vintra/platform/AssetProbing.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/URL.h"
#include "Vintra/video/FrameAccount.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A file that a take has written, as the stop looks at it where it lies. A value.
struct SavedFile {
    std::string label; ///< as messages call it
    URL planned;       ///< where it was made
    URL url;           ///< where it lies; as planned if it is gone
    /// Follows the file that was made; null if that wasn't possible.
    std::shared_ptr<FollowedItem> item{};
    bool isMovie = false;
    /// Seconds that the finished file has by the account of what went in; nothing if nothing did.
    std::optional<double> expectedSeconds{};
    std::optional<SoundAccount> sound{};  ///< of a sound file, what became of its sound
    std::optional<FrameAccount> frames{}; ///< of a movie, what its slots hold
    /// Seconds from the common start to the file's first sample, were it not put in its place.
    double gap = 0;
    std::optional<double> seconds{}; ///< as it was found; nothing if it can't be read
    uint64_t bytes = 0;
    /// Why it isn't saved, the part of a sentence.
    std::optional<std::string> problem{};
};

/// Looks for each file, under whatever name it has by now. Blocks on the disk; any thread.
void findSavedFiles(std::vector<SavedFile>& files, const FileManager& fileManager);

/// Reads each file that was found: whether it lies on the disk, can be read, and is as long as it is to be.
/// Blocks on the disk; any thread.
void checkSavedFiles(std::vector<SavedFile>& files, FileManager& fileManager, AssetProbing& probing);

/// A sentence for files that lie elsewhere than they were made; nothing if all lie there.
std::optional<std::string> movedFilesNote(const std::vector<SavedFile>& files);

} // namespace vintra
