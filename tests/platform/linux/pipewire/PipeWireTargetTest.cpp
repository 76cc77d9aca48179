// What a stream hears when the session manager doesn't keep to what was asked of it. The real one links the stream and
// is frozen then; what another one would do is done in its place.

#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "tests/platform/linux/pipewire/CapturedSound.h"
#include "tests/platform/linux/pipewire/DeviceStream.h"
#include "tests/support/PrivatePipeWireServer.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/PublishedMicrophone.h"

#include <algorithm>
#include <atomic>
#include <sstream>

namespace vintra {
namespace {

/// A silent microphone, which is captured, and a loud one.
class PipeWireTargetTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.isReady());
        own = std::make_unique<PublishedMicrophone>("own", std::vector<std::string>{"--signal", "silence"},
                                                    server.environment());
        loud =
            std::make_unique<PublishedMicrophone>("loud", std::vector<std::string>{}, server.environment());
        ASSERT_TRUE(own->isPublished() && loud->isPublished());
        connection = std::make_shared<PipeWireConnection>(server.name());
        ASSERT_TRUE(awaitCondition([&] {
            return connection->devices().deviceNamed("own") && connection->devices().deviceNamed("loud");
        }));
        sound = std::make_unique<CapturedSound>(connection, "own", 1);
    }
    void begin() {
        ASSERT_TRUE(sound->start());
        ASSERT_TRUE(sound->waitUntil([&] { return sound->arrivals().size() >= 3; }));
        server.freezeSessionManager();
    }
    /// The port of a node; empty if it has none.
    std::string port(const std::string& node, bool isInput) const {
        std::istringstream ports(runProgram({"pw-link", "-r", server.name(), isInput ? "-i" : "-o"}).output);
        for (std::string line; std::getline(ports, line);) {
            if (line.starts_with(node + ":")) return line;
        }
        return "";
    }
    ProgramRun link(const std::string& from, const std::string& to) const {
        return runProgram({"pw-link", "-r", server.name(), from, to});
    }
    void unlink(const std::string& from, const std::string& to) const {
        const ProgramRun run = runProgram({"pw-link", "-r", server.name(), "-d", from, to});
        ASSERT_EQ(run.exitCode, 0) << run.errors;
    }
    bool isHeard() const {
        return std::ranges::any_of(sound->arrivals(), [](const auto& arrival) {
            const auto* values =
                reinterpret_cast<const float*>(arrival.sample.dataBuffer()->contiguousBytes());
            return std::any_of(values, values + arrival.sample.numSamples(),
                               [](float value) { return value != 0; });
        });
    }

    PrivatePipeWireServer server;
    std::unique_ptr<PublishedMicrophone> own;
    std::unique_ptr<PublishedMicrophone> loud;
    std::shared_ptr<PipeWireConnection> connection;
    std::unique_ptr<CapturedSound> sound;
};

TEST_F(PipeWireTargetTest, aStreamThatIsPausedSinceItsDeviceWentHearsNoOther) {
    begin();
    const std::string stream = port("vintra.capture", true);
    const std::string other = port("loud", false);
    ASSERT_FALSE(stream.empty() || other.empty());
    own->unplug();
    ASSERT_TRUE(sound->waitUntil([&] { return !sound->session().isRunning(); }));
    link(other, stream); // which fails where the stream has gone with its device
    EXPECT_TRUE(sound->waitUntil([&] { return port("vintra.capture", true).empty(); }))
        << "nothing is kept for another device";
    EXPECT_FALSE(sound->session().isRunning());
    EXPECT_FALSE(isHeard());

    server.thawSessionManager();
    own = std::make_unique<PublishedMicrophone>("own", std::vector<std::string>{"--signal", "silence"},
                                                server.environment());
    ASSERT_TRUE(sound->waitUntil([&] { return connection->devices().deviceNamed("own").has_value(); }));
    const size_t before = sound->arrivals().size();
    EXPECT_TRUE(sound->start());
    EXPECT_TRUE(sound->waitUntil([&] { return sound->arrivals().size() > before + 3; }));
    EXPECT_FALSE(isHeard());
}

TEST_F(PipeWireTargetTest, aStreamThatIsMovedToAnotherDeviceIsOver) {
    begin();
    const std::string stream = port("vintra.capture", true);
    unlink(port("own", false), stream);
    ASSERT_TRUE(sound->waitUntil([&] { return !sound->session().isRunning(); }));
    EXPECT_EQ(link(port("loud", false), stream).exitCode, 0);
    EXPECT_TRUE(sound->waitUntil([&] { return port("vintra.capture", true).empty(); }));
    EXPECT_FALSE(sound->session().isRunning());
    EXPECT_FALSE(isHeard());
}

