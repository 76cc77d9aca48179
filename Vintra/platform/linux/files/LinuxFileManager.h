#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/linux/files/VolumeInspector.h"

#include <optional>

namespace vintra {

/// The file system through POSIX. Writing follows a symbolic link rather than replacing it. Any thread.
class LinuxFileManager : public FileManager {
public:
    bool fileExists(const URL& at) const override;
    uint64_t sizeOfFile(const URL& at) const override;
    std::optional<Date> contentModificationDate(const URL& at) const override;
    void createDirectory(const URL& at) override;
    void createFile(const URL& at) override;
    /// A folder with all that is in it; of a symbolic link the link alone.
    void removeItem(const URL& at) override;
    /// The new file takes over the permission bits of the original. Both lie on one file system. The new bytes are on
    /// the disk before the old ones go.
    void replaceItem(const URL& at, const URL& withItemAt) override;
    std::unique_ptr<FileHandle> openForReading(const URL& at) override;
    /// An existing file, from its beginning on; what is not written over stays.
    std::unique_ptr<FileHandle> openForWriting(const URL& at) override;
    /// An existing file's permission bits stay. The bytes have reached the disk when this returns.
    void writeAtomically(const URL& at, const std::string& bytes) override;
    std::vector<std::string> contentsOfDirectory(const URL& at) const override;
    URL resolvingSymlinks(const URL& at) const override;
    std::unique_ptr<FollowedItem> follow(const URL& at) override;
    std::unique_ptr<FileLock> lock(const URL& at) override;

    /// The films folder of user-dirs.dirs; "Videos" at home if that names none.
    std::vector<URL> moviesDirectories() const override;
    URL homeDirectory() const override;
    /// "vintra" in the XDG state folder.
    URL stateDirectory() const override;
    std::optional<bool> volumeIsInternal(const URL& at) const override;

private:
    const VolumeInspector volumes;
};

} // namespace vintra
