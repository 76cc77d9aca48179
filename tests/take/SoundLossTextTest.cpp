#include "Vintra/take/SoundLossText.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

SoundAccount accountWith(std::vector<SoundLoss> losses) {
    SoundAccount account;
    account.losses = std::move(losses);
    return account;
}

TEST(SoundLossTextTest, aTrackThatLostNothingHasNoWarning) {
    EXPECT_FALSE(soundLossWarning("microphone", {}, false));
    EXPECT_EQ(soundLossLog("microphone", {}), "");
}

TEST(SoundLossTextTest, lossesAreAddedUpOverTheirPlaces) {
    const auto account = accountWith({{.at = 48'000, .frames = 96'000}, {.at = 480'000, .frames = 48'000}});
    EXPECT_EQ(
        soundLossWarning("microphone", account, false),
        "The microphone lost 3.0 seconds of sound in 2 places; silence was put there so the rest stays in "
        "step.");
    EXPECT_EQ(soundLossLog("microphone", account),
              "microphone: 2.000 s lost at 1.000 s (not delivered); 1.000 s "
              "lost at 10.000 s (not delivered)");
}

TEST(SoundLossTextTest, theTrackIsNamedAsTheUserKnowsIt) {
    const auto account = accountWith({{.at = 0, .frames = 4'080}});
    const std::string rest =
        " lost 85 ms of sound in one place; silence was put there so the rest stays in step.";
    EXPECT_EQ(soundLossWarning("computer audio", account, false), "Computer audio" + rest);
    EXPECT_EQ(soundLossWarning("virtual input", account, false), "The virtual input" + rest);
    EXPECT_EQ(soundLossWarning("take_Keys", account, false), "The track take_Keys" + rest);
}

TEST(SoundLossTextTest, theLeastLossIsOfAMillisecond) {
    const auto warning = soundLossWarning("microphone", accountWith({{.at = 0, .frames = 10}}), false);
    ASSERT_TRUE(warning);
    EXPECT_NE(warning->find("lost 1 ms of sound"), std::string::npos) << *warning;
}

TEST(SoundLossTextTest, anEndThatIsToldAsShortIsToldOnce) {
    auto account = accountWith({{.at = 9, .frames = 480'000, .kind = SoundLossKind::endedEarly}});
    EXPECT_FALSE(soundLossWarning("microphone", account, true));
    EXPECT_TRUE(soundLossWarning("microphone", account, false));
    account.losses.insert(account.losses.begin(), SoundLoss{.at = 0, .frames = 48'000});
    EXPECT_NE(soundLossWarning("microphone", account, true)->find("lost 1.0 seconds of sound in one place"),
              std::string::npos);
}

TEST(SoundLossTextTest, theLogHasReasonsAndCutsAndAnEnd) {
    auto account = accountWith({{.at = 480, .frames = 480, .kind = SoundLossKind::notTaken}});
    account.framesCut = 300;
    account.cuts = 2;
    EXPECT_EQ(soundLossLog("microphone", account),
              "microphone: 0.010 s lost at 0.010 s (not taken by the writer); "
              "300 frames that came twice were cut in 2 places");
    const auto many = accountWith(std::vector<SoundLoss>(250, {.at = 0, .frames = 48}));
    EXPECT_NE(soundLossLog("microphone", many).find("; and 150 more, in all 0.250 s"), std::string::npos);
}

TEST(SoundLossTextTest, driftIsToldWithItsLength) {
    SoundAccount account;
    EXPECT_FALSE(driftText(account));
    account.firstSamplePTS = CMTimeMake(5, 1);
    account.lastSamplePTS = CMTimeMake(5 + 7'200, 1);
    account.drift = {.partsPerMillion = 37.2, .secondsAtEnd = 0.2664};
    EXPECT_EQ(driftText(account), "drifted 37 ppm, 266 ms over 2:00:00");
    account.drift = {.partsPerMillion = -37.2, .secondsAtEnd = -0.2664};
    account.isDriftCorrected = true;
    EXPECT_EQ(driftText(account), "drifted 37 ppm, 266 ms over 2:00:00, corrected");
}

} // namespace
} // namespace vintra
