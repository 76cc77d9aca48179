#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"

#include <algorithm>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

// What every backend's cameras owe. A backend takes the suite by
//
//     INSTANTIATE_TYPED_TEST_SUITE_P(Name, CameraConformance, SomeCameraBackend);
//
// with a default-constructible class that brings up a machine with one camera, which has at least two formats of
// different sizes, of which one runs at more than one rate, and sends pictures that change; and that has
//
//     CaptureDevices& captureDevices();
//     std::string cameraID();                      // of a camera that is there
//     std::shared_ptr<DispatchQueue> makeQueue();  // serial
//     void runOnSessionQueue(const std::function<void()>&);  // where sessions and cameras are set; waits
//     CMTime now();                                // of the host clock that stamps the pictures
//     bool waitUntil(std::function<bool()>);       // lets time go by until it holds; false after 10 s
//     void letPass(double seconds);                // of the host clock
//     void unplugCamera();
//     void plugCameraAgain();

/// Takes pictures down as they come. Any thread.
class PictureCollector : public AVCaptureDataOutputSampleBufferDelegate {
public:
    struct Arrival {
        CMSampleBuffer sample;
        AVCaptureOutput* output = nullptr;
        CMTime time;
    };

    explicit PictureCollector(std::function<CMTime()> clock)
        : clock(std::move(clock)) {}

    void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                       const CMSampleBuffer& sample) override {
        Arrival arrival{sample, output.get(), clock()};
        MutexLock lock(mutex);
        kept.push_back(std::move(arrival));
    }
    void captureOutputDidMiss(const std::shared_ptr<AVCaptureOutput>&,
                              const AVCaptureMissedPictures& pictures) override {
        MutexLock lock(mutex);
        lost.push_back(pictures);
    }
    std::vector<AVCaptureMissedPictures> missed() const {
        MutexLock lock(mutex);
        return lost;
    }
    std::vector<Arrival> arrivals() const {
        MutexLock lock(mutex);
        return kept;
    }
    size_t count() const {
        MutexLock lock(mutex);
        return kept.size();
    }

private:
    const std::function<CMTime()> clock;
    mutable Mutex mutex;
    std::vector<Arrival> kept GUARDED_BY(mutex);
    std::vector<AVCaptureMissedPictures> lost GUARDED_BY(mutex);
};

template <typename Backend>
class CameraConformance : public ::testing::Test {
protected:
    struct Running {
        std::shared_ptr<AVCaptureSession> session;
        std::shared_ptr<AVCaptureVideoDataOutput> output;
        std::shared_ptr<PictureCollector> collector;
        std::shared_ptr<DispatchQueue> queue;
    };

    std::shared_ptr<AVCaptureVideoDevice> camera() {
        for (const auto& device : backend.captureDevices().cameras()) {
            if (device->uniqueID() == backend.cameraID()) return device;
        }
        return nullptr;
    }
    Running make() {
        Running running;
        CaptureDevices& devices = backend.captureDevices();
        running.collector = std::make_shared<PictureCollector>([this] { return backend.now(); });
        running.queue = backend.makeQueue();
        running.session = devices.makeSession();
        const auto input = devices.makeDeviceInput(camera());
        EXPECT_TRUE(running.session->canAddInput(*input));
        running.session->addInput(input);
        running.output = devices.makeVideoDataOutput();
        EXPECT_TRUE(running.session->canAddOutput(*running.output));
        running.output->setSampleBufferDelegate(running.collector, running.queue);
        running.session->addOutput(running.output);
        return running;
    }
    Running start() {
        Running running = make();
        backend.runOnSessionQueue([&] { running.session->startRunning(); });
        return running;
    }
    void stop(const Running& running) {
        backend.runOnSessionQueue([&] { running.session->stopRunning(); });
    }
    bool configure(const std::shared_ptr<AVCaptureVideoDevice>& device, const std::function<void()>& what) {
        bool isLocked = false;
        backend.runOnSessionQueue([&] {
            isLocked = device->lockForConfiguration();
            if (!isLocked) return;
            what();
            device->unlockForConfiguration();
        });
        return isLocked;
    }
    bool waitForPictures(const Running& running, size_t count) {
        return backend.waitUntil([&] { return running.collector->count() >= count; });
    }

    Backend backend;
};

TYPED_TEST_SUITE_P(CameraConformance);

TYPED_TEST_P(CameraConformance, aCameraIsListedOnceAndStaysTheSameObject) {
    int listed = 0;
    for (const auto& device : this->backend.captureDevices().cameras())
        listed += device->uniqueID() == this->backend.cameraID();
    EXPECT_EQ(listed, 1);
    const auto device = this->camera();
    EXPECT_EQ(device, this->camera());
    EXPECT_FALSE(device->localizedName().empty());
    EXPECT_TRUE(device->isConnected());
    EXPECT_FALSE(device->activeAudioFormat().has_value());
}

