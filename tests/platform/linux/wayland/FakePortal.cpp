#include "tests/platform/linux/wayland/FakePortal.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vintra {
namespace {

constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kInterface = "org.freedesktop.portal.ScreenCast";

std::map<std::string, FakePortal::Value> readOptions(sd_bus_message* message) {
    std::map<std::string, FakePortal::Value> options;
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        sd_bus_message_read(message, "s", &key);
        sd_bus_message_peek_type(message, nullptr, &type);
        const char kind = type[0];
        sd_bus_message_enter_container(message, 'v', type);
        if (kind == 's') {
            const char* text = nullptr;
            sd_bus_message_read(message, "s", &text);
            options[key] = std::string(text);
        } else if (kind == 'u') {
            uint32_t number = 0;
            sd_bus_message_read(message, "u", &number);
            options[key] = number;
        } else if (kind == 'b') {
            int flag = 0;
            sd_bus_message_read(message, "b", &flag);
            options[key] = flag != 0;
        } else {
            sd_bus_message_skip(message, nullptr);
        }
        sd_bus_message_exit_container(message);
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    return options;
}

int connectionTo(const std::string& socketPath) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return descriptor;
}

std::string textOf(const std::map<std::string, FakePortal::Value>& options, const std::string& key) {
    const auto found = options.find(key);
    return found == options.end() ? std::string() : std::get<std::string>(found->second);
}

} // namespace

FakePortal::FakePortal(const std::string& busAddress, Script script)
    : script(std::move(script))
    , bus(busAddress) {
    static const sd_bus_vtable table[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("CreateSession", "a{sv}", "o", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("SelectSources", "oa{sv}", "o", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Start", "osa{sv}", "o", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("OpenPipeWireRemote", "oa{sv}", "h", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_PROPERTY("version", "u", property, 0, 0),
        SD_BUS_PROPERTY("AvailableSourceTypes", "u", property, 0, 0),
        SD_BUS_PROPERTY("AvailableCursorModes", "u", property, 0, 0),
        SD_BUS_VTABLE_END};
    if (this->script.hasScreenCast)
        sd_bus_add_object_vtable(bus.get(), nullptr, kPath, kInterface, table, this);
    sd_bus_request_name(bus.get(), "org.freedesktop.portal.Desktop", 0);
    bus.begin();
}

int FakePortal::property(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply,
                         void* data, sd_bus_error*) {
    const Script& told = static_cast<FakePortal*>(data)->script;
    const std::string which = name;
    const uint32_t value = which == "version"                ? told.version
                           : which == "AvailableSourceTypes" ? told.sourceTypes
                                                             : told.cursorModes;
    return sd_bus_message_append(reply, "u", value);
}

int FakePortal::called(sd_bus_message* message, void* data, sd_bus_error*) {
    return static_cast<FakePortal*>(data)->answer(message);
}

int FakePortal::answer(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    if (member != "CreateSession") sd_bus_message_skip(message, member == "Start" ? "os" : "o");
    const auto options = readOptions(message);
    {
        MutexLock lock(mutex);
        calls_.push_back({member, options});
    }
    if (member == "OpenPipeWireRemote") return openRemote(message);

    const std::string sender = sd_bus_message_get_sender(message);
    std::string name = sender.substr(1);
    std::replace(name.begin(), name.end(), '.', '_');
    if (member == "CreateSession") {
        session = std::string(kPath) + "/session/" + name + "/" + textOf(options, "session_handle_token");
    }
    std::string path = std::string(kPath) + "/request/" + name + "/" + textOf(options, "handle_token");
    if (script.answersElsewhere) path += "_old";
    const int result = sd_bus_reply_method_return(message, "o", path.c_str());
    if (member != script.silentAt) respond(path, sender, member);
    return result;
}

int FakePortal::openRemote(sd_bus_message* message) {
    const int descriptor = script.pipeWireSocket.empty() ? ::open("/dev/null", O_RDWR | O_CLOEXEC)
                                                         : connectionTo(script.pipeWireSocket);
    const int result = sd_bus_reply_method_return(message, "h", descriptor);
    ::close(descriptor);
    return result;
}

void FakePortal::respond(const std::string& path, const std::string& sender, const std::string& member) {
    const auto found = script.codes.find(member);
    const uint32_t code = found == script.codes.end() ? 0 : found->second;
    sd_bus_message* signal = nullptr;
    sd_bus_message_new_signal(bus.get(), &signal, path.c_str(), "org.freedesktop.portal.Request", "Response");
    sd_bus_message_set_destination(signal, sender.c_str());
    sd_bus_message_append(signal, "u", code);
    appendResults(signal, member, code);
    sd_bus_send(bus.get(), signal, nullptr);
    sd_bus_message_unref(signal);
}

void FakePortal::appendResults(sd_bus_message* signal, const std::string& member, uint32_t code) const {
    sd_bus_message_open_container(signal, 'a', "{sv}");
    if (code == 0 && member == "CreateSession" && script.givesSession) {
        sd_bus_message_append(signal, "{sv}", "session_handle", "s", session.c_str());
    }
    if (code == 0 && member == "Start") {
        if (!script.restoreToken.empty()) {
            sd_bus_message_append(signal, "{sv}", "restore_token", "s", script.restoreToken.c_str());
        }
        sd_bus_message_append(signal, "{sv}", "something_new", "(sau)", "text", 2, 1, 2);
        sd_bus_message_open_container(signal, 'e', "sv");
        sd_bus_message_append(signal, "s", "streams");
        sd_bus_message_open_container(signal, 'v', "a(ua{sv})");
        sd_bus_message_open_container(signal, 'a', "(ua{sv})");
        if (script.givesStreams) {
            sd_bus_message_open_container(signal, 'r', "ua{sv}");
            sd_bus_message_append(signal, "u", script.node);
            sd_bus_message_open_container(signal, 'a', "{sv}");
            sd_bus_message_append(signal, "{sv}", "source_type", "u", script.sourceTypes == 1 ? 1u : 2u);
            if (script.position) {
                sd_bus_message_append(signal, "{sv}", "position", "(ii)", script.position->first,
                                      script.position->second);
            }
            if (script.size)
                sd_bus_message_append(signal, "{sv}", "size", "(ii)", script.size->first,
                                      script.size->second);
            sd_bus_message_close_container(signal);
            sd_bus_message_close_container(signal);
        }
        sd_bus_message_close_container(signal);
        sd_bus_message_close_container(signal);
        sd_bus_message_close_container(signal);
    }
    sd_bus_message_close_container(signal);
}

std::vector<FakePortal::Call> FakePortal::calls() const {
    MutexLock lock(mutex);
    return calls_;
}

bool FakePortal::awaitCall(const std::string& member) const {
    for (int i = 0; i < 5000; ++i) {
        const auto all = calls();
        if (std::any_of(all.begin(), all.end(), [&](const Call& call) { return call.member == member; }))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

std::map<std::string, FakePortal::Value> FakePortal::options(const std::string& member) const {
    std::map<std::string, Value> latest;
    for (const Call& call : calls()) {
        if (call.member == member) latest = call.options;
    }
    return latest;
}

void FakePortal::close() {
    bus.post([this] {
        sd_bus_emit_signal(bus.get(), session.c_str(), "org.freedesktop.portal.Session", "Closed", "");
    });
}

void FakePortal::leave() {
    bus.post([this] { sd_bus_close(bus.get()); });
}

} // namespace vintra
