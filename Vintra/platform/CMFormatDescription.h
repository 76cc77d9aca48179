#pragma once

#include <cstdint>
#include <memory>
#include <variant>

namespace vintra {

/// A four-character code as the number that stands for it.
constexpr uint32_t fourCharCode(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[3]));
}

inline constexpr uint32_t kAudioFormatLinearPCM = fourCharCode("lpcm");
inline constexpr uint32_t kAudioFormatMPEG4AAC = fourCharCode("aac ");

enum AudioFormatFlags : uint32_t {
    kAudioFormatFlagIsFloat = 1u << 0,
    kAudioFormatFlagIsBigEndian = 1u << 1,
    kAudioFormatFlagIsSignedInteger = 1u << 2,
    kAudioFormatFlagIsPacked = 1u << 3,
    kAudioFormatFlagIsNonInterleaved = 1u << 5,
};

/// The layout of sound samples. Rates in hertz, sizes in bytes unless named otherwise.
struct AudioStreamBasicDescription {
    double mSampleRate = 0;
    uint32_t mFormatID = 0;
    uint32_t mFormatFlags = 0;
    uint32_t mBytesPerPacket = 0;
    uint32_t mFramesPerPacket = 0;
    uint32_t mBytesPerFrame = 0;
    uint32_t mChannelsPerFrame = 0;
    uint32_t mBitsPerChannel = 0;

    bool isFloat() const { return (mFormatFlags & kAudioFormatFlagIsFloat) != 0; }
    bool isBigEndian() const { return (mFormatFlags & kAudioFormatFlagIsBigEndian) != 0; }
    bool isNonInterleaved() const { return (mFormatFlags & kAudioFormatFlagIsNonInterleaved) != 0; }
    bool operator==(const AudioStreamBasicDescription&) const = default;
};

/// Interleaved, packed, native-endian 32-bit float samples: what capture outputs deliver.
AudioStreamBasicDescription floatPCMDescription(double sampleRate, uint32_t channels);

struct CMVideoDimensions {
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const CMVideoDimensions&) const = default;
};

struct VideoDescription {
    uint32_t mediaSubType = 0; ///< four-character code of the pixel format or codec
    CMVideoDimensions dimensions;
    bool operator==(const VideoDescription&) const = default;
};

/// What a sample holds. Immutable and shared: any thread.
class CMFormatDescription {
public:
    explicit CMFormatDescription(AudioStreamBasicDescription audio)
        : content(audio) {}
    explicit CMFormatDescription(VideoDescription video)
        : content(video) {}

    /// Null for a picture's description.
    const AudioStreamBasicDescription* streamBasicDescription() const {
        return std::get_if<AudioStreamBasicDescription>(&content);
    }
    /// Null for a sound's description.
    const VideoDescription* videoDescription() const { return std::get_if<VideoDescription>(&content); }

private:
    std::variant<AudioStreamBasicDescription, VideoDescription> content;
};

/// A linear PCM description, or null if it has no channels or no rate.
std::shared_ptr<const CMFormatDescription>
CMAudioFormatDescriptionCreate(const AudioStreamBasicDescription& description);

} // namespace vintra
