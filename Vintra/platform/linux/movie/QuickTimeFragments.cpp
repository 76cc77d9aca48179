#include "Vintra/platform/linux/movie/QuickTimeFragments.h"

#include "Vintra/platform/linux/movie/AtomReader.h"

#include <algorithm>
#include <span>

namespace vintra {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint64_t kHeaderLength = 8;
constexpr uint64_t kFreeAtomLength = 16;
constexpr uint64_t kLargestTables = 64 << 20; ///< of one fragment, or of the header: more is none of ours
constexpr uint32_t kIsOtherSample = 0x00010000;

// What a "tfhd" and a "trun" may hold.
constexpr uint32_t kBaseOffset = 0x01;
constexpr uint32_t kDescriptionIndex = 0x02;
constexpr uint32_t kDefaultDuration = 0x08;
constexpr uint32_t kDefaultSize = 0x10;
constexpr uint32_t kDefaultFlags = 0x20;
constexpr uint32_t kDataOffset = 0x001;
constexpr uint32_t kFirstFlags = 0x004;
constexpr uint32_t kDurations = 0x100;
constexpr uint32_t kSizes = 0x200;
constexpr uint32_t kFlags = 0x400;
constexpr uint32_t kShifts = 0x800;

/// An atom of the file itself.
struct Place {
    uint64_t offset = 0;
    uint64_t size = 0;
    char type[5] = {};
    bool is(const char* name) const { return std::strcmp(type, name) == 0; }
    uint64_t end() const { return offset + size; }
};

/// Nothing at the end, or if the atom isn't whole.
std::optional<Place> placeAt(const QuickTimeFragments::Read& read, uint64_t offset, uint64_t fileSize) {
    if (offset + kHeaderLength > fileSize) return std::nullopt;
    const std::vector<uint8_t> bytes = read(offset, 2 * kHeaderLength);
    AtomReader reader(bytes);
    Place place{.offset = offset, .size = reader.u32()};
    for (int i = 0; i < 4; ++i)
        place.type[i] = static_cast<char>(reader.number(1));
    if (place.size == 1) place.size = reader.u64();
    if (place.size < kHeaderLength || place.size > fileSize - offset) return std::nullopt;
    return place;
}

std::vector<uint8_t> bodyOf(const QuickTimeFragments::Read& read, const Place& place) {
    if (place.size > kLargestTables) return {};
    std::vector<uint8_t> bytes = read(place.offset, place.size);
    bytes.erase(bytes.begin(),
                bytes.begin() + static_cast<std::ptrdiff_t>(std::min(kHeaderLength, bytes.size())));
    return bytes;
}

/// Behind the version and the flags, the latter given back.
uint32_t readFlags(AtomReader& reader, uint8_t* version = nullptr) {
    const uint32_t both = reader.u32();
    if (version) *version = static_cast<uint8_t>(both >> 24);
    return both & 0xFFFFFF;
}

/// A track and what is known of it while its fragments are gathered.
struct Track {
    uint32_t id = 0;
    QuickTimeTrack track;
    std::optional<int64_t> next; ///< where its samples so far end
};

int64_t primingOf(Bytes trak) {
    AtomReader list(atomIn(atomIn(trak, "edts"), "elst"));
    uint8_t version = 0;
    readFlags(list, &version);
    if (list.u32() == 0) return 0;
    list.skip(version == 1 ? 8 : 4);
    const uint64_t mediaTime = list.number(version == 1 ? 8 : 4);
    return list.isShort ? 0 : static_cast<int64_t>(mediaTime);
}

std::optional<Track> trackOf(Bytes trak) {
    AtomReader header(atomIn(trak, "tkhd"));
    uint8_t version = 0;
    readFlags(header, &version);
    header.skip(version == 1 ? 16 : 8);
    const uint32_t id = header.u32();
    header.skip(version == 1 ? 12 : 8);
    header.skip(8 + 8 + 36);
    const auto width = static_cast<int32_t>(header.u32() >> 16);
    const auto height = static_cast<int32_t>(header.u32() >> 16);

    const Bytes media = atomIn(trak, "mdia");
    AtomReader mediaHeader(atomIn(media, "mdhd"));
    readFlags(mediaHeader, &version);
    mediaHeader.skip(version == 1 ? 16 : 8);
    const uint32_t timescale = mediaHeader.u32();
    AtomReader handler(atomIn(media, "hdlr"));
    handler.skip(8);
    const bool isPicture = handler.u32() == 0x76696465; // "vide"
    AtomReader descriptions(atomIn(atomIn(atomIn(media, "minf"), "stbl"), "stsd"));
    descriptions.skip(8);
    const Bytes description = descriptions.remaining();
    if (header.isShort || mediaHeader.isShort || handler.isShort || descriptions.isShort || timescale == 0 ||
        timescale > INT32_MAX || description.empty())
        return std::nullopt;
    using Kind = QuickTimeTrack::Kind;
    Track track{id, QuickTimeTrack(isPicture ? Kind::picture : Kind::sound, width, height), std::nullopt};
    track.track.describe({.timescale = static_cast<int32_t>(timescale),
                          .sampleDescription = {description.begin(), description.end()},
                          .priming = primingOf(trak)});
    return track;
}

struct FragmentDefaults {
    uint32_t id = 0;
    uint64_t base = 0;
    uint32_t duration = 0;
    uint32_t size = 0;
    uint32_t flags = 0;
};

FragmentDefaults defaultsOf(Bytes traf, uint64_t moofOffset) {
    FragmentDefaults defaults;
    AtomReader header(atomIn(traf, "tfhd"));
    const uint32_t flags = readFlags(header);
    defaults.id = header.u32();
    defaults.base = flags & kBaseOffset ? header.u64() : moofOffset;
    if (flags & kDescriptionIndex) header.skip(4);
    if (flags & kDefaultDuration) defaults.duration = header.u32();
    if (flags & kDefaultSize) defaults.size = header.u32();
    if (flags & kDefaultFlags) defaults.flags = header.u32();
    if (header.isShort) defaults.id = 0;
    return defaults;
}

/// One "trun"; nothing if it doesn't hold what it says, or its bytes lie elsewhere than in the media data.
std::optional<QuickTimeTrack::Fragment> runOf(Bytes trun, const FragmentDefaults& defaults,
                                              const Place& data) {
    AtomReader reader(trun);
    const uint32_t flags = readFlags(reader);
    const uint32_t count = reader.u32();
    QuickTimeTrack::Fragment fragment;
    fragment.offset = defaults.base + (flags & kDataOffset ? reader.u32() : 0);
    if (flags & kFirstFlags) reader.skip(4);
    uint64_t end = fragment.offset;
    for (uint32_t i = 0; i < count && !reader.isShort; ++i) {
        const uint32_t duration = flags & kDurations ? reader.u32() : defaults.duration;
        const uint32_t size = flags & kSizes ? reader.u32() : defaults.size;
        const uint32_t sampleFlags = flags & kFlags ? reader.u32() : defaults.flags;
        if (flags & kShifts) reader.skip(4);
        fragment.samples.push_back({size, duration, (sampleFlags & kIsOtherSample) == 0});
        end += size;
    }
    const bool isInside = fragment.offset >= data.offset + kHeaderLength && end <= data.end();
    if (reader.isShort || fragment.samples.empty() || !isInside) return std::nullopt;
    return fragment;
}

/// Adds what the fragment holds of one track; samples counted.
uint32_t takeTrackFragment(Bytes traf, const Place& moof, const Place& data, std::vector<Track>& tracks) {
    const FragmentDefaults defaults = defaultsOf(traf, moof.offset);
    const auto found = std::ranges::find(tracks, defaults.id, &Track::id);
    if (found == tracks.end()) return 0;
    AtomReader time(atomIn(traf, "tfdt"));
    uint8_t version = 0;
    readFlags(time, &version);
    auto begin = static_cast<int64_t>(time.number(version == 1 ? 8 : 4));
    if (time.isShort) begin = found->next.value_or(0);

    uint32_t samples = 0;
    AtomReader reader(traf);
    while (const auto atom = reader.atom()) {
        if (!atom->is("trun")) continue;
        auto fragment = runOf(atom->body, defaults, data);
        if (!fragment) continue;
        fragment->time = begin;
        for (const auto& sample : fragment->samples)
            begin += sample.duration;
        found->track.addWritten(*fragment);
        found->next = begin;
        samples += static_cast<uint32_t>(fragment->samples.size());
    }
    return samples;
}

} // namespace

