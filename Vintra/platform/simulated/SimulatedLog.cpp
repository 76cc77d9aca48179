#include "Vintra/platform/simulated/SimulatedLog.h"

namespace vintra {

bool SimulatedLog::isEnabled(LogLevel level) const {
    MutexLock lock(mutex);
    return level >= minimum;
}

void SimulatedLog::write(const std::string& category, LogLevel level, const std::string& text) {
    MutexLock lock(mutex);
    if (level >= minimum) kept.push_back({category, level, text});
}

std::vector<SimulatedLog::Line> SimulatedLog::lines() const {
    MutexLock lock(mutex);
    return kept;
}

std::vector<std::string> SimulatedLog::texts(const std::string& category) const {
    MutexLock lock(mutex);
    std::vector<std::string> found;
    for (const Line& line : kept) {
        if (line.category == category) found.push_back(line.text);
    }
    return found;
}

void SimulatedLog::setMinimumLevel(LogLevel level) {
    MutexLock lock(mutex);
    minimum = level;
}

void SimulatedLog::clear() {
    MutexLock lock(mutex);
    kept.clear();
}

} // namespace vintra
