#include "Vintra/platform/linux/runtime/LinuxLog.h"

#include "Vintra/platform/linux/runtime/CrashReporter.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace vintra {
namespace {

/// JOURNAL_STREAM holds "device:inode" of the stream that the service manager has tied to the journal.
bool leadsToJournal(int descriptor) {
    const char* stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    if (!stream || fstat(descriptor, &status) != 0) return false;
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

const char* nameOf(LogLevel level) {
    switch (level) {
    case LogLevel::info:
        return "info";
    case LogLevel::standard:
        return "notice";
    case LogLevel::error:
        return "error";
    }
    return "";
}

/// The journal's marks are those of syslog: 3 error, 5 notice, 6 information.
const char* journalMarkOf(LogLevel level) {
    switch (level) {
    case LogLevel::info:
        return "<6>";
    case LogLevel::standard:
        return "<5>";
    case LogLevel::error:
        return "<3>";
    }
    return "";
}

std::string timeOfDay() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03ld", parts.tm_hour, parts.tm_min, parts.tm_sec,
                  now.tv_nsec / 1'000'000);
    return text;
}

} // namespace

LinuxLog::LinuxLog(LogLevel minimum, int descriptor)
    : minimum(minimum)
    , descriptor(descriptor)
    , isJournal(leadsToJournal(descriptor)) {}

void LinuxLog::write(const std::string& category, LogLevel level, const std::string& text) {
    if (!isEnabled(level)) return;
    std::string line = isJournal ? journalMarkOf(level) : timeOfDay() + " " + nameOf(level) + " ";
    line += category + ": ";
    for (const char c : text)
        line += c == '\n' ? ' ' : c;
    line += '\n';

    MutexLock lock(mutex);
    CrashReporter::noteLogLine(std::string_view(line).substr(0, line.size() - 1));
    size_t written = 0;
    while (written < line.size()) {
        const ssize_t count = ::write(descriptor, line.data() + written, line.size() - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        written += static_cast<size_t>(count);
    }
}

} // namespace vintra
