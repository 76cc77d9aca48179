#pragma once

#include "Vintra/platform/Log.h"
#include "Vintra/platform/Mutex.h"

#include <string>
#include <vector>

namespace vintra {

/// Keeps every line for the test to read. Any thread.
class SimulatedLog : public Log {
public:
    struct Line {
        std::string category;
        LogLevel level = LogLevel::standard;
        std::string text;
        bool operator==(const Line&) const = default;
    };

    bool isEnabled(LogLevel level) const override;
    void write(const std::string& category, LogLevel level, const std::string& text) override;

    std::vector<Line> lines() const;
    /// The texts of one category, in order.
    std::vector<std::string> texts(const std::string& category) const;
    /// All levels are enabled unless lines below one are switched off here.
    void setMinimumLevel(LogLevel level);
    void clear();

private:
    mutable Mutex mutex;
    std::vector<Line> kept GUARDED_BY(mutex);
    LogLevel minimum GUARDED_BY(mutex) = LogLevel::info;
};

} // namespace vintra
