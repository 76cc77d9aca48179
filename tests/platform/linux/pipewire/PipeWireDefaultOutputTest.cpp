#include "Vintra/platform/linux/pipewire/PipeWireDefaultOutput.h"
#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/pipewire/DeviceStream.h"
#include "tests/platform/linux/pipewire/PublishedSink.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PrivatePipeWireServer.h"

#include <atomic>
#include <csignal>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace vintra {
namespace {

constexpr const char* kConfiguredKey = "default.configured.audio.sink";
constexpr const char* kEffectiveKey = "default.audio.sink";

/// A server with the output "headless.output" of priority 1000 and the virtual device, and what its own tools
/// say of the defaults.
class PipeWireDefaultOutputTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.isReady());
        connection = std::make_shared<PipeWireConnection>(server.name());
        hardware = std::make_unique<PipeWireAudioHardware>(connection, mainThread);
        virtualDevice = number("VintraAudioDevice");
        output = number("headless.output");
        ASSERT_TRUE(virtualDevice != 0 && output != 0);
    }

    AudioObjectID number(const std::string& name) const {
        return connection->devices().numberNamed(name).value_or(0);
    }
    /// The line of pw-metadata; empty if the key is absent.
    std::string said(const std::string& key) const {
        ChildProcess tool({"pw-metadata", "0", key}, server.environment());
        const std::string text = tool.restOfOutput();
        const auto found = text.find("value:'");
        return found == std::string::npos ? "" : text.substr(found + 7, text.find("' type:") - found - 7);
    }
    /// As the sound settings of a desktop do it.
    void choose(const std::string& name) const {
        ChildProcess tool(
            {"pw-metadata", "0", kConfiguredKey, "{ \"name\":  \"" + name + "\" }", "Spa:String:JSON"},
            server.environment());
        tool.wait();
    }
    bool awaitDefault(AudioObjectID device) const {
        return awaitCondition([&] { return hardware->defaultOutputDevice() == device; });
    }
    std::unique_ptr<PublishedSink> plugIn(const std::string& name, int priority) {
        auto sink = std::make_unique<PublishedSink>(
            name, "audio.channels=2 priority.session=" + std::to_string(priority), server.environment());
        EXPECT_TRUE(awaitCondition([&] { return number(name) != 0; }));
        return sink;
    }

    PrivatePipeWireServer server;
    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    std::shared_ptr<PipeWireConnection> connection;
    std::unique_ptr<PipeWireAudioHardware> hardware;
    AudioObjectID virtualDevice = 0;
    AudioObjectID output = 0;
};

TEST_F(PipeWireDefaultOutputTest, whereNothingWasConfiguredNothingIsAfterwards) {
    ASSERT_EQ(said(kConfiguredKey), "");
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    EXPECT_EQ(said(kEffectiveKey), R"({"name":"VintraAudioDevice"})");
    ASSERT_TRUE(hardware->setDefaultOutputDevice(output));
    EXPECT_EQ(said(kEffectiveKey), R"({"name":"headless.output"})");
    EXPECT_EQ(said(kConfiguredKey), "");
    EXPECT_EQ(said("vintra.default.audio.sink"), "");
}

TEST_F(PipeWireDefaultOutputTest, whatWasConfiguredStaysAsItWasWritten) {
    const auto speaker = plugIn("speaker", 10);
    choose("speaker");
    ASSERT_TRUE(awaitDefault(number("speaker")));
    const std::string written = said(kConfiguredKey);
    EXPECT_EQ(written, R"({ "name":  "speaker" })");
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    EXPECT_EQ(hardware->defaultOutputDevice(), virtualDevice);
    EXPECT_EQ(hardware->defaultSystemOutputDevice(), number("speaker"));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(number("speaker")));
    EXPECT_EQ(said(kConfiguredKey), written);
    EXPECT_EQ(said(kEffectiveKey), R"({"name":"speaker"})");
}

TEST_F(PipeWireDefaultOutputTest, anotherDeviceThanTheOneBeforeIsConfigured) {
    const auto speaker = plugIn("speaker", 10);
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(number("speaker")));
    EXPECT_EQ(said(kConfiguredKey), R"({"name":"speaker"})");
    EXPECT_EQ(said("vintra.default.audio.sink"), "");
}

