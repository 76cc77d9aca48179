#include "Vintra/take/TakeJournal.h"

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/WallClock.h"
#include "Vintra/take/JournalFile.h"
#include "Vintra/take/TakeJournalText.h"
#include "Vintra/take/UnfinishedTakes.h"

#include <utility>

namespace vintra {
namespace {

constexpr const char* kJournalLog = "journal";

void logFailure(Log& log, const SystemError& error) {
    log.write(kJournalLog, LogLevel::error, "the journal can't be kept: " + error.localizedDescription());
}

} // namespace

std::shared_ptr<TakeJournal> TakeJournal::begin(const Platform& platform, const URL& inFolder,
                                                TakeRecord record) {
    try {
        const URL url = UnfinishedTakes::journalURL(inFolder, record.take);
        auto file =
            JournalFile::make(platform.fileManager, url, std::move(record),
                              platform.processInfo->makeUUID().uuidString(), platform.wallClock->now());
        if (file) return std::shared_ptr<TakeJournal>(new TakeJournal(platform, std::move(file)));
        platform.log->write(kJournalLog, LogLevel::error, "another program keeps this take's journal");
    } catch (const SystemError& error) {
        logFailure(*platform.log, error);
    }
    return nullptr;
}

TakeJournal::TakeJournal(const Platform& platform, std::shared_ptr<JournalFile> file)
    : platform(platform)
    , file(std::move(file))
    , queue(platform.dispatchQueues->makeSerialQueue("vintra.take.journal")) {}

void TakeJournal::noteCommonStart(CMTime time) {
    append(TakeJournalText::commonStart(time));
}

void TakeJournal::noteFirstStamp(const std::string& name, CMTime time) {
    append(TakeJournalText::firstStamp(name, time));
}

void TakeJournal::noteMarker(double seconds) {
    append(TakeJournalText::marker(seconds));
}

void TakeJournal::append(std::string line) {
    queue->async([file = file, log = platform.log, line = std::move(line)] {
        try {
            file->append(line);
        } catch (const SystemError& error) {
            logFailure(*log, error);
        }
    });
}

void TakeJournal::noteSizeBeforePadding(const std::string& name, uint64_t bytes) {
    try {
        file->append(TakeJournalText::sizeBeforePadding(name, bytes));
    } catch (const SystemError& error) {
        logFailure(*platform.log, error);
    }
}

Task<> TakeJournal::end() {
    const auto begin = [queue = queue, file = file, log = platform.log](auto done) {
        queue->async([file, log, done] {
            try {
                file->remove();
            } catch (const SystemError& error) {
                logFailure(*log, error);
            }
            done();
        });
    };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

} // namespace vintra
