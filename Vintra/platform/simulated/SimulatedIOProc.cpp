#include "Vintra/platform/simulated/SimulatedIOProc.h"

#include "Vintra/platform/HostClock.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace vintra {
namespace {

/// Samples of every stream of one side of a device, for one cycle.
class Streams {
public:
    void resize(const std::vector<uint32_t>& channels, int64_t frames) {
        samples.resize(channels.size());
        buffers.resize(channels.size());
        for (size_t stream = 0; stream < channels.size(); ++stream) {
            samples[stream].assign(static_cast<size_t>(frames) * channels[stream], 0);
            buffers[stream] = {channels[stream],
                               static_cast<uint32_t>(samples[stream].size() * sizeof(float)),
                               samples[stream].data()};
        }
    }
    AudioBufferList list() const { return {buffers.data(), buffers.size()}; }
    /// Calls with the device's channel, the frame of the cycle and the sample.
    template <typename Visit>
    void forEach(Visit visit) {
        uint32_t firstChannel = 0;
        for (const AudioBuffer& buffer : buffers) {
            const size_t count = buffer.mDataByteSize / sizeof(float);
            for (size_t i = 0; i < count; ++i) {
                visit(firstChannel + static_cast<uint32_t>(i % buffer.mNumberChannels),
                      static_cast<int64_t>(i / buffer.mNumberChannels), buffer.mData[i]);
            }
            firstChannel += buffer.mNumberChannels;
        }
    }

private:
    std::vector<std::vector<float>> samples;
    std::vector<AudioBuffer> buffers;
};

} // namespace

class SimulatedIOProc::Cycles : public std::enable_shared_from_this<Cycles> {
public:
    Cycles(Services services, std::shared_ptr<SimulatedAudioDevice> device, AudioIOBlock block)
        : services(std::move(services))
        , device(device)
        , id(device->id)
        , block(std::move(block)) {}

    bool isThere() const { return services.hardware->device(id) == device; }
    bool begin() {
        if (device->ioStartSeconds > 0) services.time->advance(device->ioStartSeconds);
        if (isOn || device->failsToStartIO || !isThere()) return isOn;
        isOn = true;
        endNanoseconds = static_cast<double>(services.time->nowNanoseconds());
        frame = device->isLoopback ? std::llround(endNanoseconds * 1e-9 * framesPerSecond()) : 0;
        schedule();
        return true;
    }
    void end() {
        isOn = false;
        if (event) services.time->cancel(*event);
        event.reset();
    }
    bool isRunning() const { return isOn; }

private:
    double framesPerSecond() const { return device->nominalSampleRate * device->clockRatio; }
    void schedule() {
        frames = device->bufferFrameSize.value_or(512);
        startNanoseconds = endNanoseconds;
        endNanoseconds += static_cast<double>(frames) / framesPerSecond() * 1e9;
        const double late = device->cycleLateness ? std::max(0.0, device->cycleLateness(cycle)) : 0;
        event = services.time->at(std::llround(endNanoseconds) + nanosecondsFromSeconds(late),
                                  [weak = weak_from_this()] {
                                      if (const auto self = weak.lock()) self->passCycle();
                                  });
    }
    void passCycle() {
        event.reset();
        if (!isOn || !isThere()) return;
        if (!device->isStalled) callBlock();
        frame += frames;
        ++cycle;
        if (isOn) schedule();
    }
    void callBlock() {
        input.resize(device->inputStreamChannels, frames);
        output.resize(device->outputStreamChannels, frames);
        input.forEach([this](uint32_t channel, int64_t at, float& sample) {
            const double nanoseconds = startNanoseconds + static_cast<double>(at) / framesPerSecond() * 1e9;
            sample = device->sound(channel, frame + at, hostTimeFromNanoseconds(std::llround(nanoseconds)));
        });
        block(input.list(), output.list());
        if (device->playing) device->playing(output.list());
        if (!device->isLoopback) return;
        // Played while the next cycle's input passes.
        output.forEach([this](uint32_t channel, int64_t at, float& sample) {
            device->loopback.play(frame + frames + at, channel, sample);
        });
    }

    const Services services;
    const std::shared_ptr<SimulatedAudioDevice> device;
    const AudioObjectID id;
    const AudioIOBlock block;
    bool isOn = false;
    double startNanoseconds = 0; ///< of the cycle that passes
    double endNanoseconds = 0;
    int64_t frame = 0; ///< first of the cycle that passes
    int64_t frames = 0;
    int64_t cycle = 0;
    std::optional<VirtualTime::EventID> event;
    Streams input;
    Streams output;
};

SimulatedIOProc::SimulatedIOProc(Services services, std::shared_ptr<SimulatedAudioDevice> device,
                                 AudioIOBlock block)
    : services(services)
    , cycles(std::make_shared<Cycles>(services, std::move(device), std::move(block))) {}

SimulatedIOProc::~SimulatedIOProc() {
    stop();
}

bool SimulatedIOProc::start() {
    if (cycles->isRunning()) return true;
    if (!cycles->begin()) return false;
    ++*services.running;
    return true;
}

void SimulatedIOProc::stop() {
    if (!cycles->isRunning()) return;
    cycles->end();
    --*services.running;
}

} // namespace vintra