TEST_F(PipeWireDefaultOutputTest, whatTheSessionManagerSaysAtTheEndOfAHoldDoesNotBringItBack) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
        ChildProcess idea(
            {"pw-metadata", "0", kEffectiveKey, R"({"name":"headless.output"})", "Spa:String:JSON"},
            server.environment());
        if (round % 2 == 0) idea.wait();
        hardware->setDefaultOutputDevice(output); // whether it is read back in time is the machine's
        if (round % 2 == 1) idea.wait();
        ASSERT_TRUE(awaitCondition([&] { return said(kEffectiveKey) == R"({"name":"headless.output"})"; }))
            << "round " << round << ": " << said(kEffectiveKey);
        ASSERT_EQ(said(kConfiguredKey), "") << "round " << round;
    }
}

/// Not a test: the program that the next one kills.
TEST(PipeWireDefaultOutputHolder, DISABLED_holdsUntilItIsKilled) {
    const auto connection = std::make_shared<PipeWireConnection>();
    PipeWireAudioHardware hardware(connection, std::make_shared<LinuxEventLoop>());
    ASSERT_TRUE(
        hardware.setDefaultOutputDevice(connection->devices().numberNamed("VintraAudioDevice").value_or(0)));
    std::cout << "held" << std::endl;
    ::pause();
}

TEST_F(PipeWireDefaultOutputTest, afterAKillTheNextProgramGivesItBackExactly) {
    for (const bool isConfigured : {false, true}) {
        const auto speaker = plugIn("speaker", 10);
        if (isConfigured) choose("speaker");
        const AudioObjectID before = isConfigured ? number("speaker") : output;
        ASSERT_TRUE(awaitDefault(before));
        const std::string written = said(kConfiguredKey);
        ChildProcess holder({"/proc/self/exe", "--gtest_also_run_disabled_tests",
                             "--gtest_filter=PipeWireDefaultOutputHolder.*"},
                            server.environment());
        ASSERT_TRUE(holder.awaitLineWith("held"));
        holder.kill();
        EXPECT_EQ(said(kEffectiveKey), R"({"name":"VintraAudioDevice"})");
        ASSERT_TRUE(awaitDefault(virtualDevice));
        EXPECT_EQ(hardware->defaultSystemOutputDevice(), before);
        ASSERT_TRUE(hardware->setDefaultOutputDevice(before));
        EXPECT_EQ(hardware->defaultOutputDevice(), before);
        EXPECT_EQ(said(kConfiguredKey), written);
        EXPECT_EQ(said("vintra.default.audio.sink"), "");
    }
}

TEST_F(PipeWireDefaultOutputTest, aLoanLeavesNothingThatMakesTheVirtualDeviceTheDefaultLater) {
    auto headphones = plugIn("headphones", 10);
    choose("headphones");
    ASSERT_TRUE(awaitDefault(number("headphones")));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(number("headphones")));
    headphones->unplug();
    EXPECT_TRUE(awaitDefault(output));
}

TEST_F(PipeWireDefaultOutputTest, whatTheUserChoosesMeanwhileIsTaken) {
    const auto speaker = plugIn("speaker", 10);
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    choose("speaker");
    EXPECT_TRUE(awaitDefault(number("speaker")));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    EXPECT_EQ(hardware->defaultSystemOutputDevice(), number("speaker"));
    choose("headless.output");
    EXPECT_TRUE(awaitDefault(output));
}

TEST_F(PipeWireDefaultOutputTest, choosingWhatWasInForceAnywayEndsTheLoanToo) {
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    choose("headless.output");
    EXPECT_TRUE(awaitDefault(output));
}

TEST_F(PipeWireDefaultOutputTest, aBetterDeviceThatIsPluggedInDoesNotEndTheLoan) {
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    ChildProcess monitor({"pw-metadata", "-m", "0", kEffectiveKey}, server.environment());
    ASSERT_TRUE(monitor.awaitLineWith("VintraAudioDevice"));
    const auto better = plugIn("better", 3000);
    ASSERT_TRUE(monitor.awaitLineWith("better")); // the session manager's idea
    EXPECT_TRUE(awaitDefault(virtualDevice));
    EXPECT_TRUE(monitor.awaitLineWith("VintraAudioDevice"));
}

