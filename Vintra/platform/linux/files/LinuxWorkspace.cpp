#include "Vintra/platform/linux/files/LinuxWorkspace.h"

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kResolveMenuEntry = "com.blackmagicdesign.resolve.desktop";

std::string environment(const char* name, const std::string& otherwise) {
    const char* value = std::getenv(name);
    return value && *value ? value : otherwise;
}

std::vector<URL> standardMenuFolders() {
    const std::string home = environment("HOME", "/");
    std::istringstream dataFolders(environment("XDG_DATA_HOME", home + "/.local/share") + ":" +
                                   environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share"));
    std::vector<URL> folders;
    for (std::string folder; std::getline(dataFolders, folder, ':');)
        if (!folder.empty()) folders.push_back(URL::fileURL(folder).appendingPathComponent("applications"));
    return folders;
}

bool isProgram(const URL& url) {
    struct stat status {};
    return stat(url.path().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(url.path().c_str(), X_OK) == 0;
}

/// The program that a menu entry starts; nothing if there is no such entry.
std::optional<URL> programOfMenuEntry(const URL& entry) {
    std::ifstream file(entry.path());
    const std::string key = "Exec=";
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, key.size(), key) != 0) continue;
        std::string command = line.substr(key.size());
        const bool isQuoted = !command.empty() && command[0] == '"';
        command =
            isQuoted ? command.substr(1, command.find('"', 1) - 1) : command.substr(0, command.find(' '));
        return URL::fileURL(command);
    }
    return std::nullopt;
}

} // namespace

LinuxWorkspace::LinuxWorkspace()
    : LinuxWorkspace(URL::fileURL("/"), standardMenuFolders()) {}

LinuxWorkspace::LinuxWorkspace(URL root, std::vector<URL> menuFolders)
    : root(std::move(root))
    , menuFolders(std::move(menuFolders)) {}

std::optional<URL> LinuxWorkspace::urlForApplication(const std::string& withBundleIdentifier) const {
    // The free edition and Studio install the same program.
    if (withBundleIdentifier == "com.blackmagic-design.DaVinciResolve" ||
        withBundleIdentifier == "com.blackmagic-design.DaVinciResolveLite")
        return resolve();
    return std::nullopt;
}

std::optional<URL> LinuxWorkspace::resolve() const {
    const URL standard = root.appendingPathComponent("opt/resolve/bin/resolve");
    if (isProgram(standard)) return standard;
    for (const URL& folder : menuFolders) {
        const auto program = programOfMenuEntry(folder.appendingPathComponent(kResolveMenuEntry));
        if (program && isProgram(*program)) return program;
    }
    return std::nullopt;
}

} // namespace vintra
