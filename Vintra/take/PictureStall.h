#pragma once

#include "Vintra/video/PictureWatch.h"

#include <optional>
#include <string>

namespace vintra {

/// What a camera's picture did wrong in a take, as a sentence for the user and as a line for the log.
struct PictureStall {
    std::string sentence;
    std::string logLine;
};

/// Nothing if the picture never stood still and never stopped.
std::optional<PictureStall> pictureStall(const std::string& label, const PictureWatch::Account& account);

} // namespace vintra
