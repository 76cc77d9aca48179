#pragma once

#include "Vintra/platform/AVMediaType.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/URL.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace vintra {

enum class AVFileType { quickTimeMovie, wave };
enum class AVVideoCodecType { h264, hevc };
enum class AVVideoScalingMode { fill, resizeAspect };

/// What an encoder spends on a picture: `fast` takes less of the processors and more bits for the same quality.
enum class AVVideoEncoderSpeed { standard, fast };

enum class AVVideoColorPrimaries { itu_R_709_2 };
enum class AVVideoTransferFunction { itu_R_709_2 };
enum class AVVideoYCbCrMatrix { itu_R_709_2 };

struct AVVideoColorProperties {
    AVVideoColorPrimaries primaries = AVVideoColorPrimaries::itu_R_709_2;
    AVVideoTransferFunction transferFunction = AVVideoTransferFunction::itu_R_709_2;
    AVVideoYCbCrMatrix yCbCrMatrix = AVVideoYCbCrMatrix::itu_R_709_2;
    bool operator==(const AVVideoColorProperties&) const = default;
};

/// How a picture track is written. Sizes in pixels, even; a sample of another size is scaled to them:
/// stretched by `fill`, or fitted whole with black beside it by `resizeAspect`.
struct AVVideoSettings {
    AVVideoCodecType codec = AVVideoCodecType::h264;
    int32_t width = 0;
    int32_t height = 0;
    AVVideoScalingMode scalingMode = AVVideoScalingMode::fill;
    AVVideoColorProperties color;
    int64_t averageBitRate = 0;          ///< bits a second
    int32_t expectedSourceFrameRate = 0; ///< frames a second; 0: not known
    AVVideoEncoderSpeed encoderSpeed = AVVideoEncoderSpeed::standard;
    bool operator==(const AVVideoSettings&) const = default;
};

/// How a sound track is written. The three linear PCM fields are read for `kAudioFormatLinearPCM` alone, the
/// bit rate for compressed formats alone.
struct AVAudioSettings {
    uint32_t formatID = kAudioFormatLinearPCM;
    double sampleRate = 48000.0;
    uint32_t numberOfChannels = 1;
    uint32_t linearPCMBitDepth = 24;
    bool linearPCMIsFloat = false;
    bool linearPCMIsBigEndian = false;
    bool linearPCMIsNonInterleaved = false;
    int64_t encoderBitRate = 0; ///< bits a second
    bool operator==(const AVAudioSettings&) const = default;
};

using AVOutputSettings = std::variant<AVVideoSettings, AVAudioSettings>;

/// One track of a file being written. After its writer's session has begun, one thread at a time appends to
/// it.
class AVAssetWriterInput {
public:
    virtual ~AVAssetWriterInput() = default;

    virtual AVMediaType mediaType() const = 0;
    virtual const AVOutputSettings& outputSettings() const = 0;
    virtual bool expectsMediaDataInRealTime() const = 0;
    /// Whether another sample fits what the writer may hold unwritten. False before the writer's session has
    /// begun, and once the input is finished or the writer has ended.
    virtual bool isReadyForMoreMediaData() const = 0;
    /// Takes the sample and returns at once: encoding and disk are never waited for. False if it was refused:
    /// the input isn't ready, or the writer isn't writing, or the sample is unusable or out of order. Never
    /// throws. The bytes of a sound sample are read before the call returns or are kept shared and never
    /// changed afterwards.
    virtual bool append(const CMSampleBuffer& sample) = 0;
    /// The picture that was appended last stands until `to`, and none from before that will follow: a file
    /// that is cut off may show it up to there. Returns at once; nothing happens before the first picture.
    virtual void extendLast(CMTime to) = 0;
    /// No more samples will come.
    virtual void markAsFinished() = 0;
};

enum class AVAssetWriterStatus { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

/// Writes one file. Made, started, finished and cancelled on the main thread; `status` and `error` on any.
///
///     unknown --startWriting--> writing --finishWriting--> completed
///        |                        |  \--(disk, encoder)--> failed
///        \--startWriting fails--> failed
///                                 \--cancelWriting-------> cancelled
class AVAssetWriter {
public:
    virtual ~AVAssetWriter() = default;

    virtual const URL& outputURL() const = 0;
    virtual bool canAdd(const AVAssetWriterInput& input) const = 0;
    /// Before `startWriting`.
    virtual void add(std::shared_ptr<AVAssetWriterInput> input) = 0;
    /// Gets what the inputs added so far need, such as encoders with their memory, so that no sample is lost while that is
    /// got. Returns at once; calls the completion once, on any thread. At most once, before `startWriting`, which does
    /// without it, waits for it, and tells what couldn't be got.
    virtual void prepare(std::function<void()> completion) = 0;
    /// Makes the file. False, with `error` set, if that can't be done, also where a file of the name already
    /// exists: that file stays as it is.
    virtual bool startWriting() = 0;
    /// The time that is zero of the file. Samples before it are left out.
    virtual void startSession(CMTime atSourceTime) = 0;
    /// Writes out all that was appended and closes the file; then calls the completion once, on any thread.
    /// The outcome is in `status`. A file whose tracks got no sample is still a well-formed file of its kind
    /// where the kind allows one.
    virtual void finishWriting(std::function<void()> completion) = 0;
    /// Waits no longer for a disk that hangs: the completion of `finishWriting` is called, if it wasn't yet, and
    /// the writer has failed. What the disk took by then stays; the rest may be missing. After `finishWriting`.
    virtual void abandonFinish() = 0;
    /// Gives the file up and removes it. Does nothing unless writing.
    virtual void cancelWriting() = 0;
    virtual AVAssetWriterStatus status() const = 0;
    /// Why the writer failed; nothing unless it has.
    virtual std::optional<SystemError> error() const = 0;
};

/// Makes writers and their inputs. Main thread.
class AssetWriters {
public:
    virtual ~AssetWriters() = default;
    /// Touches no file yet. Throws `SystemError` if such files can't be written at all.
    virtual std::shared_ptr<AVAssetWriter> makeWriter(const URL& outputURL, AVFileType fileType) = 0;
    virtual std::shared_ptr<AVAssetWriterInput> makeInput(const AVOutputSettings& settings,
                                                          bool expectsMediaDataInRealTime) = 0;
    /// Makes an ordinary file of a movie whose writer was killed; any other file stays as it is. Blocks on the disk; any
    /// thread. Throws `SystemError`, with the file no worse than before.
    virtual void repairMovie(const URL& at) = 0;
};

} // namespace vintra
