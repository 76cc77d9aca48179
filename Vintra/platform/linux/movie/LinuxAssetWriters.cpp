#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"

#include "Vintra/platform/linux/movie/LinuxAssetWriter.h"
#include "Vintra/platform/linux/movie/QuickTimeFile.h"

#include <utility>

extern "C" {
#include <libavutil/log.h>
}

namespace vintra {

LinuxAssetWriters::LinuxAssetWriters(LinuxAssetWritersOptions options)
    : options(std::move(options)) {
    av_log_set_level(AV_LOG_ERROR); // the encoders would fill the terminal with their figures
}

std::shared_ptr<AVAssetWriter> LinuxAssetWriters::makeWriter(const URL& outputURL, AVFileType fileType) {
    return std::make_shared<LinuxAssetWriter>(outputURL, fileType, options);
}

std::shared_ptr<AVAssetWriterInput> LinuxAssetWriters::makeInput(const AVOutputSettings& settings,
                                                                 bool expectsMediaDataInRealTime) {
    return std::make_shared<LinuxAssetWriterInput>(settings, expectsMediaDataInRealTime);
}

void LinuxAssetWriters::repairMovie(const URL& at) {
    QuickTimeFile::repair(at);
}

} // namespace vintra
