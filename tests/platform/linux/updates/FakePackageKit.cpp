#include "tests/platform/linux/updates/FakePackageKit.h"

#include <cstdarg>

namespace vintra {
namespace {

constexpr const char* kPackageKitTransaction = "org.freedesktop.PackageKit.Transaction";
/// From one that a test has just ended.
constexpr uint64_t kTakesOver = SD_BUS_NAME_ALLOW_REPLACEMENT | SD_BUS_NAME_REPLACE_EXISTING;
constexpr uint32_t kExitSuccess = 1;
constexpr uint32_t kExitFailed = 2;

} // namespace

FakePackageKit::FakePackageKit(const std::string& busAddress, Script script)
    : script(std::move(script))
    , bus(busAddress) {
    static const sd_bus_vtable serviceTable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("CreateTransaction", "", "o", created, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
    static const sd_bus_vtable transactionTable[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("SetHints", "as", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Resolve", "tas", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("GetDetailsLocal", "as", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("InstallFiles", "tas", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("RemovePackages", "tasbb", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    static const sd_bus_vtable managerTable[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("RestartUnit", "ss", "o", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    sd_bus_add_object_vtable(bus.get(), nullptr, "/org/freedesktop/PackageKit", "org.freedesktop.PackageKit",
                             serviceTable, this);
    sd_bus_add_fallback_vtable(bus.get(), nullptr, "/", kPackageKitTransaction, transactionTable, nullptr,
                               this);
    sd_bus_add_object_vtable(bus.get(), nullptr, "/org/freedesktop/systemd1",
                             "org.freedesktop.systemd1.Manager", managerTable, this);
    sd_bus_request_name(bus.get(), "org.freedesktop.PackageKit", kTakesOver);
    sd_bus_request_name(bus.get(), "org.freedesktop.systemd1", kTakesOver);
    bus.begin();
}

std::vector<std::string> FakePackageKit::calls() const {
    MutexLock lock(mutex);
    return calls_;
}

void FakePackageKit::note(const std::string& call) {
    MutexLock lock(mutex);
    calls_.push_back(call);
}

int FakePackageKit::created(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& self = *static_cast<FakePackageKit*>(data);
    const std::string path = "/" + std::to_string(++self.transactions) + "_abcdef";
    return sd_bus_reply_method_return(message, "o", path.c_str());
}

int FakePackageKit::called(sd_bus_message* message, void* data, sd_bus_error*) {
    return static_cast<FakePackageKit*>(data)->perform(message);
}

std::string FakePackageKit::textOf(sd_bus_message* message) {
    std::string text = sd_bus_message_get_member(message);
    const std::string types = sd_bus_message_get_signature(message, true);
    for (size_t at = 0; at < types.size(); ++at) {
        const char* word = nullptr;
        uint64_t number = 0;
        int flag = 0;
        if (types[at] == 't') {
            sd_bus_message_read(message, "t", &number);
            text += " " + std::to_string(number);
        } else if (types[at] == 'b') {
            sd_bus_message_read(message, "b", &flag);
            text += flag ? " yes" : " no";
        } else if (types[at] == 's') {
            sd_bus_message_read(message, "s", &word);
            text += " " + std::string(word);
        } else {
            sd_bus_message_enter_container(message, 'a', "s");
            while (sd_bus_message_read(message, "s", &word) > 0)
                text += " " + std::string(word);
            sd_bus_message_exit_container(message);
            ++at;
        }
    }
    return text;
}

/// In the order in which PackageKit 1.2.6 says it: the answer to the call, what it found, its progress, an error, the end.
int FakePackageKit::perform(sd_bus_message* message) {
    const std::string member = sd_bus_message_get_member(message);
    const std::string path = sd_bus_message_get_path(message);
    note(textOf(message));
    if (member == "RestartUnit") return sd_bus_reply_method_return(message, "o", "/job/1");
    if (member == script.refusedCall) {
        return sd_bus_reply_method_errorf(message, "org.freedesktop.PackageKit.Transaction.RefusedByPolicy",
                                          "failed to obtain authentication");
    }
    if (member == script.endsAt) {
        sd_bus_close(bus.get());
        return 1;
    }
    const int result = sd_bus_reply_method_return(message, "");
    if (member == "SetHints") return result;
    const auto error = script.errors.find(member);
    if (error != script.errors.end()) {
        signal(path.c_str(), "ErrorCode", "us", error->second.first, error->second.second.c_str());
    } else if (member == "Resolve") {
        tellInstalled(path.c_str());
    } else if (member == "GetDetailsLocal") {
        for (const std::string& id : script.local)
            signal(path.c_str(), "Details", "a{sv}", 2, "package-id", "s", id.c_str(), "size", "t",
                   uint64_t{10});
    } else {
        tellProgress(path.c_str());
        hasChanged = !script.exits.contains(member);
    }
    const auto exit = script.exits.find(member);
    const uint32_t usual = error == script.errors.end() ? kExitSuccess : kExitFailed;
    signal(path.c_str(), "Finished", "uu", exit == script.exits.end() ? usual : exit->second, 12u);
    signal(path.c_str(), "Destroy", "");
    return result;
}

void FakePackageKit::tellInstalled(const char* path) {
    const auto& ids =
        hasChanged && script.installedAfterwards ? *script.installedAfterwards : script.installed;
    for (const std::string& id : ids) {
        if (script.tellsSeveralAtOnce) {
            signal(path, "Packages", "a(uss)", 1, 1u, id.c_str(), "summary");
        } else {
            signal(path, "Package", "uss", 1u, id.c_str(), "summary");
        }
    }
}

void FakePackageKit::tellProgress(const char* path) {
    for (const uint32_t percent : {101u, 30u, 80u}) {
        sd_bus_message* message = nullptr;
        sd_bus_message_new_signal(bus.get(), &message, path, "org.freedesktop.DBus.Properties",
                                  "PropertiesChanged");
        sd_bus_message_append(message, "sa{sv}as", kPackageKitTransaction, 2, "Status", "u", 8u, "Percentage",
                              "u", percent, 0);
        sd_bus_send(bus.get(), message, nullptr);
        sd_bus_message_unref(message);
    }
}

void FakePackageKit::signal(const char* path, const char* name, const char* types, ...) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_signal(bus.get(), &message, path, kPackageKitTransaction, name);
    va_list arguments;
    va_start(arguments, types);
    sd_bus_message_appendv(message, types, arguments);
    va_end(arguments);
    sd_bus_send(bus.get(), message, nullptr);
    sd_bus_message_unref(message);
}

} // namespace vintra
