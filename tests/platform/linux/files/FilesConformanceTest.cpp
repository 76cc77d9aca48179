#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/files/LinuxUserDefaults.h"
#include "Vintra/platform/linux/files/MemoryUserDefaults.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/platform/FileManagerConformance.h"
#include "tests/platform/UserDefaultsConformance.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>

namespace vintra {
namespace {

class FileBackend {
public:
    FileManager& fileManager() { return manager; }
    URL folder() { return manager.resolvingSymlinks(temporary.url()); }
    void makeLink(const URL& at, const std::string& target) {
        std::filesystem::create_symlink(target, at.path());
    }

private:
    TemporaryFolder temporary;
    LinuxFileManager manager;
};

class SettingsFileBackend {
public:
    SettingsFileBackend() { reopen(); }
    UserDefaults& userDefaults() { return *defaults; }
    void reopen() {
        defaults = nullptr;
        defaults = std::make_unique<LinuxUserDefaults>(
            temporary.file("settings.json"),
            LinuxUserDefaults::Services{.fileManager = files, .dispatchQueues = queues, .log = log});
    }

private:
    TemporaryFolder temporary;
    std::shared_ptr<LinuxFileManager> files = std::make_shared<LinuxFileManager>();
    std::shared_ptr<LinuxDispatchQueues> queues = std::make_shared<LinuxDispatchQueues>();
    std::shared_ptr<LinuxLog> log = std::make_shared<LinuxLog>(LogLevel::info);
    std::unique_ptr<LinuxUserDefaults> defaults;
};

/// Settings in memory last as long as their owner, which here is the whole test.
class MemorySettingsBackend {
public:
    UserDefaults& userDefaults() { return defaults; }
    void reopen() {}

private:
    MemoryUserDefaults defaults;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, FileManagerConformance, FileBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxFile, UserDefaultsConformance, SettingsFileBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxMemory, UserDefaultsConformance, MemorySettingsBackend);

} // namespace
} // namespace vintra
