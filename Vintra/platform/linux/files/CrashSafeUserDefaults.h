#pragma once

#include "Vintra/platform/Log.h"
#include "Vintra/platform/URL.h"
#include "Vintra/platform/UserDefaults.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Settings with one, a text, that survives a crash: it has a file of its own and is on disk before its change
/// returns. All others are passed on to the settings that this is made with. Main thread.
class CrashSafeUserDefaults : public UserDefaults {
public:
    /// A file for the key in the program's folder of $XDG_STATE_HOME, or of ".local/state" at home. It is of
    /// this session's sound server alone, by `soundServerDirectory`.
    static URL standardFile(const std::string& key);

    CrashSafeUserDefaults(std::shared_ptr<UserDefaults> others, std::string safeKey, URL file,
                          std::shared_ptr<Log> log);

    std::optional<DefaultsValue> value(const std::string& ofKey) const override;
    void set(const std::string& key, DefaultsValue value) override;
    void remove(const std::string& key) override;

private:
    void write(const std::string& text) const;
    void complain(const std::string& what) const;

    const std::shared_ptr<UserDefaults> others;
    const std::string safeKey;
    const URL file;
    const std::shared_ptr<Log> log;
    std::optional<std::string> kept;
};

} // namespace vintra
