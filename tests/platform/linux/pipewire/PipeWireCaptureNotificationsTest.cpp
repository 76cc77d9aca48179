#include "tests/platform/linux/pipewire/CapturedSound.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Nanoseconds.h"
#include "tests/support/PublishedMicrophone.h"

#include <optional>

namespace vintra {
namespace {

class PipeWireCaptureNotificationsTest : public ::testing::Test {
protected:
    CaptureDeviceNotifications notifications() {
        return {.deviceWasConnected = [this](const auto& device) { connected.push_back(device->uniqueID()); },
                .deviceWasDisconnected =
                    [this](const auto& device) {
                        EXPECT_FALSE(device->isConnected());
                        disconnected.push_back(device->uniqueID());
                    },
                .sessionRuntimeError =
                    [this](const auto& session, const SystemError& error) {
                        EXPECT_TRUE(mainThread->isCurrent());
                        failed.push_back(session);
                        message = error.localizedDescription();
                    }};
    }
    bool await(const std::function<bool()>& condition) {
        return mainThread->runUntil(condition, kTenSeconds);
    }
    std::shared_ptr<AVCaptureSession> runningSession(const std::string& name) {
        const auto device = devices.deviceWithUniqueID(name);
        if (!device) return nullptr;
        const auto output = devices.makeAudioDataOutput({.numberOfChannels = 1});
        output->setSampleBufferDelegate({}, queues.makeSerialQueue("samples"));
        auto session = devices.makeSession();
        session->addInput(devices.makeDeviceInput(device));
        session->addOutput(output);
        session->startRunning();
        return session;
    }

    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    PipeWireCaptureDevices devices{std::make_shared<PipeWireConnection>(), mainThread,
                                   std::make_shared<LinuxLog>(LogLevel::error)};
    LinuxDispatchQueues queues;
    std::vector<std::string> connected;
    std::vector<std::string> disconnected;
    std::vector<std::shared_ptr<AVCaptureSession>> failed;
    std::string message;
};

TEST_F(PipeWireCaptureNotificationsTest, comingAndGoingAreToldOnce) {
    const auto observation = devices.observe(notifications());
    PublishedMicrophone microphone("notified");
    ASSERT_TRUE(microphone.isPublished());
    EXPECT_TRUE(await([&] { return !connected.empty(); }));
    microphone.unplug();
    EXPECT_TRUE(await([&] { return !disconnected.empty(); }));
    EXPECT_EQ(connected, std::vector<std::string>{"notified"});
    EXPECT_EQ(disconnected, std::vector<std::string>{"notified"});
}

TEST_F(PipeWireCaptureNotificationsTest, whoNoLongerObservesIsToldNothing) {
    auto observation = devices.observe(notifications());
    std::vector<std::string> others;
    auto other = notifications();
    other.deviceWasConnected = [&](const auto& device) { others.push_back(device->uniqueID()); };
    const auto kept = devices.observe(other);
    observation.reset();
    const PublishedMicrophone microphone("notified-other");
    EXPECT_TRUE(await([&] { return !others.empty(); }));
    EXPECT_TRUE(connected.empty());
}

TEST_F(PipeWireCaptureNotificationsTest, aSessionThatIsCutOffWhileItsDeviceStaysIsAnError) {
    PublishedMicrophone microphone("cut-off");
    ASSERT_TRUE(microphone.isPublished());
    const auto observation = devices.observe(notifications());
    ASSERT_TRUE(await([&] { return devices.deviceWithUniqueID("cut-off") != nullptr; }));
    const auto session = runningSession("cut-off");
    ASSERT_TRUE(session && session->isRunning());
    ChildProcess cut({"pw-cli", "destroy", "vintra.capture"});
    EXPECT_EQ(cut.wait(), 0);
    EXPECT_TRUE(await([&] { return !failed.empty(); }));
    EXPECT_EQ(failed, std::vector{session});
    EXPECT_EQ(message, "PipeWire has stopped delivering sound from " +
                           devices.deviceWithUniqueID("cut-off")->localizedName() + ".");
    EXPECT_FALSE(session->isRunning());
}

TEST_F(PipeWireCaptureNotificationsTest, aDeviceThatGoesIsNoErrorOfItsSession) {
    PublishedMicrophone microphone("going");
    ASSERT_TRUE(microphone.isPublished());
    const auto observation = devices.observe(notifications());
    ASSERT_TRUE(await([&] { return devices.deviceWithUniqueID("going") != nullptr; }));
    const auto session = runningSession("going");
    ASSERT_TRUE(session && session->isRunning());
    microphone.unplug();
    EXPECT_TRUE(await([&] { return !disconnected.empty() && !session->isRunning(); }));
    mainThread->post([&] { mainThread->stop(); });
    mainThread->run();
    EXPECT_TRUE(failed.empty());
}

} // namespace
} // namespace vintra
