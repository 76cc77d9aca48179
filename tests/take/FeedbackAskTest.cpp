#include "Vintra/take/FeedbackAsk.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace vintra {
namespace {

constexpr double kDay = 86'400;

class FeedbackAskTest : public ::testing::Test {
protected:
    using Answer = FeedbackAsk::Answer;
    using Sent = std::vector<std::pair<Answer, std::string>>;

    bool asks() const { return *ask.state == FeedbackAsk::State(FeedbackAsk::Asking{}); }
    bool isHidden() const { return *ask.state == FeedbackAsk::State(FeedbackAsk::Hidden{}); }
    int64_t count(const std::string& key) const {
        return integerForKey(*machine.userDefaults, key).value_or(0);
    }
    void finish(double seconds = 60, bool wentWrong = false) { ask.takeFinished(seconds, wentWrong); }
    void askAtOnce() {
        for (int n = 0; n < 3; ++n)
            finish();
        ASSERT_TRUE(asks());
    }

    SimulatedMachine machine;
    Sent sent;
    FeedbackAsk ask{machine.platform(),
                    [this](Answer answer, const std::string& note) { sent.emplace_back(answer, note); }};
};

TEST_F(FeedbackAskTest, theThirdTakeAsksIfItWentWell) {
    finish();
    finish();
    EXPECT_TRUE(isHidden());
    finish();
    EXPECT_TRUE(asks());
    EXPECT_EQ(count("VintraFeedbackAsks"), 1);
    EXPECT_EQ(doubleForKey(*machine.userDefaults, "VintraFeedbackLastAsked"),
              machine.wallClock->now().secondsSince1970);
}

TEST_F(FeedbackAskTest, aShortTakeDoesNotCount) {
    finish(19.9);
    EXPECT_EQ(count("VintraTakesFinished"), 0);
    finish(20.0);
    EXPECT_EQ(count("VintraTakesFinished"), 1);
}

TEST_F(FeedbackAskTest, aTakeThatWentWrongCountsAndDoesNotAsk) {
    finish();
    finish();
    finish(60, true);
    EXPECT_TRUE(isHidden());
    EXPECT_EQ(count("VintraTakesFinished"), 3);
    finish();
    EXPECT_TRUE(asks());
}

TEST_F(FeedbackAskTest, itAsksTwiceAtMostAndTwoWeeksApart) {
    askAtOnce();
    ask.dismiss();
    machine.wallClock->offsetSeconds += 14 * kDay - 1;
    finish();
    EXPECT_TRUE(isHidden());
    machine.wallClock->offsetSeconds += 1;
    finish();
    EXPECT_TRUE(asks());
    ask.dismiss();
    machine.wallClock->offsetSeconds += 1000 * kDay;
    finish();
    EXPECT_TRUE(isHidden());
    EXPECT_EQ(count("VintraFeedbackAsks"), 2);
}

TEST_F(FeedbackAskTest, theTestKeyAsksAfterEveryTakeThatWentWell) {
    machine.userDefaults->values["VintraTestFeedbackAsk"] = true;
    finish(1);
    EXPECT_TRUE(asks());
    ask.dismiss();
    finish(1, true);
    EXPECT_TRUE(isHidden());
    finish(1);
    EXPECT_TRUE(asks());
    EXPECT_EQ(count("VintraTakesFinished"), 3);
    EXPECT_EQ(count("VintraFeedbackAsks"), 2);
}

TEST_F(FeedbackAskTest, fineIsHeldBackUntilTheNoteIsSent) {
    askAtOnce();
    ask.sayFine();
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(*ask.state, FeedbackAsk::State(FeedbackAsk::Note{}));
    ask.note.set("All good");
    ask.sendNote();
    EXPECT_EQ(sent, (Sent{{Answer::fine, "All good"}}));
    EXPECT_EQ(*ask.note, "");
    EXPECT_EQ(*ask.state, FeedbackAsk::State(FeedbackAsk::Answered{"Vintra won't ask again for two weeks."}));
    ask.recordingStarted();
    EXPECT_EQ(sent.size(), 1u) << "an answer leaves once";
}

TEST_F(FeedbackAskTest, fineLeavesWithTheNextTakeToo) {
    askAtOnce();
    ask.sayFine();
    ask.recordingStarted();
    EXPECT_EQ(sent, (Sent{{Answer::fine, ""}}));
    EXPECT_TRUE(isHidden());
}

TEST_F(FeedbackAskTest, aSkippedNoteStillSendsTheAnswer) {
    askAtOnce();
    ask.sayFine();
    ask.skipNote();
    EXPECT_EQ(sent, (Sent{{Answer::fine, ""}}));
    EXPECT_TRUE(isHidden());
}

TEST_F(FeedbackAskTest, offIsSentAtOnce) {
    askAtOnce();
    ask.sayOff();
    EXPECT_EQ(sent, (Sent{{Answer::off, ""}}));
    EXPECT_EQ(*ask.state,
              FeedbackAsk::State(FeedbackAsk::Answered{
                  "The form is open in your browser. Your diagnostics are on the clipboard too, in "
                  "case it asks for them."}));
    machine.run(7.9);
    EXPECT_FALSE(isHidden());
    machine.run(1.0);
    EXPECT_TRUE(isHidden());
}

TEST_F(FeedbackAskTest, dismissedThanksLeaveTheirClockHarmless) {
    askAtOnce();
    ask.sayOff();
    machine.run(2);
    ask.dismiss();
    machine.userDefaults->values["VintraTestFeedbackAsk"] = true;
    finish();
    ASSERT_TRUE(asks());
    machine.run(20);
    EXPECT_TRUE(asks());
    EXPECT_EQ(sent.size(), 1u);
}

TEST_F(FeedbackAskTest, dismissingTheQuestionSendsNothing) {
    askAtOnce();
    ask.dismiss();
    EXPECT_TRUE(sent.empty());
    EXPECT_TRUE(isHidden());
}

TEST_F(FeedbackAskTest, aCardThatGoesTakesItsClocksAlong) {
    {
        FeedbackAsk other{machine.platform(), [](Answer, const std::string&) {}};
        machine.userDefaults->values["VintraTestFeedbackAsk"] = true;
        other.takeFinished(1, false);
        other.sayOff();
    }
    machine.run(20);
}

} // namespace
} // namespace vintra
