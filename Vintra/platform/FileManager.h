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

    /// The user's folders for films, best first; may be empty.
    virtual std::vector<URL> moviesDirectories() const = 0;
    virtual URL homeDirectory() const = 0;
    /// Whether the disk that holds this lies inside the machine; nothing if that can't be read.
    virtual std::optional<bool> volumeIsInternal(const URL& at) const = 0;
};

} // namespace vintra
