#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/MediaFile.h"
#include "Vintra/platform/linux/movie/OutputFile.h"
#include "Vintra/platform/linux/movie/SoundConverter.h"

#include <memory>
#include <vector>

namespace vintra {

/// A WAV of 24-bit integer samples. Its buffers follow one another from the first on: whoever appends sees to
/// it that they do. The sizes in the header are brought up to date with every write to the disk, about once a
/// second, so that a file whose program was killed is a good one up to then. Beyond 4 GiB it is an RF64.
class WaveFile final : public MediaFile {
public:
    static bool canWrite(const AVOutputSettings& settings);
    /// One track, or none for an empty mono file at 48 kHz. Throws `SystemError`.
    static std::unique_ptr<WaveFile> create(const URL& url, const std::vector<AVOutputSettings>& tracks);

    void write(size_t track, const CMSampleBuffer& sample, CMTime sessionStart) override;
    void extend(size_t, CMTime, CMTime) override {} // a sound doesn't stand
    void keep() noexcept override { file.keep(); }
    void finish() override;
    void abandon() noexcept override;

private:
    WaveFile(OutputFile file, const AVAudioSettings& settings);
    void take(std::span<const float> values);
    void flush();
    void refreshHeader();

    OutputFile file;
    const AVAudioSettings settings;
    SoundConverter converter;
    std::vector<uint8_t> unwritten;
    uint64_t dataSize = 0; ///< on the disk
};

} // namespace vintra
