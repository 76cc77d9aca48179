#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/platform/AudioDeviceIOConformance.h"

namespace vintra {
namespace {

class SimulatedAudioBackend {
public:
    SimulatedAudioBackend() {
        SimulatedAudioDevice loopback;
        loopback.uid = "VintraAudioDevice";
        loopback.name = "Vintra Audio";
        loopback.inputStreamChannels = {2};
        loopback.outputStreamChannels = {2};
        loopback.isLoopback = true;
        loopback.sampleRates = {44'100, 48'000};
        loopback.rateChangeSeconds = 0.1;
        virtualID = machine.audioHardware->plug(loopback)->id;
        SimulatedAudioDevice speakers;
        speakers.uid = "speakers";
        speakers.name = "Speakers";
        speakers.inputStreamChannels = {};
        speakers.outputStreamChannels = {2};
        outputID = machine.audioHardware->plug(speakers)->id;
        machine.audioHardware->defaultOutput = outputID;
        machine.audioHardware->defaultSystemOutput = outputID;
    }
    AudioHardware& hardware() { return *machine.audioHardware; }
    AudioDeviceIO& io() { return *machine.audioDeviceIO; }
    AudioObjectID virtualDevice() const { return virtualID; }
    AudioObjectID output() const { return outputID; }
    void turnVolume(float left, float right) {
        machine.audioHardware->setOutputVolume("VintraAudioDevice", {left, right});
    }
    bool waitUntil(const std::function<bool()>& condition) { return machine.runMainUntil(condition, 10); }

private:
    SimulatedMachine machine;
    AudioObjectID virtualID = 0;
    AudioObjectID outputID = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, AudioDeviceIOConformance, SimulatedAudioBackend);

} // namespace
} // namespace vintra
