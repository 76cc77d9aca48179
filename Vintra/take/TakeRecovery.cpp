#include "Vintra/take/TakeRecovery.h"

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/WallClock.h"
#include "Vintra/take/JournalFile.h"
#include "Vintra/take/TakeJournalText.h"
#include "Vintra/take/WavFile.h"
#include "Vintra/take/WavRepair.h"
#include "Vintra/timeline/TimelineFile.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

using Kind = TakeRecord::File::Kind;

constexpr const char* kRecoveryLog = "recovery";
constexpr double kLongestMemory = 30 * 24 * 3600.0; // seconds
constexpr double kGapLeftAlone = 0.01;              // seconds, as the padding does

bool existsAny(const FileManager& files, const TakeRecord& record, const URL& folder) {
    return std::ranges::any_of(record.files, [&](const TakeRecord::File& file) {
        return files.fileExists(folder.appendingPathComponent(file.name));
    });
}

} // namespace

TakeRecovery::Services TakeRecovery::Services::of(const Platform& platform) {
    return {.fileManager = platform.fileManager,
            .processInfo = platform.processInfo,
            .wallClock = platform.wallClock,
            .assetWriters = platform.assetWriters,
            .assetProbing = platform.assetProbing,
            .log = platform.log};
}

TakeRecovery::TakeRecovery(Services services, std::shared_ptr<const std::atomic<bool>> isCancelled)
    : services(std::move(services))
    , isCancelled(std::move(isCancelled)) {}

std::vector<RecoveredTake> TakeRecovery::recoverNoted() {
    std::vector<RecoveredTake> takes;
    std::vector<std::string> ids;
    try {
        ids = UnfinishedTakes::noteIDs(*services.fileManager);
    } catch (const SystemError& error) {
        services.log->write(kRecoveryLog, LogLevel::error, error.localizedDescription());
    }
    for (const std::string& id : ids) {
        if (*isCancelled) break;
        try {
            if (auto take = recoverNoted(id)) takes.push_back(std::move(*take));
        } catch (const SystemError& error) {
            services.log->write(kRecoveryLog, LogLevel::error, error.localizedDescription());
        }
    }
    return takes;
}

std::optional<RecoveredTake> TakeRecovery::recoverNoted(const std::string& id) {
    const auto note = UnfinishedTakes::read(*services.fileManager, id);
    if (!note || !services.fileManager->fileExists(note->journal)) {
        tidyNote(id, note);
        return std::nullopt;
    }
    const URL folder = note->journal.deletingLastPathComponent();
    std::shared_ptr<JournalFile> journal;
    try {
        journal = JournalFile::open(services.fileManager, note->journal);
    } catch (const SystemError& error) {
        RecoveredTake take{.take = note->journal.lastPathComponent(), .folder = folder};
        take.problem = error.localizedDescription();
        return reportOnce(std::move(take), id, *note);
    }
    if (!journal) tidyNote(id, note);
    if (!journal || journal->isFromNewerProgram()) return std::nullopt;
    if (journal->record().noteID != id) { // a later take of the same name
        tidyNote(id, std::nullopt);
        return std::nullopt;
    }
    auto take = recover(*journal, folder);
    return take ? reportOnce(std::move(*take), id, *note) : std::nullopt;
}

/// A note without a journal is of a take that has ended, or of one whose folder isn't there now.
void TakeRecovery::tidyNote(const std::string& id, const std::optional<UnfinishedTakes::Note>& note) {
    FileManager& files = *services.fileManager;
    const URL url = UnfinishedTakes::noteURL(files, id);
    const auto lock = files.lock(url);
    if (!lock) return; // its take begins or ends just now
    if (note && files.fileExists(note->journal)) return;
    const bool isAway = note && !files.fileExists(note->journal.deletingLastPathComponent());
    const double age = note ? services.wallClock->now().secondsSince1970 - note->begun.secondsSince1970 : 0;
    if (isAway && age < kLongestMemory) return;
    files.removeItem(url);
}

std::optional<RecoveredTake> TakeRecovery::reportOnce(RecoveredTake take, const std::string& id,
                                                      UnfinishedTakes::Note note) {
    if (!take.problem) return take;
    services.log->write(kRecoveryLog, LogLevel::error, take.text());
    if (std::exchange(note.wasTold, true)) return std::nullopt;
    try {
        UnfinishedTakes::write(*services.fileManager, id, note);
    } catch (const SystemError& error) {
        services.log->write(kRecoveryLog, LogLevel::error, error.localizedDescription());
    }
    return take;
}

