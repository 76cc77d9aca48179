#pragma once

#include "Vintra/platform/Log.h"
#include "Vintra/platform/Mutex.h"

namespace vintra {

/// Writes each line to a descriptor as "time level category: text". Where that descriptor leads to the
/// journal, the line begins with the journal's own level mark instead. Any thread.
class LinuxLog : public Log {
public:
    /// Lines below the level are left out. The descriptor, standard error by default, stays the caller's.
    explicit LinuxLog(LogLevel minimum, int descriptor = 2);

    bool isEnabled(LogLevel level) const override { return level >= minimum; }
    void write(const std::string& category, LogLevel level, const std::string& text) override;

private:
    const LogLevel minimum;
    const int descriptor;
    const bool isJournal;
    Mutex mutex; ///< keeps lines whole
};

} // namespace vintra
