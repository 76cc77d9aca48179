#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/URL.h"
#include "Vintra/take/TakeRecord.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vintra {

class DispatchQueue;
class JournalFile;

/// What a running take notes on the disk as it becomes known, so that its files can be put in order after a crash.
/// A take goes on without a journal where none can be written. Owned by the take. Main thread, except where a function
/// says otherwise.
class TakeJournal {
public:
    /// Makes the journal in the folder, and the note of it. Null, and logged, if that can't be done.
    static std::shared_ptr<TakeJournal> begin(const Platform& platform, const URL& inFolder,
                                              TakeRecord record);

    // Return at once; the disk is written on a queue. Any thread.

    void noteCommonStart(CMTime time);
    /// Of a sound file, by its name.
    void noteFirstStamp(const std::string& file, CMTime time);
    void noteMarker(double seconds);

    /// Before silence is put into a sound file of this size. On the disk when it returns; not the main thread.
    void noteSizeBeforePadding(const std::string& file, uint64_t bytes);
    /// The take is whole: removes the journal and its note, after all that was noted.
    Task<> end();

private:
    TakeJournal(const Platform& platform, std::shared_ptr<JournalFile> file);
    void append(std::string line);

    const Platform platform;
    const std::shared_ptr<JournalFile> file;
    const std::shared_ptr<DispatchQueue> queue;
};

} // namespace vintra
