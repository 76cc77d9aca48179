#include "Vintra/audio/AudioPreview.h"

#include "tests/audio/AudioPartsFixture.h"

#include <optional>
#include <string>

namespace vintra {
namespace {

/// One preview alone: the test says which device it is to run.
class AudioPreviewTest : public AudioPartsFixture {
protected:
    AudioPreview::Role role() {
        return {.formatChanged = "The format changed.",
                .level = LevelKey::mic(),
                .target = [this] { return target; },
                .channels = [](const AVCaptureDevice&) { return 2; },
                .queue = machine.dispatchQueues->makeSerialQueue("preview")};
    }
    AudioPreview::Surroundings surroundings() {
        return {.platform = platform,
                .selection = selection,
                .sessionControl = sessionControl,
                .isRecording = isRecording,
                .lastError = lastError,
                .delegate = listener,
                .changed = [this] { ++changes; }};
    }
    void configure(std::optional<std::string> newTarget) {
        target = std::move(newTarget);
        machine.complete(preview.configure());
        machine.run(0.2);
    }
    /// Stands for the sample path.
    class Listener : public AVCaptureDataOutputSampleBufferDelegate {
    public:
        explicit Listener(SimulatedMachine& machine, ActivityStamp& activity)
            : machine(machine)
            , activity(activity) {}
        void captureOutput(const std::shared_ptr<AVCaptureOutput>& output, const CMSampleBuffer&) override {
            activity.stamp(CMTimeGetSeconds(machine.now()));
            lastOutput = output;
        }
        std::weak_ptr<AVCaptureOutput> lastOutput;

    private:
        SimulatedMachine& machine;
        ActivityStamp& activity;
    };

    std::optional<std::string> target;
    int changes = 0;
    ActivityStamp activity;
    std::shared_ptr<Listener> listener = std::make_shared<Listener>(machine, activity);
    AudioPreview preview{role(), surroundings(), activity};
};

TEST_F(AudioPreviewTest, aTargetRunsAndDelivers) {
    EXPECT_FALSE(preview.isDelivering());
    configure("mic.one");
    EXPECT_TRUE(runs("mic.one"));
    EXPECT_TRUE(preview.isDelivering());
    EXPECT_EQ(preview.deviceID(), "mic.one");
    EXPECT_EQ(listener->lastOutput.lock(), preview.dataOutput());
    EXPECT_EQ(session("mic.one")->output()->settings.numberOfChannels, 2u) << "as many as the role says";
    EXPECT_GT(changes, 0);
}

TEST_F(AudioPreviewTest, aSessionThatHasNotDeliveredYetIsNotDelivering) {
    machine.audioHardware->device("mic.one")->isSilent = true;
    configure("mic.one");
    EXPECT_TRUE(runs("mic.one"));
    EXPECT_FALSE(preview.isDelivering());
}

TEST_F(AudioPreviewTest, theSameTargetIsLeftAlone) {
    configure("mic.one");
    const int before = changes;
    configure("mic.one");
    EXPECT_EQ(sessionsMade(), 1);
    EXPECT_EQ(changes, before);
}

TEST_F(AudioPreviewTest, noTargetAndAnUnknownOneAreNoPreview) {
    configure("mic.one");
    selection.levels->set(LevelKey::mic(), 0.5f);
    configure(std::nullopt);
    EXPECT_EQ(session("mic.one"), nullptr);
    EXPECT_EQ(preview.dataOutput(), nullptr);
    EXPECT_EQ(*selection.levels->micLevel, 0) << "its meter falls";
    configure("gone");
    EXPECT_EQ(preview.session(), nullptr);
    EXPECT_EQ(preview.deviceID(), std::nullopt);
}

TEST_F(AudioPreviewTest, onlyItsOwnDeviceHasAnOutputHere) {
    configure("mic.one");
    const auto deviceOf = [this](const char* uid) { return selection.availableAudioInput(uid); };
    EXPECT_EQ(preview.outputOf(*deviceOf("mic.one")), preview.dataOutput());
    EXPECT_EQ(preview.outputOf(*deviceOf("daw.two")), nullptr);
    configure(std::nullopt);
    EXPECT_EQ(preview.outputOf(*deviceOf("mic.one")), nullptr);
}

TEST_F(AudioPreviewTest, inATakeTheOldSessionEndsAndNoneAppears) {
    configure("mic.one");
    isRecording.set(true);
    selection.levels->set(LevelKey::mic(), 0.5f);
    configure("daw.two");
    EXPECT_EQ(session("mic.one"), nullptr);
    EXPECT_EQ(session("daw.two"), nullptr);
    EXPECT_EQ(*selection.levels->micLevel, 0.5f) << "the meter of a take is left alone";
    machine.complete(preview.rebuild());
    EXPECT_EQ(sessionsMade(), 1);
}

TEST_F(AudioPreviewTest, aTakeThatBeginsDuringTheQuestionGetsNoSession) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    machine.time->after(500'000'000, [&] { isRecording.set(true); });
    configure("mic.one");
    EXPECT_EQ(sessionsMade(), 0);
}

TEST_F(AudioPreviewTest, aTargetThatMovesDuringTheQuestionIsNotBuilt) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    machine.time->after(500'000'000, [&] { target = "daw.two"; });
    configure("mic.one");
    EXPECT_EQ(sessionsMade(), 0);
    EXPECT_EQ(preview.session(), nullptr);
}

