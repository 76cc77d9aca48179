#include "Vintra/platform/linux/desktop/TakeInhibitors.h"

#include <fcntl.h>
#include <string>
#include <utility>

namespace vintra {
namespace {

constexpr MainThreadBus::Target kLogind{"org.freedesktop.login1", "/org/freedesktop/login1",
                                        "org.freedesktop.login1.Manager"};
constexpr MainThreadBus::Target kScreenSaver{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                             "org.freedesktop.ScreenSaver"};
constexpr const char* kWho = "Vintra";
constexpr const char* kInhibitorLog = "inhibitors";
constexpr int64_t kLockPatience = 15'000'000'000; // nanoseconds

} // namespace

TakeInhibitors::TakeInhibitors(MainThreadBus& systemBus, MainThreadBus& sessionBus, std::shared_ptr<Log> log,
                               std::function<void()> onShutdown)
    : systemBus(systemBus)
    , sessionBus(sessionBus)
    , log(std::move(log))
    , shutdowns(systemBus.match("type='signal',path='/org/freedesktop/login1',"
                                "interface='org.freedesktop.login1.Manager',member='PrepareForShutdown'",
                                [this, onShutdown = std::move(onShutdown)](sd_bus_message* signal) {
                                    int isBeginning = 0;
                                    if (sd_bus_message_read(signal, "b", &isBeginning) > 0 && isBeginning &&
                                        held)
                                        onShutdown();
                                })) {}

TakeInhibitors::~TakeInhibitors() {
    release();
}

void TakeInhibitors::setHeld(bool isHeld) {
    if (std::exchange(held, isHeld) == isHeld) return;
    if (isHeld) {
        hold();
    } else {
        release();
    }
}

void TakeInhibitors::hold() {
    locks.push_back(askForLock("sleep:idle", "A recording is running", "block"));
    locks.push_back(askForLock("shutdown", "The recording is being saved", "delay"));
    askScreenSaver();
}

void TakeInhibitors::release() {
    locks.clear();
    if (!screenSaverCookie) return;
    BusMessage message = sessionBus.makeCall(kScreenSaver, "UnInhibit");
    if (message) sd_bus_message_append(message.get(), "u", *screenSaverCookie);
    sessionBus.send(std::move(message));
    screenSaverCookie = std::nullopt;
}

std::unique_ptr<TakeInhibitors::Lock> TakeInhibitors::askForLock(const char* what, const char* why,
                                                                 const char* mode) {
    auto lock = std::make_unique<Lock>();
    BusMessage message = systemBus.makeCall(kLogind, "Inhibit");
    if (message) {
        sd_bus_message_append(message.get(), "ssss", what, kWho, why, mode);
    } else {
        log->write(kInhibitorLog, LogLevel::info,
                   std::string("no lock of ") + what + ": there is no system bus");
        return lock;
    }
    lock->pending = systemBus.call(
        std::move(message), kLockPatience, [this, taken = lock.get(), what](sd_bus_message* reply) {
            int descriptor = -1;
            if (isAnswer(reply) && sd_bus_message_read(reply, "h", &descriptor) > 0) {
                taken->descriptor = FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
            } else {
                log->write(kInhibitorLog, LogLevel::standard,
                           std::string("no lock of ") + what + ": " + errorTextOf(reply));
            }
        });
    return lock;
}

void TakeInhibitors::askScreenSaver() {
    BusMessage message = sessionBus.makeCall(kScreenSaver, "Inhibit");
    if (!message) return;
    sd_bus_message_append(message.get(), "ss", kWho, "A recording is running");
    screenSaver = sessionBus.call(std::move(message), kLockPatience, [this](sd_bus_message* reply) {
        uint32_t cookie = 0;
        if (isAnswer(reply) && sd_bus_message_read(reply, "u", &cookie) > 0) {
            screenSaverCookie = cookie;
            if (!held) release(); // the take was shorter than the question
        } else {
            log->write(kInhibitorLog, LogLevel::info,
                       "the screen saver stays as it is: " + errorTextOf(reply));
        }
    });
}

} // namespace vintra
