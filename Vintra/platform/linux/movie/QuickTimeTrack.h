#pragma once

#include "Vintra/platform/linux/movie/AtomWriter.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace vintra {

/// One encoded sample. Time and duration in the track's time scale; the time is counted from the movie's
/// zero.
struct QuickTimeSample {
    std::vector<uint8_t> bytes;
    int64_t time = 0;
    int64_t duration = 0; ///< taken for the last sample alone: the others last until the next
    bool isKey = true;
};

/// What must be known about a track before its samples can be played.
struct QuickTimeTrackDescription {
    int32_t timescale = 0;
    std::vector<uint8_t> sampleDescription;
    int64_t priming = 0; ///< ticks that the decoder gives before the sound proper: not to be heard
};

/// A track of a `QuickTimeFile`: its samples that aren't on the disk yet, and the tables of those that are.
/// Owned by its file; used on the file's thread.
class QuickTimeTrack {
public:
    enum class Kind { picture, sound };

    QuickTimeTrack(Kind kind, int32_t width, int32_t height);

    bool isPicture() const { return kind == Kind::picture; }
    void describe(QuickTimeTrackDescription as) { description = std::move(as); }
    bool isDescribed() const { return description.timescale > 0; }
    int32_t timescale() const { return description.timescale; }
    /// How long the track is heard, where that is shorter than its samples.
    void setPresentedDuration(int64_t ticks) { presentedDuration = ticks; }

    void append(QuickTimeSample sample);
    /// The last sample waits for no other.
    void endSamples();

    /// The samples that go to the disk next: all but the last, whose duration isn't known.
    bool hasPending() const { return !pending.empty(); }
    const std::vector<uint8_t>& pendingBytes() const { return bytes; }
    /// The fragment's "traf", with the place of this track's bytes from the start of the "moof".
    void writeFragment(AtomWriter& out, uint32_t id, uint64_t moofOffset, size_t dataOffset) const;
    /// Notes that the pending samples stand at an offset of the file.
    void pendingWritten(uint64_t offset);

    /// Samples that stand in the file, one behind the other from an offset on.
    struct Fragment {
        struct Sample {
            uint32_t size = 0;
            uint32_t duration = 0;
            bool isKey = true;
        };
        int64_t time = 0; ///< of the first sample
        uint64_t offset = 0;
        std::vector<Sample> samples;
    };
    /// Takes note of samples that another run has written, in the order of their times. What lies between them and
    /// those before is shown as the last of those.
    void addWritten(const Fragment& fragment);

    /// The "trak" of a finished movie, or of one whose samples are all in fragments.
    void writeTrack(AtomWriter& out, uint32_t id, int32_t movieTimescale) const;
    void writeFragmentedTrack(AtomWriter& out, uint32_t id) const;
    /// From the movie's zero to the end of the track, at the movie's time scale.
    int64_t movieDuration(int32_t movieTimescale) const;

private:
    using Sample = Fragment::Sample;
    struct Run {
        uint32_t count = 0;
        uint32_t duration = 0;
    };
    struct Chunk {
        uint64_t offset = 0;
        uint32_t samples = 0;
    };

    void closeHeld(int64_t duration);
    void lengthenLast(int64_t ticks);
    int64_t editDuration() const;
    int64_t toMovie(int64_t ticks, int32_t movieTimescale) const;
    void writeHeader(AtomWriter& out, uint32_t id, int64_t duration) const;
    void writeEdits(AtomWriter& out, int32_t movieTimescale, bool fragmented) const;
    void writeMedia(AtomWriter& out) const;
    void writeHandler(AtomWriter& out, bool ofMedia) const;
    void writeTables(AtomWriter& out) const;
    void writeSampleTables(AtomWriter& out) const;
    void writeChunkTables(AtomWriter& out) const;

    const Kind kind;
    const int32_t width;
    const int32_t height;
    QuickTimeTrackDescription description;
    std::optional<int64_t> presentedDuration;

    std::optional<QuickTimeSample> held;
    std::vector<Sample> pending;
    std::vector<uint8_t> bytes;
    int64_t pendingTime = 0; ///< of the first pending sample

    int64_t firstTime = 0; ///< of the first sample of all
    uint32_t sampleCount = 0;
    int64_t mediaDuration = 0;
    std::vector<uint32_t> sizes;
    std::vector<Run> durations;
    std::vector<uint32_t> keys; ///< numbers of the key samples, from 1
    std::vector<Chunk> chunks;
};

} // namespace vintra
