#include "Vintra/platform/linux/updates/PackageKitTransaction.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kPackageKit = "org.freedesktop.PackageKit";
constexpr const char* kPackageKitPath = "/org/freedesktop/PackageKit";
constexpr const char* kTransaction = "org.freedesktop.PackageKit.Transaction";
/// The bus may have to start the service first. The call itself is answered at once: signals tell the rest.
constexpr int64_t kPackageKitPatience = 30'000'000'000; // nanoseconds
/// The call waits for the user to give the password.
constexpr int64_t kPasswordPatience = 3'600'000'000'000; // nanoseconds
constexpr uint64_t kInstalledFilter = 1 << 2;
constexpr uint64_t kNoFlags = 0;
constexpr uint32_t kSuccess = 1;
constexpr uint32_t kCancelledExit = 3;

void appendTexts(sd_bus_message* message, std::initializer_list<const char*> texts) {
    sd_bus_message_open_container(message, 'a', "s");
    for (const char* const text : texts)
        sd_bus_message_append(message, "s", text);
    sd_bus_message_close_container(message);
}

} // namespace

PackageKitTransaction::AppendArguments PackageKitTransaction::installedPackage(const std::string& name) {
    return [name](sd_bus_message* request) {
        sd_bus_message_append(request, "t", kInstalledFilter);
        appendTexts(request, {name.c_str()});
    };
}

PackageKitTransaction::AppendArguments PackageKitTransaction::localFile(const std::string& path) {
    return [path](sd_bus_message* request) { appendTexts(request, {path.c_str()}); };
}

PackageKitTransaction::AppendArguments PackageKitTransaction::filesToInstall(const std::string& path) {
    return [path](sd_bus_message* request) {
        sd_bus_message_append(request, "t", kNoFlags);
        appendTexts(request, {path.c_str()});
    };
}

/// Nothing that needs the package goes with it, and nothing that it needed.
PackageKitTransaction::AppendArguments PackageKitTransaction::packageToRemove(const std::string& id) {
    return [id](sd_bus_message* request) {
        sd_bus_message_append(request, "t", kNoFlags);
        appendTexts(request, {id.c_str()});
        sd_bus_message_append(request, "bb", 0, 0);
    };
}

PackageKitTransaction::PackageKitTransaction(MainThreadBus& bus, std::string member, AppendArguments append,
                                             OnEnd onEnd, OnProgress onProgress)
    : bus(bus)
    , member(std::move(member))
    , append(std::move(append))
    , onEnd(std::move(onEnd))
    , onProgress(std::move(onProgress)) {
    creation = bus.call(bus.makeCall({kPackageKit, kPackageKitPath, kPackageKit}, "CreateTransaction"),
                        kPackageKitPatience, [this](sd_bus_message* reply) {
                            const char* made = nullptr;
                            if (!isAnswer(reply) || sd_bus_message_read(reply, "o", &made) < 0)
                                return fail(Error::noPackageKit, errorTextOf(reply));
                            begin(made);
                        });
}

MainThreadBus::Target PackageKitTransaction::target() const {
    return {kPackageKit, path.c_str(), kTransaction};
}

void PackageKitTransaction::begin(const std::string& made) {
    path = made;
    const std::string from = std::string("type='signal',sender='") + kPackageKit + "',path='" + path + "'";
    signals = bus.match(from + ",interface='" + kTransaction + "'",
                        [this](sd_bus_message* message) { handleSignal(message); });
    properties = bus.match(from + ",interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
                           [this](sd_bus_message* message) { handleProperties(message); });
    departure = bus.match(
        std::string("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") +
            kPackageKit + "',arg2=''",
        [this](sd_bus_message*) { fail(Error::noPackageKit, "it ended"); });
    BusMessage wishes = bus.makeCall(target(), "SetHints");
    if (wishes) appendTexts(wishes.get(), {"interactive=true", "background=false"});
    hints = bus.call(std::move(wishes), kPackageKitPatience, [](sd_bus_message*) {});
    BusMessage request = bus.makeCall(target(), member.c_str());
    if (request) {
        append(request.get());
        sd_bus_message_set_allow_interactive_authorization(request.get(), 1);
    }
    call = bus.call(std::move(request), kPasswordPatience, [this](sd_bus_message* reply) {
        if (isAnswer(reply)) return;
        const bool isRefused = errorNameOf(reply).find("RefusedByPolicy") != std::string::npos;
        fail(isRefused ? Error::notAuthorized : Error::internal, errorTextOf(reply));
    });
}

void PackageKitTransaction::handleSignal(sd_bus_message* message) {
    const std::string_view name = sd_bus_message_get_member(message);
    const char* first = nullptr;
    const char* second = nullptr;
    uint32_t number = 0;
    if (name == "Package") {
        if (sd_bus_message_read(message, "uss", &number, &first, &second) >= 0)
            result.packages.emplace_back(first);
    } else if (name == "Packages") {
        handlePackages(message);
    } else if (name == "Details") {
        handleDetails(message);
    } else if (name == "ErrorCode") {
        if (sd_bus_message_read(message, "us", &number, &first) >= 0 && !result.failure)
            result.failure = Failure{.code = number, .details = first};
    } else if (name == "Finished") {
        uint32_t milliseconds = 0;
        if (sd_bus_message_read(message, "uu", &number, &milliseconds) < 0) number = 0;
        if (number != kSuccess && !result.failure) {
            const Error error = number == kCancelledExit ? Error::cancelled : Error::internal;
            result.failure = Failure{.code = static_cast<uint32_t>(error), .details = "it gave no reason"};
        }
        end();
    } else if (name == "Destroy") {
        fail(Error::internal, "it gave no reason");
    }
}

/// Several at once, as later versions tell them.
void PackageKitTransaction::handlePackages(sd_bus_message* message) {
    if (sd_bus_message_enter_container(message, 'a', "(uss)") < 0) return;
    uint32_t state = 0;
    const char* id = nullptr;
    const char* summary = nullptr;
    while (sd_bus_message_read(message, "(uss)", &state, &id, &summary) > 0)
        result.packages.emplace_back(id);
}

void PackageKitTransaction::handleDetails(sd_bus_message* message) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* text = nullptr;
        sd_bus_message_read(message, "s", &key);
        if (key && std::strcmp(key, "package-id") == 0 && sd_bus_message_read(message, "v", "s", &text) > 0) {
            result.packages.emplace_back(text);
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
}

void PackageKitTransaction::handleProperties(sd_bus_message* message) {
    if (sd_bus_message_skip(message, "s") < 0 || sd_bus_message_enter_container(message, 'a', "{sv}") < 0)
        return;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        uint32_t percent = 0;
        sd_bus_message_read(message, "s", &key);
        if (key && std::strcmp(key, "Percentage") == 0 &&
            sd_bus_message_read(message, "v", "u", &percent) > 0) {
            if (percent <= 100 && !hasEnded) onProgress(static_cast<int>(percent)); // 101: not known
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
}

void PackageKitTransaction::fail(Error error, const std::string& details) {
    if (hasEnded) return;
    if (!result.failure) result.failure = Failure{.code = static_cast<uint32_t>(error), .details = details};
    end();
}

/// The function may let go of this.
void PackageKitTransaction::end() {
    if (std::exchange(hasEnded, true)) return;
    const OnEnd told = std::exchange(onEnd, nullptr);
    told(std::move(result));
}

} // namespace vintra
