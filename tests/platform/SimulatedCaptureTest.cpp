#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/platform/simulated/SimulatedWaveEncoder.h"
#include "tests/platform/CaptureSessionConformance.h"
#include "tests/platform/ScreenStreamConformance.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class SimulatedCaptureBackend {
public:
    SimulatedCaptureBackend() { machine.audioHardware->plug("mic", "Studio Microphone", 2); }

    CaptureDevices& captureDevices() { return *machine.captureDevices; }
    std::string microphoneID() { return "mic"; }
    uint32_t microphoneChannels() { return 2; }
    std::shared_ptr<DispatchQueue> makeQueue() { return machine.dispatchQueues->makeSerialQueue("samples"); }
    void runOnSessionQueue(const std::function<void()>& work) { sessionQueue->sync(work); }
    CMTime now() { return machine.now(); }
    bool waitUntil(const std::function<bool()>& done) { return machine.runMainUntil(done, 10); }
    void letPass(double seconds) { machine.run(seconds); }
    void workOffMainThread() { machine.settle(); }
    void unplugMicrophone() { machine.audioHardware->unplug("mic"); }

private:
    SimulatedMachine machine;
    std::shared_ptr<DispatchQueue> sessionQueue = machine.dispatchQueues->makeSerialQueue("session");
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, CaptureSessionConformance, SimulatedCaptureBackend);

class SimulatedScreenStreamBackend {
public:
    SimulatedScreenStreamBackend() { machine.screenCapture->script.frames = listedFrames({{}}); }

    ScreenCapture& screenCapture() { return *machine.screenCapture; }
    std::shared_ptr<DispatchQueue> makeQueue() { return machine.dispatchQueues->makeSerialQueue("frames"); }
    CMTime now() { return machine.now(); }
    void changePicture() { machine.screenCapture->changePicture(); }
    bool waitUntil(const std::function<bool()>& done) { return machine.runMainUntil(done, 10); }
    void letPass(double seconds) { machine.run(seconds); }
    void endStreams() {
        machine.screenCapture->stream()->die(SystemError("simulated", 1, "The display went to sleep."));
    }

private:
    SimulatedMachine machine;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, ScreenStreamConformance, SimulatedScreenStreamBackend);

class SimulatedMicrophoneTest : public testing::Test {
protected:
    SimulatedMachine machine;
    std::shared_ptr<SimulatedAudioDevice> microphone = machine.audioHardware->plug("mic", "Microphone");
    std::shared_ptr<ObservedQueue> queue =
        std::make_shared<ObservedQueue>(machine.dispatchQueues->makeSerialQueue("samples"));
    std::shared_ptr<SoundSampleCollector> collector =
        std::make_shared<SoundSampleCollector>(queue, [this] { return machine.now(); });

    std::shared_ptr<AVCaptureSession> makeSession() {
        AVAudioSettings settings;
        settings.numberOfChannels = 1;
        const auto output = machine.captureDevices->makeAudioDataOutput(settings);
        output->setSampleBufferDelegate(collector, queue);
        auto session = machine.captureDevices->makeSession();
        session->addInput(
            machine.captureDevices->makeDeviceInput(machine.captureDevices->deviceWithUniqueID("mic")));
        session->addOutput(output);
        return session;
    }
};

TEST_F(SimulatedMicrophoneTest, theFirstBufferComesAfterTheStartTheLatencyAndItsOwnLength) {
    microphone->startSeconds = 0.1;
    microphone->firstFrameSeconds = 0.05;
    microphone->framesPerBuffer = 480;
    const CMTime before = machine.now();
    const auto session = makeSession();
    session->startRunning();
    EXPECT_EQ(machine.now() - before, CMTimeMake(100, 1000));
    machine.run(0.0599);
    EXPECT_EQ(collector->count(), 0u);
    machine.run(0.0001);
    ASSERT_EQ(collector->count(), 1u);
    EXPECT_EQ(collector->arrivals()[0].sample.presentationTimeStamp() - before, CMTimeMake(150, 1000));
}

TEST_F(SimulatedMicrophoneTest, theSignalIsAskedForEachFrameOnTheHostClock) {
    microphone->framesPerBuffer = 2;
    microphone->signal = [](uint32_t, int64_t frame, CMTime) { return static_cast<float>(frame); };
    const auto session = makeSession();
    session->startRunning();
    machine.runMainUntil([&] { return collector->count() == 2; });
    const auto second = collector->arrivals()[1].sample;
    const auto* values = reinterpret_cast<const float*>(second.dataBuffer()->contiguousBytes());
    EXPECT_EQ(values[0], 2.0f);
    EXPECT_EQ(values[1], 3.0f);
}

