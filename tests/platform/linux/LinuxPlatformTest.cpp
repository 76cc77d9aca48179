#include "Vintra/platform/linux/LinuxPlatform.h"

#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/linux/files/CrashSafeUserDefaults.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace vintra {
namespace {

constexpr const char* kKey = "LinuxPlatformTest's output";

/// The sound routing of a session with sound devices and a default output.
class LinuxPlatformTest : public ::testing::Test {
protected:
    ~LinuxPlatformTest() override { std::filesystem::remove(note); }
    LinuxPlatform make(const std::string& outputToPutBackKey) {
        return LinuxPlatform::make(loop,
                                   {.keepsSettingsInMemory = true, .outputToPutBackKey = outputToPutBackKey});
    }
    void leaveNote(const std::string& text) const {
        std::filesystem::create_directories(note.parent_path());
        std::ofstream(note) << text;
    }

    const std::shared_ptr<LinuxEventLoop> loop = std::make_shared<LinuxEventLoop>();
    const std::filesystem::path note = CrashSafeUserDefaults::standardFile(kKey).path();
};

TEST_F(LinuxPlatformTest, aProgramThatRoutesSoundHasTheNoteThatACrashHasLeft) {
    leaveNote("headless.output");
    const LinuxPlatform machine = make(kKey);
    EXPECT_TRUE(machine.routesSound);
    EXPECT_EQ(machine.services.userDefaults->value(kKey), DefaultsValue(std::string("headless.output")));
    machine.services.userDefaults->set(kKey, std::string("another"));
    std::string onDisk;
    std::getline(std::ifstream(note), onDisk);
    EXPECT_EQ(onDisk, "another");
    EXPECT_NE(machine.services.audioHardware->defaultOutputDevice(), std::nullopt);
}

TEST_F(LinuxPlatformTest, whileAnotherProgramRoutesTheSoundItsOutputsAndItsNoteAreLeftAlone) {
    const LinuxPlatform other = make(kKey);
    ASSERT_TRUE(other.routesSound);
    const auto before = other.services.audioHardware->defaultOutputDevice();
    leaveNote("headless.output");

    LinuxPlatform machine = make(kKey);
    EXPECT_FALSE(machine.routesSound);
    EXPECT_EQ(machine.services.userDefaults->value(kKey), std::nullopt);
    machine.services.userDefaults->remove(kKey);
    EXPECT_TRUE(std::filesystem::exists(note));
    AudioHardware& hardware = *machine.services.audioHardware;
    EXPECT_EQ(hardware.defaultOutputDevice(), std::nullopt);
    for (const AudioObjectID device : hardware.devices())
        EXPECT_FALSE(hardware.setDefaultOutputDevice(device));
    EXPECT_EQ(hardware.devices().size(), other.services.audioHardware->devices().size());
    EXPECT_EQ(other.services.audioHardware->defaultOutputDevice(), before);
}

TEST_F(LinuxPlatformTest, whoReleasesTheRoutingLeavesItToTheNext) {
    LinuxPlatform first = make(kKey);
    ASSERT_TRUE(first.routesSound);
    first.soundRouting.release();
    EXPECT_TRUE(make(kKey).routesSound);
}

TEST_F(LinuxPlatformTest, aProgramThatRoutesNoSoundTakesNothingFromTheOthers) {
    const LinuxPlatform quiet = make("");
    EXPECT_FALSE(quiet.routesSound);
    EXPECT_TRUE(make(kKey).routesSound);
}

} // namespace
} // namespace vintra