TEST_F(PipeWireDefaultOutputTest, aSessionManagerThatIsStartedAnewDoesNotEndTheLoan) {
    for (const bool isConfigured : {false, true}) {
        const auto speaker = plugIn("speaker", 10);
        if (isConfigured) choose("speaker");
        const std::string before = isConfigured ? "speaker" : "headless.output";
        ASSERT_TRUE(awaitDefault(number(before)));
        const std::string written = said(kConfiguredKey);
        ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
        ASSERT_TRUE(server.restartSessionManager());
        if (isConfigured) choose("speaker"); // a desktop's session manager has kept it
        EXPECT_TRUE(awaitCondition([&] {
            return said("vintra.default.audio.sink") == "{\"name\":\"" + before + "\"}" &&
                   said(kEffectiveKey) == R"({"name":"VintraAudioDevice"})";
        })) << said("vintra.default.audio.sink")
            << ", " << said(kEffectiveKey);
        EXPECT_TRUE(awaitDefault(virtualDevice));
        ASSERT_TRUE(hardware->setDefaultOutputDevice(number(before)));
        EXPECT_EQ(said(kEffectiveKey), "{\"name\":\"" + before + "\"}");
        EXPECT_EQ(said(kConfiguredKey), written);
        EXPECT_EQ(said("vintra.default.audio.sink"), "");
    }
}

TEST_F(PipeWireDefaultOutputTest, whenTheDeviceBeforeGoesTheNextBestTakesOver) {
    auto headphones = plugIn("headphones", 3000);
    ASSERT_TRUE(awaitDefault(number("headphones")));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    headphones->unplug();
    EXPECT_TRUE(awaitDefault(output));
    EXPECT_EQ(hardware->defaultSystemOutputDevice(), output);
}

