#include "Vintra/platform/linux/runtime/CrashReporter.h"

#include "Vintra/platform/linux/runtime/CrashHandler.h"
#include "Vintra/platform/linux/runtime/PosixError.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cxxabi.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <system_error>
#include <vector>

namespace vintra::CrashReporter {
namespace {

namespace fs = std::filesystem;

constexpr size_t kReportsKept = 10;

std::vector<fs::path> filesWith(const fs::path& folder, const std::string& name,
                                const std::string& extension) {
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() == "." + extension && entry.path().filename().string().starts_with(name))
            files.push_back(entry.path());
    }
    return files;
}

/// The finished report has the time of the crash. Where it can't be written the raw one stays.
void finishReport(const fs::path& raw) {
    std::ostringstream text;
    text << std::ifstream(raw).rdbuf();
    fs::path finished = raw;
    finished.replace_extension(kPathExtension);
    std::ofstream out(finished);
    out << demangled(text.str());
    out.close();
    if (!out) return;
    std::error_code error;
    fs::last_write_time(finished, fs::last_write_time(raw, error), error);
    fs::remove(raw, error);
}

/// The names carry the time of the crash, so their order is that of time.
void removeOldReports(const fs::path& folder, const std::string& name) {
    auto reports = filesWith(folder, name, kPathExtension);
    std::ranges::sort(reports);
    std::error_code error;
    for (size_t i = 0; i + kReportsKept < reports.size(); ++i)
        fs::remove(reports[i], error);
}

} // namespace

void install(const URL& folder, const Program& program) {
    std::error_code error;
    fs::create_directories(folder.path(), error);
    if (error) throw posixError(error.value(), "The folder “%s” can't be made", folder);
    for (const fs::path& raw : filesWith(folder.path(), program.name, crashHandler::kRawExtension))
        finishReport(raw);
    removeOldReports(folder.path(), program.name);
#ifndef VINTRA_SANITIZED // a sanitizer has reports of its own
    crashHandler::install(folder.path(), program.name, program.version, program.machine);
#endif
}

void noteLogLine(std::string_view line) {
    crashHandler::noteLogLine(line);
}

std::string demangled(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size();) {
        const bool begins = text.compare(i, 2, "_Z") == 0;
        if (!begins) {
            result += text[i++];
            continue;
        }
        size_t end = i;
        while (end < text.size() &&
               (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_' || text[end] == '.'))
            ++end;
        const std::string name = text.substr(i, end - i);
        int status = 0;
        const std::unique_ptr<char, void (*)(void*)> plain(
            abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
        result += plain ? plain.get() : name;
        i = end;
    }
    return result;
}

} // namespace vintra::CrashReporter
