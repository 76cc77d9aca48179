#include "Vintra/audio/MonoFormatCache.h"

namespace vintra {
namespace {

AudioStreamBasicDescription monoDescription(double sampleRate, bool isFloat) {
    const uint32_t bytes = isFloat ? 4 : 2;
    const uint32_t kind = isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger;
    return {
        .mSampleRate = sampleRate,
        .mFormatID = kAudioFormatLinearPCM,
        .mFormatFlags = kind | kAudioFormatFlagIsPacked,
        .mBytesPerPacket = bytes,
        .mFramesPerPacket = 1,
        .mBytesPerFrame = bytes,
        .mChannelsPerFrame = 1,
        .mBitsPerChannel = bytes * 8,
    };
}

} // namespace

std::shared_ptr<const CMFormatDescription> MonoFormatCache::formatDescription(double sampleRate,
                                                                              bool isFloat) {
    MutexLock lock(mutex);
    const Key key{sampleRate, isFloat};
    if (const auto found = cache.find(key); found != cache.end()) return found->second;
    auto format = CMAudioFormatDescriptionCreate(monoDescription(sampleRate, isFloat));
    if (format) cache.emplace(key, format);
    return format;
}

} // namespace vintra
