#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/LibavPointers.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace vintra {

/// Encodes one unbroken run of sound as AAC. Owned and called by a writer's thread. Failures are thrown as
/// `SystemError`.
class SoundEncoder {
public:
    /// A packet of `kPacketFrames` frames. The first packets hold `priming()` frames that are no sound of the
    /// source.
    using Output = std::function<void(std::vector<uint8_t> packet)>;
    static constexpr int64_t kPacketFrames = 1024;

    static bool canEncode(const AVAudioSettings& settings);

    SoundEncoder(const AVAudioSettings& settings, Output output);
    ~SoundEncoder();

    /// The entry of the track's sample description.
    std::vector<uint8_t> sampleDescription() const;
    int64_t priming() const;
    /// Frames taken so far.
    int64_t frames() const { return taken; }
    /// Interleaved values at the settings' rate and channel count.
    void encode(std::span<const float> values);
    void encodeSilence(int64_t frameCount);
    /// Gives out what the encoder still holds.
    void finish();

private:
    void encodePacket();
    void receive();

    const AVAudioSettings settings;
    const Output output;
    CodecContextPointer context;
    FramePointer frame;
    PacketPointer packet;
    std::vector<float> pending; ///< interleaved, less than a packet
    int64_t taken = 0;
    int64_t sent = 0;
};

} // namespace vintra
