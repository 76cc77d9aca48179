#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

// What every backend's sound capture sessions owe. A backend takes the suite by
//
//     INSTANTIATE_TYPED_TEST_SUITE_P(Name, CaptureSessionConformance, SomeCaptureBackend);
//
// with a default-constructible class that brings up a machine with one microphone that plays something else
// than silence on every channel, and has
//
//     CaptureDevices& captureDevices();
//     std::string microphoneID();                  // of a device that is there
//     uint32_t microphoneChannels();
//     std::shared_ptr<DispatchQueue> makeQueue();  // serial
//     void runOnSessionQueue(const std::function<void()>&);  // where sessions are started and stopped; waits
//     CMTime now();                                // of the host clock that stamps the samples
//     bool waitUntil(std::function<bool()>);       // lets time go by until it holds; false after 10 s
//     void letPass(double seconds);                // of the host clock
//     void workOffMainThread();                    // all that has been posted to it
//     void unplugMicrophone();

/// Hands all work to another queue and knows whether it is running some. Any thread.
class ObservedQueue : public DispatchQueue {
public:
    explicit ObservedQueue(std::shared_ptr<DispatchQueue> queue)
        : inner(std::move(queue)) {}

    const std::string& label() const override { return inner->label(); }
    void async(std::function<void()> work) override {
        inner->async([this, work = std::move(work)] { run(work); });
    }
    void sync(const std::function<void()>& work) override {
        inner->sync([&] { run(work); });
    }
    std::unique_ptr<DispatchTimer> makeTimer(DispatchTimerSchedule schedule,
                                             std::function<void()> handler) override {
        return inner->makeTimer(schedule, std::move(handler));
    }
    bool isCurrent() const { return current == this; }

private:
    void run(const std::function<void()>& work) {
        const ObservedQueue* before = std::exchange(current, this);
        work();
        current = before;
    }
    static inline thread_local const ObservedQueue* current = nullptr;
    std::shared_ptr<DispatchQueue> inner;
};

/// Takes sound samples down as they come. Any thread.
class SoundSampleCollector : public AVCaptureDataOutputSampleBufferDelegate {
public:
    struct Arrival {
        CMSampleBuffer sample;
        AVCaptureOutput* output = nullptr;
        CMTime time;
        bool onQueue = false;
    };

    SoundSampleCollector(std::weak_ptr<ObservedQueue> queue, std::function<CMTime()> clock)
        : queue(std::move(queue))
        , clock(std::move(clock)) {}

    void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                       const CMSampleBuffer& didOutput) override {
        const auto observed = queue.lock();
        Arrival arrival{didOutput, output.get(), clock(), observed && observed->isCurrent()};
        MutexLock lock(mutex);
        arrivals_.push_back(std::move(arrival));
    }
    std::vector<Arrival> arrivals() const {
        MutexLock lock(mutex);
        return arrivals_;
    }
    size_t count() const {
        MutexLock lock(mutex);
        return arrivals_.size();
    }
    int64_t frames() const {
        MutexLock lock(mutex);
        int64_t sum = 0;
        for (const Arrival& arrival : arrivals_)
            sum += arrival.sample.numSamples();
        return sum;
    }

private:
    const std::weak_ptr<ObservedQueue> queue;
    const std::function<CMTime()> clock;
    mutable Mutex mutex;
    std::vector<Arrival> arrivals_ GUARDED_BY(mutex);
};

template <typename Backend>
class CaptureSessionConformance : public ::testing::Test {
protected:
    static AVAudioSettings floatSettings(uint32_t channels) {
        AVAudioSettings settings;
        settings.numberOfChannels = channels;
        settings.linearPCMBitDepth = 32;
        settings.linearPCMIsFloat = true;
        return settings;
    }

