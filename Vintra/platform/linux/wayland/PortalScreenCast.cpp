#include "Vintra/platform/linux/wayland/PortalScreenCast.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kService = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kInterface = "org.freedesktop.portal.ScreenCast";
constexpr uint32_t kHiddenCursor = 1;
constexpr uint32_t kEmbeddedCursor = 2;
constexpr uint32_t kUntilRevoked = 2; // persist_mode

/// Calls `entry` for each key of a table, standing at its variant's value of the type; it reads exactly that.
void forEachEntry(sd_bus_message* message,
                  const std::function<bool(std::string_view key, std::string_view type)>& entry) {
    requireBus(sd_bus_message_enter_container(message, 'a', "{sv}"));
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        char kind = 0;
        requireBus(sd_bus_message_read(message, "s", &key));
        requireBus(sd_bus_message_peek_type(message, &kind, &type));
        requireBus(sd_bus_message_enter_container(message, 'v', type));
        if (!entry(key, type)) requireBus(sd_bus_message_skip(message, type));
        requireBus(sd_bus_message_exit_container(message));
        requireBus(sd_bus_message_exit_container(message));
    }
    requireBus(sd_bus_message_exit_container(message));
}

PortalScreenCast::Stream::Pair readPair(sd_bus_message* message) {
    PortalScreenCast::Stream::Pair pair;
    requireBus(sd_bus_message_read(message, "(ii)", &pair.first, &pair.second));
    return pair;
}

/// The first of the streams; the others weren't asked for.
void readStreams(sd_bus_message* message, PortalScreenCast::Stream& stream) {
    requireBus(sd_bus_message_enter_container(message, 'a', "(ua{sv})"));
    for (bool isFirst = true; sd_bus_message_enter_container(message, 'r', "ua{sv}") > 0; isFirst = false) {
        uint32_t node = 0;
        requireBus(sd_bus_message_read(message, "u", &node));
        if (isFirst) stream.node = node;
        forEachEntry(message, [&](std::string_view key, std::string_view type) {
            if (!isFirst || type != "(ii)" || (key != "position" && key != "size")) return false;
            (key == "size" ? stream.size : stream.position) = readPair(message);
            return true;
        });
        requireBus(sd_bus_message_exit_container(message));
    }
    requireBus(sd_bus_message_exit_container(message));
}

void requireGranted(uint32_t code) {
    if (code == 0) return;
    if (code == 1) {
        throw SystemError("portal", 6,
                          "The screen wasn't shared: the desktop's question "
                          "was declined. Start again and choose what to share.");
    }
    throw SystemError(
        "portal", 7,
        "The screen wasn't shared: the desktop ended its question without an answer. Start again; "
        "if that doesn't help, log in again.");
}

} // namespace

PortalScreenCast::PortalScreenCast(PortalBus& bus)
    : bus(bus) {
    version = property("version");
    sourceTypes = property("AvailableSourceTypes");
    cursorModes = property("AvailableCursorModes");
    const auto take = [](sd_bus_message* signal, void* data, sd_bus_error*) {
        static_cast<PortalScreenCast*>(data)->took(signal);
        return 0;
    };
    sd_bus_slot* slot = nullptr;
    requireBus(sd_bus_match_signal(bus.get(), &slot, kService, nullptr, "org.freedesktop.portal.Request",
                                   "Response", take, this));
    responses.reset(slot);
    requireBus(sd_bus_match_signal(bus.get(), &slot, kService, nullptr, "org.freedesktop.portal.Session",
                                   "Closed", take, this));
    closings.reset(slot);
    requireBus(sd_bus_add_match(bus.get(), &slot,
                                "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
                                "arg0='org.freedesktop.portal.Desktop'",
                                take, this));
    ownerChanges.reset(slot);
}

void PortalScreenCast::took(sd_bus_message* signal) {
    const std::string_view member = sd_bus_message_get_member(signal);
    const std::string path = sd_bus_message_get_path(signal);
    if (member == "Response") {
        answers[path] = PortalMessage(sd_bus_message_ref(signal));
    } else if (member == "Closed") {
        closed = closed || session == path;
    } else {
        // A portal that goes answers nothing more; what it has granted stays.
        portalHasGone = true;
    }
}

uint32_t PortalScreenCast::property(const char* name) {
    auto request = bus.makeCall(kPath, "org.freedesktop.DBus.Properties", "Get");
    requireBus(sd_bus_message_append(request.get(), "ss", kInterface, name));
    const PortalMessage reply = bus.call(std::move(request));
    uint32_t value = 0;
    requireBus(sd_bus_message_read(reply.get(), "v", "u", &value));
    return value;
}

bool PortalScreenCast::isOfWlroots() const {
    return sd_bus_get_name_creds(bus.get(), "org.freedesktop.impl.portal.desktop.wlr", 0, nullptr) >= 0;
}

