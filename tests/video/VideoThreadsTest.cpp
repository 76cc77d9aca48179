#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedLog.h"
#include "Vintra/video/CameraWriteQueue.h"
#include "Vintra/video/DropTimeline.h"
#include "Vintra/video/PictureWatch.h"
#include "Vintra/video/ScreenBeat.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <utility>

namespace vintra {
namespace {

/// A host clock that real threads may share; each reading is a millisecond on.
class SteppingClock : public HostClock {
public:
    CMTime now() const override { return CMTimeMake(milliseconds.fetch_add(1), 1000); }
    void sleep(int64_t microseconds) override { milliseconds.fetch_add(microseconds / 1000); }

private:
    mutable std::atomic<int64_t> milliseconds{1'000'000};
};

/// Hands its timers' handler to the test, which fires it on a thread of its own.
class ManualQueue : public DispatchQueue {
public:
    const std::string& label() const override { return name; }
    void async(std::function<void()> work) override { work(); }
    void sync(const std::function<void()>& work) override { work(); }
    std::unique_ptr<DispatchTimer> makeTimer(DispatchTimerSchedule,
                                             std::function<void()> newHandler) override {
        MutexLock guard(lock);
        handler = std::move(newHandler);
        return std::make_unique<Timer>();
    }
    void fire() {
        std::function<void()> current;
        {
            MutexLock guard(lock);
            current = handler;
        }
        if (current) current();
    }

private:
    class Timer : public DispatchTimer {
    public:
        void resume() override {}
        void cancel() override {}
    };
    std::string name = "manual";
    Mutex lock;
    std::function<void()> handler GUARDED_BY(lock);
};

constexpr int kRounds = 2000;

/// Runs the work again and again until the object goes.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> work)
        : thread([this, work = std::move(work)] {
            while (!ends)
                work();
        }) {}
    ~Meanwhile() {
        ends = true;
        thread.join();
    }

private:
    std::atomic<bool> ends{false};
    std::thread thread;
};

// These fail by a report of the thread sanitizer.

TEST(VideoThreadsTest, theBeatMayBeStartedAndCancelledWhileItRuns) {
    const auto clock = std::make_shared<SteppingClock>();
    const auto queue = std::make_shared<ManualQueue>();
    const auto input = std::make_shared<ScriptedInput>();
    const auto beat = std::make_shared<ScreenBeat>(clock, std::make_shared<SimulatedLog>());
    std::atomic<int> wrote{0};
    const Meanwhile frames([&] { beat->frame(picture(clock->now())); });
    const Meanwhile ticks([&] { queue->fire(); });
    for (int round = 0; round < kRounds; ++round) {
        beat->begin({.at = clock->now(),
                     .rate = 30,
                     .into = input,
                     .on = queue,
                     .wrote = [&](CMTime) { ++wrote; },
                     .lost = [](CMTime) {},
                     .writerStatus = [] { return "writing"; }});
        if (round % 2 == 0) {
            beat->cancel();
        } else {
            beat->finish(clock->now());
        }
    }
    EXPECT_EQ(static_cast<size_t>(wrote), input->appended.size());
}

TEST(VideoThreadsTest, theCameraQueueMayBeReadWhileItRuns) {
    const auto clock = std::make_shared<SteppingClock>();
    const auto input = std::make_shared<ScriptedInput>();
    CameraWriteQueue queue(clock);
    queue.begin(clock->now(), 30);
    std::atomic<int64_t> written{0};
    {
        const Meanwhile frames([&] { written += queue.submit(picture(clock->now()), input).written; });
        for (int round = 0; round < kRounds; ++round)
            EXPECT_FALSE(queue.summary().empty());
    }
    EXPECT_GE(static_cast<int64_t>(input->appended.size()), written);
}

TEST(VideoThreadsTest, theWatchesMayBeReadWhileTheyRun) {
    const auto clock = std::make_shared<SteppingClock>();
    PictureWatch watch;
    DropTimeline timeline;
    const Meanwhile frames([&] {
        const auto sample = picture(clock->now());
        watch.record(sample);
        timeline.record(sample.presentationTimeStamp());
    });
    for (int round = 0; round < kRounds; ++round) {
        watch.begin(clock->now());
        timeline.begin(clock->now());
        watch.stall(clock->now());
        watch.take(clock->now());
        EXPECT_LE(timeline.take().size(), 512u);
    }
}

} // namespace
} // namespace vintra
