#include "Vintra/platform/linux/movie/LibavError.h"

#include "Vintra/platform/SystemError.h"

extern "C" {
#include <libavutil/error.h>
}

namespace vintra {

void throwIfLibavFailed(int result, const std::string& sentence) {
    if (result >= 0) return;
    char reason[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(result, reason, sizeof(reason));
    throw SystemError("libav", result,
                      sentence + " (" + reason + "). Record again; if it happens once more, restart Vintra.");
}

} // namespace vintra