TEST_F(AudioPreviewTest, aRefusalAndARestrictionLeaveItAbsent) {
    for (const auto status : {AVAuthorizationStatus::denied, AVAuthorizationStatus::restricted}) {
        machine.captureDevices->authorization[AVMediaType::audio] = status;
        configure("mic.one");
        EXPECT_EQ(sessionsMade(), 0);
    }
    EXPECT_FALSE(lastError->has_value());
}

TEST_F(AudioPreviewTest, aDeviceThatCannotBeOpenedLeavesItAbsentWithoutAWord) {
    for (const auto fault : {&SimulatedAudioDevice::failsToOpen, &SimulatedAudioDevice::refusesInput,
                             &SimulatedAudioDevice::refusesOutput}) {
        const auto device = machine.audioHardware->device("mic.one");
        (*device).*fault = true;
        configure("mic.one");
        EXPECT_EQ(preview.session(), nullptr);
        EXPECT_FALSE(lastError->has_value());
        (*device).*fault = false;
    }
}

TEST_F(AudioPreviewTest, aRebuildMakesANewSessionForTheSameDevice) {
    configure("mic.one");
    const auto old = preview.session();
    machine.complete(preview.rebuild());
    machine.run(0.2);
    EXPECT_NE(preview.session(), old);
    EXPECT_TRUE(preview.isDelivering());
    EXPECT_FALSE(old->isRunning());
}

TEST_F(AudioPreviewTest, aForgottenDeviceGetsANewSessionAtTheNextConfigure) {
    configure("mic.one");
    const auto old = preview.session();
    preview.forgetDevice();
    EXPECT_EQ(preview.session(), old);
    machine.complete(preview.configure());
    machine.run(0.2);
    EXPECT_NE(preview.session(), old);
    EXPECT_TRUE(preview.isDelivering());
}

TEST_F(AudioPreviewTest, aFormatThatChangesBetweenTakesGetsANewSession) {
    configure("mic.one");
    machine.audioHardware->setNominalSampleRate("mic.one", 96'000);
    machine.run(0.3);
    EXPECT_EQ(sessionsMade(), 2);
    EXPECT_TRUE(preview.isDelivering());
    EXPECT_FALSE(lastError->has_value());
}

TEST_F(AudioPreviewTest, aFormatThatChangesInATakeIsToldAndNothingElse) {
    configure("mic.one");
    isRecording.set(true);
    machine.audioHardware->setNominalSampleRate("mic.one", 96'000);
    machine.run(0.3);
    EXPECT_EQ(*lastError, "The format changed.");
    EXPECT_EQ(sessionsMade(), 1);
    EXPECT_TRUE(runs("mic.one"));
}

TEST_F(AudioPreviewTest, theFormatOfADeviceThatWasLeftIsNobodysBusiness) {
    configure("mic.one");
    configure("daw.two");
    const auto made = sessionsMade();
    machine.audioHardware->setNominalSampleRate("mic.one", 96'000);
    machine.run(0.3);
    EXPECT_EQ(sessionsMade(), made);
}

TEST_F(AudioPreviewTest, afterItsEndNoneIsBuilt) {
    configure("mic.one");
    machine.complete(preview.end());
    EXPECT_EQ(session("mic.one"), nullptr);
    configure("mic.one");
    configure("daw.two");
    EXPECT_EQ(preview.session(), nullptr);
    EXPECT_EQ(sessionsMade(), 1);
}

} // namespace
} // namespace vintra
