#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace vintra {
namespace {

bool isHeldByAnotherThread(const PipeWireLoop& loop) {
    bool isHeld = true;
    std::thread([&] { isHeld = loop.isHeld(); }).join();
    return isHeld;
}

TEST(PipeWireLoopTest, theThreadThatHasTheLockIsKnown) {
    PipeWireLoop loop("test");
    ASSERT_TRUE(loop.isUsable());
    EXPECT_FALSE(loop.isHeld());
    {
        PipeWireLock lock(loop);
        EXPECT_TRUE(loop.isHeld());
        EXPECT_FALSE(isHeldByAnotherThread(loop));
        {
            PipeWireLock again(loop);
            EXPECT_TRUE(loop.isHeld());
        }
        EXPECT_TRUE(loop.isHeld());
    }
    EXPECT_FALSE(loop.isHeld());
}

TEST(PipeWireLoopTest, aWaitGivesTheLockToACallbackAndTakesItAgain) {
    PipeWireLoop loop("test");
    bool wasHeldInCallback = false;
    bool hasFired = false;
    {
        PipeWireLock lock(loop);
        PipeWireTimer timer(loop, [&] {
            loop.assertHeld();
            wasHeldInCallback = loop.isHeld();
            hasFired = true;
            loop.signal();
        });
        timer.startOver(0.01);
        const int64_t deadline = PipeWireLoop::deadlineIn(60);
        while (!hasFired && loop.waitUntil(deadline)) {
        }
        EXPECT_TRUE(hasFired);
        EXPECT_TRUE(loop.isHeld());
    }
    EXPECT_TRUE(wasHeldInCallback);
    EXPECT_FALSE(loop.isHeld());
}

TEST(PipeWireLoopTest, aWaitEndsAtItsDeadline) {
    PipeWireLoop loop("test");
    PipeWireLock lock(loop);
    const int64_t deadline = PipeWireLoop::deadlineIn(0.02);
    while (loop.waitUntil(deadline)) {
    }
    EXPECT_TRUE(loop.isHeld());
}

} // namespace
} // namespace vintra