    /// A session on the microphone that is ready to be started; null, with a failure, if there is none.
    std::shared_ptr<AVCaptureSession> makeSession() {
        CaptureDevices& devices = backend.captureDevices();
        const auto device = devices.deviceWithUniqueID(backend.microphoneID());
        EXPECT_NE(device, nullptr);
        if (!device) return nullptr;
        auto input = devices.makeDeviceInput(device);
        output = devices.makeAudioDataOutput(floatSettings(backend.microphoneChannels()));
        output->setSampleBufferDelegate(collector, queue);
        auto session = devices.makeSession();
        EXPECT_TRUE(session->canAddInput(*input));
        session->addInput(std::move(input));
        EXPECT_TRUE(session->canAddOutput(*output));
        session->addOutput(output);
        return session;
    }
    void start(AVCaptureSession& session) {
        backend.runOnSessionQueue([&] { session.startRunning(); });
    }
    void stop(AVCaptureSession& session) {
        backend.runOnSessionQueue([&] { session.stopRunning(); });
    }
    std::shared_ptr<AVCaptureSession> runningSession() {
        auto session = makeSession();
        if (!session) return nullptr;
        start(*session);
        EXPECT_TRUE(session->isRunning());
        EXPECT_TRUE(waitForSamples(1));
        return session;
    }
    /// That many more than there are.
    bool waitForSamples(size_t count) {
        const size_t wanted = collector->count() + count;
        return backend.waitUntil([this, wanted] { return collector->count() >= wanted; });
    }
    void expectThatNoSampleComes() {
        queue->sync([] {});
        const size_t before = collector->count();
        backend.letPass(0.3);
        queue->sync([] {});
        EXPECT_EQ(collector->count(), before);
    }

    Backend backend;
    std::shared_ptr<ObservedQueue> queue = std::make_shared<ObservedQueue>(backend.makeQueue());
    std::shared_ptr<SoundSampleCollector> collector =
        std::make_shared<SoundSampleCollector>(queue, [this] { return backend.now(); });
    std::shared_ptr<AVCaptureAudioDataOutput> output;
};

TYPED_TEST_SUITE_P(CaptureSessionConformance);

TYPED_TEST_P(CaptureSessionConformance, aDeviceThatIsNotThereIsNull) {
    EXPECT_EQ(this->backend.captureDevices().deviceWithUniqueID("no such device"), nullptr);
    EXPECT_EQ(this->backend.captureDevices().deviceWithUniqueID(""), nullptr);
}

TYPED_TEST_P(CaptureSessionConformance, aMicrophoneKnowsItsIdNameAndFormat) {
    const auto device = this->backend.captureDevices().deviceWithUniqueID(this->backend.microphoneID());
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->uniqueID(), this->backend.microphoneID());
    EXPECT_FALSE(device->localizedName().empty());
    EXPECT_TRUE(device->isConnected());
    const auto format = device->activeAudioFormat();
    ASSERT_TRUE(format.has_value());
    EXPECT_EQ(format->mChannelsPerFrame, this->backend.microphoneChannels());
    EXPECT_GT(format->mSampleRate, 0);
    EXPECT_FALSE(std::dynamic_pointer_cast<AVCaptureVideoDevice>(device)) << "a sound input is no camera";
}

TYPED_TEST_P(CaptureSessionConformance, aSessionTakesOneInput) {
    CaptureDevices& devices = this->backend.captureDevices();
    const auto device = devices.deviceWithUniqueID(this->backend.microphoneID());
    ASSERT_NE(device, nullptr);
    const auto session = devices.makeSession();
    const auto first = devices.makeDeviceInput(device);
    ASSERT_TRUE(session->canAddInput(*first));
    session->addInput(first);
    EXPECT_FALSE(session->canAddInput(*devices.makeDeviceInput(device)));
}

TYPED_TEST_P(CaptureSessionConformance, noSampleComesBeforeTheStart) {
    const auto session = this->makeSession();
    ASSERT_NE(session, nullptr);
    EXPECT_FALSE(session->isRunning());
    this->expectThatNoSampleComes();
}

TYPED_TEST_P(CaptureSessionConformance, samplesComeOnTheQueueAndFromTheOutputThatWasAdded) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    ASSERT_TRUE(this->waitForSamples(5));
    this->stop(*session);
    for (const auto& arrival : this->collector->arrivals()) {
        EXPECT_TRUE(arrival.onQueue);
        EXPECT_EQ(arrival.output, this->output.get());
    }
}

