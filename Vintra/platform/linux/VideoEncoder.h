#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/ColourConverter.h"
#include "Vintra/platform/linux/LibavPointers.h"
#include "Vintra/platform/linux/PictureScaler.h"
#include "Vintra/platform/linux/QuickTimeTrack.h"

#include <functional>
#include <memory>

namespace vintra {

/// Encodes the pictures of one track with libx264 or libx265, in real time. Owned and called by a writer's
/// thread. Failures are thrown as `SystemError`.
class VideoEncoder {
public:
    using Output = std::function<void(QuickTimeSample)>;

    /// `slotDuration` is the duration of a picture in ticks of the time scale; the samples go to `output`,
    /// one for each picture and in the order of the pictures.
    VideoEncoder(const AVVideoSettings& settings, int32_t timescale, int64_t slotDuration, Output output);
    ~VideoEncoder();

    /// The entry of the track's sample description.
    std::vector<uint8_t> sampleDescription() const;
    /// A picture of any size; its time in ticks is later than that of the one before.
    void encode(const std::shared_ptr<CVPixelBuffer>& image, int64_t time, int64_t duration);
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
    bool isHevc() const { return settings.codec == AVVideoCodecType::hevc; }

    const AVVideoSettings settings;
    const int32_t timescale;
    const int64_t slotDuration;
    const Output output;
    const ColourConverter converter;
    PictureScaler scaler;
    CodecContextPointer context;
    FramePointer frame;
    PacketPointer packet;
    /// What `frame` shows; held, so that no other picture can take its address.
    std::shared_ptr<CVPixelBuffer> lastImage;
    std::vector<uint8_t> interleavedChroma; ///< on its way to the two planes that libx265 wants
    std::optional<int64_t> lastKeyTime;
    int64_t lastDuration = 1;
};

} // namespace vintra
