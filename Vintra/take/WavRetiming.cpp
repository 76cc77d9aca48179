#include "Vintra/take/WavRetiming.h"

#include "Vintra/take/WavFile.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <span>

namespace vintra {
namespace {

constexpr int64_t kPieceFrames = 65'536;
constexpr uint32_t kBytesPerSample = 3;
constexpr double kSampleScale = 8'388'608; ///< full scale of 24 bits

float sampleFrom(const uint8_t* bytes) {
    const auto raw = static_cast<uint32_t>(bytes[0] << 8 | bytes[1] << 16 | bytes[2] << 24);
    return static_cast<float>(static_cast<int32_t>(raw) >> 8) / static_cast<float>(kSampleScale);
}

void putSample(float value, uint8_t* bytes) {
    const double scaled = std::round(static_cast<double>(value) * kSampleScale);
    const auto whole = static_cast<int32_t>(std::clamp(scaled, -kSampleScale, kSampleScale - 1));
    for (int index = 0; index < 3; ++index)
        bytes[index] = static_cast<uint8_t>(whole >> (8 * index));
}

/// The samples of the new file, from its first frame on.
class RetimedSamples {
public:
    RetimedSamples(FileHandle& file, uint32_t channels, int64_t frames)
        : file(file)
        , channels(channels)
        , frames(frames) {}

    int64_t position() const { return written; }

    void writeSilenceUpTo(int64_t frame) {
        const std::vector<uint8_t> zeros(static_cast<size_t>(kPieceFrames) * channels * kBytesPerSample);
        for (int64_t left = std::min(frame, frames) - written; left > 0;) {
            const int64_t part = std::min(left, kPieceFrames);
            file.write(zeros.data(), static_cast<size_t>(part) * channels * kBytesPerSample);
            written += part;
            left -= part;
        }
    }

    /// What lies past the end of the file is left out.
    void write(std::span<const float> samples) {
        const int64_t count = std::min(static_cast<int64_t>(samples.size()) / channels, frames - written);
        if (count < 1) return;
        std::vector<uint8_t> bytes(static_cast<size_t>(count) * channels * kBytesPerSample);
        for (size_t index = 0; index < static_cast<size_t>(count) * channels; ++index)
            putSample(samples[index], bytes.data() + index * kBytesPerSample);
        file.write(bytes.data(), bytes.size());
        written += count;
    }

private:
    FileHandle& file;
    const uint32_t channels;
    const int64_t frames;
    int64_t written = 0;
};

/// One run after another, from the recorded file into the new one.
class RunCopier {
public:
    RunCopier(FileHandle& source, const WavHeader& header, RateConversion& conversion, double stretch)
        : source(source)
        , header(header)
        , conversion(conversion)
        , stretch(stretch)
        , channels(header.blockAlign / kBytesPerSample) {}

    void copy(const WavRetiming::Run& run, RetimedSamples& to) {
        to.writeSilenceUpTo(run.target);
        framesToSkip = to.position() - run.target; // into which the run before it reaches
        framesToWrite = std::llround(static_cast<double>(run.frames) * stretch) - framesToSkip;
        const auto converter = stretch == 1 ? nullptr : conversion.makeConverter(channels, stretch);
        source.seek(header.dataStart + static_cast<uint64_t>(run.at) * header.blockAlign);
        const auto present = static_cast<int64_t>(header.declaredDataSize / header.blockAlign) - run.at;
        for (int64_t left = std::min(run.frames, present); left > 0;) {
            const int64_t count = read(std::min(left, kPieceFrames));
            if (count < 1) break;
            left -= count;
            made.clear();
            if (converter) converter->convert(samples, made);
            emit(converter ? made : samples, to);
        }
        made.clear();
        if (converter) converter->finish(made);
        emit(made, to);
    }

private:
    int64_t read(int64_t frames) {
        bytes.resize(static_cast<size_t>(frames) * header.blockAlign);
        size_t length = 0;
        while (length < bytes.size()) {
            const size_t count = source.read(bytes.data() + length, bytes.size() - length);
            if (count == 0) break;
            length += count;
        }
        const size_t whole = length / header.blockAlign;
        samples.resize(whole * channels);
        for (size_t index = 0; index < samples.size(); ++index)
            samples[index] = sampleFrom(bytes.data() + index * kBytesPerSample);
        return static_cast<int64_t>(whole);
    }

    void emit(std::span<const float> converted, RetimedSamples& to) {
        const auto count = static_cast<int64_t>(converted.size()) / channels;
        const int64_t skipped = std::min(framesToSkip, count);
        framesToSkip -= skipped;
        const int64_t kept = std::min(count - skipped, std::max<int64_t>(0, framesToWrite));
        framesToWrite -= kept;
        to.write(
            converted.subspan(static_cast<size_t>(skipped) * channels, static_cast<size_t>(kept) * channels));
    }

    FileHandle& source;
    const WavHeader& header;
    RateConversion& conversion;
    const double stretch;
    const uint32_t channels;
    int64_t framesToSkip = 0;
    int64_t framesToWrite = 0;
    std::vector<uint8_t> bytes;
    std::vector<float> samples;
    std::vector<float> made;
};

bool is24Bit(const WavHeader& header) {
    return header.bitsPerSample == 8 * kBytesPerSample && header.blockAlign >= kBytesPerSample;
}

void writeRetimed(FileHandle& source, FileHandle& destination, const WavHeader& header,
                  RateConversion& conversion, const WavRetiming& retiming) {
    const uint64_t dataSize = static_cast<uint64_t>(retiming.frames) * header.blockAlign;
    const uint64_t filler = dataSize % 2;
    const auto head = wavHeaderWithSizes(header, header.dataStart + dataSize + filler - 8, dataSize);
    destination.write(head.data(), head.size());
    RetimedSamples samples(destination, header.blockAlign / kBytesPerSample, retiming.frames);
    RunCopier copier(source, header, conversion, retiming.stretch);
    for (const WavRetiming::Run& run : retiming.runs)
        copier.copy(run, samples);
    samples.writeSilenceUpTo(retiming.frames);
    const uint8_t zero = 0;
    if (filler > 0) destination.write(&zero, 1);
    destination.close();
}

} // namespace

bool retimeWavFile(FileManager& files, ProcessInfo& process, RateConversion& conversion, const URL& at,
                   const WavRetiming& retiming) {
    try {
        const auto header = readWavHeader(files, at);
        if (!header || !is24Bit(*header) || retiming.frames < 1 || retiming.runs.empty()) return false;
        const URL temporary = temporaryWavURL(process, at);
        const auto source = files.openForReading(at);
        files.createFile(temporary);
        try {
            writeRetimed(*source, *files.openForWriting(temporary), *header, conversion, retiming);
            files.replaceItem(at, temporary);
        } catch (const std::exception&) {
            files.removeItem(temporary);
            throw;
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace vintra
