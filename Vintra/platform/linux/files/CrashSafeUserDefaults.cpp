#include "Vintra/platform/linux/files/CrashSafeUserDefaults.h"

#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

/// "/run/user/1000" as "run-user-1000".
std::string fileNameOf(std::string path) {
    while (path.starts_with('/'))
        path.erase(0, 1);
    std::replace(path.begin(), path.end(), '/', '-');
    return path;
}

bool writeAll(int descriptor, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        done += static_cast<size_t>(count);
    }
    return fdatasync(descriptor) == 0;
}

} // namespace

URL CrashSafeUserDefaults::standardFile(const std::string& key) {
    const auto server = soundServerDirectory();
    const std::string ofSession = server ? "." + fileNameOf(server->path()) : "";
    return userStateDirectory().appendingPathComponent("vintra").appendingPathComponent(key + ofSession);
}

CrashSafeUserDefaults::CrashSafeUserDefaults(std::shared_ptr<UserDefaults> others, std::string safeKey,
                                             URL file, std::shared_ptr<Log> log)
    : others(std::move(others))
    , safeKey(std::move(safeKey))
    , file(std::move(file))
    , log(std::move(log)) {
    std::ifstream stream(this->file.path(), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!text.empty()) kept = std::move(text);
}

std::optional<DefaultsValue> CrashSafeUserDefaults::value(const std::string& ofKey) const {
    if (ofKey != safeKey) return others->value(ofKey);
    return kept ? std::optional<DefaultsValue>(*kept) : std::nullopt;
}

void CrashSafeUserDefaults::set(const std::string& key, DefaultsValue value) {
    const std::string* const text = std::get_if<std::string>(&value);
    if (key != safeKey || !text) {
        others->set(key, std::move(value));
        return;
    }
    kept = *text;
    write(*text);
}

void CrashSafeUserDefaults::remove(const std::string& key) {
    if (key != safeKey) {
        others->remove(key);
        return;
    }
    // A note that this run has neither written nor read may by now be another program's.
    if (!kept) return;
    kept.reset();
    if (::unlink(file.path().c_str()) != 0 && errno != ENOENT) complain("can't be removed");
}

/// Whole or not at all: a file beside it takes its place.
void CrashSafeUserDefaults::write(const std::string& text) const {
    const std::string path = file.path();
    const std::string beside = path + ".new";
    std::error_code ignored; // what it means shows when the file is opened
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const FileDescriptor descriptor(
        ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!descriptor.isOpen() || !writeAll(descriptor.get(), text) ||
        std::rename(beside.c_str(), path.c_str()) != 0) {
        complain("can't be written");
        return;
    }
    // The name is on disk once its folder is.
    const FileDescriptor folder(
        ::open(std::filesystem::path(path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen()) fsync(folder.get());
}

void CrashSafeUserDefaults::complain(const std::string& what) const {
    log->write("settings", LogLevel::error, file.path() + " " + what + ": " + std::strerror(errno));
}

} // namespace vintra
