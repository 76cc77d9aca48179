#include "Vintra/audio/ExtraAudioPreviews.h"

#include "tests/audio/AudioPartsFixture.h"

#include <string>
#include <vector>

namespace vintra {
namespace {

class ExtraAudioPreviewsTest : public AudioPartsFixture {
protected:
    AudioPreview::Surroundings surroundings() {
        return {.platform = platform,
                .selection = selection,
                .sessionControl = sessionControl,
                .isRecording = isRecording,
                .lastError = lastError,
                .delegate = samplePath,
                .changed = [this] { ++changes; }};
    }
    UUID addRow(const std::string& uid, int channel = 0, double gainDB = 0) {
        const UUID id = machine.processInfo->makeUUID();
        selection.extraAudioInputs.update([&](auto& rows) {
            rows.push_back(
                {.id = id, .deviceID = uid, .channelIndex = channel, .name = "", .gainDB = gainDB});
        });
        return id;
    }
    void configure() {
        machine.complete(previews.configure());
        machine.run(0.2);
    }

    int changes = 0;
    ExtraAudioPreviews previews{surroundings(), machine.dispatchQueues->makeSerialQueue("extras")};
};

TEST_F(ExtraAudioPreviewsTest, everyDeviceHasOneSessionHoweverManyItsRowsAre) {
    EXPECT_TRUE(previews.areRunning()) << "there is none that doesn't";
    addRow("multi.eight", 0);
    addRow("daw.two", 1);
    addRow("multi.eight", 7);
    configure();
    EXPECT_EQ(sessionsMade(), 2);
    EXPECT_TRUE(runs("multi.eight"));
    EXPECT_TRUE(runs("daw.two"));
    EXPECT_TRUE(previews.areRunning());
    EXPECT_EQ(session("multi.eight")->output()->settings.numberOfChannels, 8u);
    configure();
    EXPECT_EQ(sessionsMade(), 2);
}

TEST_F(ExtraAudioPreviewsTest, theRoutingNamesTheRowsOfEachDeviceInOrder) {
    const UUID first = addRow("multi.eight", 3, -6);
    addRow("daw.two", 1, 2);
    const UUID third = addRow("multi.eight", 12, 1);
    configure();
    const auto routing = previews.routing();
    ASSERT_EQ(routing.size(), 2u);
    EXPECT_EQ(routing[0].output, session("multi.eight")->output());
    EXPECT_EQ(routing[0].totalChannels, 8);
    ASSERT_EQ(routing[0].configs.size(), 2u);
    EXPECT_EQ(routing[0].configs[0].id, first);
    EXPECT_EQ(routing[0].configs[0].channelIndex, 3);
    EXPECT_EQ(routing[0].configs[0].gainDB, -6);
    EXPECT_EQ(routing[0].configs[1].id, third);
    EXPECT_EQ(routing[1].totalChannels, 2);
    EXPECT_EQ(previews.outputOf("daw.two"), routing[1].output);
    EXPECT_EQ(previews.outputOf("mic.one"), nullptr);
}

TEST_F(ExtraAudioPreviewsTest, aRowWithoutADeviceAndOneWhoseDeviceHasGoneHaveNone) {
    selection.extraAudioInputs.set({{.id = machine.processInfo->makeUUID()}});
    addRow("gone");
    addRow("mic.one");
    configure();
    EXPECT_EQ(sessionsMade(), 1);
    EXPECT_TRUE(runs("mic.one"));
}

TEST_F(ExtraAudioPreviewsTest, aDeviceWithoutRowsEndsAndSoDoTheLevelsOfRowsThatWent) {
    const UUID gone = addRow("multi.eight");
    addRow("daw.two");
    configure();
    selection.levels->set(LevelKey::extra(gone), 0.5f);
    selection.extraAudioInputs.update([](auto& rows) { rows.erase(rows.begin()); });
    configure();
    EXPECT_EQ(session("multi.eight"), nullptr);
    EXPECT_TRUE(runs("daw.two"));
    EXPECT_EQ(selection.levels->level(LevelKey::extra(gone)), 0);
    EXPECT_EQ(previews.routing().size(), 1u);
}

TEST_F(ExtraAudioPreviewsTest, inATakeNothingIsTouched) {
    addRow("multi.eight");
    configure();
    isRecording.set(true);
    selection.extraAudioInputs.set({});
    addRow("daw.two");
    configure();
    EXPECT_TRUE(runs("multi.eight"));
    EXPECT_EQ(session("daw.two"), nullptr);
}

TEST_F(ExtraAudioPreviewsTest, rowsThatChangeDuringTheQuestionAreThoseThatCount) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    addRow("multi.eight");
    machine.time->after(500'000'000, [&] {
        selection.extraAudioInputs.set({});
        addRow("daw.two");
    });
    configure();
    EXPECT_EQ(session("multi.eight"), nullptr);
    EXPECT_TRUE(runs("daw.two"));
    EXPECT_EQ(machine.captureDevices->accessRequests.size(), 1u);
}

TEST_F(ExtraAudioPreviewsTest, withoutTheUsersLeaveThereIsNone) {
    for (const auto status : {AVAuthorizationStatus::denied, AVAuthorizationStatus::restricted}) {
        machine.captureDevices->authorization[AVMediaType::audio] = status;
        addRow("multi.eight");
        configure();
        EXPECT_EQ(sessionsMade(), 0);
    }
}

TEST_F(ExtraAudioPreviewsTest, oneDeviceThatFailsLeavesTheOthersWhole) {
    machine.audioHardware->device("multi.eight")->failsToOpen = true;
    addRow("multi.eight");
    addRow("daw.two");
    configure();
    EXPECT_TRUE(runs("daw.two"));
    EXPECT_EQ(previews.outputOf("multi.eight"), nullptr);
    EXPECT_FALSE(lastError->has_value());
}

TEST_F(ExtraAudioPreviewsTest, aSessionThatIsForgottenIsMadeAnew) {
    addRow("multi.eight");
    configure();
    const auto old = session("multi.eight");
    EXPECT_TRUE(previews.contains(old));
    EXPECT_TRUE(previews.forget(old));
    EXPECT_FALSE(previews.forget(old)) << "it is none of these any more";
    EXPECT_FALSE(previews.contains(old));
    configure();
    EXPECT_EQ(sessionsMade(), 2);
    EXPECT_TRUE(runs("multi.eight"));
}

TEST_F(ExtraAudioPreviewsTest, aDeviceThatDoesNotStartIsNotRunning) {
    machine.audioHardware->device("multi.eight")->failsToStart = true;
    addRow("multi.eight");
    configure();
    EXPECT_FALSE(previews.areRunning());
}

TEST_F(ExtraAudioPreviewsTest, afterTheirEndNoneIsBuilt) {
    addRow("multi.eight");
    addRow("daw.two");
    configure();
    machine.complete(previews.end());
    EXPECT_EQ(session("multi.eight"), nullptr);
    EXPECT_EQ(session("daw.two"), nullptr);
    configure();
    EXPECT_EQ(sessionsMade(), 2);
}

} // namespace
} // namespace vintra
