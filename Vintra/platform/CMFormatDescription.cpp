#include "Vintra/platform/CMFormatDescription.h"

namespace vintra {

AudioStreamBasicDescription floatPCMDescription(double sampleRate, uint32_t channels) {
    return {
        .mSampleRate = sampleRate,
        .mFormatID = kAudioFormatLinearPCM,
        .mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
        .mBytesPerPacket = 4 * channels,
        .mFramesPerPacket = 1,
        .mBytesPerFrame = 4 * channels,
        .mChannelsPerFrame = channels,
        .mBitsPerChannel = 32,
    };
}

std::shared_ptr<const CMFormatDescription>
CMAudioFormatDescriptionCreate(const AudioStreamBasicDescription& description) {
    if (description.mChannelsPerFrame < 1 || !(description.mSampleRate > 0)) return nullptr;
    return std::make_shared<const CMFormatDescription>(description);
}

} // namespace vintra
