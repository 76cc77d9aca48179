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

/// A server with a microphone, and what a program has of both.
class PipeWireServerReturnTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.isReady());
        plugIn();
        connection = std::make_shared<PipeWireConnection>(server.name());
        hardware = std::make_unique<PipeWireAudioHardware>(connection, mainThread);
        number = connection->devices().numberNamed(kName).value_or(0);
        ASSERT_NE(number, 0u);
    }
    void plugIn() {
        microphone =
            std::make_unique<PublishedMicrophone>(kName, std::vector<std::string>{}, server.environment());
        ASSERT_TRUE(microphone->isPublished());
    }
    bool awaits(const std::function<bool()>& condition) {
        for (int look = 0; look < 400; ++look) {
            if (mainThread->runUntil(condition, 50'000'000)) return true;
        }
        return false;
    }
    AudioObjectID numbered(const std::string& name) const {
        return connection->devices().numberNamed(name).value_or(0);
    }

    static constexpr const char* kName = "return-test";
    PrivatePipeWireServer server;
    std::unique_ptr<PublishedMicrophone> microphone;
    const std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    std::shared_ptr<PipeWireConnection> connection;
    std::unique_ptr<PipeWireAudioHardware> hardware;
    AudioObjectID number = 0;
};

TEST_F(PipeWireServerReturnTest, devicesSessionsAndTheDefaultOutputComeBackWithTheServer) {
    CapturedSound sound(connection, kName, 1);
    ASSERT_TRUE(sound.start());
    const AudioObjectID virtualDevice = numbered("VintraAudioDevice");
    const AudioObjectID output = numbered("headless.output");
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    std::vector<bool> told;
    const auto listener =
        hardware->addPropertyListener(kAudioObjectSystemObject, AudioProperty::service,
                                      [&] { told.push_back(hardware->isServiceRunning()); });
    EXPECT_TRUE(hardware->isServiceRunning());

    server.kill();
    EXPECT_TRUE(awaits([&] { return !told.empty(); }));
    EXPECT_FALSE(hardware->isServiceRunning());
    EXPECT_EQ(hardware->defaultOutputDevice(), std::nullopt);
    ASSERT_TRUE(server.startAgain());
    plugIn();
    EXPECT_TRUE(awaits([&] { return told.size() > 1 && numbered(kName) != 0; }));
    EXPECT_EQ(told, (std::vector<bool>{false, true}));
    EXPECT_EQ(connection->problem(), std::nullopt);
    EXPECT_EQ(numbered(kName), number) << "it has the number it had";

    const size_t before = sound.arrivals().size();
    EXPECT_TRUE(sound.start());
    EXPECT_TRUE(sound.waitUntil([&] { return sound.arrivals().size() > before + 10; }));
    EXPECT_TRUE(awaits([&] { return hardware->defaultOutputDevice() == output; }))
        << "the loan ended with the server";
    EXPECT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    EXPECT_EQ(hardware->defaultOutputDevice(), virtualDevice);
    EXPECT_TRUE(hardware->setDefaultOutputDevice(output));
}

TEST_F(PipeWireServerReturnTest, aServerThatBeginsLaterIsFound) {
    server.kill();
    const auto later = std::make_shared<PipeWireConnection>(server.name());
    PipeWireAudioHardware itsHardware(later, mainThread);
    EXPECT_EQ(later->problem(), "No PipeWire server answers, so there is no sound input.");
    EXPECT_FALSE(itsHardware.isServiceRunning());
    ASSERT_TRUE(server.startAgain());
    EXPECT_TRUE(awaits([&] { return itsHardware.isServiceRunning() && !itsHardware.devices().empty(); }));
    EXPECT_EQ(later->problem(), std::nullopt);
}

TEST_F(PipeWireServerReturnTest, withoutASessionManagerTheServiceIsAwayAndASessionCanBeStartedAgain) {
    CapturedSound sound(connection, kName, 1);
    ASSERT_TRUE(sound.start());
    ASSERT_TRUE(sound.waitUntil([&] { return !sound.arrivals().empty(); }));
    std::vector<bool> told;
    const auto listener =
        hardware->addPropertyListener(kAudioObjectSystemObject, AudioProperty::service,
                                      [&] { told.push_back(hardware->isServiceRunning()); });
    server.killSessionManager();
    EXPECT_TRUE(awaits([&] { return !told.empty(); }));
    EXPECT_EQ(connection->problem(), std::nullopt) << "the server is there";
    EXPECT_NE(numbered(kName), 0u);
    ASSERT_TRUE(server.restartSessionManager());
    EXPECT_TRUE(awaits([&] { return told.size() > 1; }));
    EXPECT_EQ(told, (std::vector<bool>{false, true}));
    // WirePlumber 0.4.13 links none of the nodes that were there before it. A desktop's are its own.
    plugIn();
    ASSERT_TRUE(awaits([&] { return numbered(kName) == number; }));
    EXPECT_FALSE(sound.session().isRunning())
        << "nobody links again what the session manager before has linked";
    const size_t before = sound.arrivals().size();
    EXPECT_TRUE(sound.start());
    EXPECT_TRUE(sound.waitUntil([&] { return sound.arrivals().size() > before + 10; }));
}

} // namespace
} // namespace vintra