TEST_F(PipeWireTargetTest, aStreamThatIsLinkedToItsDeviceAgainGoesOn) {
    begin();
    const std::string stream = port("vintra.capture", true);
    unlink(port("own", false), stream);
    ASSERT_TRUE(sound->waitUntil([&] { return !sound->session().isRunning(); }));
    EXPECT_EQ(link(port("own", false), stream).exitCode, 0);
    EXPECT_TRUE(sound->waitUntil([&] { return sound->session().isRunning(); }));
    const size_t before = sound->arrivals().size();
    EXPECT_TRUE(sound->waitUntil([&] { return sound->arrivals().size() > before + 3; }));
}

/// As a desktop puts a filter against noise before a microphone.
TEST_F(PipeWireTargetTest, aFilterBeforeTheDeviceIsTheDevice) {
    ChildProcess filter({"pw-loopback", "-n", "clean", "-C", "own", "--capture-props",
                         "node.name=clean.input", "--playback-props",
                         "media.class=Audio/Source node.name=clean"},
                        server.environment());
    ASSERT_TRUE(awaitCondition(
        [&] { return connection->devices().deviceNamed("clean") && !port("clean.input", true).empty(); }));
    begin();
    const std::string stream = port("vintra.capture", true);
    const std::string filtered = port("clean", false);
    ASSERT_FALSE(filtered.empty());
    unlink(port("own", false), stream);
    ASSERT_TRUE(sound->waitUntil([&] { return !sound->session().isRunning(); }));
    EXPECT_EQ(link(filtered, stream).exitCode, 0);
    EXPECT_TRUE(sound->waitUntil([&] { return sound->session().isRunning(); }));
}

/// A device over Bluetooth takes its time; here it is the session manager that does.
TEST_F(PipeWireTargetTest, aDeviceThatBeginsLateIsHeardFromThenOn) {
    server.freezeSessionManager();
    EXPECT_FALSE(sound->start()) << "it waits for 3 s and no longer";
    server.thawSessionManager();
    EXPECT_TRUE(sound->waitUntil([&] { return sound->session().isRunning() && !sound->arrivals().empty(); }));
    sound->stop();
    EXPECT_FALSE(sound->session().isRunning());
}

/// A session of "own" and what is told of its end.
class ObservedSession {
public:
    explicit ObservedSession(const std::shared_ptr<PipeWireConnection>& connection)
        : devices(connection, mainThread, std::make_shared<LinuxLog>(LogLevel::error))
        , observation(devices.observe(
              {.deviceWasConnected = [](const auto&) {},
               .deviceWasDisconnected = [](const auto&) {},
               .sessionRuntimeError =
                   [this](const auto&, const SystemError& error) { told = error.localizedDescription(); }}))
        , session(devices.makeSession()) {
        const auto output = devices.makeAudioDataOutput({.numberOfChannels = 1});
        output->setSampleBufferDelegate({}, queues.makeSerialQueue("samples"));
        session->addInput(devices.makeDeviceInput(devices.deviceWithUniqueID("own")));
        session->addOutput(output);
        session->startRunning();
    }
    ~ObservedSession() { session->stopRunning(); }
    ObservedSession(const ObservedSession&) = delete;
    ObservedSession& operator=(const ObservedSession&) = delete;

