#include "Vintra/platform/linux/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/LinuxFileManager.h"
#include "Vintra/platform/linux/LinuxHostClock.h"
#include "Vintra/platform/linux/LinuxLog.h"
#include "Vintra/platform/linux/LinuxMainThread.h"
#include "Vintra/platform/linux/LinuxUserDefaults.h"
#include "Vintra/platform/linux/MemoryUserDefaults.h"
#include "tests/linux/TemporaryFolder.h"
#include "tests/platform/DispatchQueueConformance.h"
#include "tests/platform/FileManagerConformance.h"
#include "tests/platform/HostClockConformance.h"
#include "tests/platform/MainThreadConformance.h"
#include "tests/platform/UserDefaultsConformance.h"

#include <filesystem>

namespace vintra {
namespace {

/// The runtime of the real machine. What a test waits for may happen on any thread, so it is looked at again
/// and again, until it comes or a minute has passed.
class RuntimeBackend {
public:
    DispatchQueues& dispatchQueues() { return queues; }
    HostClock& hostClock() { return clock; }
    MainThread& mainThread() { return main; }
    bool waitUntil(const std::function<bool()>& done) {
        constexpr int64_t millisecond = 1'000'000;
        for (int round = 0; round < 60'000; ++round) {
            if (main.runUntil(done, millisecond)) return true;
        }
        return false;
    }

private:
    LinuxMainThread main;
    LinuxHostClock clock;
    LinuxDispatchQueues queues;
};

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

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, DispatchQueueConformance, RuntimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, HostClockConformance, RuntimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, MainThreadConformance, RuntimeBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, FileManagerConformance, FileBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxFile, UserDefaultsConformance, SettingsFileBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxMemory, UserDefaultsConformance, MemorySettingsBackend);

} // namespace
} // namespace vintra
