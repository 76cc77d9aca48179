#include "Vintra/video/ExtraCameraTap.h"

#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/video/LastFrameTime.h"

#include <gtest/gtest.h>
#include <thread>

namespace vintra {
namespace {

TEST(ExtraCameraTapTest, aFreshTapOnlyPreviews) {
    SimulatedMachine machine;
    const ExtraCameraTap tap(nullptr, machine.hostClock);
    EXPECT_EQ(tap.input(), nullptr);
    EXPECT_EQ(tap.frames->read(), 0);
    EXPECT_EQ(tap.drops->read(), 0);
    EXPECT_EQ(tap.frameSize->read(), (CMVideoDimensions{0, 0}));
    EXPECT_EQ(tap.writeQueue->summary(), "no frames");
    EXPECT_FALSE(tap.picture->stall(machine.now()));
}

TEST(ExtraCameraTapTest, itsInputIsSetAndCleared) {
    SimulatedMachine machine;
    ExtraCameraTap tap(nullptr, machine.hostClock);
    const auto input = std::make_shared<ScriptedInput>();
    tap.setInput(input);
    EXPECT_EQ(tap.input(), input);
    tap.setInput(nullptr);
    EXPECT_EQ(tap.input(), nullptr);
    EXPECT_EQ(input.use_count(), 1);
}

TEST(DropCounterTest, countsFromSeveralThreads) {
    DropCounter counter;
    const auto add = [&] {
        for (int n = 0; n < 10'000; ++n)
            counter.add(2);
    };
    std::thread first(add);
    std::thread second(add);
    first.join();
    second.join();
    EXPECT_EQ(counter.read(), 40'000);
    counter.reset();
    EXPECT_EQ(counter.read(), 0);
}

TEST(LastFrameTimeTest, isNoneUntilSetAndAfterBeingCleared) {
    LastFrameTime time;
    EXPECT_FALSE(time.read());
    time.set(CMTimeMake(3, 30));
    ASSERT_TRUE(time.read());
    EXPECT_EQ(*time.read(), CMTimeMake(1, 10));
    time.clear();
    EXPECT_FALSE(time.read());
}

} // namespace
} // namespace vintra
