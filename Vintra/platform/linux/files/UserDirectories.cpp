#include "Vintra/platform/linux/files/UserDirectories.h"

#include <cstdlib>
#include <fstream>
#include <pwd.h>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kKey = "XDG_VIDEOS_DIR";

/// The text between the double quotes, with its backslashes taken away.
std::optional<std::string> unquoted(const std::string& text) {
    const size_t begin = text.find('"');
    if (begin == std::string::npos || text.find_first_not_of(" \t") != begin) return std::nullopt;
    std::string value;
    for (size_t i = begin + 1; i < text.size(); ++i) {
        if (text[i] == '"') return value;
        if (text[i] == '\\' && ++i == text.size()) break;
        value += text[i];
    }
    return std::nullopt;
}

std::optional<URL> folderOfLine(const std::string& line, const URL& home) {
    const size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line.compare(begin, std::string(kKey).size(), kKey) != 0)
        return std::nullopt;
    const size_t equals = line.find_first_not_of(" \t", begin + std::string(kKey).size());
    if (equals == std::string::npos || line[equals] != '=') return std::nullopt;
    const auto value = unquoted(line.substr(equals + 1));
    if (!value) return std::nullopt;
    URL folder;
    if (value->starts_with("$HOME/") || *value == "$HOME")
        folder = URL::fileURL(home.path() + value->substr(5));
    else if (value->starts_with("/"))
        folder = URL::fileURL(*value);
    if (folder.isEmpty() || folder == home) return std::nullopt;
    return folder;
}

} // namespace

URL userHomeDirectory() {
    if (const char* home = std::getenv("HOME"); home && home[0] == '/') return URL::fileURL(home);
    passwd entry{};
    passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found && found->pw_dir[0] == '/')
        return URL::fileURL(found->pw_dir);
    return URL::fileURL("/");
}

std::optional<URL> soundServerDirectory() {
    for (const char* const name : {"PIPEWIRE_RUNTIME_DIR", "XDG_RUNTIME_DIR"}) {
        const char* const folder = std::getenv(name);
        if (folder && *folder == '/') return URL::fileURL(folder);
    }
    return std::nullopt;
}

URL userStateDirectory() {
    const char* const configured = std::getenv("XDG_STATE_HOME");
    if (configured && configured[0] == '/') return URL::fileURL(configured);
    return userHomeDirectory().appendingPathComponent(".local").appendingPathComponent("state");
}

URL videosDirectory(const FileManager& fileManager) {
    const URL home = fileManager.homeDirectory();
    const char* configured = std::getenv("XDG_CONFIG_HOME");
    const URL folder = configured && configured[0] == '/' ? URL::fileURL(configured)
                                                          : home.appendingPathComponent(".config");
    std::ifstream file(folder.appendingPathComponent("user-dirs.dirs").path());
    std::ostringstream text;
    if (file) text << file.rdbuf();
    return videosDirectoryOfText(text.str(), home).value_or(home.appendingPathComponent("Videos"));
}

std::optional<URL> videosDirectoryOfText(const std::string& text, const URL& home) {
    std::istringstream lines(text);
    std::optional<URL> folder;
    // The file is a shell script in form, so the last line counts.
    for (std::string line; std::getline(lines, line);) {
        if (auto found = folderOfLine(line, home)) folder = std::move(found);
    }
    return folder;
}

} // namespace vintra
