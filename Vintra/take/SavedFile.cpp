#include "Vintra/take/SavedFile.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/take/WavFile.h"
#include "Vintra/take/Words.h"
#include "Vintra/timeline/Media.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace vintra {
namespace {

/// Seconds by which a file may be shorter than its account: what the coarsest grid rounds off.
constexpr double kLengthTolerance = 0.1;

std::string oneDigit(double seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", seconds);
    return text;
}

/// Nothing if the file can't be read.
std::optional<double> secondsOf(const SavedFile& file, FileManager& fileManager, AssetProbing& probing) {
    if (!file.isMovie) {
        const auto header = readWavHeader(fileManager, file.url);
        if (!header) return std::nullopt;
        const auto frames = static_cast<double>(header->declaredDataSize / std::max(1u, header->blockAlign));
        return frames / header->sampleRate;
    }
    const auto media = TimelineFile::Media::probe(file.url, probing);
    if (!media) return std::nullopt;
    return CMTimeGetSeconds(media->pictureDuration.value_or(media->duration));
}

void checkSavedFile(SavedFile& file, FileManager& fileManager, AssetProbing& probing) {
    try {
        file.bytes = fileManager.sizeOfFile(file.url);
        fileManager.openForReading(file.url)->synchronize();
        file.seconds = secondsOf(file, fileManager, probing);
    } catch (const SystemError& error) {
        file.problem = error.localizedDescription();
        return;
    }
    if (!file.expectedSeconds) return;
    if (!file.seconds) {
        file.problem = "what was written can't be read";
    } else if (*file.seconds < *file.expectedSeconds - kLengthTolerance) {
        file.problem = "the file is " + oneDigit(*file.seconds) + " s long, not " +
                       oneDigit(*file.expectedSeconds) + " s";
    }
}

} // namespace

void findSavedFiles(std::vector<SavedFile>& files, const FileManager& fileManager) {
    for (SavedFile& file : files) {
        const auto now = file.item ? file.item->currentURL() : std::nullopt;
        if (now) {
            file.url = *now;
        } else if (!fileManager.fileExists(file.planned)) {
            file.problem = "the file was deleted while it was recorded, or moved to another disk";
        } else if (file.item) {
            file.problem = "another file has taken its place";
        }
    }
}

void checkSavedFiles(std::vector<SavedFile>& files, FileManager& fileManager, AssetProbing& probing) {
    for (SavedFile& file : files) {
        if (!file.problem) checkSavedFile(file, fileManager, probing);
    }
}

std::optional<std::string> movedFilesNote(const std::vector<SavedFile>& files) {
    std::vector<std::string> names;
    std::set<std::string> folders;
    size_t found = 0;
    for (const SavedFile& file : files) {
        if (file.problem) continue;
        ++found;
        if (file.url == file.planned) continue;
        names.push_back("“" + file.planned.lastPathComponent() + "”");
        folders.insert("“" + file.url.deletingLastPathComponent().path() + "”");
    }
    if (names.empty()) return std::nullopt;
    const bool wholeTake = names.size() == found && folders.size() == 1;
    const std::string what = wholeTake           ? "The files of this take were"
                             : names.size() == 1 ? names.front() + " was"
                                                 : naturalList(names, "and") + " were";
    return what + " moved during the recording: look in " +
           naturalList({folders.begin(), folders.end()}, "and") + ".";
}

} // namespace vintra
