#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/URL.h"
#include "Vintra/platform/WallClock.h"
#include "Vintra/take/TakeRecord.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// The journal of one take on the disk, with its note in the state folder, both locked: so no other process takes
/// the take for one that was cut off. It follows the journal if its folder is renamed. The locks go with this object;
/// the files stay unless they are removed. Any thread; its functions wait for the disk.
class JournalFile {
public:
    /// Makes both files. Without a state folder there is no note. Null if another process writes such a journal.
    /// Throws `SystemError`, with neither file left, if the journal can't be made.
    static std::shared_ptr<JournalFile> make(std::shared_ptr<FileManager> files, const URL& at,
                                             TakeRecord record, const std::string& noteID, Date begun);
    /// Opens the journal of a take that was cut off. Null if its take still runs, has ended or is being recovered. Throws
    /// `SystemError`, also if it is no journal.
    static std::shared_ptr<JournalFile> open(std::shared_ptr<FileManager> files, const URL& at);

    /// What it said when it was made or opened.
    const TakeRecord& record() const { return content; }
    /// In a form that this program doesn't know.
    bool isFromNewerProgram() const { return isNewer; }
    /// Waits until the line is on the disk. Throws `SystemError`.
    void append(const std::string& line) EXCLUDES(mutex);
    /// Removes both files, wherever the journal lies by now. Throws `SystemError` if the journal stays.
    void remove() EXCLUDES(mutex);
    /// Removes the note alone: no start looks for the take any more.
    void removeNote() EXCLUDES(mutex);

private:
    JournalFile(std::shared_ptr<FileManager> files, URL at, TakeRecord record);
    void takeNote(const std::string& noteID, Date begun) EXCLUDES(mutex);
    void startWriting() REQUIRES(mutex);

    const std::shared_ptr<FileManager> files;
    const URL url;
    TakeRecord content;
    bool isNewer = false;
    Mutex mutex;
    std::unique_ptr<FileLock> lock GUARDED_BY(mutex);
    std::unique_ptr<FileLock> noteLock GUARDED_BY(mutex);
    std::unique_ptr<FileHandle> handle GUARDED_BY(mutex);
    std::unique_ptr<FollowedItem> whereabouts GUARDED_BY(mutex);
    bool mayHaveTornTail GUARDED_BY(mutex) = false;
};

} // namespace vintra
