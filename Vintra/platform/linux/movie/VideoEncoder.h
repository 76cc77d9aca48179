#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/ColourConverter.h"
#include "Vintra/platform/linux/movie/LibavPointers.h"
#include "Vintra/platform/linux/movie/PictureRepeats.h"
#include "Vintra/platform/linux/movie/PictureScaler.h"
#include "Vintra/platform/linux/movie/QuickTimeTrack.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace vintra {

/// Encodes the pictures of one track with libx264 or libx265. Owned and called by a writer's thread. Failures
/// are thrown as `SystemError`.
///
/// Goal: 1080p in real time on two slow cores beside the program that is recorded, text that stays sharp, and
/// a movie that can be scrubbed. Method:
/// - a key picture at least every second, no reordered pictures, nothing looked at ahead. An encoder that holds
///   its newest picture back is given one at least every quarter of a second: what it holds would be lost with
///   the program;
/// - constant quality (crf 18; HEVC 22) under a ceiling: what a second of pictures takes is at most the bit
///   rate asked for. An average bit rate alone would spend it on a still screen too, picture after picture;
/// - H.264: preset superfast in two threads, a slice for each, small pictures in one, motion in whole pixels.
///   Beside a picture for each thread, slices take a twentieth less processor time at the same bits; text is as
///   sharp, grain has an SSIM of 0.947 instead of 0.950. Processor time of a 1080p picture with its conversion,
///   on a 2.6 GHz EPYC, before there were slices: 0.7 ms still, 7.5 ms scrolling text, 14 ms film with grain.
///   One thread is 2 to 5 % cheaper but can't keep up with grain at 60 pictures a second. Motion in parts of
///   pixels takes an eighth more, preset veryfast a third more; ultrafast takes a third less, and half as
///   much again in bits, without the entropy coding and filter of the others. Macroblocks aren't divided
///   between pictures (partitions=none): a fifth less for grain, at the same 42.8 dB and bits;
/// - H.264 at the speed `fast`: preset ultrafast;
/// - HEVC at either speed: preset ultrafast, 26 ms for a still picture to 56 ms for grain over both cores: enough for 30 new
///   pictures a second. No motion is taken over from earlier pictures, since those may be repeated ones;
/// - an image that comes again is not converted again and not encoded either (`PictureRepeats`), but for two
///   early repeats, which make it sharper where it came in a hurry, and the key pictures.
class VideoEncoder {
public:
    using Output = std::function<void(QuickTimeSample)>;

    /// `slotDuration` is the duration of a picture in ticks of the time scale.
    VideoEncoder(const AVVideoSettings& settings, int32_t timescale, int64_t slotDuration);
    ~VideoEncoder();

    /// Encodes some grey pictures, which are given to nobody: the encoder gets its memory with them. On any thread before
    /// the first picture, whose time isn't below 0.
    void warmUp();
    /// Where the samples go, one for each picture and in the order of the pictures. Before the first picture.
    void setOutput(Output to) { output = std::move(to); }
    bool hasTimes(int32_t ticksPerSecond, int64_t slot) const {
        return timescale == ticksPerSecond && slotDuration == slot;
    }
    /// The entry of the track's sample description.
    std::vector<uint8_t> sampleDescription() const;
    /// A picture of any size; its time in ticks is later than that of the one before.
    void encode(const std::shared_ptr<CVPixelBuffer>& image, int64_t time, int64_t duration);
    /// The picture before once more, as long as a slot.
    void repeat(int64_t time);
    /// Gives out what the encoder still holds.
    void finish();

private:
    void open();
    void setUpH264();
    void setUpHevc();
    void prepare(const std::shared_ptr<CVPixelBuffer>& image);
    void fill(const std::shared_ptr<CVPixelBuffer>& picture);
    void useDirectly(const std::shared_ptr<CVPixelBuffer>& picture);
    void makeFrame();
    void receive();
    bool mayRepeat(bool isSameImage);
    /// A picture that is due: the encoder's next, or the one before once more.
    struct Due {
        int64_t time = 0;
        bool isRepeat = false;
    };
    void giveRepeats();
    bool isHevc() const { return settings.codec == AVVideoCodecType::hevc; }

    const AVVideoSettings settings;
    const int32_t timescale;
    const int64_t slotDuration;
    Output output;
    const ColourConverter converter;
    PictureScaler scaler;
    CodecContextPointer context;
    FramePointer frame;
    PacketPointer packet;
    /// What `frame` shows; held, so that no other picture can take its address.
    std::shared_ptr<CVPixelBuffer> lastImage;
    std::vector<uint8_t> interleavedChroma;  ///< on its way to the two planes that libx265 wants
    std::unique_ptr<PictureRepeats> repeats; ///< null where the encoder makes every picture
    int repeatsInARow = 0;
    int warmUpPictures = 0; ///< that the encoder hasn't given out
    std::deque<Due> due;    ///< in the order of their times; begins with one of the encoder's
    std::optional<int64_t> lastKeyTime;
    int64_t lastEncodedTime = 0;
    int64_t lastDuration = 1;
};

} // namespace vintra