TEST_F(SimulatedMicrophoneTest, aLateBufferKeepsItsStampAndTheNextIsInTime) {
    microphone->framesPerBuffer = 480;
    microphone->lateness = [](int64_t buffer) { return buffer == 1 ? 0.005 : 0.0; };
    const auto session = makeSession();
    session->startRunning();
    machine.runMainUntil([&] { return collector->count() == 3; });
    const auto arrivals = collector->arrivals();
    EXPECT_EQ(arrivals[1].sample.presentationTimeStamp() - arrivals[0].sample.presentationTimeStamp(),
              CMTimeMake(10, 1000));
    EXPECT_EQ(arrivals[1].time - arrivals[0].time, CMTimeMake(15, 1000));
    EXPECT_EQ(arrivals[2].time - arrivals[1].time, CMTimeMake(5, 1000));
}

TEST_F(SimulatedMicrophoneTest, aFastClockStampsItsBuffersCloserTogether) {
    microphone->framesPerBuffer = 48'000;
    microphone->clockRatio = 1.25;
    const auto session = makeSession();
    session->startRunning();
    machine.runMainUntil([&] { return collector->count() == 2; });
    const auto arrivals = collector->arrivals();
    EXPECT_EQ(arrivals[1].sample.presentationTimeStamp() - arrivals[0].sample.presentationTimeStamp(),
              CMTimeMake(8, 10));
}

TEST_F(SimulatedMicrophoneTest, dataMayLieInSeveralPiecesAndBuffersMayBeLost) {
    microphone->piecesPerBuffer = 3;
    int64_t seen = 0;
    microphone->alter = [&](CMSampleBuffer buffer) {
        return ++seen == 1 ? std::nullopt : std::optional(std::move(buffer));
    };
    const auto session = makeSession();
    session->startRunning();
    machine.runMainUntil([&] { return collector->count() == 1; });
    EXPECT_EQ(seen, 2);
    const auto data = collector->arrivals()[0].sample.dataBuffer();
    EXPECT_EQ(data->contiguousBytes(), nullptr);
    EXPECT_LT(data->dataPointer(0).lengthAtOffset, data->dataLength());
}

TEST_F(SimulatedMicrophoneTest, scriptedRefusalsHappen) {
    const auto device = machine.captureDevices->deviceWithUniqueID("mic");
    microphone->failsToStart = true;
    const auto session = makeSession();
    session->startRunning();
    EXPECT_FALSE(session->isRunning());
    microphone->refusesInput = true;
    EXPECT_FALSE(
        machine.captureDevices->makeSession()->canAddInput(*machine.captureDevices->makeDeviceInput(device)));
    microphone->failsToOpen = true;
    EXPECT_THROW(machine.captureDevices->makeDeviceInput(device), SystemError);
    microphone->hasUnreadableFormat = true;
    EXPECT_FALSE(device->activeAudioFormat());
    microphone->isCapturable = false;
    EXPECT_EQ(machine.captureDevices->deviceWithUniqueID("mic"), nullptr);
}

TEST_F(SimulatedMicrophoneTest, theUserAnswersAQuestionInTheirOwnTime) {
    machine.captureDevices->authorization[AVMediaType::audio] = AVAuthorizationStatus::notDetermined;
    machine.captureDevices->userGrantsAccess = false;
    machine.captureDevices->answerSeconds = 3;
    std::optional<bool> answer;
    const auto hear = [&](bool granted) { answer = granted; };
    machine.captureDevices->requestAccess(AVMediaType::audio, hear);
    machine.run(2.9);
    EXPECT_FALSE(answer);
    machine.run(0.1);
    EXPECT_EQ(answer, false);
    EXPECT_EQ(machine.captureDevices->authorizationStatus(AVMediaType::audio), AVAuthorizationStatus::denied);
    EXPECT_EQ(machine.captureDevices->accessRequests, std::vector<AVMediaType>{AVMediaType::audio});
}

