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
constexpr double kLargestGapLeftAlone = 0.01; ///< seconds
constexpr size_t kPieceLength = 4'194'304;

uint32_t read16(const uint8_t* bytes) {
    return static_cast<uint32_t>(bytes[0] | bytes[1] << 8);
}

uint32_t read32(const uint8_t* bytes) {
    return read16(bytes) | read16(bytes + 2) << 16;
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
    uint32_t dataSize = 0;
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
    if (!hasTag(front.data(), "RIFF") || !hasTag(front.data() + 8, "WAVE")) return std::nullopt;
    const auto chunks = walkChunks(front);
    if (!chunks || chunks->format == nullptr || chunks->formatSize < kFormatLength) return std::nullopt;
    if (fileSize < chunks->dataStart) return std::nullopt;

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
    };
}

/// The header of the file with the padding in it.
std::vector<uint8_t> paddedHeader(const WavHeader& header, uint64_t padBytes) {
    std::vector<uint8_t> bytes = header.bytes;
    write32Saturated(bytes.data() + 4, header.fileSize + padBytes - 8);
    write32Saturated(bytes.data() + header.dataStart - 4, header.declaredDataSize + padBytes);
    return bytes;
}

void writeSilence(FileHandle& file, uint64_t length) {
    const std::vector<uint8_t> zeros(static_cast<size_t>(std::min<uint64_t>(length, kPieceLength)));
    while (length > 0) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(length, zeros.size()));
        file.write(zeros.data(), count);
        length -= count;
    }
}

void copyRest(FileHandle& source, FileHandle& destination) {
    std::vector<uint8_t> piece(kPieceLength);
    while (const size_t count = source.read(piece.data(), piece.size()))
        destination.write(piece.data(), count);
}

/// Bytes of silence to put in; 0 for a gap that is left alone.
uint64_t paddingLength(const WavHeader& header, double gapSeconds) {
    const double bytes = std::round(gapSeconds * header.sampleRate) * header.blockAlign;
    // Beyond any disk, and beyond what a count of bytes holds.
    if (!(bytes >= 1) || bytes > 1e18) return 0;
    return static_cast<uint64_t>(bytes);
}

void removeQuietly(FileManager& files, const URL& at) {
    try {
        files.removeItem(at);
    } catch (const std::exception&) {
    }
}

void writePadded(FileHandle& source, FileHandle& destination, const WavHeader& header, uint64_t padBytes) {
    const auto bytes = paddedHeader(header, padBytes);
    destination.write(bytes.data(), bytes.size());
    writeSilence(destination, padBytes);
    source.seek(header.dataStart);
    copyRest(source, destination);
    destination.close();
}

/// Makes the padded file at `temporary` and puts it in the place of the recorded one. Where that fails it
/// throws, with the recorded file untouched and the temporary one gone.
void replaceByPadded(FileManager& files, const URL& at, const URL& temporary, const WavHeader& header,
                     uint64_t padBytes) {
    const auto source = files.openForReading(at);
    files.createFile(temporary);
    try {
        const auto destination = files.openForWriting(temporary);
        writePadded(*source, *destination, header, padBytes);
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

void padWavFileWithLeadingSilence(FileManager& files, ProcessInfo& process, const URL& at,
                                  double gapSeconds) {
    if (!std::isfinite(gapSeconds) || !(gapSeconds > kLargestGapLeftAlone)) return;
    try {
        const auto header = readWavHeader(files, at);
        const uint64_t padBytes = header ? paddingLength(*header, gapSeconds) : 0;
        if (padBytes < 1) return;
        const URL temporary = at.deletingLastPathComponent().appendingPathComponent(
            "." + at.lastPathComponent() + ".padding-" + process.makeUUID().uuidString());
        replaceByPadded(files, at, temporary, *header, padBytes);
    } catch (const std::exception&) {
        // The file stays unpadded, which nobody is told.
    }
}

} // namespace vintra
