#include "Vintra/take/JournalFile.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/take/TakeJournalText.h"
#include "Vintra/take/UnfinishedTakes.h"

#include <exception>
#include <utility>

namespace vintra {
namespace {

void removeIfThere(FileManager& files, const URL& at) {
    if (files.fileExists(at)) files.removeItem(at);
}

void writeAll(FileHandle& handle, const std::string& text) {
    handle.write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

} // namespace

JournalFile::JournalFile(std::shared_ptr<FileManager> files, URL at, TakeRecord record)
    : files(std::move(files))
    , url(std::move(at))
    , content(std::move(record)) {}

std::shared_ptr<JournalFile> JournalFile::make(std::shared_ptr<FileManager> files, const URL& at,
                                               TakeRecord record, const std::string& noteID, Date begun) {
    std::shared_ptr<JournalFile> journal(new JournalFile(files, at, std::move(record)));
    journal->takeNote(noteID, begun);
    const MutexLock hold(journal->mutex);
    try {
        journal->lock = files->lock(at);
        if (journal->lock) {
            files->createFile(at);
            journal->startWriting();
            writeAll(*journal->handle, TakeJournalText::head(journal->content));
            return journal;
        }
    } catch (const SystemError&) {
        if (journal->lock) removeIfThere(*files, at);
        removeIfThere(*files, UnfinishedTakes::noteURL(*files, noteID));
        throw;
    }
    removeIfThere(*files, UnfinishedTakes::noteURL(*files, noteID));
    return nullptr;
}

/// The note is locked before it is written: without the lock it would be one of a take that was cut off.
void JournalFile::takeNote(const std::string& noteID, Date begun) {
    const MutexLock hold(mutex);
    const URL note = UnfinishedTakes::noteURL(*files, noteID);
    try {
        files->createDirectory(note.deletingLastPathComponent());
        noteLock = files->lock(note);
        if (!noteLock) return; // a program that starts just now tidies up
        UnfinishedTakes::write(*files, noteID, {.journal = url, .begun = begun});
        content.noteID = noteID;
    } catch (const SystemError&) {
        // No start finds the take by itself; its journal lies beside its files all the same.
        noteLock = nullptr;
    }
}

std::shared_ptr<JournalFile> JournalFile::open(std::shared_ptr<FileManager> files, const URL& at) {
    std::unique_ptr<FileLock> lock = files->lock(at);
    if (!lock) return nullptr;
    const std::string text = UnfinishedTakes::textOf(*files, at);
    if (text.empty()) { // its take has ended just now, and the lock has made it anew
        files->removeItem(at);
        return nullptr;
    }
    auto parsed = TakeJournalText::parse(text);
    if (!parsed)
        throw SystemError("vintra", 1,
                          "The file “" + at.path() + "” is no journal of a take, or it is spoilt.");
    std::shared_ptr<JournalFile> journal(new JournalFile(files, at, std::move(parsed->record)));
    journal->isNewer = parsed->isFromNewerProgram;
    const MutexLock hold(journal->mutex);
    journal->lock = std::move(lock);
    const URL note = UnfinishedTakes::noteURL(*files, journal->content.noteID);
    if (!journal->content.noteID.empty() && files->fileExists(note)) {
        journal->noteLock = files->lock(note);
        if (!journal->noteLock) return nullptr;
    }
    journal->startWriting();
    journal->handle->seek(files->sizeOfFile(at));
    journal->mayHaveTornTail = true;
    return journal;
}

void JournalFile::startWriting() {
    handle = files->openForWriting(url);
    whereabouts = files->follow(url);
}

void JournalFile::append(const std::string& line) {
    const MutexLock hold(mutex);
    if (!handle) return;
    const std::string text = mayHaveTornTail ? "\n" + line : line;
    mayHaveTornTail = true;
    writeAll(*handle, text);
    mayHaveTornTail = false;
    handle->synchronize();
}

void JournalFile::remove() {
    const MutexLock hold(mutex);
    const auto now = whereabouts ? whereabouts->currentURL() : url;
    handle = nullptr;
    if (now) removeIfThere(*files, *now);
    lock = nullptr;
    if (!content.noteID.empty()) removeIfThere(*files, UnfinishedTakes::noteURL(*files, content.noteID));
    noteLock = nullptr;
}

void JournalFile::removeNote() {
    const MutexLock hold(mutex);
    if (!content.noteID.empty()) removeIfThere(*files, UnfinishedTakes::noteURL(*files, content.noteID));
}

} // namespace vintra
