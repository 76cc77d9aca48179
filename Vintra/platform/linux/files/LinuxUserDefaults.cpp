#include "Vintra/platform/linux/files/LinuxUserDefaults.h"

#include "Vintra/platform/SystemError.h"

#include <cstdlib>
#include <optional>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kCategory = "settings";

std::string contentsOfFile(FileManager& fileManager, const URL& file) {
    const auto handle = fileManager.openForReading(file);
    std::string text;
    uint8_t bytes[4096];
    while (const size_t count = handle->read(bytes, sizeof bytes))
        text.append(reinterpret_cast<const char*>(bytes), count);
    return text;
}

} // namespace

URL LinuxUserDefaults::standardFile(const FileManager& fileManager) {
    const char* configured = std::getenv("XDG_CONFIG_HOME");
    // A relative path there is to be ignored, by the base directory rules.
    const URL folder = configured && configured[0] == '/'
                           ? URL::fileURL(configured)
                           : fileManager.homeDirectory().appendingPathComponent(".config");
    return folder.appendingPathComponent("vintra").appendingPathComponent("settings.json");
}

LinuxUserDefaults::LinuxUserDefaults(URL file, Services services)
    : file(std::move(file))
    , services(std::move(services))
    , queue(this->services.dispatchQueues->makeSerialQueue("settings")) {
    read();
}

LinuxUserDefaults::~LinuxUserDefaults() {
    queue->sync([] {});
}

std::optional<DefaultsValue> LinuxUserDefaults::value(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

void LinuxUserDefaults::set(const std::string& key, DefaultsValue value) {
    const auto found = values.find(key);
    if (found != values.end() && found->second == value) return;
    values.insert_or_assign(key, std::move(value));
    writeLater();
}

void LinuxUserDefaults::remove(const std::string& key) {
    if (values.erase(key) > 0) writeLater();
}

void LinuxUserDefaults::read() {
    try {
        if (!services.fileManager->fileExists(file)) return;
        const std::string text = contentsOfFile(*services.fileManager, file);
        if (auto read = defaultsOfText(text)) {
            values = std::move(*read);
            return;
        }
    } catch (const SystemError& error) {
        services.log->write(kCategory, LogLevel::error, error.localizedDescription());
    }
    keepDamagedFileAside();
}

void LinuxUserDefaults::keepDamagedFileAside() {
    const URL aside = URL::fileURL(file.path() + ".damaged");
    try {
        services.fileManager->replaceItem(aside, file);
        services.log->write(kCategory, LogLevel::error,
                            "The settings in " + file.path() + " can't be read. They are kept in " +
                                aside.path() + ", and the program starts with its own.");
    } catch (const SystemError& error) {
        services.log->write(kCategory, LogLevel::error,
                            "The settings in " + file.path() +
                                " can't be read, and can't be kept aside: " + error.localizedDescription());
    }
}

void LinuxUserDefaults::writeLater() {
    {
        MutexLock lock(pending->mutex);
        const bool queued = pending->text.has_value();
        pending->text = textOfDefaults(values);
        if (queued) return;
    }
    queue->async(
        [pending = pending, file = file, services = services] { writeNow(*pending, file, services); });
}

void LinuxUserDefaults::writeNow(PendingText& pending, const URL& file, const Services& services) {
    std::string text;
    {
        MutexLock lock(pending.mutex);
        if (!pending.text) return;
        text = std::move(*pending.text);
        pending.text.reset();
    }
    try {
        services.fileManager->createDirectory(file.deletingLastPathComponent());
        services.fileManager->writeAtomically(file, text);
    } catch (const SystemError& error) {
        services.log->write(kCategory, LogLevel::error, error.localizedDescription());
    }
}

} // namespace vintra
