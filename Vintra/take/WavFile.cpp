#include "Vintra/take/WavFile.h"

#include "Vintra/platform/SystemError.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>

namespace vintra {
namespace {

constexpr uint64_t kSmallestFile = 45; ///< a header of 44 bytes and one byte of sound
constexpr size_t kHeaderLimit = 65'536;
constexpr size_t kFirstChunk = 12;
constexpr size_t kChunkHeaderLength = 8;
constexpr size_t kFormatLength = 16;
constexpr double kLargestGapLeftAlone = 0.01;                ///< seconds
constexpr uint64_t kMostFramesOfSilence = 1'000'000'000'000; ///< beyond any take
constexpr size_t kPieceLength = 4'194'304;
constexpr uint64_t kLargestRIFF = 0xFFFF'FFFE; ///< one more stands for a size in the 64-bit chunk
constexpr uint32_t kLargeSizesLength = 28;     ///< three sizes and the length of an empty table

uint32_t read16(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
}

uint32_t read32(const uint8_t* bytes) {
    return read16(bytes) | read16(bytes + 2) << 16;
}

uint64_t read64(const uint8_t* bytes) {
    return read32(bytes) | static_cast<uint64_t>(read32(bytes + 4)) << 32;
}

void write64(uint8_t* bytes, uint64_t number) {
    for (int index = 0; index < 8; ++index)
        bytes[index] = static_cast<uint8_t>(number >> (8 * index));
}

void write32Saturated(uint8_t* bytes, uint64_t number) {
    const auto written =
        static_cast<uint32_t>(std::min<uint64_t>(number, std::numeric_limits<uint32_t>::max()));
    for (int index = 0; index < 4; ++index)
        bytes[index] = static_cast<uint8_t>(written >> (8 * index));
}

bool hasTag(const uint8_t* bytes, const char (&tag)[5]) {
    return std::memcmp(bytes, tag, 4) == 0;
}

/// Up to `kHeaderLimit` bytes from the file's front.
std::vector<uint8_t> readFront(FileManager& files, const URL& at) {
    const auto file = files.openForReading(at);
    std::vector<uint8_t> front(kHeaderLimit);
    size_t length = 0;
    while (length < front.size()) {
        const size_t count = file->read(front.data() + length, front.size() - length);
        if (count == 0) break;
        length += count;
    }
    file->close();
    front.resize(length);
    return front;
}

struct Chunks {
    const uint8_t* format = nullptr; ///< the format chunk's body
    uint32_t formatSize = 0;
    uint64_t dataStart = 0;
    uint64_t dataSize = 0;
    std::optional<uint64_t> largeSizesAt;
    std::optional<uint64_t> largeDataSize;
};

/// Walks the chunks up to "data"; nothing if the walk leaves the bytes before.
std::optional<Chunks> walkChunks(const std::vector<uint8_t>& front) {
    Chunks chunks;
    uint64_t cursor = kFirstChunk;
    while (cursor + kChunkHeaderLength <= front.size()) {
        const uint8_t* const header = front.data() + cursor;
        const uint32_t size = read32(header + 4);
        const uint64_t body = cursor + kChunkHeaderLength;
        if (hasTag(header, "data")) {
            chunks.dataStart = body;
            chunks.dataSize = size;
            return chunks;
        }
        if (hasTag(header, "ds64") && size >= kLargeSizesLength && body + size <= front.size()) {
            chunks.largeSizesAt = cursor;
            chunks.largeDataSize = read64(front.data() + body + 8);
        }
        // The chunk with the sizes must be the first.
        if (hasTag(header, "JUNK") && size >= kLargeSizesLength && cursor == kFirstChunk &&
            body + size <= front.size())
            chunks.largeSizesAt = cursor;
        if (hasTag(header, "fmt ")) {
            if (body + size > front.size()) return std::nullopt;
            chunks.format = front.data() + body;
            chunks.formatSize = size;
        }
        cursor = body + size + (size & 1); // 64 bits: the cursor always moves on
    }
    return std::nullopt;
}

std::optional<WavHeader> parseHeader(const std::vector<uint8_t>& front, uint64_t fileSize) {
    if (front.size() < kSmallestFile) return std::nullopt;
    const bool isRF64 = hasTag(front.data(), "RF64");
    if (!isRF64 && !hasTag(front.data(), "RIFF")) return std::nullopt;
    if (!hasTag(front.data() + 8, "WAVE")) return std::nullopt;
    auto chunks = walkChunks(front);
    if (!chunks || chunks->format == nullptr || chunks->formatSize < kFormatLength) return std::nullopt;
    if (fileSize < chunks->dataStart) return std::nullopt;
    if (isRF64 && chunks->dataSize > kLargestRIFF && chunks->largeDataSize)
        chunks->dataSize = *chunks->largeDataSize;

    const uint32_t channels = read16(chunks->format + 2);
    const uint32_t sampleRate = read32(chunks->format + 4);
    const uint32_t bitsPerSample = read16(chunks->format + 14);
    if (channels * bitsPerSample < 8 || sampleRate == 0) return std::nullopt;
    return WavHeader{
        .bytes = {front.begin(), front.begin() + static_cast<std::ptrdiff_t>(chunks->dataStart)},
        .dataStart = chunks->dataStart,
        .declaredDataSize = std::min<uint64_t>(chunks->dataSize, fileSize - chunks->dataStart),
        .fileSize = fileSize,
        .sampleRate = sampleRate,
        .blockAlign = channels * bitsPerSample / 8,
        .bitsPerSample = bitsPerSample,
        .isRF64 = isRF64,
        .largeSizesAt = chunks->largeSizesAt,
    };
}

/// Bytes of silence before and behind the samples.
struct Silences {
    uint64_t leading = 0;
    uint64_t trailing = 0;
};

void writeSilence(FileHandle& file, uint64_t length) {
    const std::vector<uint8_t> zeros(static_cast<size_t>(std::min<uint64_t>(length, kPieceLength)));
    while (length > 0) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(length, zeros.size()));
        file.write(zeros.data(), count);
        length -= count;
    }
}

