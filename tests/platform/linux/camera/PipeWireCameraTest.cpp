#include "Vintra/platform/linux/camera/PipeWireCameras.h"
#include "Vintra/platform/linux/camera/SoundAndCameraDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/platform/CameraConformance.h"
#include "tests/support/PrivatePipeWireServer.h"
#include "tests/support/PublishedCamera.h"
#include "tools/testsignals/CameraPattern.h"

#include <cmath>

namespace vintra {
namespace {

constexpr int64_t kBetweenLooksAtPictures = 2'000'000; // nanoseconds

std::optional<CameraPattern> patternOf(const CVPixelBuffer& image) {
    const CVPixelBuffer::Plane& plane = image.plane(0);
    if (image.isPlanar())
        return CameraPattern::read({plane.baseAddress, plane.width, plane.height, plane.bytesPerRow});
    // Of red, green and blue, the green.
    std::vector<uint8_t> green(image.width() * image.height());
    for (size_t i = 0; i < green.size(); ++i)
        green[i] = plane.baseAddress[i / image.width() * plane.bytesPerRow + 4 * (i % image.width()) + 1];
    return CameraPattern::read({green.data(), image.width(), image.height(), image.width()});
}

/// One program's view of a server's cameras.
struct CameraProgram {
    explicit CameraProgram(const std::string& server = {})
        : connection(std::make_shared<PipeWireConnection>(server)) {}

