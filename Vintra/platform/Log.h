#pragma once

#include <string>

namespace vintra {

inline constexpr const char* kLogSubsystem = "com.kestrelworks.screenrecorder.v2";

enum class LogLevel { info, standard, error };

/// The system log under `kLogSubsystem`, by category. For the program's authors; the user never reads it. Any
/// thread.
class Log {
public:
    virtual ~Log() = default;
    /// Ask before formatting a costly line.
    virtual bool isEnabled(LogLevel level) const = 0;
    virtual void write(const std::string& category, LogLevel level, const std::string& text) = 0;
};

} // namespace vintra