/// Up to `length` bytes.
void copy(FileHandle& source, FileHandle& destination, uint64_t length) {
    std::vector<uint8_t> piece(static_cast<size_t>(std::min<uint64_t>(length, kPieceLength)));
    while (length > 0) {
        const auto wanted = static_cast<size_t>(std::min<uint64_t>(length, piece.size()));
        const size_t count = source.read(piece.data(), wanted);
        if (count == 0) return;
        destination.write(piece.data(), count);
        length -= count;
    }
}

/// Bytes of leading silence; 0 for a gap that is left alone.
uint64_t paddingLength(const WavHeader& header, double gapSeconds) {
    const double bytes = std::round(gapSeconds * header.sampleRate) * header.blockAlign;
    // Beyond any disk, and beyond what a count of bytes holds.
    if (!(bytes >= 1) || bytes > 1e18) return 0;
    return static_cast<uint64_t>(bytes);
}

/// What brings the samples behind the gap, and the file to that many frames.
Silences silencesOf(const WavHeader& header, double gapSeconds, int64_t frames) {
    Silences silences{.leading = paddingLength(header, gapSeconds), .trailing = 0};
    const uint64_t frameLength = std::max(1u, header.blockAlign);
    const uint64_t present = (header.declaredDataSize + silences.leading) / frameLength;
    const auto wanted = static_cast<uint64_t>(std::max<int64_t>(0, frames));
    if (wanted > present && wanted - present < kMostFramesOfSilence)
        silences.trailing = (wanted - present) * frameLength;
    return silences;
}

void removeQuietly(FileManager& files, const URL& at) {
    try {
        files.removeItem(at);
    } catch (const std::exception&) {
    }
}

