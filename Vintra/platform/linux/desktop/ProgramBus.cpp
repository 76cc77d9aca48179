#include "Vintra/platform/linux/desktop/ProgramBus.h"

#include "Vintra/platform/linux/desktop/PortalRequest.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kApplication = "org.freedesktop.Application";
constexpr MainThreadBus::Target kDaemon{"org.freedesktop.DBus", "/org/freedesktop/DBus",
                                        "org.freedesktop.DBus"};
/// For a program that may be about to start, on a busy machine.
constexpr int64_t kFirstsPatience = 10'000'000'000; // nanoseconds
constexpr int64_t kWithoutEnd = std::numeric_limits<int64_t>::max() / 2;
constexpr int64_t kNameQuestionPatience = 5'000'000'000; // nanoseconds

constexpr const char* kNoBus = "There is no session bus";
constexpr const char* kHungBus = "The session bus doesn't answer";
constexpr const char* kSoThat = ": the commands of vintra and a second start don't reach this window.";

std::string pathOf(std::string name) {
    std::replace(name.begin(), name.end(), '.', '/');
    return "/" + name;
}

std::string environmentText(const char* variable) {
    const char* const value = std::getenv(variable);
    return value ? value : "";
}

/// Activation data as the desktop's programs hand it on.
ProgramBus::Activation activationOf(sd_bus_message* message) {
    ProgramBus::Activation activation;
    forEachEntry(message, [&](const std::string& key, sd_bus_message* value) {
        const char* text = nullptr;
        const bool isKnown = key == "activation-token" || key == "desktop-startup-id";
        if (!isKnown || sd_bus_message_read(value, "s", &text) <= 0) return;
        (key == "activation-token" ? activation.token : activation.startupID) = text;
    });
    return activation;
}

/// A reply that is sent whenever the outcome is known.
std::function<void(CommandOutcome)> answerTo(sd_bus_message* message, MainThreadBus& bus) {
    const std::shared_ptr<sd_bus_message> question(sd_bus_message_ref(message),
                                                   [](sd_bus_message* one) { sd_bus_message_unref(one); });
    return [question, &bus](const CommandOutcome& outcome) {
        sd_bus_reply_method_return(question.get(), "bs", int{outcome.isDone}, outcome.sentence.c_str());
        bus.update();
    };
}

} // namespace

ProgramBus::ProgramBus(MainThreadBus& sessionBus, std::string name)
    : bus(sessionBus)
    , name(std::move(name))
    , path(pathOf(this->name))
    , controlInterface(this->name + ".Control") {}

ProgramBus::~ProgramBus() = default;

/// False if there is no bus, or none that answers in time: the first says which.
bool ProgramBus::awaitBus() {
    if (bus.waitUntil([this] { return bus.isReady(); }, kMessageBusPatience)) return true;
    problem_ = bus.isGone() ? kNoBus : kHungBus;
    return false;
}

ProgramBus::Standing ProgramBus::claim() {
    if (!awaitBus()) {
        problem_ += kSoThat;
        return Standing::alone;
    }
    std::optional<uint32_t> result;
    BusMessage request = bus.makeCall(kDaemon, "RequestName");
    constexpr uint32_t kDoNotQueue = 4;
    if (request) sd_bus_message_append(request.get(), "su", name.c_str(), kDoNotQueue);
    bool hasAnswered = false;
    const BusSlot slot = bus.call(std::move(request), kNameQuestionPatience, [&](sd_bus_message* reply) {
        hasAnswered = true;
        uint32_t number = 0;
        if (isAnswer(reply) && sd_bus_message_read(reply, "u", &number) > 0) result = number;
    });
    bus.waitUntil([&] { return hasAnswered; }, kNameQuestionPatience);
    constexpr uint32_t kExists = 3;
    if (result == kExists) return Standing::second;
    if (result) return Standing::first;
    problem_ = std::string("The session bus gives Vintra no name") + kSoThat;
    return Standing::alone;
}

std::string ProgramBus::problemOfHungBus() {
    return std::string(kHungBus) + kSoThat;
}