TakeRecovery::Folder TakeRecovery::recoverFolder(const URL& folder) {
    Folder result;
    for (const URL& url : UnfinishedTakes::journals(*services.fileManager, folder)) {
        try {
            const auto journal = JournalFile::open(services.fileManager, url);
            if (!journal) {
                result.problems.push_back("The take of “" + url.path() +
                                          "” is still being recorded, or recovered by another program.");
            } else if (journal->isFromNewerProgram()) {
                result.problems.push_back("The take of “" + url.path() +
                                          "” was recorded by a newer Vintra. Recover it with that one.");
            } else if (auto take = recover(*journal, folder)) {
                result.takes.push_back(std::move(*take));
            }
        } catch (const SystemError& error) {
            result.problems.push_back(error.localizedDescription());
        }
    }
    return result;
}

/// Nothing if there is nothing to tell: no file was ever made, or the recovery was cancelled.
std::optional<RecoveredTake> TakeRecovery::recover(JournalFile& journal, const URL& folder) {
    const TakeRecord& record = journal.record();
    RecoveredTake result{.take = record.take, .folder = folder, .editor = record.editor};
    try {
        if (!existsAny(*services.fileManager, record, folder) && !record.commonStart) {
            journal.remove();
            return std::nullopt;
        }
        putInOrder(journal, folder, result);
        if (*isCancelled) return std::nullopt;
        writeTimeline(record, folder, result);
        // What is missing may come back.
        if (!result.problem) result.missing.empty() ? journal.remove() : journal.removeNote();
    } catch (const SystemError& error) {
        result.problem = error.localizedDescription();
    }
    return result;
}

void TakeRecovery::putInOrder(JournalFile& journal, const URL& folder, RecoveredTake& result) {
    removeHalfDone(journal.record(), folder);
    for (const TakeRecord::File& file : journal.record().files) {
        if (*isCancelled) return;
        const URL url = folder.appendingPathComponent(file.name);
        const bool exists = services.fileManager->fileExists(url);
        // Before the common start is noted, not every file has been made.
        if (!exists && journal.record().commonStart) result.missing.push_back(file.name);
        if (!exists) continue;
        if (file.kind == Kind::sound)
            placeSound(journal, url, result);
        else
            mendMovie(url, result);
    }
}

/// Padding makes a copy beside the file, which a crash leaves there.
void TakeRecovery::removeHalfDone(const TakeRecord& record, const URL& folder) {
    for (const std::string& name : services.fileManager->contentsOfDirectory(folder)) {
        const bool isCopy = std::ranges::any_of(record.files, [&name](const TakeRecord::File& file) {
            return name.starts_with("." + file.name + ".padding-");
        });
        if (isCopy) services.fileManager->removeItem(folder.appendingPathComponent(name));
    }
}

void TakeRecovery::placeSound(JournalFile& journal, const URL& at, RecoveredTake& result) {
    FileManager& files = *services.fileManager;
    const std::string name = at.lastPathComponent();
    repairWavSizes(files, at);
    const auto header = readWavHeader(files, at);
    if (!header || header->declaredDataSize == 0) return;
    const TakeRecord& record = journal.record();
    const auto stamp = record.firstStamps.find(name);
    if (stamp == record.firstStamps.end() || !record.commonStart) {
        result.unplaced.push_back(name);
        return;
    }
    const double gap = CMTimeGetSeconds(stamp->second - *record.commonStart);
    if (!(gap > kGapLeftAlone)) return;
    const auto before = record.sizesBeforePadding.find(name);
    if (before != record.sizesBeforePadding.end() && before->second != header->fileSize) return;
    journal.append(TakeJournalText::sizeBeforePadding(name, header->fileSize));
    padWavFileWithLeadingSilence(files, *services.processInfo, at, gap);
    if (files.sizeOfFile(at) == header->fileSize) {
        throw SystemError("vintra", 2,
                          "“" + name + "” couldn't be lined up. Its disk must have room for a copy of it.");
    }
}

/// It plays in most programs as it is: a failure isn't the take's.
void TakeRecovery::mendMovie(const URL& at, RecoveredTake& result) {
    try {
        services.assetWriters->repairMovie(at);
    } catch (const SystemError& error) {
        services.log->write(kRecoveryLog, LogLevel::error, error.localizedDescription());
        result.unmended.push_back(at.lastPathComponent());
    }
}

void TakeRecovery::writeTimeline(const TakeRecord& record, const URL& folder, RecoveredTake& result) {
    const auto take =
        TimelineFile::inventory(record.filesIn(folder), *services.assetProbing, *services.fileManager);
    for (const TakeRecord::File& file : record.files) {
        const URL url = folder.appendingPathComponent(file.name);
        if (take.media.contains(url))
            ++result.usableFiles;
        else if (services.fileManager->fileExists(url))
            result.empty.push_back(file.name);
    }
    if (take.order.empty() || record.editor == TimelineEditor::none) return;
    result.timeline = TimelineFile::writeDocument(take, record.editor, *services.fileManager, *services.log);
}

} // namespace vintra
