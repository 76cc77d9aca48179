#include "Vintra/platform/simulated/SimulatedFileManager.h"

#include "Vintra/platform/simulated/SimulatedFileHandle.h"
#include "Vintra/platform/simulated/SimulatedFileLock.h"
#include "Vintra/platform/simulated/SimulatedFollowedItem.h"

#include <algorithm>
#include <cerrno>

namespace vintra {

using Kind = SimulatedDiskItem::Kind;
using Operation = SimulatedFileOperation;

namespace {
std::string folderOf(const std::string& path) {
    return URL::fileURL(path).deletingLastPathComponent().path();
}

bool liesIn(const std::string& path, const std::string& folder) {
    if (folder == "/") return path != "/";
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

SimulatedDisk::Item makeItem(Kind kind) {
    return std::make_shared<SimulatedDiskItem>(SimulatedDiskItem{kind, {}, {}});
}
} // namespace

SimulatedFileManager::SimulatedFileManager() {
    makeFolders("/home/user/Videos");
    makeFolders("/tmp");
}

bool SimulatedFileManager::fileExists(const URL& at) const {
    return disk->find(at.path()) != nullptr;
}

uint64_t SimulatedFileManager::sizeOfFile(const URL& at) const {
    return file(at.path())->bytes.size();
}

std::optional<Date> SimulatedFileManager::contentModificationDate(const URL& at) const {
    const auto item = disk->find(at.path());
    return item ? item->modified : std::nullopt;
}

void SimulatedFileManager::createDirectory(const URL& at) {
    const std::string path = disk->followed(at.path(), true);
    disk->perform(Operation::createDirectory, path);
    makeFolders(path);
}

void SimulatedFileManager::createFile(const URL& at) {
    const std::string path = disk->followed(at.path(), true);
    disk->perform(Operation::createFile, path);
    checkFolderOf(path);
    SimulatedDisk::Item& item = disk->items[path];
    if (item && item->kind == Kind::folder) throwDiskError(EISDIR, path);
    if (!item) item = makeItem(Kind::file);
    item->bytes.clear();
}

void SimulatedFileManager::removeItem(const URL& at) {
    const std::string path = disk->followed(at.path(), false);
    disk->perform(Operation::removeItem, path);
    if (!disk->items.contains(path)) throwDiskError(ENOENT, path);
    std::erase_if(disk->items, [&](const auto& entry) {
        return entry.first != "/" && (entry.first == path || liesIn(entry.first, path));
    });
}

void SimulatedFileManager::replaceItem(const URL& at, const URL& withItemAt) {
    const std::string path = disk->followed(at.path(), false);
    const std::string from = disk->followed(withItemAt.path(), false);
    disk->perform(Operation::replaceItem, path);
    if (!disk->items.contains(from)) throwDiskError(ENOENT, from);
    checkFolderOf(path);
    disk->records.push_back({Operation::replaceItem, from}); // the move changes its old place too
    renameItem(from, path);
}

std::unique_ptr<FileHandle> SimulatedFileManager::openForReading(const URL& at) {
    const std::string path = disk->followed(at.path(), true);
    disk->perform(Operation::openForReading, path);
    return std::make_unique<SimulatedFileHandle>(disk, file(path), path, SimulatedFileHandle::Mode::reading);
}

std::unique_ptr<FileHandle> SimulatedFileManager::openForWriting(const URL& at) {
    const std::string path = disk->followed(at.path(), true);
    disk->perform(Operation::openForWriting, path);
    return std::make_unique<SimulatedFileHandle>(disk, file(path), path, SimulatedFileHandle::Mode::writing);
}

void SimulatedFileManager::writeAtomically(const URL& at, const std::string& bytes) {
    const std::string path = disk->followed(at.path(), true);
    disk->perform(Operation::writeAtomically, path);
    checkFolderOf(path);
    const auto found = disk->items.find(path);
    if (found != disk->items.end() && found->second->kind == Kind::folder) throwDiskError(EISDIR, path);
    // As on a real disk, old and new need room side by side.
    if (disk->capacityBytes && disk->usedBytes() + bytes.size() > *disk->capacityBytes)
        throwDiskError(ENOSPC, path);
    const auto made = makeItem(Kind::file);
    made->bytes.assign(bytes.begin(), bytes.end());
    disk->items[path] = made;
}

std::vector<std::string> SimulatedFileManager::contentsOfDirectory(const URL& at) const {
    const std::string path = disk->followed(at.path(), true);
    const auto found = disk->items.find(path);
    if (found == disk->items.end()) throwDiskError(ENOENT, path);
    if (found->second->kind != Kind::folder) throwDiskError(ENOTDIR, path);
    std::vector<std::string> names;
    for (const auto& [candidate, item] : disk->items) {
        if (candidate != "/" && folderOf(candidate) == path)
            names.push_back(URL::fileURL(candidate).lastPathComponent());
    }
    std::ranges::sort(names);
    return names;
}

URL SimulatedFileManager::resolvingSymlinks(const URL& at) const {
    return disk->find(at.path()) ? URL::fileURL(disk->followed(at.path(), true)) : at;
}

std::unique_ptr<FollowedItem> SimulatedFileManager::follow(const URL& at) {
    const auto item = disk->find(at.path());
    return item ? std::make_unique<SimulatedFollowedItem>(disk, at, item) : nullptr;
}

std::unique_ptr<FileLock> SimulatedFileManager::lock(const URL& at) {
    if (!disk->find(at.path())) createFile(at);
    return SimulatedFileLock::take(disk, file(at.path()));
}

std::optional<bool> SimulatedFileManager::volumeIsInternal(const URL& at) const {
    const std::string path = disk->followed(at.path(), true);
    std::optional<bool> answer = true;
    size_t longest = 0;
    for (const auto& [mountPoint, isInternal] : volumes) {
        if ((path == mountPoint || liesIn(path, mountPoint)) && mountPoint.size() > longest) {
            longest = mountPoint.size();
            answer = isInternal;
        }
    }
    return answer;
}

void SimulatedFileManager::put(const std::string& path, const std::string& bytes) {
    const std::string whole = SimulatedDisk::normalised(path);
    makeFolders(folderOf(whole));
    const auto made = makeItem(Kind::file);
    made->bytes.assign(bytes.begin(), bytes.end());
    disk->items[whole] = made;
}

void SimulatedFileManager::putLink(const std::string& path, const std::string& target) {
    const std::string whole = SimulatedDisk::normalised(path);
    makeFolders(folderOf(whole));
    const auto made = makeItem(Kind::link);
    made->target = target;
    disk->items[whole] = made;
}

std::optional<std::string> SimulatedFileManager::contents(const std::string& path) const {
    const auto item = disk->find(path);
    if (!item || item->kind != Kind::file) return std::nullopt;
    return std::string(item->bytes.begin(), item->bytes.end());
}

bool SimulatedFileManager::wasChanged(const std::string& path) const {
    return std::ranges::any_of(disk->records, [&](const SimulatedDisk::Record& record) {
        const bool reads = record.operation == Operation::openForReading ||
                           record.operation == Operation::read || record.operation == Operation::close;
        return !reads && record.path == path;
    });
}

std::vector<std::string> SimulatedFileManager::paths() const {
    std::vector<std::string> files;
    for (const auto& [path, item] : disk->items) {
        if (item->kind == Kind::file) files.push_back(path);
    }
    return files;
}

SimulatedDisk::Item SimulatedFileManager::file(const std::string& path) const {
    const auto item = disk->find(path);
    if (!item) throwDiskError(ENOENT, path);
    if (item->kind != Kind::file) throwDiskError(EISDIR, path);
    return item;
}

void SimulatedFileManager::checkFolderOf(const std::string& path) const {
    const auto folder = disk->find(folderOf(path));
    if (!folder) throwDiskError(ENOENT, path);
    if (folder->kind != Kind::folder) throwDiskError(ENOTDIR, path);
}

void SimulatedFileManager::makeFolders(const std::string& path) {
    if (path != "/") makeFolders(folderOf(path));
    const auto there = disk->find(path);
    if (there && there->kind != Kind::folder) throwDiskError(EEXIST, path);
    if (!there) disk->items[path] = makeItem(Kind::folder);
}

void SimulatedFileManager::renameItem(const std::string& from, const std::string& to) {
    if (from == to) return;
    disk->items[to] = disk->items[from];
    std::map<std::string, SimulatedDisk::Item> moved;
    for (const auto& [path, item] : disk->items) {
        if (liesIn(path, from)) moved[to + path.substr(from.size())] = item;
    }
    std::erase_if(disk->items,
                  [&](const auto& entry) { return entry.first == from || liesIn(entry.first, from); });
    disk->items.merge(moved);
}

} // namespace vintra