void ProgramBus::serve(Handlers given) {
    handlers = std::move(given);
    static const sd_bus_vtable applicationTable[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Activate", "a{sv}", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Open", "asa{sv}", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("ActivateAction", "sava{sv}", "", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    static const sd_bus_vtable controlTable[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Run", "s", "bs", called, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    if (!bus.get()) return;
    const auto add = [this](const std::string& interface, const sd_bus_vtable* table) {
        sd_bus_slot* slot = nullptr;
        sd_bus_add_object_vtable(bus.get(), &slot, path.c_str(), interface.c_str(), table, this);
        return BusSlot(slot);
    };
    application = add(kApplication, applicationTable);
    control = add(controlInterface, controlTable);
    bus.update();
}

int ProgramBus::called(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& self = *static_cast<ProgramBus*>(data);
    const std::string member = sd_bus_message_get_member(message);
    if (member == "Run") return self.answerCommand(message);
    if (member == "ActivateAction") return self.answerAction(message);
    return self.answerActivation(message);
}

int ProgramBus::answerCommand(sd_bus_message* message) {
    const char* word = nullptr;
    if (sd_bus_message_read(message, "s", &word) < 0) return -EINVAL;
    const auto command = programCommandOfWord(word);
    const auto answer = answerTo(message, bus);
    if (command) {
        handlers.carryOut(*command, answer);
    } else {
        answer({false, "This Vintra doesn't know the command “" + std::string(word) +
                           "”: it is another version. End it and start it anew."});
    }
    return 1;
}

/// What it opens are no files.
int ProgramBus::answerActivation(sd_bus_message* message) {
    if (sd_bus_message_is_method_call(message, nullptr, "Open") > 0) sd_bus_message_skip(message, "as");
    handlers.activate(activationOf(message));
    return sd_bus_reply_method_return(message, "");
}

/// A command as an action of the menu entry, which has no answer.
int ProgramBus::answerAction(sd_bus_message* message) {
    const char* word = nullptr;
    if (sd_bus_message_read(message, "s", &word) < 0) return -EINVAL;
    const auto command = programCommandOfWord(word);
    if (!command) return -EINVAL;
    handlers.carryOut(*command, [](const CommandOutcome&) {});
    return sd_bus_reply_method_return(message, "");
}

BusMessage ProgramBus::askFirst(const std::string& interface, const char* member) const {
    return bus.makeCall({name.c_str(), path.c_str(), interface.c_str()}, member);
}

CommandOutcome ProgramBus::raiseFirst(const Activation& activation) {
    BusMessage message = askFirst(kApplication, "Activate");
    if (message) {
        sd_bus_message_open_container(message.get(), 'a', "{sv}");
        if (!activation.token.empty())
            PortalRequest::appendOption(message.get(), "activation-token", activation.token);
        if (!activation.startupID.empty())
            PortalRequest::appendOption(message.get(), "desktop-startup-id", activation.startupID);
        sd_bus_message_close_container(message.get());
    }
    CommandOutcome outcome{false, "Vintra runs already but doesn't answer. End it and start it anew."};
    bool hasAnswered = false;
    const BusSlot slot = bus.call(std::move(message), kFirstsPatience, [&](sd_bus_message* reply) {
        hasAnswered = true;
        if (isAnswer(reply)) outcome = {true, "Vintra runs already: its window comes to the front."};
    });
    bus.waitUntil([&] { return hasAnswered; }, kFirstsPatience);
    return outcome;
}

/// Whether the event loop of the program with the name turns.
bool ProgramBus::firstAnswers() {
    bool hasAnswered = false;
    bool isThere = false;
    const BusSlot slot =
        bus.call(askFirst("org.freedesktop.DBus.Peer", "Ping"), kFirstsPatience, [&](sd_bus_message* reply) {
            hasAnswered = true;
            isThere = isAnswer(reply);
        });
    bus.waitUntil([&] { return hasAnswered; }, kFirstsPatience);
    return isThere;
}

CommandOutcome ProgramBus::command(ProgramCommand command, bool& isRunning) {
    isRunning = false;
    if (!awaitBus()) return {false, problem_ + ": a Vintra that runs can't be reached."};
    std::optional<bool> hasOwner;
    BusMessage question = bus.makeCall(kDaemon, "NameHasOwner");
    if (question) sd_bus_message_append(question.get(), "s", name.c_str());
    bool hasAnswered = false;
    const BusSlot asked = bus.call(std::move(question), kNameQuestionPatience, [&](sd_bus_message* reply) {
        hasAnswered = true;
        int flag = 0;
        if (isAnswer(reply) && sd_bus_message_read(reply, "b", &flag) > 0) hasOwner = flag != 0;
    });
    bus.waitUntil([&] { return hasAnswered; }, kNameQuestionPatience);
    if (!hasOwner) return {false, std::string(kHungBus) + ": a Vintra that runs can't be reached."};
    if (!*hasOwner) return {false, "Vintra isn't running."};
    isRunning = true;
    if (!firstAnswers()) return {false, "Vintra runs but doesn't answer. End it and start it anew."};

    BusMessage message = askFirst(controlInterface, "Run");
    if (message) sd_bus_message_append(message.get(), "s", wordOf(command));
    CommandOutcome outcome{false, "Vintra ended before it had answered."};
    hasAnswered = false;
    const BusSlot told = bus.call(std::move(message), kWithoutEnd, [&](sd_bus_message* reply) {
        hasAnswered = true;
        int isDone = 0;
        const char* sentence = nullptr;
        if (isAnswer(reply) && sd_bus_message_read(reply, "bs", &isDone, &sentence) > 0)
            outcome = {isDone != 0, sentence};
    });
    bus.waitUntil([&] { return hasAnswered; }, kWithoutEnd);
    if (command == ProgramCommand::quit && outcome.isDone) awaitEndOfFirst();
    return outcome;
}

void ProgramBus::awaitEndOfFirst() {
    bool hasEnded = false;
    // Listened to before the question, so that no end is missed.
    const BusSlot changes =
        bus.match("type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                  "member='NameOwnerChanged',arg0='" +
                      name + "',arg2=''",
                  [&](sd_bus_message*) { hasEnded = true; });
    BusMessage question = bus.makeCall(kDaemon, "NameHasOwner");
    if (question) sd_bus_message_append(question.get(), "s", name.c_str());
    const BusSlot asked = bus.call(std::move(question), kNameQuestionPatience, [&](sd_bus_message* reply) {
        int flag = 1;
        if (isAnswer(reply) && sd_bus_message_read(reply, "b", &flag) > 0 && flag == 0) hasEnded = true;
    });
    bus.waitUntil([&] { return hasEnded; }, kWithoutEnd);
}

ProgramBus::Activation ProgramBus::activationOfStart() {
    return {.token = environmentText("XDG_ACTIVATION_TOKEN"),
            .startupID = environmentText("DESKTOP_STARTUP_ID")};
}

} // namespace vintra
