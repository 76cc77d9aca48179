#include "Vintra/platform/linux/desktop/MainThreadBus.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <limits>
#include <poll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <utility>

namespace vintra {
namespace {

/// A bus that lives greets in milliseconds.
constexpr int64_t kGreetingPatience = 2'000'000'000; // nanoseconds
constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

struct Handler {
    std::function<void(sd_bus_message*)> handle;

    static int called(sd_bus_message* message, void* data, sd_bus_error*) {
        // A copy: what it calls may let go of the slot.
        const auto handle = static_cast<Handler*>(data)->handle;
        handle(message);
        return 0;
    }
    static void destroy(void* data) { delete static_cast<Handler*>(data); }
};

BusSlot owningSlot(int result, sd_bus_slot* slot, std::unique_ptr<Handler> handler) {
    if (result < 0) return nullptr;
    sd_bus_slot_set_destroy_callback(slot, Handler::destroy);
    [[maybe_unused]] Handler* const slots = handler.release();
    return BusSlot(slot);
}

sd_bus* opened(MessageBus kind, const std::string& address) {
    sd_bus* bus = nullptr;
    int result = 0;
    if (address.empty()) {
        result = kind == MessageBus::session ? sd_bus_open_user(&bus) : sd_bus_open_system(&bus);
    } else {
        result = sd_bus_new(&bus);
        if (result >= 0) result = sd_bus_set_address(bus, address.c_str());
        if (result >= 0) result = sd_bus_set_bus_client(bus, true);
        if (result >= 0) result = sd_bus_start(bus);
    }
    if (result >= 0) return bus;
    sd_bus_unref(bus);
    return nullptr;
}

} // namespace

MainThreadBus::MainThreadBus(EventLoop& loop, MessageBus kind, const std::string& address)
    : loop(loop)
    , bus(opened(kind, address))
    , hasGone(!bus)
    , greetingDeadline(monotonicNanoseconds() + kGreetingPatience)
    , timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (hasGone) return;
    if (timer.isOpen()) {
        timing = loop.watch(timer.get(), EventLoop::Readiness::readable, [this] {
            uint64_t count = 0;
            [[maybe_unused]] const ssize_t size = ::read(timer.get(), &count, sizeof count);
            serve();
        });
    }
    update();
}

MainThreadBus::~MainThreadBus() {
    leave();
}

BusMessage MainThreadBus::makeCall(const Target& target, const char* member) const {
    sd_bus_message* message = nullptr;
    if (!hasGone) {
        sd_bus_message_new_method_call(bus.get(), &message, target.destination, target.path, target.interface,
                                       member);
    }
    return BusMessage(message);
}

BusSlot MainThreadBus::call(BusMessage request, int64_t patience, OnReply onReply) {
    auto handler = std::make_unique<Handler>(Handler{onReply});
    sd_bus_slot* slot = nullptr;
    int result = -1;
    if (!hasGone && request) {
        result = sd_bus_call_async(bus.get(), &slot, request.get(), Handler::called, handler.get(),
                                   static_cast<uint64_t>(patience / 1000));
    }
    BusSlot kept = owningSlot(result, slot, std::move(handler));
    if (kept) {
        update();
    } else {
        loop.post([onReply = std::move(onReply)] { onReply(nullptr); });
    }
    return kept;
}

void MainThreadBus::send(BusMessage message) {
    if (hasGone || !message) return;
    sd_bus_message_set_expect_reply(message.get(), 0);
    sd_bus_send(bus.get(), message.get(), nullptr);
    update();
}

BusSlot MainThreadBus::match(const std::string& rule, OnMessage onMessage) {
    auto handler = std::make_unique<Handler>(Handler{std::move(onMessage)});
    sd_bus_slot* slot = nullptr;
    int result = -1;
    if (!hasGone) {
        result =
            sd_bus_add_match_async(bus.get(), &slot, rule.c_str(), Handler::called, nullptr, handler.get());
    }
    BusSlot kept = owningSlot(result, slot, std::move(handler));
    update();
    return kept;
}

bool MainThreadBus::waitUntil(const std::function<bool()>& condition, int64_t patience) {
    const int64_t deadline = monotonicNanoseconds() + patience;
    while (!condition()) {
        if (hasGone) return false;
        const int result = sd_bus_process(bus.get(), nullptr);
        if (result < 0) leave();
        if (result != 0) continue;
        const int64_t left = deadline - monotonicNanoseconds();
        if (left <= 0) break;
        sd_bus_wait(bus.get(), static_cast<uint64_t>(left / 1000) + 1);
    }
    update();
    return condition();
}

void MainThreadBus::serve() {
    if (!hasGone) process();
    update();
}

/// Sees to what is to be waited for. Handles nothing: whoever asks for something isn't called in the middle of that.
void MainThreadBus::update() {
    if (hasGone) return;
    const int descriptor = sd_bus_get_fd(bus.get());
    const int events = sd_bus_get_events(bus.get());
    if (descriptor < 0 || events < 0) return leave();
    if (descriptor != watched) {
        watched = descriptor;
        writing = nullptr;
        reading = loop.watch(descriptor, EventLoop::Readiness::readable, [this] { serve(); });
    }
    const bool wantsToWrite = (events & POLLOUT) != 0;
    if (!wantsToWrite) writing = nullptr;
    if (wantsToWrite && !writing) {
        writing = loop.watch(descriptor, EventLoop::Readiness::writable, [this] { serve(); });
    }
    armTimer();
}

void MainThreadBus::process() {
    const bool isMute = sd_bus_is_ready(bus.get()) <= 0 && monotonicNanoseconds() >= greetingDeadline;
    // Its end tells all those who wait for an answer.
    if (isMute) ::shutdown(sd_bus_get_fd(bus.get()), SHUT_RDWR);
    int result = 1;
    while (result > 0)
        result = sd_bus_process(bus.get(), nullptr);
    if (result < 0) leave();
}

void MainThreadBus::armTimer() {
    uint64_t microseconds = 0;
    int64_t due = kNever;
    if (sd_bus_get_timeout(bus.get(), &microseconds) > 0 &&
        microseconds < static_cast<uint64_t>(kNever / 1000)) {
        due = static_cast<int64_t>(microseconds) * 1000;
    }
    if (sd_bus_is_ready(bus.get()) <= 0) due = std::min(due, greetingDeadline);
    itimerspec schedule{};
    if (due != kNever) {
        due = std::max<int64_t>(due, 1); // zero would disarm it
        schedule.it_value = {static_cast<time_t>(due / 1'000'000'000),
                             static_cast<long>(due % 1'000'000'000)};
    }
    timerfd_settime(timer.get(), TFD_TIMER_ABSTIME, &schedule, nullptr);
}

void MainThreadBus::leave() {
    hasGone = true;
    writing = nullptr;
    reading = nullptr;
    timing = nullptr;
}

bool isAnswer(sd_bus_message* reply) {
    return reply != nullptr && sd_bus_message_is_method_error(reply, nullptr) == 0;
}

std::string errorTextOf(sd_bus_message* reply) {
    const sd_bus_error* const error = reply ? sd_bus_message_get_error(reply) : nullptr;
    return error && error->message ? error->message : "no answer";
}

std::string errorNameOf(sd_bus_message* reply) {
    const sd_bus_error* const error = reply ? sd_bus_message_get_error(reply) : nullptr;
    return error && error->name ? error->name : "";
}

} // namespace vintra
