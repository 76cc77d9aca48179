#include "Vintra/platform/linux/files/LinuxFileManager.h"

#include "Vintra/platform/linux/files/LinuxFileHandle.h"
#include "Vintra/platform/linux/files/LinuxFileLock.h"
#include "Vintra/platform/linux/files/LinuxFollowedItem.h"
#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/runtime/PosixError.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr mode_t kNewFileMode = 0666; // less the user's mask
constexpr mode_t kNewFolderMode = 0777;
constexpr mode_t kPermissionBits = 07777;

std::optional<struct stat> statusOf(const URL& at) {
    struct stat status {};
    if (stat(at.path().c_str(), &status) != 0) return std::nullopt;
    return status;
}

FileDescriptor openFile(const URL& at, int flags, const char* complaint) {
    while (true) {
        FileDescriptor descriptor(open(at.path().c_str(), flags | O_CLOEXEC, kNewFileMode));
        if (descriptor.isOpen()) return descriptor;
        if (errno != EINTR) throw posixError(errno, complaint, at);
    }
}

void renameFile(const URL& from, const URL& to) {
    if (rename(from.path().c_str(), to.path().c_str()) != 0)
        throw posixError(errno, "The file “%s” can't be replaced", to);
}

/// A new file beside another, under a name that nothing has. Removed at the end unless it was renamed.
class TemporaryFile {
public:
    explicit TemporaryFile(const URL& beside)
        : path(beside.deletingLastPathComponent().appendingPathComponent(".vintra-XXXXXX").path())
        , descriptor(mkostemp(path.data(), O_CLOEXEC)) {
        if (!descriptor.isOpen()) throw posixError(errno, "The file “%s” can't be written", beside);
    }
    ~TemporaryFile() {
        if (!path.empty()) unlink(path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int get() const { return descriptor.get(); }
    FileDescriptor takeDescriptor() { return std::move(descriptor); }
    void renameTo(const URL& at) {
        renameFile(URL::fileURL(path), at);
        path.clear();
    }

private:
    std::string path;
    FileDescriptor descriptor;
};

/// The umask can be read only by setting it, which would race with other threads; the kernel also tells it.
mode_t permissionsOfNewFiles() {
    mode_t mask = 022;
    if (FILE* status = std::fopen("/proc/self/status", "re")) {
        char line[256];
        while (std::fgets(line, sizeof line, status)) {
            unsigned value = 0;
            if (std::sscanf(line, "Umask: %o", &value) == 1) mask = static_cast<mode_t>(value);
        }
        std::fclose(status);
    }
    return kNewFileMode & ~mask;
}

/// So that a rename outlasts a power cut. Some file systems can't, and lose nothing but that.
void synchronizeFolder(const URL& folder) {
    const FileDescriptor descriptor(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.isOpen()) fsync(descriptor.get());
}

} // namespace

bool LinuxFileManager::fileExists(const URL& at) const {
    return statusOf(at).has_value();
}

uint64_t LinuxFileManager::sizeOfFile(const URL& at) const {
    const auto status = statusOf(at);
    if (!status) throw posixError(errno, "The file “%s” can't be read", at);
    return static_cast<uint64_t>(status->st_size);
}

std::optional<Date> LinuxFileManager::contentModificationDate(const URL& at) const {
    const auto status = statusOf(at);
    if (!status) return std::nullopt;
    return Date{static_cast<double>(status->st_mtim.tv_sec) +
                static_cast<double>(status->st_mtim.tv_nsec) * 1e-9};
}

void LinuxFileManager::createDirectory(const URL& at) {
    if (mkdir(at.path().c_str(), kNewFolderMode) == 0) return;
    int code = errno;
    if (code == ENOENT && !at.isEmpty()) {
        const URL parent = at.deletingLastPathComponent();
        if (parent != at) {
            createDirectory(parent);
            if (mkdir(at.path().c_str(), kNewFolderMode) == 0) return;
            code = errno;
        }
    }
    // Whatever the complaint, a folder that is there is what was asked for.
    const auto status = statusOf(at);
    if (status && S_ISDIR(status->st_mode)) return;
    throw posixError(code, "The folder “%s” can't be created", at);
}

void LinuxFileManager::createFile(const URL& at) {
    LinuxFileHandle(openFile(at, O_WRONLY | O_CREAT | O_TRUNC, "The file “%s” can't be created"), at).close();
}

void LinuxFileManager::removeItem(const URL& at) {
    std::error_code error;
    const bool removed = std::filesystem::remove_all(at.path(), error) > 0;
    if (error) throw posixError(error.value(), "“%s” can't be removed", at);
    if (!removed) throw posixError(ENOENT, "“%s” can't be removed", at);
}

void LinuxFileManager::replaceItem(const URL& at, const URL& withItemAt) {
    const URL target = resolvingSymlinks(at);
    if (const auto original = statusOf(target)) {
        if (chmod(withItemAt.path().c_str(), original->st_mode & kPermissionBits) != 0)
            throw posixError(errno, "The file “%s” can't be given its permissions", withItemAt);
    }
    LinuxFileHandle(openFile(withItemAt, O_RDONLY, "The file “%s” can't be opened"), withItemAt)
        .synchronize();
    renameFile(withItemAt, target);
    synchronizeFolder(target.deletingLastPathComponent());
}

std::unique_ptr<FileHandle> LinuxFileManager::openForReading(const URL& at) {
    return std::make_unique<LinuxFileHandle>(openFile(at, O_RDONLY, "The file “%s” can't be opened"), at);
}

std::unique_ptr<FileHandle> LinuxFileManager::openForWriting(const URL& at) {
    return std::make_unique<LinuxFileHandle>(openFile(at, O_WRONLY, "The file “%s” can't be written"), at);
}

void LinuxFileManager::writeAtomically(const URL& at, const std::string& bytes) {
    const URL target = resolvingSymlinks(at);
    const auto original = statusOf(target);
    if (original && S_ISDIR(original->st_mode))
        throw posixError(EISDIR, "The file “%s” can't be written", target);
    // Replacing asks the folder's permission alone; a file that is write-protected is to stay.
    if (original && access(target.path().c_str(), W_OK) != 0)
        throw posixError(errno, "The file “%s” can't be written", target);
    TemporaryFile temporary(target);
    const mode_t mode = original ? original->st_mode & kPermissionBits : permissionsOfNewFiles();
    if (fchmod(temporary.get(), mode) != 0)
        throw posixError(errno, "The file “%s” can't be given its permissions", target);
    LinuxFileHandle handle(temporary.takeDescriptor(), target);
    handle.write(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    handle.synchronize();
    handle.close();
    temporary.renameTo(target);
    synchronizeFolder(target.deletingLastPathComponent());
}

std::vector<std::string> LinuxFileManager::contentsOfDirectory(const URL& at) const {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(at.path().c_str()), closedir);
    if (!folder) throw posixError(errno, "The folder “%s” can't be read", at);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    if (errno != 0) throw posixError(errno, "The folder “%s” can't be read", at);
    std::sort(names.begin(), names.end());
    return names;
}

URL LinuxFileManager::resolvingSymlinks(const URL& at) const {
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(at.path().c_str(), nullptr), std::free);
    return resolved ? URL::fileURL(resolved.get()) : at;
}

std::unique_ptr<FollowedItem> LinuxFileManager::follow(const URL& at) {
    return LinuxFollowedItem::find(at);
}

std::unique_ptr<FileLock> LinuxFileManager::lock(const URL& at) {
    return LinuxFileLock::take(at);
}

std::vector<URL> LinuxFileManager::moviesDirectories() const {
    return {videosDirectory(*this)};
}

URL LinuxFileManager::homeDirectory() const {
    return userHomeDirectory();
}

URL LinuxFileManager::stateDirectory() const {
    return userStateDirectory().appendingPathComponent("vintra");
}

std::optional<bool> LinuxFileManager::volumeIsInternal(const URL& at) const {
    return volumes.isInternal(at);
}

} // namespace vintra