TYPED_TEST_P(CameraConformance, itsFormatsHaveSizesAndRates) {
    const auto formats = this->camera()->formats();
    ASSERT_GE(formats.size(), 2u);
    for (const AVCaptureDeviceFormat& format : formats) {
        EXPECT_GT(format.formatDescription.dimensions.width, 0);
        EXPECT_GT(format.formatDescription.dimensions.height, 0);
        EXPECT_NE(format.formatDescription.mediaSubType, 0u);
        ASSERT_FALSE(format.videoSupportedFrameRateRanges.empty());
        for (const AVFrameRateRange& range : format.videoSupportedFrameRateRanges) {
            EXPECT_GT(range.minFrameRate, 0);
            EXPECT_LE(range.minFrameRate, range.maxFrameRate);
            ASSERT_TRUE(range.minFrameDuration.isNumeric());
            ASSERT_TRUE(range.maxFrameDuration.isNumeric());
            EXPECT_NEAR(1 / CMTimeGetSeconds(range.minFrameDuration), range.maxFrameRate, 0.01);
            EXPECT_NEAR(1 / CMTimeGetSeconds(range.maxFrameDuration), range.minFrameRate, 0.01);
        }
    }
}

TYPED_TEST_P(CameraConformance, whatIsSetUnderTheLockReadsBack) {
    const auto device = this->camera();
    for (const AVCaptureDeviceFormat& format : device->formats()) {
        ASSERT_TRUE(this->configure(device, [&] { device->setActiveFormat(format); }));
        EXPECT_EQ(device->activeFormat(), format);
        for (const AVFrameRateRange& range : format.videoSupportedFrameRateRanges) {
            for (const CMTime duration : {range.minFrameDuration, range.maxFrameDuration}) {
                ASSERT_TRUE(this->configure(device, [&] {
                    device->setActiveVideoMinFrameDuration(duration);
                    device->setActiveVideoMaxFrameDuration(duration);
                }));
                EXPECT_EQ(device->activeVideoMinFrameDuration(), duration) << describe(duration);
                EXPECT_EQ(device->activeVideoMaxFrameDuration(), duration) << describe(duration);
            }
        }
    }
}

TYPED_TEST_P(CameraConformance, picturesComeInTheSizeOfEachFormat) {
    const auto device = this->camera();
    for (const AVCaptureDeviceFormat& format : device->formats()) {
        ASSERT_TRUE(this->configure(device, [&] { device->setActiveFormat(format); }));
        const auto running = this->start();
        ASSERT_TRUE(running.session->isRunning());
        ASSERT_TRUE(this->waitForPictures(running, 3));
        this->stop(running);
        for (const auto& arrival : running.collector->arrivals()) {
            const auto image = arrival.sample.imageBuffer();
            ASSERT_TRUE(image);
            EXPECT_EQ(static_cast<int32_t>(image->width()), format.formatDescription.dimensions.width);
            EXPECT_EQ(static_cast<int32_t>(image->height()), format.formatDescription.dimensions.height);
            EXPECT_EQ(arrival.output, running.output.get());
        }
    }
}

TYPED_TEST_P(CameraConformance, picturesAreStampedWithTheHostTimeOfTheirCapture) {
    const CMTime begun = this->backend.now();
    const auto running = this->start();
    ASSERT_TRUE(this->waitForPictures(running, 30));
    this->stop(running);
    const auto arrivals = running.collector->arrivals();
    for (size_t i = 0; i < arrivals.size(); ++i) {
        const CMTime stamp = arrivals[i].sample.presentationTimeStamp();
        ASSERT_TRUE(stamp.isNumeric());
        EXPECT_GT(stamp, begun);
        EXPECT_LE(stamp, arrivals[i].time) << "no picture comes before it was taken";
        EXPECT_LT(CMTimeGetSeconds(arrivals[i].time - stamp), 1);
        if (i > 0) {
            EXPECT_GT(stamp, arrivals[i - 1].sample.presentationTimeStamp());
        }
    }
    const double span = CMTimeGetSeconds(arrivals.back().sample.presentationTimeStamp() -
                                         arrivals.front().sample.presentationTimeStamp());
    const double interval = CMTimeGetSeconds(this->camera()->activeVideoMinFrameDuration());
    EXPECT_NEAR(span / static_cast<double>(arrivals.size() - 1), interval, interval * 0.2);
}

TYPED_TEST_P(CameraConformance, noPictureComesOnceTheSessionHasStopped) {
    const auto running = this->start();
    ASSERT_TRUE(this->waitForPictures(running, 3));
    this->stop(running);
    EXPECT_FALSE(running.session->isRunning());
    running.queue->sync([] {});
    const size_t count = running.collector->count();
    this->backend.letPass(0.3);
    EXPECT_EQ(running.collector->count(), count);
}

TYPED_TEST_P(CameraConformance, aSessionRunsAgainAfterAStop) {
    const auto running = this->start();
    ASSERT_TRUE(this->waitForPictures(running, 3));
    this->stop(running);
    const size_t count = running.collector->count();
    this->backend.runOnSessionQueue([&] { running.session->startRunning(); });
    EXPECT_TRUE(this->waitForPictures(running, count + 3));
    this->stop(running);
}