    struct Running {
        std::shared_ptr<AVCaptureSession> session;
        std::shared_ptr<AVCaptureVideoDataOutput> output;
        std::shared_ptr<PictureCollector> collector;
    };
    std::shared_ptr<AVCaptureVideoDevice> camera(const std::string& id) {
        waitUntil([&] { return find(id) != nullptr; });
        return find(id);
    }
    std::shared_ptr<AVCaptureVideoDevice> find(const std::string& id) {
        for (const auto& device : devices.cameras()) {
            if (device->uniqueID() == id) return device;
        }
        return nullptr;
    }
    Running start(const std::shared_ptr<AVCaptureVideoDevice>& device) {
        Running running{devices.makeSession(), devices.makeVideoDataOutput(),
                        std::make_shared<PictureCollector>([this] { return clock.now(); })};
        running.session->addInput(devices.makeDeviceInput(device));
        running.output->setSampleBufferDelegate(running.collector, queue);
        running.session->addOutput(running.output);
        running.session->startRunning();
        return running;
    }
    static bool configure(AVCaptureVideoDevice& device, const AVCaptureDeviceFormat& format) {
        if (!device.lockForConfiguration()) return false;
        device.setActiveFormat(format);
        device.unlockForConfiguration();
        return true;
    }
    bool waitUntil(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000; ++i) {
            if (mainThread->runUntil(condition, kBetweenLooksAtPictures)) return true;
        }
        return condition();
    }
    bool waitForPictures(const Running& running, size_t more) {
        const size_t count = running.collector->count() + more;
        return waitUntil([&] { return running.collector->count() >= count; });
    }

    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    std::shared_ptr<LinuxLog> log = std::make_shared<LinuxLog>(LogLevel::error);
    std::shared_ptr<PipeWireConnection> connection;
    SoundAndCameraDevices devices{std::make_shared<PipeWireCaptureDevices>(connection, mainThread, log),
                                  PipeWireCameras::make(connection, mainThread, log)};
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<DispatchQueue> queue = queues.makeSerialQueue("pictures");
};

CMVideoDimensions sizeOf(const CMSampleBuffer& sample) {
    return {static_cast<int32_t>(sample.imageBuffer()->width()),
            static_cast<int32_t>(sample.imageBuffer()->height())};
}

TEST(PipeWireCameraTest, eachPictureIsStampedWithTheInstantThatItShows) {
    const PublishedCamera published("stamps-test", {"--format", "NV12:320x180@60", "--jitter", "5"});
    ASSERT_TRUE(published.isPublished());
    CameraProgram program;
    const auto running = program.start(program.camera("stamps-test"));
    ASSERT_TRUE(program.waitForPictures(running, 20));
    running.session->stopRunning();
    for (const auto& arrival : running.collector->arrivals()) {
        const auto pattern = patternOf(*arrival.sample.imageBuffer());
        ASSERT_TRUE(pattern);
        const CMTime shown = hostTimeFromNanoseconds(pattern->nanoseconds);
        // A stamp of longer ago than a second isn't believed, on a machine that stalls for that long either.
        if (CMTimeGetSeconds(arrival.time - shown) > 0.9) continue;
        EXPECT_EQ(arrival.sample.presentationTimeStamp(), shown) << pattern->number;
    }
}

TEST(PipeWireCameraTest, aCameraWithoutStampsIsStampedByItsArrival) {
    const PublishedCamera published("unstamped-test", {"--format", "NV12:320x180@60", "--stamps", "no"});
    ASSERT_TRUE(published.isPublished());
    CameraProgram program;
    const auto running = program.start(program.camera("unstamped-test"));
    ASSERT_TRUE(program.waitForPictures(running, 5));
    running.session->stopRunning();
    for (const auto& arrival : running.collector->arrivals()) {
        const auto pattern = patternOf(*arrival.sample.imageBuffer());
        ASSERT_TRUE(pattern);
        const CMTime stamp = arrival.sample.presentationTimeStamp();
        EXPECT_GE(stamp, hostTimeFromNanoseconds(pattern->nanoseconds));
        EXPECT_LE(stamp, arrival.time);
    }
}

TEST(PipeWireCameraTest, picturesThatAreLostOnTheirWayAreTold) {
    PublishedCamera published("lossy-test", {"--format", "NV12:320x180@30"});
    ASSERT_TRUE(published.isPublished());
    CameraProgram program;
    const auto running = program.start(program.camera("lossy-test"));
    ASSERT_TRUE(program.waitForPictures(running, 5));
    ASSERT_TRUE(published.tell("lose 4"));
    const auto missed = [&] {
        int64_t count = 0;
        for (const AVCaptureMissedPictures& pictures : running.collector->missed())
            count += pictures.count;
        return count;
    };
    ASSERT_TRUE(program.waitUntil([&] { return missed() >= 4; }));
    running.session->stopRunning();
    // A busy machine may lose more; what is told stands between the pictures that came.
    const auto arrivals = running.collector->arrivals();
    for (const AVCaptureMissedPictures& pictures : running.collector->missed()) {
        EXPECT_LT(pictures.first, pictures.end);
        for (const auto& arrival : arrivals) {
            const CMTime stamp = arrival.sample.presentationTimeStamp();
            EXPECT_TRUE(stamp < pictures.first || stamp >= pictures.end);
        }
    }
}

struct LumaAndChroma {
    double luma, cb, cr;
};

LumaAndChroma rec709(const PatternColour& colour) {
    const double luma = (0.2126 * colour.red + 0.7152 * colour.green + 0.0722 * colour.blue) / 255;
    return {16 + 219 * luma, 128 + 224 * (colour.blue / 255.0 - luma) / 1.8556,
            128 + 224 * (colour.red / 255.0 - luma) / 1.5748};
}

void expectPatternColours(const CVPixelBuffer& image, double tolerance, bool isGrey) {
    for (size_t i = 0; i < kPatternColours.size(); ++i) {
        const size_t x = (2 * i + 1) * image.width() / 16;
        const size_t y = 12 * image.height() / 16;
        const PatternColour& colour = kPatternColours[i];
        if (!image.isPlanar()) {
            const uint8_t* const pixel = image.plane(0).baseAddress + y * image.plane(0).bytesPerRow + 4 * x;
            EXPECT_EQ(pixel[0], colour.blue) << i;
            EXPECT_EQ(pixel[1], colour.green) << i;
            EXPECT_EQ(pixel[2], colour.red) << i;
            continue;
        }
        LumaAndChroma expected = rec709(colour);
        // A camera without colours measures luma by Rec. 601 at this size.
        if (isGrey)
            expected = {16 + 219 * (0.299 * colour.red + 0.587 * colour.green + 0.114 * colour.blue) / 255,
                        128, 128};
        const uint8_t* const chroma =
            image.plane(1).baseAddress + y / 2 * image.plane(1).bytesPerRow + x / 2 * 2;
        EXPECT_NEAR(image.plane(0).baseAddress[y * image.plane(0).bytesPerRow + x], expected.luma, tolerance)
            << "luma of colour " << i;
        EXPECT_NEAR(chroma[0], expected.cb, tolerance) << "Cb of colour " << i;
        EXPECT_NEAR(chroma[1], expected.cr, tolerance) << "Cr of colour " << i;
    }
}

/// The tolerances: a rounding here and one in the camera; a code that loses something.
TEST(PipeWireCameraTest, everyLayoutShowsItsNumbersAndItsColours) {
    const std::vector<std::string> kinds = {"YUY2", "UYVY", "YVYU", "NV12", "NV21",  "I420", "YV12", "BGRx",
                                            "RGBx", "xRGB", "RGB",  "BGR",  "GRAY8", "MJPG", "H264"};
    std::vector<std::string> options;
    for (const std::string& kind : kinds) {
        options.emplace_back("--format");
        options.push_back(kind + ":320x180@60");
    }
    const PublishedCamera published("layouts-test", options);
    ASSERT_TRUE(published.isPublished());
    CameraProgram program;
    const auto camera = program.camera("layouts-test");
    ASSERT_TRUE(camera);
    const auto formats = camera->formats();
    const auto running = program.start(camera);
    ASSERT_EQ(formats.size(), kinds.size());
    for (size_t i = 0; i < kinds.size(); ++i) {
        SCOPED_TRACE(kinds[i]);
        ASSERT_TRUE(CameraProgram::configure(*camera, formats[i]));
        EXPECT_EQ(camera->activeFormat(), formats[i]);
        program.queue->sync([] {});
        ASSERT_TRUE(program.waitForPictures(running, 2));
        const auto image = running.collector->arrivals().back().sample.imageBuffer();
        EXPECT_TRUE(patternOf(*image));
        expectPatternColours(*image, kinds[i] == "MJPG" || kinds[i] == "H264" ? 3 : 2, kinds[i] == "GRAY8");
    }
    running.session->stopRunning();
}

TEST(PipeWireCameraTest, coloursAreReadAsTheCameraSays) {
    for (const char* colours : {"709", "601full", "709full"}) {
        SCOPED_TRACE(colours);
        const PublishedCamera published("colours-test",
                                        {"--format", "UYVY:320x180@60", "--colours", colours});
        ASSERT_TRUE(published.isPublished());
        CameraProgram program;
        const auto running = program.start(program.camera("colours-test"));
        ASSERT_TRUE(program.waitForPictures(running, 1));
        running.session->stopRunning();
        expectPatternColours(*running.collector->arrivals().back().sample.imageBuffer(), 2, false);
    }
}

TEST(PipeWireCameraTest, aFormatThatChangesInTheMiddleIsSeenAndCanBePutBack) {
    PublishedCamera published("changing-test",
                              {"--format", "YUY2:320x180@30", "--format", "YUY2:160x120@15"});
    ASSERT_TRUE(published.isPublished());
    CameraProgram program;
    const auto camera = program.camera("changing-test");
    const auto running = program.start(camera);
    ASSERT_TRUE(program.waitForPictures(running, 2));
    const auto wanted = camera->activeFormat();
    const auto other = camera->formats().at(1);
    ASSERT_TRUE(published.tell("only 2"));
    ASSERT_TRUE(program.waitUntil([&] {
        return sizeOf(running.collector->arrivals().back().sample) == CMVideoDimensions{160, 120};
    }));
    EXPECT_EQ(camera->activeFormat(), other);
    EXPECT_EQ(camera->activeVideoMinFrameDuration(), CMTimeMake(1, 15));
    EXPECT_TRUE(running.session->isRunning());
    EXPECT_TRUE(patternOf(*running.collector->arrivals().back().sample.imageBuffer()));
    EXPECT_NE(wanted, other);
    running.session->stopRunning();
}

TEST(PipeWireCameraTest, twoProgramsShareACameraInTheFormatOfTheFirst) {
    const PublishedCamera published("shared-test",
                                    {"--format", "YUY2:320x180@30", "--format", "MJPG:160x90@30"});
    ASSERT_TRUE(published.isPublished());
    CameraProgram first;
    CameraProgram second;
    const auto camera = first.camera("shared-test");
    const auto same = second.camera("shared-test");
    ASSERT_TRUE(CameraProgram::configure(*camera, camera->formats().at(1)));
    const auto running = first.start(camera);
    ASSERT_TRUE(first.waitForPictures(running, 2));

    EXPECT_TRUE(second.waitUntil([&] {
        const bool isRefused = !same->lockForConfiguration();
        if (!isRefused) same->unlockForConfiguration();
        return isRefused;
    })) << "another program's camera is left as it is";
    const auto beside = second.start(same);
    ASSERT_TRUE(beside.session->isRunning());
    ASSERT_TRUE(second.waitForPictures(beside, 2));
    EXPECT_EQ(sizeOf(beside.collector->arrivals().back().sample), (CMVideoDimensions{160, 90}));
    EXPECT_EQ(same->activeFormat(), same->formats().at(1));
    ASSERT_TRUE(first.waitForPictures(running, 2)) << "the second one has not disturbed the first";

    running.session->stopRunning();
    ASSERT_TRUE(second.waitForPictures(beside, 2)) << "nor does the end of the first";
    ASSERT_TRUE(second.waitUntil([&] { return same->lockForConfiguration(); }));
    same->setActiveFormat(same->formats().at(0));
    same->unlockForConfiguration();
    EXPECT_TRUE(second.waitUntil([&] {
        return sizeOf(beside.collector->arrivals().back().sample) == CMVideoDimensions{320, 180};
    }));
    beside.session->stopRunning();
}

TEST(PipeWireCameraTest, aCameraThatSendsNothingRunsAndGoesOn) {
    PublishedCamera published("stopping-test", {"--format", "YUY2:320x180@60"});
    ASSERT_TRUE(published.isPublished());
    CameraProgram program;
    const auto running = program.start(program.camera("stopping-test"));
    ASSERT_TRUE(program.waitForPictures(running, 2));
    ASSERT_TRUE(published.tell("stop"));
    size_t count = 0;
    EXPECT_TRUE(program.waitUntil([&] {
        count = running.collector->count();
        program.clock.sleep(200'000);
        return running.collector->count() == count;
    })) << "what was on its way has come, and no more";
    EXPECT_TRUE(running.session->isRunning());
    ASSERT_TRUE(published.tell("live"));
    EXPECT_TRUE(program.waitForPictures(running, 2));
    running.session->stopRunning();
}

TEST(PipeWireCameraTest, theEndOfTheServerEndsTheSessionAndTheCameraComesBackWithIt) {
    PrivatePipeWireServer server;
    ASSERT_TRUE(server.isReady());
    std::optional<PublishedCamera> published;
    const auto publish = [&] {
        published.emplace("ending-test", std::vector<std::string>{"--format", "YUY2:320x180@60"},
                          server.environment());
        return published->isPublished();
    };
    ASSERT_TRUE(publish());
    CameraProgram program(server.name());
    const auto camera = program.camera("ending-test");
    ASSERT_TRUE(camera);
    const auto running = program.start(camera);
    ASSERT_TRUE(program.waitForPictures(running, 2));
    int connected = 0;
    int disconnected = 0;
    int errors = 0;
    const auto observation = program.devices.observe({
        .deviceWasConnected = [&](const auto& device) { connected += device == camera; },
        .deviceWasDisconnected = [&](const auto& device) { disconnected += device == camera; },
        .sessionRuntimeError = [&](const auto&, const SystemError&) { ++errors; },
    });
    server.kill();
    EXPECT_TRUE(program.waitUntil([&] { return disconnected == 1; }));
    EXPECT_FALSE(camera->isConnected());
    EXPECT_FALSE(running.session->isRunning());
    EXPECT_TRUE(program.devices.cameras().empty());
    running.session->stopRunning();
    running.session->startRunning();
    EXPECT_FALSE(running.session->isRunning());

    ASSERT_TRUE(server.startAgain());
    ASSERT_TRUE(publish());
    ASSERT_TRUE(program.waitUntil([&] { return connected == 1; }));
    EXPECT_EQ(program.find("ending-test"), camera);
    EXPECT_TRUE(camera->isConnected());
    running.session->startRunning();
    EXPECT_TRUE(running.session->isRunning());
    EXPECT_TRUE(program.waitForPictures(running, 2));
    running.session->stopRunning();
    EXPECT_EQ(errors, 0);
}

} // namespace
} // namespace vintra
