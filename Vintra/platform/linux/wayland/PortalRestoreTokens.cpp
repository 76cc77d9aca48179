#include "Vintra/platform/linux/wayland/PortalRestoreTokens.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <utility>

namespace vintra {

URL PortalRestoreTokens::standardFile() {
    const char* configured = std::getenv("XDG_STATE_HOME");
    // A relative path there is to be ignored, by the base directory rules.
    const URL folder = configured && configured[0] == '/'
                           ? URL::fileURL(configured)
                           : userHomeDirectory().appendingPathComponent(".local/state");
    return folder.appendingPathComponent("vintra").appendingPathComponent("screencast-restore-tokens");
}

PortalRestoreTokens::PortalRestoreTokens(URL file)
    : file(std::move(file)) {}

std::string PortalRestoreTokens::take(const std::string& display) {
    auto tokens = read();
    const auto found = tokens.find(display);
    if (found == tokens.end()) return {};
    std::string token = std::move(found->second);
    tokens.erase(found);
    write(tokens);
    return token;
}

void PortalRestoreTokens::keep(const std::string& display, const std::string& token) {
    auto tokens = read();
    const bool isLine = (display + token).find_first_of("\t\r\n") == std::string::npos;
    if (token.empty() || !isLine) {
        if (tokens.erase(display) == 0) return;
    } else {
        tokens[display] = token;
    }
    write(tokens);
}

std::map<std::string, std::string> PortalRestoreTokens::read() const {
    std::map<std::string, std::string> tokens;
    std::ifstream lines(file.path());
    for (std::string line; std::getline(lines, line);) {
        const size_t tab = line.find('\t');
        if (tab != std::string::npos) tokens[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return tokens;
}

void PortalRestoreTokens::write(const std::map<std::string, std::string>& tokens) const {
    std::string text;
    for (const auto& [display, token] : tokens)
        text += display + "\t" + token + "\n";
    try {
        LinuxFileManager files;
        files.createDirectory(file.deletingLastPathComponent());
        // The user's alone from the first instant: a file keeps the permissions that it is found with.
        const FileDescriptor made(
            ::open(file.path().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
        files.writeAtomically(file, text);
    } catch (const SystemError&) {
        // The user is asked again.
    }
}

} // namespace vintra
