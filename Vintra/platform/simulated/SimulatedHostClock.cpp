#include "Vintra/platform/simulated/SimulatedHostClock.h"

#include <utility>

namespace vintra {

SimulatedHostClock::SimulatedHostClock(std::shared_ptr<VirtualTime> time,
                                       std::shared_ptr<SimulatedMainThread> mainThread)
    : time(std::move(time))
    , mainThread(std::move(mainThread)) {}

CMTime SimulatedHostClock::now() const {
    const CMTime reading = hostTimeFromNanoseconds(time->nowNanoseconds());
    if (secondsAfterReading > 0 && mainThread->isAtWork()) time->advance(secondsAfterReading);
    return reading;
}

void SimulatedHostClock::sleep(int64_t microseconds) {
    if (microseconds <= 0) return;
    const auto pass = [&] { time->advanceNanoseconds(microseconds * 1000); };
    if (time->isIdle()) {
        mainThread->runNow(pass);
    } else {
        pass();
    }
}

} // namespace vintra
