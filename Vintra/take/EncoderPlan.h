#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CMFormatDescription.h"

#include <cstddef>
#include <string>
#include <vector>

namespace vintra {

/// The pictures that one movie of a take has to encode.
struct EncodedPictures {
    CMVideoDimensions size; ///< pixels
    int rate = 30;          ///< a second
};

/// How fast each movie of a take is encoded.
///
/// Goal: no frame is lost, whatever the pictures show. Constraint: the writers of a take share the processors with
/// the capture and with the program that is recorded, so they get half of them. Method: a picture of noise is the
/// dearest, at 6.75 ns a pixel at the standard speed and two thirds of that at the fast one. While all of them
/// together need more than their half, the movie that needs most is made fast.
struct EncoderPlan {
    std::vector<AVVideoEncoderSpeed> speeds; ///< of the movies, in their order
    double pixelsASecond = 0;                ///< of all movies
    double load = 0;                         ///< of all processors at worst, 1 being all of them

    static EncoderPlan make(const std::vector<EncodedPictures>& movies, int processors);
    /// Of the movie at that place; standard if there is none.
    AVVideoEncoderSpeed speed(size_t movie) const;
    /// For the log and the diagnostics.
    std::string summary(int processors) const;
};

} // namespace vintra