/// The byte that makes a chunk's length even lies behind the samples, and so behind trailing silence.
void writePadded(FileHandle& source, FileHandle& destination, const WavHeader& header, Silences silences) {
    const uint64_t dataSize = header.declaredDataSize + silences.leading + silences.trailing;
    uint64_t rest = header.fileSize - header.dataStart - header.declaredDataSize;
    uint64_t fillers = 0;
    if (silences.trailing > 0) {
        fillers = dataSize % 2;
        rest -= std::min<uint64_t>(rest, header.declaredDataSize % 2);
    }
    const auto bytes = wavHeaderWithSizes(header, header.dataStart + dataSize + fillers + rest - 8, dataSize);
    destination.write(bytes.data(), bytes.size());
    writeSilence(destination, silences.leading);
    source.seek(header.dataStart);
    copy(source, destination, header.declaredDataSize);
    writeSilence(destination, silences.trailing + fillers);
    source.seek(header.fileSize - rest);
    copy(source, destination, rest);
    destination.close();
}

/// Makes the padded file at `temporary` and puts it in the place of the recorded one. Where that fails it
/// throws, with the recorded file untouched and the temporary one gone.
void replaceByPadded(FileManager& files, const URL& at, const URL& temporary, const WavHeader& header,
                     Silences silences) {
    const auto source = files.openForReading(at);
    files.createFile(temporary);
    try {
        const auto destination = files.openForWriting(temporary);
        writePadded(*source, *destination, header, silences);
        files.replaceItem(at, temporary);
    } catch (const std::exception&) {
        removeQuietly(files, temporary);
        throw;
    }
}

} // namespace

std::optional<WavHeader> readWavHeader(FileManager& files, const URL& at) {
    const uint64_t fileSize = files.sizeOfFile(at);
    if (fileSize < kSmallestFile) return std::nullopt;
    return parseHeader(readFront(files, at), fileSize);
}

std::vector<uint8_t> wavHeaderWithSizes(const WavHeader& header, uint64_t riffSize, uint64_t dataSize) {
    std::vector<uint8_t> bytes = header.bytes;
    uint8_t* const dataField = bytes.data() + header.dataStart - 4;
    const bool isLarge = riffSize > kLargestRIFF || dataSize > kLargestRIFF;
    write32Saturated(bytes.data() + 4, riffSize);
    write32Saturated(dataField, dataSize);
    if (!header.largeSizesAt || !(isLarge || header.isRF64)) return bytes;
    std::memcpy(bytes.data(), "RF64", 4);
    write32Saturated(bytes.data() + 4, kLargestRIFF + 1);
    write32Saturated(dataField, kLargestRIFF + 1);
    uint8_t* const chunk = bytes.data() + *header.largeSizesAt;
    if (!hasTag(chunk, "ds64")) std::memset(chunk + kChunkHeaderLength, 0, read32(chunk + 4));
    std::memcpy(chunk, "ds64", 4);
    write64(chunk + kChunkHeaderLength, riffSize);
    write64(chunk + kChunkHeaderLength + 8, dataSize);
    write64(chunk + kChunkHeaderLength + 16, dataSize / std::max(1u, header.blockAlign));
    return bytes;
}

URL temporaryWavURL(ProcessInfo& process, const URL& at) {
    return at.deletingLastPathComponent().appendingPathComponent("." + at.lastPathComponent() + ".padding-" +
                                                                 process.makeUUID().uuidString());
}

void padWavFileWithLeadingSilence(FileManager& files, ProcessInfo& process, const URL& at,
                                  double gapSeconds) {
    alignWavFile(files, process, at, gapSeconds, 0);
}

void alignWavFile(FileManager& files, ProcessInfo& process, const URL& at, double gapSeconds,
                  int64_t frames) {
    const bool isPadded = std::isfinite(gapSeconds) && gapSeconds > kLargestGapLeftAlone;
    if (!isPadded && frames < 1) return;
    try {
        const auto header = readWavHeader(files, at);
        if (!header) return;
        const Silences silences = silencesOf(*header, isPadded ? gapSeconds : 0, frames);
        if (silences.leading + silences.trailing < 1) return;
        replaceByPadded(files, at, temporaryWavURL(process, at), *header, silences);
    } catch (const std::exception&) {
        // The file stays unpadded, which nobody is told.
    }
}

} // namespace vintra