TYPED_TEST_P(CaptureSessionConformance, samplesAreInterleavedFloatsInTheRateAndChannelsAskedFor) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    ASSERT_TRUE(this->waitForSamples(5));
    this->stop(*session);
    const AudioStreamBasicDescription expected =
        floatPCMDescription(48'000, this->backend.microphoneChannels());
    for (const auto& arrival : this->collector->arrivals()) {
        const CMSampleBuffer& sample = arrival.sample;
        ASSERT_TRUE(sample.isValid());
        ASSERT_NE(sample.formatDescription(), nullptr);
        ASSERT_NE(sample.formatDescription()->streamBasicDescription(), nullptr);
        EXPECT_EQ(*sample.formatDescription()->streamBasicDescription(), expected);
        ASSERT_NE(sample.dataBuffer(), nullptr);
        EXPECT_NE(sample.dataBuffer()->contiguousBytes(), nullptr);
        EXPECT_GT(sample.numSamples(), 0);
        EXPECT_EQ(sample.dataBuffer()->dataLength(),
                  static_cast<size_t>(sample.numSamples()) * expected.mBytesPerFrame);
        EXPECT_EQ(sample.timing().duration, CMTimeMake(1, 48'000));
        EXPECT_EQ(sample.imageBuffer(), nullptr);
    }
}

TYPED_TEST_P(CaptureSessionConformance, everyBufferIsAFreshOne) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    ASSERT_TRUE(this->waitForSamples(5));
    this->stop(*session);
    const auto arrivals = this->collector->arrivals();
    for (size_t index = 1; index < arrivals.size(); ++index) {
        EXPECT_NE(arrivals[index].sample.dataBuffer()->contiguousBytes(),
                  arrivals[index - 1].sample.dataBuffer()->contiguousBytes());
    }
}

TYPED_TEST_P(CaptureSessionConformance, theSignalIsHeardOnEveryChannel) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    const uint32_t channels = this->backend.microphoneChannels();
    const auto isHeard = [&] {
        std::vector<bool> heard(channels, false);
        for (const auto& arrival : this->collector->arrivals()) {
            const auto* samples =
                reinterpret_cast<const float*>(arrival.sample.dataBuffer()->contiguousBytes());
            const auto count = static_cast<size_t>(arrival.sample.numSamples()) * channels;
            for (size_t index = 0; index < count; ++index) {
                if (samples[index] != 0.0F) heard[index % channels] = true;
            }
        }
        return heard == std::vector<bool>(channels, true);
    };
    EXPECT_TRUE(this->backend.waitUntil(isHeard));
    this->stop(*session);
}

TYPED_TEST_P(CaptureSessionConformance, stampsFollowOneAnotherWithoutOverlap) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    ASSERT_TRUE(this->waitForSamples(20));
    this->stop(*session);
    const auto arrivals = this->collector->arrivals();
    // Stamps are host times, a whole number of ticks: two of them and one of rounding.
    const CMTime tolerance = CMTimeMake(3, kHostTimescale);
    for (size_t index = 1; index < arrivals.size(); ++index) {
        const CMSampleBuffer& previous = arrivals[index - 1].sample;
        const CMTime end = previous.presentationTimeStamp() + previous.duration();
        const CMTime stamp = arrivals[index].sample.presentationTimeStamp();
        ASSERT_TRUE(stamp.isNumeric());
        EXPECT_GE(stamp, end - tolerance) << describe(stamp) << " after " << describe(end);
    }
}

TYPED_TEST_P(CaptureSessionConformance, stampsAreHostTimesOfTheRecentPast) {
    const CMTime before = this->backend.now();
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    ASSERT_TRUE(this->waitForSamples(10));
    this->stop(*session);
    // What was heard up to half a second before the start may still lie in a device's buffer.
    const CMTime earliest = before - CMTimeMake(1, 2);
    for (const auto& arrival : this->collector->arrivals()) {
        EXPECT_GE(arrival.sample.presentationTimeStamp(), earliest);
        EXPECT_LE(arrival.sample.presentationTimeStamp(), arrival.time);
    }
}

TYPED_TEST_P(CaptureSessionConformance, noSampleComesAfterTheStop) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    this->stop(*session);
    EXPECT_FALSE(session->isRunning());
    this->expectThatNoSampleComes();
}

