#pragma once

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/files/DefaultsFile.h"

#include <memory>
#include <optional>

namespace vintra {

/// Settings in one file. Read once; every change is written from a queue of its own, the last of several in
/// quick succession standing for all, and the file is replaced in one step. A file that can't be understood
/// is renamed to the same name with ".damaged" behind, and the settings begin empty. The end waits for the
/// last write. Main thread.
class LinuxUserDefaults : public UserDefaults {
public:
    struct Services {
        std::shared_ptr<FileManager> fileManager;
        std::shared_ptr<DispatchQueues> dispatchQueues;
        std::shared_ptr<Log> log;
    };

    /// "settings.json" in the program's folder of $XDG_CONFIG_HOME, or of ".config" at home.
    static URL standardFile(const FileManager& fileManager);

    LinuxUserDefaults(URL file, Services services);
    ~LinuxUserDefaults() override;

    std::optional<DefaultsValue> value(const std::string& key) const override;
    void set(const std::string& key, DefaultsValue value) override;
    void remove(const std::string& key) override;

private:
    /// The text that the queue has still to write. Any thread.
    struct PendingText {
        Mutex mutex;
        std::optional<std::string> text GUARDED_BY(mutex);
    };

    void read();
    void keepDamagedFileAside();
    void writeLater();
    static void writeNow(PendingText& pending, const URL& file, const Services& services);

    const URL file;
    const Services services;
    DefaultsValues values;
    std::shared_ptr<PendingText> pending = std::make_shared<PendingText>();
    std::shared_ptr<DispatchQueue> queue;
};

} // namespace vintra
