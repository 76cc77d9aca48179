#pragma once

#include "Vintra/platform/URL.h"
#include "Vintra/platform/WallClock.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// An open file. One thread at a time. Closed by its destructor if not before.
class FileHandle {
public:
    virtual ~FileHandle() = default;
    /// Up to `count` bytes from the current offset on into `bytes`; 0 at the end. Throws `SystemError`.
    virtual size_t read(uint8_t* bytes, size_t count) = 0;
    /// All of the bytes. Throws `SystemError`.
    virtual void write(const uint8_t* bytes, size_t count) = 0;
    virtual void seek(uint64_t offset) = 0;
    /// Throws `SystemError` if what was written may not have reached the file.
    virtual void close() = 0;
    /// Waits until what was written lies on the disk, where a power cut leaves it. Throws `SystemError`.
    virtual void synchronize() = 0;
};

/// A file or folder that is kept in sight, whatever it is renamed to. One thread at a time.
class FollowedItem {
public:
    virtual ~FollowedItem() = default;
    /// Where it lies now: the URL that it was found by, if it is still there. Nothing if it has no name any more,
    /// as one that was deleted, or moved to another disk.
    virtual std::optional<URL> currentURL() const = 0;
};

/// The right to work on a file, which one owner has at a time. It ends with this object, and with the process. One
/// thread at a time.
class FileLock {
public:
    virtual ~FileLock() = default;
};

/// The file system. Any thread. What can fail throws `SystemError`.
class FileManager {
public:
    virtual ~FileManager() = default;

    virtual bool fileExists(const URL& at) const = 0;
    /// Bytes.
    virtual uint64_t sizeOfFile(const URL& at) const = 0;
    /// When the file's bytes last changed; nothing if that can't be read.
    virtual std::optional<Date> contentModificationDate(const URL& at) const = 0;
    /// With all folders that are missing on the way. An existing folder is no error.
    virtual void createDirectory(const URL& at) = 0;
    /// Makes an empty file; an existing one is emptied.
    virtual void createFile(const URL& at) = 0;
    virtual void removeItem(const URL& at) = 0;
    /// Puts the new file in the place of the original in one step: at no time is there neither.
    virtual void replaceItem(const URL& at, const URL& withItemAt) = 0;
    virtual std::unique_ptr<FileHandle> openForReading(const URL& at) = 0;
    virtual std::unique_ptr<FileHandle> openForWriting(const URL& at) = 0;
    /// The whole text, or the file as it was.
    virtual void writeAtomically(const URL& at, const std::string& bytes) = 0;
    /// Names of what the folder holds, sorted.
    virtual std::vector<std::string> contentsOfDirectory(const URL& at) const = 0;
    /// The path with every symbolic link in it followed; the URL itself if nothing is there.
    virtual URL resolvingSymlinks(const URL& at) const = 0;
    /// Null if nothing is there, or it can't be followed.
    virtual std::unique_ptr<FollowedItem> follow(const URL& at) = 0;
    /// Locks the file, which is made if it is missing and never changed; null if another owner has it. A file system
    /// without locks gives everyone the lock. Throws `SystemError` if the file can be neither opened nor made.
    virtual std::unique_ptr<FileLock> lock(const URL& at) = 0;

    /// The user's folders for films, best first; may be empty.
    virtual std::vector<URL> moviesDirectories() const = 0;
    virtual URL homeDirectory() const = 0;
    /// Where the program keeps what it has to know after a crash. It need not exist.
    virtual URL stateDirectory() const = 0;
    /// Whether the disk that holds this lies inside the machine; nothing if that can't be read.
    virtual std::optional<bool> volumeIsInternal(const URL& at) const = 0;
};

} // namespace vintra
