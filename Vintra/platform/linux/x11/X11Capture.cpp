#include "Vintra/platform/linux/x11/X11Capture.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/PicturesOnTheirWay.h"

#include <algorithm>
#include <poll.h>
#include <utility>

namespace vintra {
namespace {

constexpr int32_t kSecond = 1'000'000'000; // nanoseconds
/// For the server's answers when a capture begins, and for those under way when it ends.
constexpr int64_t kOpeningPatience = 5LL * kSecond;
constexpr int64_t kLastPatience = 2LL * kSecond;
/// A display that changes its mode is gone for less than this, which isn't worth a word.
constexpr int64_t kMomentaryAbsence = 1LL * kSecond;
/// How often a display that is gone is looked for: when the server tells of anything, which may be every movement of
/// the pointer, and otherwise.
constexpr int64_t kLookForDisplayAtMost = kSecond / 20;
constexpr int64_t kLookForDisplay = 1LL * kSecond;

} // namespace

X11Capture::X11Capture(Settings settings, Outlets outlets)
    : ScreenCaptureThread(settings.configuration.minimumFrameInterval, std::move(outlets))
    , settings(std::move(settings)) {}

void X11Capture::open() {
    display = X11Display::open(settings.displayName);
    {
        MutexLock lock(connectionMutex);
        connection = ConnectionNumber(display->get());
    }
    limitConnection(kOpeningPatience);
    source = makePictureSource(*display, settings.subject, settings.configuration.sourceRect);
    damage = std::make_unique<X11DamageWatch>(*display, source->watched());
    if (settings.configuration.showsCursor) cursor.watch(*display);
    makePool();
    MutexLock lock(connectionMutex);
    if (!isStopping()) patience.reset();
}

/// Once: the time that was set first counts.
void X11Capture::limitConnection(int64_t nanoseconds) {
    MutexLock lock(connectionMutex);
    if (connection >= 0 && !patience) patience = std::make_unique<X11Patience>(connection, nanoseconds);
}

void X11Capture::hurry() {
    limitConnection(kLastPatience);
}

/// A server that hung when the capture was to end: what it showed last isn't in the movie. And a display that was gone.
std::optional<SystemError> X11Capture::problemAtTheEnd() const {
    std::string text;
    {
        MutexLock lock(absenceMutex);
        if (absence.longest >= kMomentaryAbsence) {
            const int64_t seconds = (absence.sum + kSecond / 2) / kSecond;
            text = absence.reason->localizedDescription() + " For " + std::to_string(seconds) +
                   (seconds == 1 ? " second" : " seconds") +
                   " of the recording the movie shows the last picture.";
        }
    }
    MutexLock lock(connectionMutex);
    if (patience && patience->isOver()) {
        text += std::string(text.empty() ? "" : " ") +
                "The X server no longer answered when the recording ended: the movie of the screen "
                "holds the last picture that it gave.";
    }
    return text.empty() ? std::nullopt : std::optional(SystemError("x11", 19, text));
}

std::optional<SystemError> X11Capture::interruption() const {
    MutexLock lock(absenceMutex);
    if (!absence.since || monotonicNanoseconds() - *absence.since < kMomentaryAbsence) return std::nullopt;
    return absence.reason;
}

void X11Capture::noteAbsence(const SystemError& reason) {
    MutexLock lock(absenceMutex);
    if (!absence.since) absence.since = monotonicNanoseconds();
    absence.reason = reason;
}

/// True if there was an absence.
bool X11Capture::noteReturn() {
    MutexLock lock(absenceMutex);
    if (!absence.since) return false;
    const int64_t length = monotonicNanoseconds() - *absence.since;
    absence.longest = std::max(absence.longest, length);
    absence.sum += length;
    absence.since.reset();
    return true;
}

/// What was drawn before the absence has been told as missed, what was drawn in it wasn't there to be taken. Nor need the
/// server tell that a display that comes back has other pixels.
void X11Capture::beginAnew() {
    earliestLook = std::max(earliestLook, monotonicNanoseconds());
    pool->markAllStale();
    owesFrame = true;
}

void X11Capture::awaitReturn(const SystemError& reason) {
    const int64_t now = monotonicNanoseconds();
    tellMissed(now);
    noteAbsence(reason);
    sleep(false, now + kLookForDisplayAtMost);
    if (!isStopping()) sleep(true, now + kLookForDisplay);
}

void X11Capture::close() {
    limitConnection(kLastPatience);
    {
        MutexLock lock(connectionMutex);
        connection = -1;
    }
    if (pool) pool->detach(*display);
    pool.reset();
    damage.reset();
    source.reset();
    display.reset();
}

/// A changed size goes into the frames as it is: whoever writes them scales to the size that the movie began
/// with.
std::optional<SystemError> X11Capture::adoptDesktop() {
    const PixelRect before = source->place().watched;
    const auto outcome = source->update(*display);
    if (const auto* error = std::get_if<SystemError>(&outcome)) return *error;
    cursor.expectMove();
    if (std::get<X11PictureSource::Update>(outcome) == X11PictureSource::Update::moved) return std::nullopt;
    const PixelRect now = source->place().watched;
    if (now.width != before.width || now.height != before.height) {
        makePool();
    } else {
        pool->markAllStale();
        owesFrame = true;
    }
    return std::nullopt;
}

void X11Capture::makePool() {
    if (pool) pool->detach(*display);
    const X11PicturePlace& place = source->place();
    const PixelRect& area = place.watched;
    pool = std::make_shared<X11PicturePool>(
        PicturePool::Shape{
            .width = area.width,
            .height = area.height,
            .limit = picturesOfACapture(area.width, area.height, settings.configuration.queueDepth)},
        place.format, wakeUp);
    owesFrame = true;
}

std::optional<SystemError> X11Capture::captureUntilStopped() {
    auto error = lookUntilStopped();
    noteReturn();
    return error;
}

std::optional<SystemError> X11Capture::lookUntilStopped() {
    while (!isStopping()) {
        handleEvents();
        if (display->isDead()) return X11Display::serverGone();
        if (source->isOutOfDate()) {
            if (auto error = adoptDesktop()) {
                if (display->isDead() || !source->mayReturn()) return error;
                awaitReturn(*error);
                continue;
            }
            if (noteReturn()) beginAnew();
        }
        if (!mayHaveChanged()) {
            sleep(true, std::nullopt);
            continue;
        }
        const int64_t now = monotonicNanoseconds();
        if (now < earliestLook) {
            sleptForLook = true;
            sleep(false, earliestLook);
            continue;
        }
        if (auto error = look(now)) return error;
        sleptForLook = false;
    }
    return std::nullopt;
}

/// When what is pending was drawn. The server stamps it by a clock of milliseconds, which is the monotonic one
/// where it runs on this machine; any other is of no use.
int64_t X11Capture::drawnAt(int64_t now) const {
    constexpr int64_t kMillisecond = 1'000'000; // nanoseconds
    constexpr int64_t kCoarseness = 20 * kMillisecond;
    const auto age = static_cast<int32_t>(static_cast<uint32_t>(now / kMillisecond) - damage->pendingSince());
    const int64_t drawn = now - int64_t{age} * kMillisecond;
    const bool isOfThisClock = drawn <= now + kCoarseness && drawn >= lastTaken - kCoarseness;
    return isOfThisClock ? std::clamp(drawn, lastTaken, now) : now;
}

std::optional<SystemError> X11Capture::look(int64_t now) {
    if (damage->isPending() && lastTaken > 0) noteDue(std::max(earliestLook, drawnAt(now)));
    PicturePool::Picture* const picture = pool->acquire(*display);
    if (!picture) {
        if (pool->isEmpty()) return SystemError("x11", 7, "There is too little memory to record the screen.");
        noteDue(now);
        ++leftOut;
        sleep(false, std::nullopt);
        return std::nullopt;
    }
    const bool isChanged = takeChanges();
    lastTaken = now;
    if (!source->isShown() || (!isChanged && !owesFrame)) {
        forgetDue();
        earliestLook = now + interval; // changes elsewhere on the desktop cost no more than one look a slot
        return std::nullopt;
    }
    const X11PicturePlace& place = source->place();
    if (!pool->refresh(*display, place.drawable, place.x, place.y, *picture)) return readingFailed(now);
    refusedReads = 0;
    owesFrame = false;
    // A change that waited for the interval to end shows at that instant, not at the later one at which the
    // thread woke: else every wake-up's delay would add to the frame's spacing, and the rate would sink below
    // the one asked for. A wake-up that is very late starts a new rhythm.
    const bool isInRhythm = sleptForLook && now - earliestLook <= interval / 4;
    const int64_t stamp = isInRhythm ? earliestLook : now;
    earliestLook = stamp + interval;
    deliver(*picture, stamp);
    return std::nullopt;
}

/// The desktop may have shrunk a moment ago, which its own event is about to tell.
std::optional<SystemError> X11Capture::readingFailed(int64_t now) {
    if (display->isDead()) return X11Display::serverGone();
    constexpr int kMostRefusals = 20;
    constexpr int64_t kRetryAfter = kSecond / 20;
    if (++refusedReads > kMostRefusals) {
        return SystemError("x11", 8, "The X server no longer lets the screen be read.");
    }
    owesFrame = true;
    earliestLook = now + std::max(interval, kRetryAfter);
    return std::nullopt;
}

/// Marks what has changed as out of date. True if that is anything within the captured area.
bool X11Capture::takeChanges() {
    const PixelRect& area = source->place().watched;
    bool isChanged = false;
    if (damage->isPending()) {
        for (const PixelRect& rect : damage->take(*display)) {
            const PixelRect inside = intersection(rect, area);
            if (inside.isEmpty()) continue;
            isChanged = true;
            pool->markStale({inside.x - area.x, inside.y - area.y, inside.width, inside.height});
        }
    }
    if (settings.configuration.showsCursor && pointerHasChanged()) isChanged = true;
    return isChanged;
}

bool X11Capture::pointerHasChanged() {
    const PixelRect before = pointer;
    const bool isOther = cursor.update(*display);
    const PixelRect& area = source->place().onRoot;
    const PixelRect frame = cursor.frame();
    const bool isOnPicture =
        !intersection(frame, area).isEmpty() && source->isPointedAt(cursor.windowBelow());
    pointer =
        isOnPicture ? PixelRect{frame.x - area.x, frame.y - area.y, frame.width, frame.height} : PixelRect{};
    return !(pointer == before) || (isOther && isOnPicture);
}

void X11Capture::deliver(PicturePool::Picture& picture, int64_t stampNanoseconds) {
    if (!pointer.isEmpty()) {
        const CVPixelBuffer::Plane plane = pool->plane(picture);
        cursor.blend(plane, source->place().onRoot);
        picture.stale.add(
            intersection(pointer, {0, 0, static_cast<int>(plane.width), static_cast<int>(plane.height)}));
    }
    send(pool->handOut(picture), stampNanoseconds);
}

bool X11Capture::mayHaveChanged() const {
    return (owesFrame && source->isShown()) || damage->isPending() ||
           (settings.configuration.showsCursor && cursor.mayHaveChanged());
}

void X11Capture::handleEvents() {
    while (XPending(display->get()) > 0) {
        XEvent event;
        XNextEvent(display->get(), &event);
        damage->handle(event);
        cursor.handle(event);
        source->handle(event);
    }
}

void X11Capture::sleep(bool listens, std::optional<int64_t> untilNanoseconds) {
    // What came in with the answer to a request no longer shows on the connection.
    if (listens && XEventsQueued(display->get(), QueuedAlready) > 0) return;
    timespec rest{};
    if (untilNanoseconds) {
        const int64_t nanoseconds = std::max<int64_t>(*untilNanoseconds - monotonicNanoseconds(), 0);
        rest = {nanoseconds / kSecond, nanoseconds % kSecond};
    }
    // A server that goes is heard of even while its events are not.
    const short wanted = listens ? POLLIN : POLLRDHUP;
    pollfd descriptors[] = {{ConnectionNumber(display->get()), wanted, 0},
                            {wakeUp->fileDescriptor(), POLLIN, 0}};
    ::ppoll(descriptors, 2, untilNanoseconds ? &rest : nullptr, nullptr);
    if (descriptors[1].revents != 0) wakeUp->clear();
    ++wakeUps;
}

} // namespace vintra
