#pragma once

#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/simulated/SimulatedLoopback.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A sound device of a simulated machine: what it says of itself, what can be heard on it, and how it fails.
/// Every member may be changed at any time; changes that listeners hear of go through
/// `SimulatedAudioHardware`.
struct SimulatedAudioDevice {
    std::string uid;
    std::string name;
    std::vector<uint32_t> inputStreamChannels{1}; ///< channels of each input stream; empty for an output
    std::vector<uint32_t> outputStreamChannels;   ///< channels of each output stream; empty for an input
    AudioTransportType transportType = AudioTransportType::other;
    double nominalSampleRate = 48'000; ///< hertz
    AudioObjectID id = 0;              ///< given by the hardware when plugged in
    std::optional<std::vector<float>>
        outputVolume{}; ///< as the user's control has it; nothing: there is none
    /// A filter that follows the default output, and the uid of the device that it plays on to; empty: it isn't
    /// known.
    std::optional<std::string> playsOnTo{};

    bool refusesToBeDefault = false; ///< setting it as a default output fails
    bool hasUnreadableStreams = false;
    bool hasUnreadableUID = false;
    bool hasUnreadableName = false;
    bool hasUnreadableRate = false;
    bool hasUnreadableFormat = false; ///< the capture device has no active format

    bool isCapturable = true;   ///< false: the hardware lists it, but it is no capture device
    bool failsToOpen = false;   ///< `makeDeviceInput` throws
    bool refusesInput = false;  ///< a session can't add it
    bool refusesOutput = false; ///< a session with it can't add an output
    bool failsToStart = false;  ///< the session doesn't run
    std::optional<std::string> captureProblem{}; ///< of the capture device
    bool isSilent = false;                       ///< runs, but delivers no buffer, for as long as this holds
    bool takesItsTime = false;                   ///< doesn't run yet, and may still, likewise

    double startSeconds = 0.02;      ///< how long `startRunning` blocks
    double firstFrameSeconds = 0.03; ///< from then to the first frame's host time
    int64_t framesPerBuffer = 512;   ///< at the rate that is delivered
    size_t piecesPerBuffer = 1;      ///< pieces that a buffer's data lies in
    double clockRatio = 1;           ///< frames it makes in the time of one, by the host clock
    /// How late a buffer is handed over after its last frame, in seconds; in time if not set.
    std::function<double(int64_t buffer)> lateness = nullptr;
    /// What a channel sounds like at a frame counted from the start of the session or IO; if not set, a 1 kHz
    /// tone at a quarter of full scale.
    std::function<float(uint32_t channel, int64_t frame, CMTime hostTime)> signal = nullptr;
    /// Changes a buffer before it is handed over, or drops it.
    std::function<std::optional<CMSampleBuffer>(CMSampleBuffer)> alter = nullptr;

    /// What is played into it comes out of its inputs. `signal` is then what programs play into it, nothing
    /// if not set, and its frames are counted from the moment that the machine was switched on, in every
    /// session and IO alike.
    bool isLoopback = false;

    std::optional<uint32_t> bufferFrameSize = 512; ///< frames of an IO cycle; nothing: can't be read
    std::optional<AudioBufferSizeRange> bufferFrameSizeRange = AudioBufferSizeRange{32, 4096};
    bool keepsBufferFrameSize = false; ///< a request for another size does nothing
    std::vector<double> sampleRates;   ///< the rates it can be set to; any if empty
    double rateChangeSeconds = 0;      ///< from a request to the new rate
    bool refusesIOProc = false;        ///< `createIOProc` fails
    bool failsToStartIO = false;       ///< `AudioIOProc::start` fails
    double ioStartSeconds = 0;         ///< how long `AudioIOProc::start` waits
    bool isStalled = false;            ///< its IO runs, but no cycle comes, for as long as this holds
    std::function<double(int64_t cycle)> cycleLateness = nullptr; ///< seconds; in time if not set
    /// Told of each cycle of output that an IO has filled.
    std::function<void(AudioBufferList output)> playing = nullptr;

    /// What the IOs of a loopback device have played into it.
    SimulatedLoopback loopback;

    /// What a device without a signal sounds like at that rate.
    static float tone(int64_t frame, double rate);
    /// What the input hears.
    float sound(uint32_t channel, int64_t frame, CMTime hostTime) const;
    uint32_t inputChannels() const {
        uint32_t sum = 0;
        for (const uint32_t channels : inputStreamChannels)
            sum += channels;
        return sum;
    }
};

} // namespace vintra
