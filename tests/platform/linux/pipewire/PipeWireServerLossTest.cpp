#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/pipewire/CapturedSound.h"
#include "tests/support/PrivatePipeWireServer.h"
#include "tests/support/PublishedMicrophone.h"

namespace vintra {
namespace {

TEST(PipeWireWithoutServer, thereAreNoDevicesAndASentenceSaysWhy) {
    const auto connection = std::make_shared<PipeWireConnection>("vintra-test-no-such-server");
    const PipeWireAudioHardware hardware(connection, std::make_shared<LinuxEventLoop>());
    PipeWireCaptureDevices devices(connection, std::make_shared<LinuxEventLoop>(),
                                   std::make_shared<LinuxLog>(LogLevel::error));
    EXPECT_TRUE(hardware.devices().empty());
    EXPECT_EQ(devices.deviceWithUniqueID("VintraAudioDevice"), nullptr);
    EXPECT_EQ(devices.problem(), "No PipeWire server answers, so there is no sound input.");
    const auto session = devices.makeSession();
    session->startRunning();
    EXPECT_FALSE(session->isRunning());
    session->stopRunning();
}

TEST(PipeWireServerLoss, aSessionThatRunsEndsAndTheListIsEmptied) {
    PrivatePipeWireServer server;
    ASSERT_TRUE(server.isReady());
    const PublishedMicrophone microphone("loss-test", {}, server.environment());
    ASSERT_TRUE(microphone.isPublished());
    const auto connection = std::make_shared<PipeWireConnection>(server.name());
    const auto mainThread = std::make_shared<LinuxEventLoop>();
    PipeWireAudioHardware hardware(connection, mainThread);
    int calls = 0;
    const auto listener =
        hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, [&] { ++calls; });
    CapturedSound sound(connection, "loss-test", 1);
    ASSERT_TRUE(sound.start());
    ASSERT_TRUE(sound.waitUntil([&] { return !sound.arrivals().empty(); }));

    server.kill();
    EXPECT_TRUE(
        mainThread->runUntil([&] { return calls > 0 && hardware.devices().empty(); }, 10'000'000'000));
    EXPECT_TRUE(sound.waitUntil([&] { return !sound.session().isRunning(); }));
    EXPECT_TRUE(connection->problem().has_value());
    EXPECT_FALSE(sound.start());
}

} // namespace
} // namespace vintra