std::optional<QuickTimeFragments> QuickTimeFragments::find(const Read& read, uint64_t fileSize) {
    const auto type = placeAt(read, 0, fileSize);
    if (!type || !type->is("ftyp")) return std::nullopt;
    const auto space = placeAt(read, type->end(), fileSize);
    if (!space || !space->is("free") || space->size != kFreeAtomLength) return std::nullopt;

    QuickTimeFragments found{.tracks = {}, .freeAtom = space->offset, .mediaEnd = space->end()};
    std::vector<Track> tracks;
    std::optional<Place> fragment; // whose media data comes next
    for (auto place = placeAt(read, space->end(), fileSize); place;
         place = placeAt(read, place->end(), fileSize)) {
        if (place->is("moov")) {
            if (!tracks.empty()) break; // of a repair that was cut off
            const std::vector<uint8_t> bytes = bodyOf(read, *place);
            AtomReader movie(bytes);
            while (const auto atom = movie.atom()) {
                auto track = atom->is("trak") ? trackOf(atom->body) : std::nullopt;
                if (track) tracks.push_back(std::move(*track));
            }
        } else if (place->is("moof")) {
            fragment = place;
        } else if (place->is("mdat")) {
            if (fragment) {
                const std::vector<uint8_t> bytes = bodyOf(read, *fragment);
                AtomReader tables(bytes);
                while (const auto atom = tables.atom())
                    if (atom->is("traf"))
                        found.samples += takeTrackFragment(atom->body, *fragment, *place, tracks);
            }
            fragment.reset();
            found.mediaEnd = place->end();
        } else {
            break; // nothing that the writer makes
        }
    }
    if (found.samples == 0) return std::nullopt;
    for (Track& track : tracks)
        found.tracks.push_back(std::move(track.track));
    return found;
}

} // namespace vintra