TEST_F(PipeWireDefaultOutputTest, theSystemOutputIsTheRealDeviceAndItsChangesAreTold) {
    int calls = 0;
    const auto listener = hardware->addPropertyListener(
        kAudioObjectSystemObject, AudioProperty::defaultSystemOutputDevice, [&] { ++calls; });
    ASSERT_NE(listener, nullptr);
    const auto speaker = plugIn("speaker", 10);
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(output));
    mainThread->post([&] { mainThread->stop(); });
    mainThread->run();
    EXPECT_EQ(calls, 0);
    choose("speaker");
    EXPECT_TRUE(mainThread->runUntil([&] { return calls > 0; }, 10'000'000'000));
    EXPECT_EQ(hardware->defaultSystemOutputDevice(), number("speaker"));
    EXPECT_TRUE(hardware->setDefaultSystemOutputDevice(number("speaker")));
    EXPECT_FALSE(hardware->setDefaultSystemOutputDevice(output));
    EXPECT_FALSE(hardware->setDefaultSystemOutputDevice(virtualDevice));
}

TEST_F(PipeWireDefaultOutputTest, theEndOfALoanIsToldAndTheLoanItself) {
    int calls = 0;
    const auto listener = hardware->addPropertyListener(kAudioObjectSystemObject,
                                                        AudioProperty::defaultOutputDevice, [&] { ++calls; });
    ASSERT_NE(listener, nullptr);
    const auto speaker = plugIn("speaker", 10);
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    EXPECT_TRUE(mainThread->runUntil([&] { return calls == 1; }, 10'000'000'000));
    choose("speaker");
    EXPECT_TRUE(mainThread->runUntil([&] { return calls == 2; }, 10'000'000'000));
    EXPECT_EQ(hardware->defaultOutputDevice(), number("speaker"));
}

TEST_F(PipeWireDefaultOutputTest, anotherIdeaOfTheSessionManagersIsNoNews) {
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    int calls = 0;
    const auto listener = hardware->addPropertyListener(kAudioObjectSystemObject,
                                                        AudioProperty::defaultOutputDevice, [&] { ++calls; });
    ChildProcess monitor({"pw-metadata", "-m", "0", kEffectiveKey}, server.environment());
    ASSERT_TRUE(monitor.awaitLineWith("VintraAudioDevice"));
    const auto better = plugIn("better", 3000);
    ASSERT_TRUE(monitor.awaitLineWith("better"));
    ASSERT_TRUE(monitor.awaitLineWith("VintraAudioDevice"));
    mainThread->post([&] { mainThread->stop(); });
    mainThread->run();
    EXPECT_EQ(calls, 0);
}

TEST_F(PipeWireDefaultOutputTest, whoInsistsOnAnotherDeviceEndsTheLoan) {
    PipeWireDefaultOutput impatient(connection, {.mostTimes = 3});
    std::atomic<int> told{0};
    const auto observation = connection->observe([&](const PipeWireChange& change) {
        if (!change.defaultsKey.empty()) ++told;
    });
    ASSERT_TRUE(impatient.setDevice(virtualDevice));
    ChildProcess insisting({"sh", "-c",
                            "for i in 1 2 3 4 5 6; do pw-metadata 0 default.audio.sink "
                            "'{\"name\":\"headless.output\"}' Spa:String:JSON; done"},
                           server.environment());
    EXPECT_TRUE(awaitCondition([&] { return impatient.device() == output; }));
    insisting.wait();
    EXPECT_EQ(said(kEffectiveKey), R"({"name":"headless.output"})");
    EXPECT_TRUE(awaitCondition([&] { return said("vintra.default.audio.sink").empty(); }));
    EXPECT_GT(told, 0);
    EXPECT_TRUE(impatient.isContested());
}

TEST_F(PipeWireDefaultOutputTest, whoInsistsSlowlyEndsTheLoanToo) {
    PipeWireDefaultOutput patient(connection, {.mostTimes = 1000, .someTimes = 3, .seconds = 1});
    ASSERT_TRUE(patient.setDevice(virtualDevice));
    EXPECT_FALSE(patient.isContested());
    ChildProcess insisting({"sh", "-c",
                            "while sleep 0.3; do pw-metadata 0 default.audio.sink "
                            "'{\"name\":\"headless.output\"}' Spa:String:JSON; done"},
                           server.environment());
    EXPECT_TRUE(awaitCondition([&] { return patient.isContested(); }));
    insisting.kill();
    EXPECT_TRUE(awaitCondition([&] { return patient.device() == output; }));
    ASSERT_TRUE(patient.setDevice(virtualDevice));
    EXPECT_FALSE(patient.isContested()) << "that was the hold before";
    EXPECT_TRUE(patient.setDevice(output));
}

TEST_F(PipeWireDefaultOutputTest, aLoanThatIsAskedForAnewKnowsTheDeviceThatIsThereNow) {
    auto headphones = plugIn("headphones", 3000);
    ASSERT_TRUE(awaitDefault(number("headphones")));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    headphones->unplug();
    ASSERT_TRUE(awaitCondition([&] { return number("headphones") == 0; }));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    EXPECT_TRUE(
        awaitCondition([&] { return said("vintra.default.audio.sink") == R"({"name":"headless.output"})"; }));
    EXPECT_TRUE(awaitDefault(virtualDevice));
    ASSERT_TRUE(hardware->setDefaultOutputDevice(output));
    EXPECT_EQ(said(kEffectiveKey), R"({"name":"headless.output"})");
    EXPECT_EQ(said(kConfiguredKey), "");
}

TEST_F(PipeWireDefaultOutputTest, aConnectionThatIsOfNoUseAnyMoreIsNotNeededToGiveItBack) {
    ASSERT_TRUE(hardware->setDefaultOutputDevice(virtualDevice));
    ChildProcess list({"sh", "-c",
                       "pw-cli ls Client | awk '/^[ \\t]*id / {id = $2} /sec.pid = \"" +
                           std::to_string(::getpid()) + "\"/ {print id + 0}'"},
                      server.environment());
    const std::string client = list.readLine();
    ASSERT_FALSE(client.empty());
    ChildProcess cut({"pw-cli", "destroy", client}, server.environment());
    cut.wait();
    ASSERT_TRUE(awaitCondition([&] { return connection->problem().has_value(); }));
    EXPECT_TRUE(hardware->setDefaultOutputDevice(output));
    EXPECT_EQ(said(kEffectiveKey), R"({"name":"headless.output"})");
    EXPECT_EQ(said(kConfiguredKey), "");
}

TEST_F(PipeWireDefaultOutputTest, theVolumeOfADeviceIsReadAndItsChangesAreTold) {
    const auto turn = [&](const std::string& props) {
        ChildProcess tool({"pw-cli", "set-param", "VintraAudioDevice", "Props", props}, server.environment());
        tool.wait();
    };
    const auto has = [&](std::vector<float> volume) {
        return awaitCondition([&] { return hardware->outputVolume(virtualDevice) == volume; });
    };
    int calls = 0;
    const auto listener =
        hardware->addPropertyListener(virtualDevice, AudioProperty::outputVolume, [&] { ++calls; });
    ASSERT_NE(listener, nullptr);
    EXPECT_TRUE(has({1, 1}));
    turn("{ channelVolumes: [0.5, 0.25] }");
    EXPECT_TRUE(has({0.5f, 0.25f}));
    turn("{ mute: true }");
    EXPECT_TRUE(has({0, 0}));
    turn("{ mute: false }");
    EXPECT_TRUE(has({0.5f, 0.25f}));
    EXPECT_TRUE(mainThread->runUntil([&] { return calls >= 3; }, 10'000'000'000));
    EXPECT_EQ(hardware->outputVolume(4711), std::nullopt);
}

TEST_F(PipeWireDefaultOutputTest, behindAFilterThatFollowsTheDefaultIsTheDeviceThatItPlaysTo) {
    EXPECT_EQ(hardware->deviceBehind(output), output);
    EXPECT_EQ(hardware->deviceBehind(4711), std::nullopt);
    ChildProcess following({"pw-loopback", "-n", "following", "--capture-props",
                            "media.class=Audio/Sink session.suspend-timeout-seconds=0 node.name=equaliser",
                            "--playback-props", "node.name=equaliser.output"},
                           server.environment());
    ChildProcess fixed({"pw-loopback", "-n", "fixed", "-P", "headless.output", "--capture-props",
                        "media.class=Audio/Sink session.suspend-timeout-seconds=0 node.name=room",
                        "--playback-props", "node.name=room.output"},
                       server.environment());
    ASSERT_TRUE(awaitCondition([&] { return number("equaliser") != 0 && number("room") != 0; }));
    choose("equaliser");
    ASSERT_TRUE(awaitDefault(number("equaliser")));
    EXPECT_TRUE(awaitCondition([&] { return hardware->deviceBehind(number("equaliser")) == output; }));
    EXPECT_EQ(hardware->deviceBehind(number("room")), number("room")) << "it plays to one device for good";
}

TEST_F(PipeWireDefaultOutputTest, whereTheVirtualDeviceWasChosenTheBestRealOneIsTheSystemOutput) {
    const auto speaker = plugIn("speaker", 10);
    choose("VintraAudioDevice");
    ASSERT_TRUE(awaitDefault(virtualDevice));
    EXPECT_EQ(hardware->defaultSystemOutputDevice(), output);
    ASSERT_TRUE(hardware->setDefaultOutputDevice(number("speaker")));
    EXPECT_EQ(said(kConfiguredKey), R"({"name":"speaker"})");
}

TEST_F(PipeWireDefaultOutputTest, onlyOutputsCanBeTheDefault) {
    ChildProcess source({"pw-cli", "create-node", "adapter",
                         "{ factory.name=support.null-audio-sink media.class=Audio/Source/Virtual "
                         "object.linger=true node.name=line-in audio.channels=2 }"},
                        server.environment());
    source.wait();
    ASSERT_TRUE(awaitCondition([&] { return number("line-in") != 0; }));
    EXPECT_FALSE(hardware->setDefaultOutputDevice(number("line-in")));
    EXPECT_FALSE(hardware->setDefaultOutputDevice(4711));
}

TEST_F(PipeWireDefaultOutputTest, aSoundChipOfTheBoardIsBuiltIn) {
    const PublishedSink chip("chip", "audio.channels=2 device.api=alsa device.bus=pci", server.environment());
    const PublishedSink named("alsa_output.pci-0000_00_1f.3.analog-stereo",
                              "audio.channels=2 device.api=alsa", server.environment());
    const PublishedSink screen("alsa_output.pci-0000_00_1f.3.hdmi-stereo", "audio.channels=2 device.api=alsa",
                               server.environment());
    const PublishedSink usb("usb", "audio.channels=2 device.api=alsa device.bus=usb", server.environment());
    ASSERT_TRUE(awaitCondition([&] { return number("usb") != 0; }));
    const auto type = [&](const std::string& name) { return hardware->transportType(number(name)); };
    EXPECT_EQ(type("chip"), AudioTransportType::builtIn);
    EXPECT_EQ(type("alsa_output.pci-0000_00_1f.3.analog-stereo"), AudioTransportType::builtIn);
    EXPECT_EQ(type("alsa_output.pci-0000_00_1f.3.hdmi-stereo"), AudioTransportType::other);
    EXPECT_EQ(type("usb"), AudioTransportType::other);
    EXPECT_EQ(type("headless.output"), AudioTransportType::other);
    EXPECT_EQ(hardware->transportType(4711), std::nullopt);
    EXPECT_EQ(hardware->outputStreamChannels(number("usb")), std::vector<uint32_t>{2});
}

} // namespace
} // namespace vintra