TEST_F(SimulatedMicrophoneTest, listenersHearOfDevicesAndRatesUntilTheyAreLetGoOf) {
    AudioHardware& hardware = *machine.audioHardware;
    int lists = 0;
    int rates = 0;
    auto list =
        hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, [&] { ++lists; });
    const auto rate =
        hardware.addPropertyListener(microphone->id, AudioProperty::nominalSampleRate, [&] { ++rates; });
    EXPECT_EQ(hardware.addPropertyListener(999, AudioProperty::nominalSampleRate, [] {}), nullptr);
    machine.audioHardware->plug("second", "Second", 4);
    machine.audioHardware->setNominalSampleRate("mic", 44'100);
    EXPECT_EQ(lists, 0) << "never from within the change";
    machine.settle();
    EXPECT_EQ(lists, 1);
    EXPECT_EQ(rates, 1);
    EXPECT_EQ(hardware.nominalSampleRate(microphone->id), 44'100);
    machine.audioHardware->unplug("second");
    list = nullptr;
    machine.settle();
    EXPECT_EQ(lists, 1);
    EXPECT_EQ(hardware.devices(), std::vector<AudioObjectID>{microphone->id});
}

TEST_F(SimulatedMicrophoneTest, failedReadsOfTheHardwareGiveNothing) {
    microphone->hasUnreadableName = true;
    microphone->hasUnreadableUID = true;
    microphone->hasUnreadableRate = true;
    microphone->hasUnreadableStreams = true;
    AudioHardware& hardware = *machine.audioHardware;
    EXPECT_FALSE(hardware.deviceName(microphone->id));
    EXPECT_FALSE(hardware.deviceUID(microphone->id));
    EXPECT_FALSE(hardware.nominalSampleRate(microphone->id));
    EXPECT_FALSE(hardware.inputStreamChannels(microphone->id));
    machine.audioHardware->hasUnreadableDevices = true;
    EXPECT_TRUE(hardware.devices().empty());
}

class SimulatedScreenTest : public testing::Test {
protected:
    SimulatedMachine machine;
    std::shared_ptr<DispatchQueue> queue = machine.dispatchQueues->makeSerialQueue("frames");
    std::shared_ptr<ScreenSampleCollector> collector = std::make_shared<ScreenSampleCollector>();
    std::shared_ptr<ScreenStopListener> listener = std::make_shared<ScreenStopListener>();
    CompletionResult started;

    std::shared_ptr<SCStream> start(int queueDepth = 8) {
        SCStreamConfiguration configuration;
        configuration.width = 64;
        configuration.height = 32;
        configuration.minimumFrameInterval = CMTimeMake(1, 10);
        configuration.queueDepth = queueDepth;
        auto stream = machine.screenCapture->makeStream({SCContentFilter::Display{{1, 1440, 900}, {}, {}}},
                                                        configuration, listener);
        stream->addStreamOutput(collector, SCStreamOutputType::screen, queue);
        stream->startCapture(started.function());
        machine.runMainUntil([&] { return started.calls() == 1; });
        return stream;
    }
};

TEST_F(SimulatedScreenTest, withoutAScriptThePictureChangesEveryMinimumInterval) {
    const auto stream = start();
    machine.run(0.95);
    EXPECT_EQ(collector->completeSamples().size(), 10u);
    const auto samples = collector->samples();
    EXPECT_EQ(samples[9].presentationTimeStamp() - samples[0].presentationTimeStamp(), CMTimeMake(9, 10));
}

TEST_F(SimulatedScreenTest, scriptedFramesComeWithTheirFaults) {
    machine.screenCapture->script.frames = listedFrames({
        {.seconds = 0},
        {.seconds = 0.1, .status = SCFrameStatus::idle, .hasImage = false},
        {.seconds = 0.2, .status = std::nullopt},
        {.seconds = 0.3, .hasAttachments = false},
        {.seconds = 0.4, .hasTime = false},
        {.seconds = 0.5, .deliveryDelay = 0.25},
    });
    const auto stream = start();
    machine.run(0.74);
    EXPECT_EQ(collector->samples().size(), 5u);
    machine.run(0.01);
    const auto samples = collector->samples();
    ASSERT_EQ(samples.size(), 6u);
    EXPECT_EQ(ScreenSampleCollector::status(samples[1]), static_cast<int64_t>(SCFrameStatus::idle));
    EXPECT_EQ(samples[1].imageBuffer(), nullptr);
    EXPECT_EQ(samples[2].attachments().size(), 1u);
    EXPECT_FALSE(ScreenSampleCollector::status(samples[2]));
    EXPECT_TRUE(samples[3].attachments().empty());
    EXPECT_FALSE(samples[4].presentationTimeStamp().isValid());
    EXPECT_EQ(samples[5].presentationTimeStamp() - samples[0].presentationTimeStamp(), CMTimeMake(5, 10));
}

TEST_F(SimulatedScreenTest, framesAreLeftOutAtTheSourceWhenTheOutputIsBehindByTheQueueDepth) {
    const auto stream = start(2);
    machine.run(0.05);
    queue->async([&] { machine.hostClock->sleep(400'000); }); // over the frames at 0.1 to 0.4 s
    machine.run(0.5);
    EXPECT_EQ(machine.screenCapture->stream()->leftOutFrames, 2);
    EXPECT_EQ(collector->samples().size(), 1u + 2u + 1u);
}

TEST_F(SimulatedScreenTest, scriptedErrorsAreReported) {
    const SystemError error("simulated", 7, "No.");
    machine.screenCapture->script.startError = error;
    start();
    ASSERT_TRUE(started.error());
    EXPECT_EQ(started.error()->code(), 7);
    machine.screenCapture->script = {.addOutputError = error};
    EXPECT_THROW(start(), SystemError);
    machine.screenCapture->makeStreamError = error;
    EXPECT_THROW(start(), SystemError);
    machine.screenCapture->contentError = error;
    std::optional<ScreenCapture::Content> content;
    const auto hear = [&](ScreenCapture::Content result) { content = std::move(result); };
    machine.screenCapture->getShareableContent(false, true, hear);
    machine.run(1);
    ASSERT_TRUE(content);
    EXPECT_EQ(content->error->code(), 7);
}

TEST_F(SimulatedScreenTest, aStopThatFailsStopsAllTheSame) {
    machine.screenCapture->script.stopError = SystemError("simulated", 8, "No.");
    const auto stream = start();
    CompletionResult stopped;
    stream->stopCapture(stopped.function());
    machine.run(1);
    EXPECT_EQ(stopped.error()->code(), 8);
    const size_t before = collector->samples().size();
    machine.run(1);
    EXPECT_EQ(collector->samples().size(), before);
}

TEST_F(SimulatedScreenTest, picturesOfOneShadeShareTheirPixelsButNotTheirIdentity) {
    SimulatedPictures pictures;
    const auto first = pictures.make(kCVPixelFormatType_32BGRA, 8, 4, 60);
    const auto second = pictures.make(kCVPixelFormatType_32BGRA, 8, 4, 60);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->plane(0).baseAddress, second->plane(0).baseAddress);
    EXPECT_EQ(first->plane(0).baseAddress[31], 60);
    EXPECT_EQ(pictures.make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 8, 4, 60)->planeCount(), 2u);
    EXPECT_EQ(pictures.make(fourCharCode("none"), 8, 4, 60), nullptr);
}

TEST(SimulatedFileProbeTest, aMovieSaysWhatItsWriterTook) {
    SimulatedMachine machine;
    const CMTime start = machine.now();
    const URL url = URL::fileURL("/tmp/a.mov");
    const auto writer = machine.assetWriters->makeWriter(url, AVFileType::quickTimeMovie);
    AVVideoSettings settings;
    settings.width = 64;
    settings.height = 32;
    const auto input = machine.assetWriters->makeInput(settings, true);
    writer->add(input);
    writer->startWriting();
    writer->startSession(start);
    SimulatedPictures pictures;
    for (int slot = 6; slot < 36; ++slot) {
        input->append(
            CMSampleBuffer::makeVideo(pictures.make(kCVPixelFormatType_32BGRA, 64, 32, 0),
                                      {CMTimeMake(1, 30), start + CMTimeMake(slot, 30), kCMTimeInvalid}));
    }
    EXPECT_FALSE(machine.assetProbing->asset(url)->loadDuration()) << "it isn't finished";
    writer->finishWriting([] {});
    machine.settle();
    const auto asset = machine.assetProbing->asset(url);
    EXPECT_EQ(asset->loadDuration(), CMTimeMake(36, 30));
    const auto tracks = asset->loadTracks(AVMediaType::video);
    ASSERT_EQ(tracks->size(), 1u);
    EXPECT_EQ(tracks->front().video->nominalFrameRate, 30);
    EXPECT_EQ(tracks->front().video->timeRange.start, CMTimeMake(6, 30));
    EXPECT_EQ(tracks->front().video->naturalSize, (CGSize{64, 32}));
    EXPECT_TRUE(asset->loadTracks(AVMediaType::audio)->empty());
    machine.fileManager->removeItem(url);
    EXPECT_FALSE(machine.assetProbing->asset(url)->loadTracks(AVMediaType::video));
}

TEST(SimulatedFileProbeTest, aWaveSaysWhatItsBytesSay) {
    SimulatedMachine machine;
    AVAudioSettings settings;
    settings.numberOfChannels = 2;
    const auto header = SimulatedWaveEncoder::header(settings, 48'000 * 6);
    machine.fileManager->put("/tmp/a.wav", std::string(header.begin(), header.end()));
    const auto asset = machine.assetProbing->asset(URL::fileURL("/tmp/a.wav"));
    EXPECT_EQ(asset->loadDuration(), CMTimeMake(1, 1));
    const auto tracks = asset->loadTracks(AVMediaType::audio);
    ASSERT_EQ(tracks->size(), 1u);
    EXPECT_EQ(tracks->front().formatDescriptions->front()->streamBasicDescription()->mChannelsPerFrame, 2u);
}

} // namespace
} // namespace vintra
