#pragma once

#include "Vintra/platform/Platform.h"
#include "Vintra/platform/URL.h"
#include "Vintra/take/RecoveredTake.h"
#include "Vintra/take/TakeRecord.h"
#include "Vintra/take/UnfinishedTakes.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

class JournalFile;

/// Puts takes in order that a crash has cut off: counts what their files hold, gives each sound file its leading
/// silence, makes ordinary movies, writes the timeline and removes the journal.
///
/// A recovery that is itself cut off is carried out again. Each of its steps leaves what it has done already alone:
/// before a sound file is padded, its size is noted in the journal, and one of another size has its silence. A take
/// that still runs, in any process, has its journal locked and is left alone. Blocks on the files; any thread but the
/// main one, one at a time.
class TakeRecovery {
public:
    /// What of the machine it needs.
    struct Services {
        std::shared_ptr<FileManager> fileManager;
        std::shared_ptr<ProcessInfo> processInfo;
        std::shared_ptr<WallClock> wallClock;
        std::shared_ptr<AssetWriters> assetWriters;
        std::shared_ptr<AssetProbing> assetProbing;
        std::shared_ptr<Log> log;

        static Services of(const Platform& platform);
    };

    /// Once `isCancelled` is set it ends before the next file, and leaves the rest for the next time.
    TakeRecovery(Services services, std::shared_ptr<const std::atomic<bool>> isCancelled);

    /// The takes that the state folder tells of. One that can't be put in order is in the result the first time
    /// alone. One whose folder is gone, as on a disk that isn't there, is left for later, and forgotten after 30 days.
    std::vector<RecoveredTake> recoverNoted();

    struct Folder {
        std::vector<RecoveredTake> takes;
        std::vector<std::string> problems; ///< sentences, of journals that can't be used
    };
    /// The takes that were cut off and whose files lie in the folder now. Throws `SystemError` if it can't be read.
    Folder recoverFolder(const URL& folder);

private:
    std::optional<RecoveredTake> recoverNoted(const std::string& id);
    void tidyNote(const std::string& id, const std::optional<UnfinishedTakes::Note>& note);
    std::optional<RecoveredTake> reportOnce(RecoveredTake take, const std::string& id,
                                            UnfinishedTakes::Note note);
    std::optional<RecoveredTake> recover(JournalFile& journal, const URL& folder);
    void putInOrder(JournalFile& journal, const URL& folder, RecoveredTake& result);
    void placeSound(JournalFile& journal, const URL& at, RecoveredTake& result);
    void mendMovie(const URL& at, RecoveredTake& result);
    void removeHalfDone(const TakeRecord& record, const URL& folder);
    void writeTimeline(const TakeRecord& record, const URL& folder, RecoveredTake& result);

    const Services services;
    const std::shared_ptr<const std::atomic<bool>> isCancelled;
};

} // namespace vintra
