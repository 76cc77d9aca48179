#pragma once

#include "Vintra/audio/AudioSamplePath.h"
#include "Vintra/audio/AudioSelection.h"
#include "Vintra/platform/SessionControl.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vintra {

/// What the parts of sound are given by their owner, on a machine with three inputs of 1, 2 and 8 channels.
class AudioPartsFixture : public testing::Test {
protected:
    void SetUp() override {
        machine.audioHardware->plug("mic.one", "Desk Microphone", 1);
        machine.audioHardware->plug("daw.two", "Workstation", 2);
        machine.audioHardware->plug("multi.eight", "Stage Box", 8);
        listDevices();
    }
    void TearDown() override { EXPECT_EQ(machine.violations->list, std::vector<std::string>{}); }

    /// Brings the selection's lists in line with the machine.
    void listDevices() {
        std::vector<std::shared_ptr<AVCaptureDevice>> devices;
        std::unordered_map<std::string, int> counts;
        for (const AudioObjectID id : machine.audioHardware->devices()) {
            const auto device = machine.audioHardware->device(id);
            if (device->inputChannels() == 0) continue;
            counts[device->uid] = static_cast<int>(device->inputChannels());
            devices.push_back(machine.captureDevices->deviceWithUniqueID(device->uid));
        }
        selection.availableAudioInputDevices.set(std::move(devices));
        selection.audioDeviceChannelCounts.set(std::move(counts));
    }
    std::shared_ptr<SimulatedCaptureSession> session(const std::string& uid) const {
        return machine.captureDevices->session(uid);
    }
    bool runs(const std::string& uid) const {
        const auto made = session(uid);
        return made && made->isRunning();
    }
    int64_t sessionsMade() const { return machine.captureDevices->sessionsMade; }

    SimulatedMachine machine;
    const Platform platform = machine.platform();
    AudioSelection selection{LevelsModel::make(*machine.hostClock, *machine.mainThread)};
    Published<bool> isRecording{false};
    Published<std::optional<std::string>> lastError;
    SessionControl sessionControl{*machine.dispatchQueues, *machine.mainThread};
    std::shared_ptr<AudioSamplePath> samplePath =
        std::make_shared<AudioSamplePath>(machine.hostClock, selection.levels);
};

} // namespace vintra
