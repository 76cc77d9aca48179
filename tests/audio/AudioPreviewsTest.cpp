#include "Vintra/audio/AudioPreviews.h"

#include "Vintra/audio/OutputRouting.h"
#include "tests/audio/AudioPartsFixture.h"

#include <string>
#include <vector>

namespace vintra {
namespace {

/// The previews with what they need, and no recorder.
class AudioPreviewsTest : public AudioPartsFixture {
protected:
    void SetUp() override {
        AudioPartsFixture::SetUp();
        machine.complete(routing.repairDeadEndOutput());
    }
    UUID addRow(const std::string& uid, int channel = 0) {
        const UUID id = machine.processInfo->makeUUID();
        selection.extraAudioInputs.update([&](auto& rows) {
            rows.push_back({.id = id, .deviceID = uid, .channelIndex = channel, .name = "", .gainDB = 0});
        });
        return id;
    }
    std::shared_ptr<const AudioRoutingCache::Snapshot> routed() const {
        return samplePath->routingCache.snapshot();
    }

    OutputRouting routing{
        {.platform = platform, .selection = selection, .isRecording = isRecording, .lastError = lastError}};
    AudioPreviews previews{{.platform = platform,
                            .selection = selection,
                            .sessionControl = sessionControl,
                            .outputRouting = routing,
                            .isRecording = isRecording,
                            .lastError = lastError,
                            .samplePath = samplePath}};
};

TEST_F(AudioPreviewsTest, theyFollowTheSelection) {
    selection.selectedMicDeviceID.set("mic.one");
    selection.selectedDawDeviceID.set("daw.two");
    addRow("multi.eight");
    machine.run(0.3);
    EXPECT_TRUE(previews.mic().isDelivering());
    EXPECT_TRUE(previews.daw().isDelivering());
    EXPECT_TRUE(previews.extra().areRunning());
    selection.selectedMicDeviceID.set(std::nullopt);
    selection.extraAudioInputs.set({});
    machine.run(0.3);
    EXPECT_EQ(session("mic.one"), nullptr);
    EXPECT_EQ(session("multi.eight"), nullptr);
    EXPECT_TRUE(runs("daw.two"));
}

TEST_F(AudioPreviewsTest, theRoutingNamesWhatRuns) {
    EXPECT_FALSE(routed()->mic.has_value());
    EXPECT_EQ(routed()->dawOutput, nullptr);
    selection.selectedMicDeviceID.set("multi.eight");
    selection.selectedDawDeviceID.set("daw.two");
    const UUID row = addRow("mic.one");
    machine.run(0.3);
    ASSERT_TRUE(routed()->mic);
    EXPECT_EQ(routed()->mic->output, session("multi.eight")->output());
    EXPECT_EQ(routed()->mic->totalChannels, 8);
    EXPECT_EQ(routed()->dawOutput, session("daw.two")->output());
    ASSERT_EQ(routed()->extra.size(), 1u);
    EXPECT_EQ(routed()->extra[0].configs[0].id, row);
}

TEST_F(AudioPreviewsTest, aChannelOrGainReachesTheRoutingAtOnceAndNoSession) {
    selection.selectedMicDeviceID.set("multi.eight");
    selection.selectedDawDeviceID.set("daw.two");
    addRow("mic.one");
    machine.run(0.3);
    const auto made = sessionsMade();
    selection.selectedMicChannelIndex.set(5);
    EXPECT_EQ(routed()->mic->channelIndex, 5);
    selection.selectedMicChannelIndex.set(99);
    EXPECT_EQ(routed()->mic->channelIndex, 7) << "held within the device";
    selection.selectedMicChannelIndex.set(-3);
    EXPECT_EQ(routed()->mic->channelIndex, 0);
    selection.micGainDB.set(4);
    selection.dawGainDB.set(-3);
    EXPECT_EQ(routed()->mic->gainDB, 4);
    EXPECT_EQ(routed()->dawGainDB, -3);
    selection.extraAudioInputs.update([](auto& rows) { rows[0].gainDB = 2; });
    EXPECT_EQ(routed()->extra[0].configs[0].gainDB, 2);
    machine.run(0.3);
    EXPECT_EQ(sessionsMade(), made);
}

TEST_F(AudioPreviewsTest, everyChoiceIsRememberedAndLettingGoIsNot) {
    const auto lastUsed = [this] { return stringForKey(*machine.userDefaults, "lastUsedAudioDeviceID"); };
    EXPECT_EQ(lastUsed(), std::nullopt);
    selection.selectedMicDeviceID.set("mic.one");
    EXPECT_EQ(lastUsed(), "mic.one");
    selection.selectedDawDeviceID.set("daw.two");
    EXPECT_EQ(lastUsed(), "daw.two");
    addRow("multi.eight");
    EXPECT_EQ(lastUsed(), "multi.eight");
    selection.extraAudioInputs.update([](auto& rows) { rows[0].channelIndex = 3; });
    selection.selectedDawDeviceID.set(std::nullopt);
    EXPECT_EQ(lastUsed(), "multi.eight");
    selection.extraAudioInputs.update([](auto& rows) { rows[0].deviceID = "mic.one"; });
    EXPECT_EQ(lastUsed(), "mic.one");
}

TEST_F(AudioPreviewsTest, aNewMicBeginsAtItsFirstChannel) {
    selection.selectedMicDeviceID.set("multi.eight");
    selection.selectedMicChannelIndex.set(6);
    selection.selectedMicDeviceID.set("daw.two");
    EXPECT_EQ(*selection.selectedMicChannelIndex, 0);
}

TEST_F(AudioPreviewsTest, theSecondTrackTakesTwoChannelsAtTheMost) {
    const auto countOf = [this](const char* uid) {
        return AudioPreviews::dawChannelCount(*selection.availableAudioInput(uid));
    };
    EXPECT_EQ(countOf("mic.one"), 1);
    EXPECT_EQ(countOf("daw.two"), 2);
    EXPECT_EQ(countOf("multi.eight"), 2);
    machine.audioHardware->device("mic.one")->hasUnreadableFormat = true;
    EXPECT_EQ(countOf("mic.one"), 2) << "an unknown format counts as stereo";
}

TEST_F(AudioPreviewsTest, aSessionThatBreaksIsReplacedAndOthersAreLeftAlone) {
    selection.selectedMicDeviceID.set("mic.one");
    selection.selectedDawDeviceID.set("daw.two");
    addRow("multi.eight");
    machine.run(0.3);
    for (const std::string uid : {"mic.one", "daw.two", "multi.eight"}) {
        const auto old = session(uid);
        const auto made = sessionsMade();
        previews.repairPreview(old);
        machine.run(0.3);
        EXPECT_EQ(sessionsMade(), made + 1) << uid;
        EXPECT_NE(session(uid), old) << uid;
        EXPECT_TRUE(runs(uid)) << uid;
    }
    const auto made = sessionsMade();
    previews.repairPreview(machine.captureDevices->makeSession());
    machine.run(0.3);
    EXPECT_EQ(sessionsMade(), made + 1) << "the one of the test";
}

TEST_F(AudioPreviewsTest, whetherAllDeliverIsPublished) {
    EXPECT_TRUE(*selection.arePreviewsDelivering) << "nothing is chosen";
    std::vector<bool> seen;
    const auto observation = selection.arePreviewsDelivering.observe([&](bool are) { seen.push_back(are); });
    selection.selectedMicDeviceID.set("mic.one");
    EXPECT_FALSE(*selection.arePreviewsDelivering);
    machine.run(0.5);
    EXPECT_TRUE(*selection.arePreviewsDelivering);
    selection.selectedDawDeviceID.set("daw.two");
    EXPECT_FALSE(*selection.arePreviewsDelivering);
    machine.run(0.5);
    EXPECT_EQ(seen, (std::vector<bool>{false, true, false, true}));
}

TEST_F(AudioPreviewsTest, withoutARelayComputerAudioHasNoPreview) {
    selection.selectedDawDeviceID.set("daw.two");
    machine.run(0.3);
    selection.captureSystemAudioForDaw.set(true);
    machine.run(0.3);
    EXPECT_EQ(previews.daw().session(), nullptr);
    selection.captureSystemAudioForDaw.set(false);
    machine.run(0.3);
    EXPECT_TRUE(runs("daw.two"));
}

TEST_F(AudioPreviewsTest, theQueuesAreThoseOfADrainInItsOrder) {
    std::vector<std::string> labels;
    for (const auto& queue : previews.queues())
        labels.push_back(queue->label());
    EXPECT_EQ(labels, (std::vector<std::string>{
                          "com.screenrecorder.micOutput", "com.screenrecorder.dawOutput",
                          "com.screenrecorder.extraInputOutput", "com.screenrecorder.systemAudio"}));
}

TEST_F(AudioPreviewsTest, afterTheirEndNoCallbackComesAndNoneIsBuilt) {
    selection.selectedMicDeviceID.set("mic.one");
    selection.selectedDawDeviceID.set("daw.two");
    addRow("multi.eight");
    machine.run(0.5);
    machine.complete(previews.endPreviews());
    const double last = samplePath->micActivity.last();
    selection.selectedMicDeviceID.set("multi.eight");
    selection.extraAudioInputs.set({});
    addRow("mic.one");
    machine.run(0.5);
    for (const char* const uid : {"mic.one", "daw.two", "multi.eight"})
        EXPECT_EQ(session(uid), nullptr) << uid;
    EXPECT_EQ(samplePath->micActivity.last(), last);
}

} // namespace
} // namespace vintra
