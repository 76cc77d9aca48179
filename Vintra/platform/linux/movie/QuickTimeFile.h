#pragma once

#include "Vintra/platform/linux/movie/OutputFile.h"
#include "Vintra/platform/linux/movie/QuickTimeFragments.h"
#include "Vintra/platform/linux/movie/QuickTimeTrack.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// Writes a QuickTime movie that stays playable if the program is killed.
///
/// Goal: a finished file is an ordinary movie, as editors like it, with exact times; an unfinished one still
/// plays up to its last second. Method: while recording, the file grows as movie fragments of less than
/// half a second each behind a header without samples; finishing appends one header for all samples, and last of all turns
/// the small free atom near the beginning into the media data atom that spans the fragments, so that they are
/// no atoms any more:
///
///     recording   ftyp  free  moov  moof mdat  moof mdat  ...
///     finished    ftyp  mdat(.........................................)  moov
///
/// Rejected: one header at the end alone loses the whole take with the program; rewriting the file behind a
/// header at the front copies gigabytes.
///
/// The times of each track are counted from the movie's zero; a track that begins later gets an empty edit.
/// One thread. Failures are thrown as `SystemError`.
class QuickTimeFile {
public:
    explicit QuickTimeFile(OutputFile file);

    size_t addPictureTrack(int32_t width, int32_t height);
    size_t addSoundTrack();
    /// Until every track is described, samples go to the disk without a fragment's header: only the finished
    /// movie has them.
    void describe(size_t track, QuickTimeTrackDescription description);
    void setPresentedDuration(size_t track, int64_t ticks);
    /// After the track's description.
    void append(size_t track, QuickTimeSample sample);
    /// The file stays from here on; one that wasn't kept is removed.
    void keep() noexcept { file.keep(); }
    void finish();
    /// Writes what is pending as a last fragment. Never throws.
    void abandon() noexcept;

    /// Finishes a movie whose writer was killed, from its whole fragments; one that is finished, or holds none, stays
    /// as it is. The file plays as before until the last step, and a repair that is cut off can be made again.
    static void repair(const URL& url);

private:
    QuickTimeFile(OutputFile file, QuickTimeFragments fragments);
    void flush();
    void writeInitialHeader();
    std::vector<uint8_t> fragmentHeader();
    void writeFinalHeader();
    void becomeOrdinary(uint64_t mediaEnd);
    int32_t movieTimescale() const;
    bool allDescribed() const;

    OutputFile file;
    std::vector<QuickTimeTrack> tracks;
    uint64_t freeAtom = 0; ///< its offset
    bool initialHeaderWritten = false;
    uint32_t fragments = 0;
    uint64_t pendingBytes = 0;
    double flushedAt = 0; ///< seconds of the movie at the last flush
};

} // namespace vintra