    bool isRunning() const { return session->isRunning(); }
    bool mayStillBegin() const { return session->mayStillBegin(); }
    std::string awaitEnd() {
        mainThread->runUntil([&] { return !told.empty(); }, 60'000'000'000);
        return told;
    }

private:
    const std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    LinuxDispatchQueues queues;
    PipeWireCaptureDevices devices;
    std::string told;
    const Observation observation;
    const std::shared_ptr<AVCaptureSession> session;
};

TEST_F(PipeWireTargetTest, whyAStreamThatWasMovedIsOverIsTold) {
    ObservedSession session(connection);
    ASSERT_TRUE(session.isRunning());
    server.freezeSessionManager();
    EXPECT_EQ(link(port("loud", false), port("vintra.capture", true)).exitCode, 0);
    EXPECT_TRUE(session.isRunning()) << "its own device is heard still";
    unlink(port("own", false), port("vintra.capture", true));
    EXPECT_EQ(session.awaitEnd(),
              "PipeWire has connected another device in the place of Headless Microphone. "
              "Undo that in the program that did it, then choose Headless Microphone again.");
    EXPECT_FALSE(session.isRunning());
}

/// Takes half a minute.
TEST_F(PipeWireTargetTest, DISABLED_aDeviceThatNeverBeginsIsGivenUpAndTold) {
    server.freezeSessionManager();
    ObservedSession session(connection);
    EXPECT_FALSE(session.isRunning());
    EXPECT_EQ(session.awaitEnd(),
              "Headless Microphone hasn't begun to send sound within half a minute. Check that "
              "it is on and connected, then choose it again.");
    EXPECT_FALSE(session.isRunning());
}

/// One node with inputs and outputs, as some interfaces and programs have it: what is played to it comes out of it.
TEST_F(PipeWireTargetTest, aDuplexNodeIsAnInputAndAnOutput) {
    ChildProcess made({"pw-cli", "create-node", "adapter",
                       "{ factory.name=support.null-audio-sink media.class=Audio/Duplex object.linger=true "
                       "session.suspend-timeout-seconds=0 node.name=both audio.channels=2 "
                       "audio.position=\"FL,FR\" }"},
                      server.environment());
    made.wait();
    ASSERT_TRUE(awaitCondition([&] { return connection->devices().deviceNamed("both").has_value(); }));
    const PipeWireAudioHardware hardware(connection, std::make_shared<LinuxEventLoop>());
    const AudioObjectID both = *connection->devices().numberNamed("both");
    EXPECT_EQ(hardware.inputStreamChannels(both), std::vector<uint32_t>{2});
    EXPECT_EQ(hardware.outputStreamChannels(both), std::vector<uint32_t>{2});
    CapturedSound heard(connection, "both", 2);
    ASSERT_TRUE(heard.start());
    EXPECT_TRUE(heard.waitUntil([&] { return heard.arrivals().size() >= 3; }));
    EXPECT_FALSE(port("both", false).empty());
    std::atomic<int> calls{0};
    DeviceStream played(connection, "both", DeviceStream::Direction::output, [&](auto, auto) { ++calls; });
    EXPECT_TRUE(played.awaitStreaming());
    EXPECT_TRUE(awaitCondition([&] { return calls > 3; }));
}

/// As programs of effects have it that link their nodes by hand, which are of no filter's pair.
TEST_F(PipeWireTargetTest, whatIsPlayedMayGoToItsDeviceByWayOfAnotherNode) {
    std::atomic<int> calls{0};
    DeviceStream stream(connection, "headless.output", DeviceStream::Direction::output,
                        [&](const AudioBufferList&, const AudioBufferList&) { ++calls; });
    ASSERT_TRUE(stream.awaitStreaming());
    ASSERT_TRUE(awaitCondition([&] { return calls > 3; }));
    server.freezeSessionManager();
    const auto sides = [](const std::string& left) {
        return std::vector<std::string>{left, left.substr(0, left.size() - 2) + "FR"};
    };
    const auto from = sides(port("vintra.io.output", false));
    const auto to = sides(port("headless.output", true));
    const auto effects = sides(port("VintraAudioDevice", true));
    const auto onward = sides(port("VintraAudioDevice", false));
    for (size_t i = 0; i < 2; ++i)
        EXPECT_EQ(link(onward[i], to[i]).exitCode, 0);
    for (size_t i = 0; i < 2; ++i)
        EXPECT_EQ(link(from[i], effects[i]).exitCode, 0);
    for (size_t i = 0; i < 2; ++i)
        unlink(from[i], to[i]);
    const int before = calls;
    EXPECT_TRUE(awaitCondition([&] { return calls > before + 20; }));
    EXPECT_FALSE(stream.hasEnded());
    for (size_t i = 0; i < 2; ++i)
        unlink(onward[i], to[i]);
    EXPECT_TRUE(awaitCondition([&] { return stream.hasEnded(); }));
}

/// The user hears the computer's sound where they chose to, or not at all.
TEST_F(PipeWireTargetTest, whatIsPlayedToADeviceGoesToNoOther) {
    std::atomic<int> calls{0};
    DeviceStream stream(connection, "headless.output", DeviceStream::Direction::output,
                        [&](const AudioBufferList&, const AudioBufferList&) { ++calls; });
    ASSERT_TRUE(stream.awaitStreaming());
    ASSERT_TRUE(awaitCondition([&] { return calls > 3; }));
    server.freezeSessionManager();
    const std::string from = port("vintra.io.output", false);
    std::string to = port("headless.output", true);
    unlink(from, to);
    // The other channel has its link still.
    const std::string right = from.substr(0, from.size() - 2) + "FR";
    unlink(right, to.substr(0, to.size() - 2) + "FR");
    EXPECT_EQ(link(from, port("VintraAudioDevice", true)).exitCode, 0);
    EXPECT_TRUE(awaitCondition([&] { return port("vintra.io.output", false).empty(); }));
    EXPECT_TRUE(stream.hasEnded());
}

} // namespace
} // namespace vintra