PortalScreenCast::Answer PortalScreenCast::ask(const char* member, const std::string& ofSession,
                                               const char* parentWindow, PortalOptions options) {
    const std::string token = "vintra" + std::to_string(++requests);
    options.emplace_back("handle_token", token);
    auto request = bus.makeCall(kPath, kInterface, member);
    if (!ofSession.empty()) requireBus(sd_bus_message_append(request.get(), "o", ofSession.c_str()));
    if (parentWindow) requireBus(sd_bus_message_append(request.get(), "s", parentWindow));
    PortalBus::appendOptions(request.get(), options);
    const PortalMessage reply = bus.call(std::move(request));
    const char* path = nullptr;
    requireBus(sd_bus_message_read(reply.get(), "o", &path));
    // The answer may arrive before the call returns the path that identifies it.
    const auto isOver = [&] { return answers.contains(path) || closed || portalHasGone; };
    if (!bus.waitUntil(isOver, monotonicNanoseconds() + patience)) {
        throw SystemError("portal", 10,
                          "The screen wasn't shared: nobody answered the desktop's "
                          "question. Start again and choose what to share.");
    }
    const auto found = answers.find(path);
    if (found == answers.end()) requireGranted(2);
    Answer answer{0, std::move(found->second)};
    answers.erase(found);
    requireBus(sd_bus_message_read(answer.message.get(), "u", &answer.code));
    return answer;
}

std::string PortalScreenCast::createSession() {
    const Answer answer =
        ask("CreateSession", {}, nullptr, {{"session_handle_token", std::string("vintra")}});
    requireGranted(answer.code);
    std::string handle;
    forEachEntry(answer.message.get(), [&](std::string_view key, std::string_view type) {
        if (key != "session_handle" || (type != "s" && type != "o")) return false;
        const char* text = nullptr;
        requireBus(sd_bus_message_read_basic(answer.message.get(), type.front(), &text));
        handle = text;
        return true;
    });
    if (!sd_bus_object_path_is_valid(handle.c_str())) requireBus(-EBADMSG);
    return handle;
}

PortalScreenCast::Stream PortalScreenCast::start(const Request& request) {
    const auto source = static_cast<uint32_t>(request.source);
    if (!shares(request.source)) {
        throw SystemError("portal", 3,
                          request.source == Source::window
                              ? "A single window can't be recorded: the portal of this desktop shares only "
                                "whole displays. Record the display, or a region of it."
                              : "The screen can't be recorded: the desktop portal can't "
                                "share the screen. Install the one of your desktop "
                                "(xdg-desktop-portal-gnome, -kde or -wlr), and log in again.");
    }
    patience = request.patience;
    session = createSession();

    PortalOptions options{{"types", source}, {"multiple", false}};
    const uint32_t cursor = request.showsCursor ? kEmbeddedCursor : kHiddenCursor;
    if (version >= 2 && (cursorModes & cursor) != 0) options.emplace_back("cursor_mode", cursor);
    if (version >= 4 && request.isRemembered) {
        options.emplace_back("persist_mode", kUntilRevoked);
        if (!request.restoreToken.empty()) options.emplace_back("restore_token", request.restoreToken);
    }
    requireGranted(ask("SelectSources", session, nullptr, std::move(options)).code);

    const Answer answer = ask("Start", session, "", {});
    requireGranted(answer.code);
    Stream stream;
    bool hasStream = false;
    forEachEntry(answer.message.get(), [&](std::string_view key, std::string_view type) {
        if (key == "streams" && type == "a(ua{sv})") {
            readStreams(answer.message.get(), stream);
            hasStream = stream.node != 0;
            return true;
        }
        if (key != "restore_token" || type != "s") return false;
        const char* token = nullptr;
        requireBus(sd_bus_message_read(answer.message.get(), "s", &token));
        stream.restoreToken = token;
        return true;
    });
    if (!hasStream) requireGranted(2);
    stream.remote = openRemote();
    return stream;
}

FileDescriptor PortalScreenCast::openRemote() {
    auto request = bus.makeCall(kPath, kInterface, "OpenPipeWireRemote");
    requireBus(sd_bus_message_append(request.get(), "o", session.c_str()));
    PortalBus::appendOptions(request.get(), {});
    const PortalMessage reply = bus.call(std::move(request));
    int borrowed = -1;
    requireBus(sd_bus_message_read(reply.get(), "h", &borrowed));
    FileDescriptor remote(::fcntl(borrowed, F_DUPFD_CLOEXEC, 3));
    if (!remote.isOpen()) {
        throw SystemError("posix", errno, "The screen can't be recorded: too many files are open.");
    }
    return remote;
}

} // namespace vintra
