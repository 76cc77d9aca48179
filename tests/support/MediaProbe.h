#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/URL.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// What libavformat and libavcodec find in a finished file: the outside view that the writers' tests compare
/// with. Of one thread.
class MediaProbe {
public:
    struct Packet {
        CMTime time;
        /// The last one's isn't the file's own: libavformat cuts it where the media would end had it begun at
        /// 0.
        CMTime duration;
        bool isKey = false;
        size_t size = 0;
    };
    struct Track {
        std::string codec;
        std::string tag;
        int width = 0;
        int height = 0;
        int channels = 0;
        int sampleRate = 0;
        bool isRec709VideoRange = false;
        bool hasReorderedPictures = false;
        CMTime mediaDuration; ///< of all samples together, without the time before the first
        std::vector<Packet> packets;
    };
    /// Throws if the file can't be opened.
    explicit MediaProbe(const URL& url);

    const std::vector<Track>& tracks() const { return tracks_; }
    const Track& track(size_t index) const { return tracks_.at(index); }
    /// Seconds, as the container says.
    double duration() const { return duration_; }

    /// The mean red, green and blue of a rectangle of the nth picture of the first picture track.
    struct Area {
        int x, y, width, height;
    };
    static std::array<double, 3> meanColour(const URL& url, int picture, Area area);
    /// The mean of the luma plane, 16 to 235, of every picture of the first picture track.
    static std::vector<double> meanLuma(const URL& url);
    /// The luma of every picture of the first picture track, rows without padding. Throws at the least error
    /// in the stream.
    static std::vector<std::vector<uint8_t>> luma(const URL& url);
    /// A sound track's decoded first channel, and the time of its first frame in seconds.
    struct Sound {
        double start = 0;
        std::vector<float> values;
    };
    static Sound sound(const URL& url, size_t track);

private:
    std::vector<Track> tracks_;
    double duration_ = 0;
};

} // namespace vintra
