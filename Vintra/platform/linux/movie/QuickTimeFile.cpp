#include "Vintra/platform/linux/movie/QuickTimeFile.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <limits>
#include <numeric>
#include <utility>

namespace vintra {
namespace {

using Atom = AtomWriter::Atom;

// What isn't in a fragment yet is lost with the program.
constexpr double kFragmentSeconds = 0.3;
constexpr uint64_t kLargestFragment = 8 << 20; // bytes

constexpr uint64_t kAtomHeader = 8;
constexpr uint64_t kWideAtomHeader = 16;
constexpr int32_t kDefaultMovieTimescale = 600;

void writeMovieHeader(AtomWriter& out, int32_t timescale, int64_t duration, size_t tracks) {
    const Atom header(out, "mvhd", 1, 0);
    out.u64(0); // times of creation and change: not given
    out.u64(0);
    out.u32(static_cast<uint64_t>(timescale));
    out.u64(static_cast<uint64_t>(duration));
    out.u32(0x10000); // at its own speed
    out.u16(0x0100);  // at full volume
    out.zeros(10);
    for (const uint32_t value : {0x10000u, 0u, 0u, 0u, 0x10000u, 0u, 0u, 0u, 0x40000000u})
        out.u32(value);
    out.zeros(24); // preview, poster, selection
    out.u32(tracks + 1);
}

} // namespace

QuickTimeFile::QuickTimeFile(OutputFile file)
    : file(std::move(file)) {
    AtomWriter out;
    {
        const Atom type(out, "ftyp");
        out.type("qt  ");
        out.u32(0x200);
        out.type("qt  ");
    }
    freeAtom = out.size();
    {
        const Atom space(out, "free");
        out.zeros(kWideAtomHeader - kAtomHeader);
    }
    this->file.append(out.bytes());
}

size_t QuickTimeFile::addPictureTrack(int32_t width, int32_t height) {
    tracks.emplace_back(QuickTimeTrack::Kind::picture, width, height);
    return tracks.size() - 1;
}

size_t QuickTimeFile::addSoundTrack() {
    tracks.emplace_back(QuickTimeTrack::Kind::sound, 0, 0);
    return tracks.size() - 1;
}

void QuickTimeFile::describe(size_t track, QuickTimeTrackDescription description) {
    tracks[track].describe(std::move(description));
}

void QuickTimeFile::setPresentedDuration(size_t track, int64_t ticks) {
    tracks[track].setPresentedDuration(ticks);
}

bool QuickTimeFile::allDescribed() const {
    return std::all_of(tracks.begin(), tracks.end(), [](const auto& track) { return track.isDescribed(); });
}

void QuickTimeFile::append(size_t track, QuickTimeSample sample) {
    const double now = static_cast<double>(sample.time) / tracks[track].timescale();
    pendingBytes += sample.bytes.size();
    tracks[track].append(std::move(sample));
    if (now - flushedAt < kFragmentSeconds && pendingBytes < kLargestFragment) return;
    flush();
    flushedAt = now;
}

void QuickTimeFile::flush() {
    uint64_t dataSize = 0;
    for (const QuickTimeTrack& track : tracks)
        dataSize += track.pendingBytes().size();
    if (dataSize == 0) return;
    AtomWriter out; // one append for the whole fragment, so that a full disk keeps no half of it
    if (allDescribed()) {
        if (!initialHeaderWritten) writeInitialHeader();
        out.append(fragmentHeader());
    }
    out.u32(kAtomHeader + dataSize);
    out.type("mdat");
    const uint64_t start = file.size();
    std::vector<uint64_t> offsets;
    for (const QuickTimeTrack& track : tracks) {
        offsets.push_back(start + out.size());
        out.append(track.pendingBytes());
    }
    file.append(out.bytes());
    for (size_t i = 0; i < tracks.size(); ++i)
        if (tracks[i].hasPending()) tracks[i].pendingWritten(offsets[i]);
    pendingBytes = 0;
}

void QuickTimeFile::writeInitialHeader() {
    AtomWriter out;
    {
        const Atom movie(out, "moov");
        writeMovieHeader(out, kDefaultMovieTimescale, 0, tracks.size());
        for (size_t i = 0; i < tracks.size(); ++i)
            tracks[i].writeFragmentedTrack(out, static_cast<uint32_t>(i + 1));
        const Atom extends(out, "mvex");
        for (size_t i = 0; i < tracks.size(); ++i) {
            const Atom track(out, "trex", 0, 0);
            out.u32(i + 1);
            out.u32(1); // sample description
            out.zeros(12);
        }
    }
    file.append(out.bytes());
    initialHeaderWritten = true;
}

std::vector<uint8_t> QuickTimeFile::fragmentHeader() {
    ++fragments;
    const uint64_t start = file.size();
    // Once to learn its own size, once with the offsets that depend on it.
    std::vector<uint8_t> bytes;
    for (int pass = 0; pass < 2; ++pass) {
        AtomWriter out;
        {
            const Atom fragment(out, "moof");
            {
                const Atom header(out, "mfhd", 0, 0);
                out.u32(fragments);
            }
            size_t offset = bytes.size() + kAtomHeader;
            for (size_t i = 0; i < tracks.size(); ++i) {
                if (!tracks[i].hasPending()) continue;
                tracks[i].writeFragment(out, static_cast<uint32_t>(i + 1), start, offset);
                offset += tracks[i].pendingBytes().size();
            }
        }
        bytes = out.bytes();
    }
    return bytes;
}

int32_t QuickTimeFile::movieTimescale() const {
    int64_t common = 1;
    int32_t largest = kDefaultMovieTimescale;
    for (const QuickTimeTrack& track : tracks) {
        if (!track.isDescribed()) continue;
        largest = std::max(largest, track.timescale());
        common = std::lcm(common, int64_t{track.timescale()});
        if (common > std::numeric_limits<int32_t>::max()) return largest;
    }
    return common == 1 ? kDefaultMovieTimescale : static_cast<int32_t>(common);
}

void QuickTimeFile::writeFinalHeader() {
    const int32_t timescale = movieTimescale();
    int64_t duration = 0;
    for (const QuickTimeTrack& track : tracks)
        if (track.isDescribed()) duration = std::max(duration, track.movieDuration(timescale));
    AtomWriter out;
    {
        const Atom movie(out, "moov");
        writeMovieHeader(out, timescale, duration, tracks.size());
        for (size_t i = 0; i < tracks.size(); ++i)
            if (tracks[i].isDescribed()) tracks[i].writeTrack(out, static_cast<uint32_t>(i + 1), timescale);
    }
    file.append(out.bytes());
}

void QuickTimeFile::finish() {
    for (QuickTimeTrack& track : tracks)
        track.endSamples();
    flush();
    const uint64_t mediaEnd = file.size();
    writeFinalHeader();
    becomeOrdinary(mediaEnd);
    file.close();
}

QuickTimeFile::QuickTimeFile(OutputFile file, QuickTimeFragments fragments)
    : file(std::move(file))
    , tracks(std::move(fragments.tracks))
    , freeAtom(fragments.freeAtom) {}

void QuickTimeFile::repair(const URL& url) {
    std::ifstream source(url.path(), std::ios::binary | std::ios::ate);
    const auto size = source ? static_cast<uint64_t>(source.tellg()) : 0;
    const auto read = [&source](uint64_t offset, uint64_t count) {
        std::vector<uint8_t> bytes(count);
        source.clear();
        source.seekg(static_cast<std::streamoff>(offset));
        source.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
        bytes.resize(static_cast<size_t>(std::max<std::streamsize>(0, source.gcount())));
        return bytes;
    };
    auto fragments = QuickTimeFragments::find(read, size);
    if (!fragments) return;
    const uint64_t mediaEnd = fragments->mediaEnd;
    QuickTimeFile movie(OutputFile::reopen(url, mediaEnd), std::move(*fragments));
    movie.writeFinalHeader();
    // A header that isn't on the disk must not be what a power cut leaves the movie with.
    movie.file.synchronize();
    movie.becomeOrdinary(mediaEnd);
    movie.file.synchronize();
    movie.file.close();
}

void QuickTimeFile::becomeOrdinary(uint64_t mediaEnd) {
    AtomWriter out;
    out.u32(1); // the size follows the type, in 64 bits
    out.type("mdat");
    out.u64(mediaEnd - freeAtom);
    file.overwrite(freeAtom, out.bytes());
}

void QuickTimeFile::abandon() noexcept {
    try {
        for (QuickTimeTrack& track : tracks)
            track.endSamples();
        flush();
    } catch (const std::exception&) {
        // The fragments before the one that failed stand.
        file.dropFailedAppend();
    }
}

} // namespace vintra
