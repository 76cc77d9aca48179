#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/simulated/SimulatedDisk.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// Files in memory: "/home/user/Videos" and "/tmp" exist at the start. One real thread.
class SimulatedFileManager : public FileManager {
public:
    SimulatedFileManager();

    bool fileExists(const URL& at) const override;
    uint64_t sizeOfFile(const URL& at) const override;
    std::optional<Date> contentModificationDate(const URL& at) const override;
    void createDirectory(const URL& at) override;
    void createFile(const URL& at) override;
    void removeItem(const URL& at) override;
    void replaceItem(const URL& at, const URL& withItemAt) override;
    std::unique_ptr<FileHandle> openForReading(const URL& at) override;
    std::unique_ptr<FileHandle> openForWriting(const URL& at) override;
    void writeAtomically(const URL& at, const std::string& bytes) override;
    std::vector<std::string> contentsOfDirectory(const URL& at) const override;
    URL resolvingSymlinks(const URL& at) const override;
    std::unique_ptr<FollowedItem> follow(const URL& at) override;
    std::unique_ptr<FileLock> lock(const URL& at) override;
    std::vector<URL> moviesDirectories() const override { return movies; }
    URL homeDirectory() const override { return home; }
    URL stateDirectory() const override { return home.appendingPathComponent(".local/state/vintra"); }
    std::optional<bool> volumeIsInternal(const URL& at) const override;

    // Scripting, and looking without leaving a record.

    /// A file with its bytes, and the folders on the way.
    void put(const std::string& path, const std::string& bytes = {});
    void setContentModificationDate(const std::string& path, std::optional<Date> date) {
        disk->find(path)->modified = date;
    }
    void putLink(const std::string& path, const std::string& target);
    /// Nothing if there is no such file.
    std::optional<std::string> contents(const std::string& path) const;
    /// Whether anything was made, written, replaced or removed at the path, or it was opened for writing.
    bool wasChanged(const std::string& path) const;
    /// Of all files, sorted.
    std::vector<std::string> paths() const;

    const std::shared_ptr<SimulatedDisk> disk = std::make_shared<SimulatedDisk>(); ///< faults and records
    std::vector<URL> movies{URL::fileURL("/home/user/Videos")};
    URL home = URL::fileURL("/home/user");
    /// By mount point: whether the disk is internal, nothing if unreadable. Elsewhere it is internal.
    std::map<std::string, std::optional<bool>> volumes;

private:
    SimulatedDisk::Item file(const std::string& path) const;
    void checkFolderOf(const std::string& path) const;
    void makeFolders(const std::string& path);
    void renameItem(const std::string& from, const std::string& to);
};

} // namespace vintra