TYPED_TEST_P(CameraConformance, twoSessionsShareOneCamera) {
    const auto first = this->start();
    ASSERT_TRUE(this->waitForPictures(first, 3));
    const auto second = this->start();
    ASSERT_TRUE(this->waitForPictures(second, 3));
    this->stop(first);
    const size_t count = second.collector->count();
    EXPECT_TRUE(this->waitForPictures(second, count + 3)) << "the end of one isn't that of the other";
    this->stop(second);
}

TYPED_TEST_P(CameraConformance, anotherRateIsSentFromThenOn) {
    const auto device = this->camera();
    const auto formats = device->formats();
    const auto wide = std::ranges::find_if(formats, [](const AVCaptureDeviceFormat& format) {
        const auto& ranges = format.videoSupportedFrameRateRanges;
        return ranges.size() > 1 || ranges[0].minFrameRate < ranges[0].maxFrameRate;
    });
    ASSERT_NE(wide, formats.end());
    const auto& ranges = wide->videoSupportedFrameRateRanges;
    const auto fastest = std::ranges::max_element(ranges, {}, &AVFrameRateRange::maxFrameRate);
    const CMTime slower = CMTimeMakeWithSeconds(CMTimeGetSeconds(fastest->minFrameDuration) * 2, 30'000);
    ASSERT_TRUE(this->configure(device, [&] {
        device->setActiveFormat(*wide);
        device->setActiveVideoMinFrameDuration(slower);
        device->setActiveVideoMaxFrameDuration(slower);
    }));
    const double expected = CMTimeGetSeconds(device->activeVideoMinFrameDuration());
    EXPECT_NEAR(expected, CMTimeGetSeconds(slower), CMTimeGetSeconds(slower) * 0.01);
    const auto running = this->start();
    ASSERT_TRUE(this->waitForPictures(running, 12));
    this->stop(running);
    const auto arrivals = running.collector->arrivals();
    const double span = CMTimeGetSeconds(arrivals.back().sample.presentationTimeStamp() -
                                         arrivals.front().sample.presentationTimeStamp());
    EXPECT_NEAR(span / static_cast<double>(arrivals.size() - 1), expected, expected * 0.2);
}

TYPED_TEST_P(CameraConformance, aCameraThatGoesIsToldAndSendsNothing) {
    const auto device = this->camera();
    const auto running = this->start();
    ASSERT_TRUE(this->waitForPictures(running, 3));
    std::vector<std::string> told;
    const auto observation = this->backend.captureDevices().observe({
        .deviceWasConnected = [&](const auto& known) { told.push_back("+" + known->uniqueID()); },
        .deviceWasDisconnected = [&](const auto& known) { told.push_back("-" + known->uniqueID()); },
        .sessionRuntimeError = [](const auto&, const SystemError&) {},
    });
    this->backend.unplugCamera();
    ASSERT_TRUE(this->backend.waitUntil([&] { return !told.empty(); }));
    EXPECT_EQ(told, std::vector<std::string>{"-" + this->backend.cameraID()});
    EXPECT_FALSE(device->isConnected());
    EXPECT_EQ(this->camera(), nullptr);
    EXPECT_FALSE(running.session->isRunning());
    running.queue->sync([] {});
    const size_t count = running.collector->count();
    this->backend.letPass(0.3);
    EXPECT_EQ(running.collector->count(), count);
    EXPECT_THROW(this->backend.captureDevices().makeDeviceInput(device), SystemError);
    this->stop(running);

    this->backend.plugCameraAgain();
    ASSERT_TRUE(this->backend.waitUntil([&] { return told.size() == 2; }));
    EXPECT_EQ(told.back(), "+" + this->backend.cameraID());
    const auto again = this->start();
    EXPECT_TRUE(this->waitForPictures(again, 3));
    this->stop(again);
}

TYPED_TEST_P(CameraConformance, aSessionTakesOneCameraAndNoOutputForSound) {
    CaptureDevices& devices = this->backend.captureDevices();
    const auto session = devices.makeSession();
    const auto input = devices.makeDeviceInput(this->camera());
    ASSERT_TRUE(session->canAddInput(*input));
    session->addInput(input);
    EXPECT_FALSE(session->canAddInput(*devices.makeDeviceInput(this->camera())));
    EXPECT_FALSE(session->canAddOutput(*devices.makeAudioDataOutput({})));
    const auto output = devices.makeVideoDataOutput();
    ASSERT_TRUE(session->canAddOutput(*output));
    session->addOutput(output);
    EXPECT_FALSE(session->canAddOutput(*devices.makeVideoDataOutput()));
}

REGISTER_TYPED_TEST_SUITE_P(CameraConformance, aCameraIsListedOnceAndStaysTheSameObject,
                            itsFormatsHaveSizesAndRates, whatIsSetUnderTheLockReadsBack,
                            picturesComeInTheSizeOfEachFormat,
                            picturesAreStampedWithTheHostTimeOfTheirCapture,
                            noPictureComesOnceTheSessionHasStopped, aSessionRunsAgainAfterAStop,
                            twoSessionsShareOneCamera, anotherRateIsSentFromThenOn,
                            aCameraThatGoesIsToldAndSendsNothing, aSessionTakesOneCameraAndNoOutputForSound);

} // namespace vintra
