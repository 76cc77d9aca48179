#include "Vintra/platform/linux/desktop/LinuxDesktop.h"

#include <cstdlib>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kOpenURI = "org.freedesktop.portal.OpenURI";
constexpr const char* kFileChooser = "org.freedesktop.portal.FileChooser";
constexpr MainThreadBus::Target kFileManager{"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                             "org.freedesktop.FileManager1"};
/// The bus may have to start the file manager.
constexpr int64_t kFileManagerPatience = 15'000'000'000; // nanoseconds

bool isFolder(const URL& url) {
    struct stat status {};
    return ::stat(url.path().c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool exists(const URL& url) {
    struct stat status {};
    return ::stat(url.path().c_str(), &status) == 0;
}

std::string noBrowser(const std::string& address) {
    return "The browser couldn't be opened. The address is " + address;
}

std::string noFileManager(const URL& folder) {
    return "The file manager couldn't be opened. The folder is " + folder.path();
}

/// Two hexadecimal digits; nothing if they are others.
std::optional<char> byteOf(std::string_view digits) {
    if (digits.size() != 2 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos)
        return std::nullopt;
    return static_cast<char>(std::strtol(std::string(digits).c_str(), nullptr, 16));
}

/// The path of a "file:" address; nothing if it is another kind, or of another machine.
std::optional<URL> fileOf(const std::string& address) {
    constexpr std::string_view scheme = "file://";
    if (!address.starts_with(scheme)) return std::nullopt;
    const size_t begin = address.find('/', scheme.size());
    const std::string host = address.substr(scheme.size(), begin - scheme.size());
    if (begin == std::string::npos || !(host.empty() || host == "localhost")) return std::nullopt;
    std::string path;
    for (size_t i = begin; i < address.size(); ++i) {
        const auto byte =
            address[i] == '%' ? byteOf(std::string_view(address).substr(i + 1, 2)) : std::nullopt;
        path += byte.value_or(address[i]);
        if (byte) i += 2;
    }
    return URL::fileURL(path);
}

/// The first of the answer's addresses that is a folder of this machine.
std::optional<URL> chosenFolder(sd_bus_message* results) {
    std::optional<URL> chosen;
    forEachEntry(results, [&](const std::string& key, sd_bus_message* value) {
        if (key != "uris" || sd_bus_message_enter_container(value, 'a', "s") <= 0) return;
        const char* address = nullptr;
        while (sd_bus_message_read(value, "s", &address) > 0) {
            if (!chosen) chosen = fileOf(address);
        }
        sd_bus_message_exit_container(value);
    });
    return chosen;
}

/// "current_folder" is a path in bytes with a zero at the end.
void appendFolder(sd_bus_message* message, const URL& folder) {
    sd_bus_message_open_container(message, 'e', "sv");
    sd_bus_message_append(message, "s", "current_folder");
    sd_bus_message_open_container(message, 'v', "ay");
    sd_bus_message_append_array(message, 'y', folder.path().c_str(), folder.path().size() + 1);
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
}

} // namespace

LinuxDesktop::LinuxDesktop(EventLoop& loop, MainThreadBus& sessionBus, Toolkit toolkit)
    : loop(loop)
    , bus(sessionBus)
    , toolkit(std::move(toolkit)) {}

LinuxDesktop::PendingPlace LinuxDesktop::begin() {
    return pending.emplace(pending.end());
}

void LinuxDesktop::end(PendingPlace place) {
    loop.post([this, place, alive = std::weak_ptr<int>(life)] {
        if (alive.lock()) pending.erase(place);
    });
}

void LinuxDesktop::fail(const std::string& sentence) {
    if (toolkit.failed) toolkit.failed(sentence);
}

void LinuxDesktop::copyToPasteboard(const std::string& text) {
    if (toolkit.copyToPasteboard) toolkit.copyToPasteboard(text);
}

void LinuxDesktop::openByProgram(const std::string& what, const std::string& sentence) {
    const PendingPlace place = begin();
    place->launch = std::make_unique<ProgramLaunch>(
        loop, std::vector<std::string>{"xdg-open", what},
        [this, place, sentence, alive = std::weak_ptr<int>(life)](int exitCode) {
            if (!alive.lock()) return;
            if (exitCode != 0) fail(sentence);
            end(place);
        });
}

void LinuxDesktop::openAddress(const std::string& address) {
    const PendingPlace place = begin();
    const auto fill = [this, address](sd_bus_message* message) {
        sd_bus_message_append(message, "ss", toolkit.parentWindow ? toolkit.parentWindow().c_str() : "",
                              address.c_str());
    };
    place->request = std::make_unique<PortalRequest>(
        bus,
        PortalRequest::Call{
            .interface = kOpenURI, .member = "OpenURI", .fill = fill, .options = {}, .finish = {}},
        [this, place, address](const PortalRequest::Answer& answer) {
            if (answer.code == PortalRequest::Answer::Code::failed)
                openByProgram(address, noBrowser(address));
            end(place);
        });
}

void LinuxDesktop::showInFileBrowser(const URL& item) {
    // What has gone meanwhile is looked for by the user, where it was.
    const URL shown = exists(item) ? item : item.deletingLastPathComponent();
    if (!exists(shown)) return fail("The folder " + shown.path() + " isn't there any more.");
    const bool isInside = isFolder(shown);
    const URL folder = isInside ? shown : shown.deletingLastPathComponent();
    BusMessage call = bus.makeCall(kFileManager, isInside ? "ShowFolders" : "ShowItems");
    if (call) sd_bus_message_append(call.get(), "ass", 1, shown.absoluteString().c_str(), "");
    const PendingPlace place = begin();
    place->slot = bus.call(std::move(call), kFileManagerPatience,
                           [this, place, folder, alive = std::weak_ptr<int>(life)](sd_bus_message* reply) {
                               if (!alive.lock()) return;
                               if (!isAnswer(reply)) openByProgram(folder.path(), noFileManager(folder));
                               end(place);
                           });
}

void LinuxDesktop::chooseFolder(const std::string& title, const URL& startingAt,
                                std::function<void(const URL&)> onChosen) {
    if (isChoosing) return;
    isChoosing = true;
    const PendingPlace place = begin();
    const auto fill = [this, title](sd_bus_message* message) {
        sd_bus_message_append(message, "ss", toolkit.parentWindow ? toolkit.parentWindow().c_str() : "",
                              title.c_str());
    };
    place->request = std::make_unique<PortalRequest>(
        bus,
        PortalRequest::Call{
            .interface = kFileChooser,
            .member = "OpenFile",
            .fill = fill,
            .options = {{"directory", true}, {"modal", true}},
            .finish = [startingAt](sd_bus_message* message) { appendFolder(message, startingAt); }},
        [this, place, title, startingAt, onChosen](const PortalRequest::Answer& answer) {
            isChoosing = false;
            end(place);
            if (answer.code == PortalRequest::Answer::Code::cancelled) return;
            if (answer.code == PortalRequest::Answer::Code::done) {
                const auto chosen = chosenFolder(answer.results);
                if (chosen) return onChosen(*chosen);
                return fail("That folder isn't one of this computer. Choose another one.");
            }
            if (toolkit.chooseFolder) return toolkit.chooseFolder(title, startingAt, onChosen);
            fail(
                "The desktop can't show a panel for folders. Install xdg-desktop-portal and the portal of your "
                "desktop (xdg-desktop-portal-gnome, -kde or -gtk), and log in again.");
        });
}

} // namespace vintra