TYPED_TEST_P(CaptureSessionConformance, anOrdinaryStopIsNoErrorOfTheSession) {
    int errors = 0;
    const auto observation = this->backend.captureDevices().observe(
        {.deviceWasConnected = [](const auto&) {},
         .deviceWasDisconnected = [](const auto&) {},
         .sessionRuntimeError = [&](const auto&, const auto&) { ++errors; }});
    auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    this->stop(*session);
    this->backend.workOffMainThread();
    EXPECT_EQ(errors, 0) << "stopped";
    this->start(*session);
    ASSERT_TRUE(session->isRunning());
    session.reset();
    this->backend.workOffMainThread();
    EXPECT_EQ(errors, 0) << "let go of";
}

TYPED_TEST_P(CaptureSessionConformance, aStoppedSessionCanBeStartedAgain) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    this->stop(*session);
    this->queue->sync([] {});
    const size_t before = this->collector->count();
    this->start(*session);
    EXPECT_TRUE(session->isRunning());
    ASSERT_TRUE(this->waitForSamples(3));
    this->stop(*session);
    const auto arrivals = this->collector->arrivals();
    EXPECT_GT(arrivals[before].sample.presentationTimeStamp(),
              arrivals[before - 1].sample.presentationTimeStamp());
}

TYPED_TEST_P(CaptureSessionConformance, startingTwiceAndStoppingTwiceIsNoTrouble) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    this->start(*session);
    EXPECT_TRUE(session->isRunning());
    ASSERT_TRUE(this->waitForSamples(2));
    this->stop(*session);
    this->stop(*session);
    EXPECT_FALSE(session->isRunning());
}

TYPED_TEST_P(CaptureSessionConformance, stoppingASessionThatNeverRanIsNoTrouble) {
    const auto session = this->makeSession();
    ASSERT_NE(session, nullptr);
    this->stop(*session);
    EXPECT_FALSE(session->isRunning());
}

TYPED_TEST_P(CaptureSessionConformance, aDelegateThatHasGoneIsNoTrouble) {
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    this->collector.reset();
    this->backend.letPass(0.1);
    this->stop(*session);
    EXPECT_FALSE(session->isRunning());
}

TYPED_TEST_P(CaptureSessionConformance, aSessionLetGoOfWhileItRunsJustEnds) {
    auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    session.reset();
    this->expectThatNoSampleComes();
}

TYPED_TEST_P(CaptureSessionConformance, aMicrophoneUnpluggedWhileItRunsJustGoesSilent) {
    const auto device = this->backend.captureDevices().deviceWithUniqueID(this->backend.microphoneID());
    const auto session = this->runningSession();
    ASSERT_NE(session, nullptr);
    this->backend.unplugMicrophone();
    EXPECT_TRUE(this->backend.waitUntil([&] { return !device->isConnected(); }));
    EXPECT_EQ(this->backend.captureDevices().deviceWithUniqueID(this->backend.microphoneID()), nullptr);
    this->expectThatNoSampleComes();
    this->stop(*session);
    EXPECT_FALSE(session->isRunning());
}

REGISTER_TYPED_TEST_SUITE_P(CaptureSessionConformance, aDeviceThatIsNotThereIsNull,
                            aMicrophoneKnowsItsIdNameAndFormat, aSessionTakesOneInput,
                            noSampleComesBeforeTheStart, samplesComeOnTheQueueAndFromTheOutputThatWasAdded,
                            samplesAreInterleavedFloatsInTheRateAndChannelsAskedFor, everyBufferIsAFreshOne,
                            theSignalIsHeardOnEveryChannel, stampsFollowOneAnotherWithoutOverlap,
                            stampsAreHostTimesOfTheRecentPast, noSampleComesAfterTheStop,
                            anOrdinaryStopIsNoErrorOfTheSession, aStoppedSessionCanBeStartedAgain,
                            startingTwiceAndStoppingTwiceIsNoTrouble, stoppingASessionThatNeverRanIsNoTrouble,
                            aDelegateThatHasGoneIsNoTrouble, aSessionLetGoOfWhileItRunsJustEnds,
                            aMicrophoneUnpluggedWhileItRunsJustGoesSilent);

} // namespace vintra
