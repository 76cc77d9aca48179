#include "Vintra/audio/LevelsModel.h"

#include "Vintra/audio/ActivityStamp.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <utility>

namespace vintra {
namespace {

class ScriptedClock : public HostClock {
public:
    CMTime now() const override { return CMTimeMake(ticks.load(), kHostTimescale); }
    void sleep(int64_t) override {}
    void set(double seconds) { ticks = CMTimeMakeWithSeconds(seconds, kHostTimescale).value; }

private:
    std::atomic<int64_t> ticks{0};
};

class QueueingMainThread : public MainThread {
public:
    void post(std::function<void()> work) override { posted.push_back(std::move(work)); }
    bool isCurrent() const override { return true; }
    void runPosted() {
        for (auto& work : std::exchange(posted, {}))
            work();
    }
    std::vector<std::function<void()>> posted;
};

class LevelsModelTest : public testing::Test {
protected:
    ScriptedClock clock;
    QueueingMainThread mainThread;
    std::shared_ptr<LevelsModel> levels = LevelsModel::make(clock, mainThread);
    const UUID bass{{1}};
    const UUID drums{{2}};
};

TEST_F(LevelsModelTest, buffersATenthOfASecondApartShowTheFirstAlone) {
    clock.set(10);
    EXPECT_TRUE(levels->gate.allow(LevelKey::mic()));
    clock.set(10.1);
    EXPECT_FALSE(levels->gate.allow(LevelKey::mic()));
}

TEST_F(LevelsModelTest, buffersAnEighthOfASecondApartBothPassAtAnyTime) {
    for (const double start : {0.0, 0.1, 10.0, 86'400.3, 1'234'567.7}) {
        const LevelKey key = LevelKey::extra(bass);
        PublishGate gate(clock);
        clock.set(start);
        const CMTime first = clock.now();
        EXPECT_TRUE(gate.allow(key));
        clock.set(CMTimeGetSeconds(first + CMTimeMake(900'000, kHostTimescale)));
        EXPECT_TRUE(gate.allow(key)) << start;
    }
}

TEST_F(LevelsModelTest, aRefusedBufferDoesNotPutTheNextOff) {
    clock.set(1);
    EXPECT_TRUE(levels->gate.allow(LevelKey::mic()));
    clock.set(1.1);
    EXPECT_FALSE(levels->gate.allow(LevelKey::mic()));
    clock.set(1.13);
    EXPECT_TRUE(levels->gate.allow(LevelKey::mic()));
}

TEST_F(LevelsModelTest, eachKeyHasItsOwnTime) {
    clock.set(5);
    EXPECT_TRUE(levels->gate.allow(LevelKey::mic()));
    EXPECT_TRUE(levels->gate.allow(LevelKey::daw()));
    EXPECT_TRUE(levels->gate.allow(LevelKey::extra(bass)));
    EXPECT_TRUE(levels->gate.allow(LevelKey::extra(drums)));
    EXPECT_FALSE(levels->gate.allow(LevelKey::extra(bass)));
}

TEST_F(LevelsModelTest, aPublishedLevelArrivesOnTheMainThread) {
    levels->publish(LevelKey::mic(), 0.5f);
    levels->publish(LevelKey::daw(), 0.25f);
    levels->publish(LevelKey::extra(bass), 0.75f);
    EXPECT_EQ(*levels->micLevel, 0);
    mainThread.runPosted();
    EXPECT_EQ(*levels->micLevel, 0.5f);
    EXPECT_EQ(levels->level(LevelKey::daw()), 0.25f);
    EXPECT_EQ(levels->level(LevelKey::extra(bass)), 0.75f);
}

TEST_F(LevelsModelTest, aRefusedLevelPostsNothing) {
    levels->publish(LevelKey::mic(), 0.5f);
    levels->publish(LevelKey::mic(), 0.9f);
    EXPECT_EQ(mainThread.posted.size(), 1u);
}

TEST_F(LevelsModelTest, aPostedLevelDoesNotOutliveTheModel) {
    levels->publish(LevelKey::mic(), 0.5f);
    levels.reset();
    mainThread.runPosted();
}

TEST_F(LevelsModelTest, anExtraInputWithoutALevelIsEmpty) {
    EXPECT_EQ(levels->level(LevelKey::extra(bass)), 0);
    EXPECT_EQ(levels->level(LevelKey::mic()), 0);
}

TEST_F(LevelsModelTest, pruningKeepsTheNamedRowsAndAddsNone) {
    levels->set(LevelKey::extra(bass), 0.5f);
    levels->set(LevelKey::extra(drums), 0.6f);
    levels->pruneExtraLevels({bass, UUID{{3}}});
    EXPECT_EQ(*levels->extraInputLevels, (std::map<UUID, float>{{bass, 0.5f}}));
    levels->set(LevelKey::extra(drums), 0.7f); // a post that was under way
    EXPECT_EQ(levels->extraInputLevels->size(), 2u);
}

TEST_F(LevelsModelTest, observersHearOfALevel) {
    float heard = -1;
    const auto observation = levels->micLevel.observe([&](float level) { heard = level; });
    levels->set(LevelKey::mic(), 0.4f);
    EXPECT_EQ(heard, 0.4f);
}

TEST_F(LevelsModelTest, theGateLetsOneOfManyThreadsThrough) {
    std::atomic<int> passed{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&] {
            for (int call = 0; call < 1000; ++call)
                passed += levels->gate.allow(LevelKey::mic());
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(passed, 1);
}

TEST(ActivityStampTest, theLatestStampIsReadFromAnyThread) {
    ActivityStamp activity;
    EXPECT_EQ(activity.last(), 0);
    std::thread([&] { activity.stamp(12.5); }).join();
    EXPECT_EQ(activity.last(), 12.5);
}

} // namespace
} // namespace vintra
