#include "Vintra/platform/linux/movie/QuickTimeTrack.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vintra {
namespace {

using Atom = AtomWriter::Atom;

constexpr uint32_t kKeySampleFlags = 0x02000000;   // depends on no other
constexpr uint32_t kOtherSampleFlags = 0x01010000; // depends on others, is no key sample

void writeMatrix(AtomWriter& out) {
    for (const uint32_t value : {0x10000u, 0u, 0u, 0u, 0x10000u, 0u, 0u, 0u, 0x40000000u})
        out.u32(value);
}

constexpr uint32_t kMediaTimeOfEmptyEdit = std::numeric_limits<uint32_t>::max();

} // namespace

QuickTimeTrack::QuickTimeTrack(Kind kind, int32_t width, int32_t height)
    : kind(kind)
    , width(width)
    , height(height) {}

void QuickTimeTrack::append(QuickTimeSample sample) {
    if (held)
        closeHeld(sample.time - held->time);
    else
        firstTime = sample.time;
    held = std::move(sample);
}

void QuickTimeTrack::endSamples() {
    if (held) closeHeld(held->duration);
}

void QuickTimeTrack::closeHeld(int64_t duration) {
    constexpr int64_t longest = std::numeric_limits<uint32_t>::max();
    const auto ticks = static_cast<uint32_t>(std::clamp<int64_t>(duration, 1, longest));
    if (pending.empty()) pendingTime = held->time;
    pending.push_back({static_cast<uint32_t>(held->bytes.size()), ticks, held->isKey});
    bytes.insert(bytes.end(), held->bytes.begin(), held->bytes.end());
    held.reset();
}

void QuickTimeTrack::writeFragment(AtomWriter& out, uint32_t id, uint64_t moofOffset,
                                   size_t dataOffset) const {
    const Atom track(out, "traf");
    {
        const Atom header(out, "tfhd", 0, 0x000001); // the offset that data offsets count from is given
        out.u32(id);
        out.u64(moofOffset);
    }
    {
        const Atom time(out, "tfdt", 1, 0);
        out.u64(static_cast<uint64_t>(pendingTime));
    }
    // Data offset, and for each sample its duration, size and flags.
    const Atom run(out, "trun", 0, 0x000001 | 0x000100 | 0x000200 | 0x000400);
    out.u32(pending.size());
    out.u32(dataOffset);
    for (const Sample& sample : pending) {
        out.u32(sample.duration);
        out.u32(sample.size);
        out.u32(sample.isKey ? kKeySampleFlags : kOtherSampleFlags);
    }
}

void QuickTimeTrack::pendingWritten(uint64_t offset) {
    for (const Sample& sample : pending) {
        ++sampleCount;
        sizes.push_back(sample.size);
        mediaDuration += sample.duration;
        if (durations.empty() || durations.back().duration != sample.duration)
            durations.push_back({0, sample.duration});
        ++durations.back().count;
        if (sample.isKey && kind == Kind::picture) keys.push_back(sampleCount);
    }
    chunks.push_back({offset, static_cast<uint32_t>(pending.size())});
    pending.clear();
    bytes.clear();
}

void QuickTimeTrack::addWritten(const Fragment& fragment) {
    if (sampleCount == 0)
        firstTime = fragment.time;
    else
        lengthenLast(fragment.time - (firstTime + mediaDuration));
    pending = fragment.samples;
    pendingWritten(fragment.offset);
}

void QuickTimeTrack::lengthenLast(int64_t ticks) {
    if (ticks <= 0) return;
    const int64_t longest = std::numeric_limits<uint32_t>::max() - int64_t{durations.back().duration};
    const auto duration = static_cast<uint32_t>(durations.back().duration + std::min(ticks, longest));
    if (--durations.back().count == 0) durations.pop_back();
    durations.push_back({1, duration});
    mediaDuration += std::min(ticks, longest);
}

int64_t QuickTimeTrack::editDuration() const {
    const int64_t whole = std::max<int64_t>(0, mediaDuration - description.priming);
    return presentedDuration ? std::min(*presentedDuration, whole) : whole;
}

int64_t QuickTimeTrack::toMovie(int64_t ticks, int32_t movieTimescale) const {
    // Rounded to nearest; exact where the movie's time scale is a multiple of the track's.
    const int64_t whole = ticks / timescale();
    const int64_t rest = ticks % timescale();
    return whole * movieTimescale + (rest * movieTimescale + timescale() / 2) / timescale();
}

int64_t QuickTimeTrack::movieDuration(int32_t movieTimescale) const {
    if (sampleCount == 0) return 0;
    return toMovie(firstTime, movieTimescale) + toMovie(editDuration(), movieTimescale);
}

void QuickTimeTrack::writeTrack(AtomWriter& out, uint32_t id, int32_t movieTimescale) const {
    const Atom track(out, "trak");
    writeHeader(out, id, movieDuration(movieTimescale));
    if (sampleCount > 0) writeEdits(out, movieTimescale, false);
    writeMedia(out);
}

void QuickTimeTrack::writeFragmentedTrack(AtomWriter& out, uint32_t id) const {
    QuickTimeTrack empty(kind, width, height);
    empty.description = description;
    const Atom track(out, "trak");
    empty.writeHeader(out, id, 0);
    if (description.priming > 0) empty.writeEdits(out, timescale(), true);
    empty.writeMedia(out);
}

