#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/LinuxAssetWritersOptions.h"

namespace vintra {

/// Makes writers of QuickTime movies (H.264 or HEVC pictures, AAC sound) and of WAVs. One for the program;
/// main thread. The machine's own codecs are libavcodec's.
class LinuxAssetWriters final : public AssetWriters {
public:
    explicit LinuxAssetWriters(LinuxAssetWritersOptions options = {});
    std::shared_ptr<AVAssetWriter> makeWriter(const URL& outputURL, AVFileType fileType) override;
    std::shared_ptr<AVAssetWriterInput> makeInput(const AVOutputSettings& settings,
                                                  bool expectsMediaDataInRealTime) override;
    void repairMovie(const URL& at) override;

private:
    const LinuxAssetWritersOptions options;
};

} // namespace vintra