void QuickTimeTrack::writeHeader(AtomWriter& out, uint32_t id, int64_t duration) const {
    const Atom header(out, "tkhd", 1, 0xF); // enabled, in the movie, its preview and its poster
    out.u64(0);                             // times of creation and change: not given
    out.u64(0);
    out.u32(id);
    out.u32(0);
    out.u64(static_cast<uint64_t>(duration));
    out.zeros(8);
    out.u16(0);                                // layer
    out.u16(0);                                // no alternate of another track: all sounds are heard
    out.u16(kind == Kind::sound ? 0x0100 : 0); // volume
    out.u16(0);
    writeMatrix(out);
    out.u32(static_cast<uint64_t>(width) << 16);
    out.u32(static_cast<uint64_t>(height) << 16);
}

void QuickTimeTrack::writeEdits(AtomWriter& out, int32_t movieTimescale, bool fragmented) const {
    const int64_t before = fragmented ? 0 : toMovie(firstTime, movieTimescale);
    const int64_t shown = fragmented ? 0 : toMovie(editDuration(), movieTimescale);
    const bool wide = before + shown > std::numeric_limits<int32_t>::max();
    const auto edit = [&](int64_t duration, uint32_t mediaTime) {
        wide ? out.u64(static_cast<uint64_t>(duration)) : out.u32(static_cast<uint64_t>(duration));
        if (wide) out.u32(mediaTime == kMediaTimeOfEmptyEdit ? kMediaTimeOfEmptyEdit : 0);
        out.u32(mediaTime);
        out.u32(0x10000); // at its own speed
    };
    const Atom edits(out, "edts");
    const Atom list(out, "elst", wide ? 1 : 0, 0);
    out.u32(before > 0 ? 2 : 1);
    if (before > 0) edit(before, kMediaTimeOfEmptyEdit);
    edit(shown, static_cast<uint32_t>(description.priming));
}

void QuickTimeTrack::writeHandler(AtomWriter& out, bool ofMedia) const {
    const Atom handler(out, "hdlr", 0, 0);
    ofMedia ? out.type("mhlr") : out.type("dhlr");
    if (!ofMedia)
        out.type("url ");
    else
        kind == Kind::picture ? out.type("vide") : out.type("soun");
    out.zeros(12);
    out.u8(0); // a name of no letters
}

void QuickTimeTrack::writeMedia(AtomWriter& out) const {
    const Atom media(out, "mdia");
    {
        const Atom header(out, "mdhd", 1, 0);
        out.u64(0);
        out.u64(0);
        out.u32(static_cast<uint64_t>(timescale()));
        out.u64(static_cast<uint64_t>(mediaDuration));
        out.u16(0x7FFF); // no language
        out.u16(0);
    }
    writeHandler(out, true);
    const Atom information(out, "minf");
    if (kind == Kind::picture) {
        const Atom header(out, "vmhd", 0, 1);
        out.u16(0x40); // dither copy
        for (int i = 0; i < 3; ++i)
            out.u16(0x8000);
    } else {
        const Atom header(out, "smhd", 0, 0);
        out.u32(0); // balance in the middle
    }
    writeHandler(out, false);
    {
        const Atom data(out, "dinf");
        const Atom references(out, "dref", 0, 0);
        out.u32(1);
        const Atom self(out, "url ", 0, 1); // this file
    }
    writeTables(out);
}

void QuickTimeTrack::writeTables(AtomWriter& out) const {
    const Atom tables(out, "stbl");
    {
        const Atom descriptions(out, "stsd", 0, 0);
        out.u32(1);
        out.append(description.sampleDescription);
    }
    writeSampleTables(out);
    writeChunkTables(out);
}

void QuickTimeTrack::writeSampleTables(AtomWriter& out) const {
    {
        const Atom times(out, "stts", 0, 0);
        out.u32(durations.size());
        for (const Run& run : durations) {
            out.u32(run.count);
            out.u32(run.duration);
        }
    }
    if (kind == Kind::picture && keys.size() < sampleCount) {
        const Atom keySamples(out, "stss", 0, 0);
        out.u32(keys.size());
        for (const uint32_t key : keys)
            out.u32(key);
    }
    const Atom sampleSizes(out, "stsz", 0, 0);
    out.u32(0); // of differing sizes
    out.u32(sizes.size());
    for (const uint32_t size : sizes)
        out.u32(size);
}

void QuickTimeTrack::writeChunkTables(AtomWriter& out) const {
    {
        std::vector<std::pair<size_t, uint32_t>> runs; // number of the first chunk, samples in each
        for (size_t i = 0; i < chunks.size(); ++i)
            if (runs.empty() || runs.back().second != chunks[i].samples)
                runs.emplace_back(i + 1, chunks[i].samples);
        const Atom samplesOfChunks(out, "stsc", 0, 0);
        out.u32(runs.size());
        for (const auto& [first, samples] : runs) {
            out.u32(first);
            out.u32(samples);
            out.u32(1);
        }
    }
    const bool wide = !chunks.empty() && chunks.back().offset > std::numeric_limits<uint32_t>::max();
    const auto writeOffsets = [&] {
        out.u32(chunks.size());
        for (const Chunk& chunk : chunks)
            wide ? out.u64(chunk.offset) : out.u32(chunk.offset);
    };
    if (wide) {
        const Atom offsets(out, "co64", 0, 0);
        writeOffsets();
    } else {
        const Atom offsets(out, "stco", 0, 0);
        writeOffsets();
    }
}

} // namespace vintra
