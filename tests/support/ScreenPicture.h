#pragma once

#include "Vintra/platform/CVPixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// The colours of a whole picture, 0xRRGGBB, as a test expects or finds them.
struct ScreenPicture {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;

    ScreenPicture(int width, int height);
    explicit ScreenPicture(const CVPixelBuffer& buffer);
    uint32_t at(int x, int y) const { return pixels[static_cast<size_t>(y * width + x)]; }
    void fill(int x, int y, int fillWidth, int fillHeight, uint32_t colour);
    ScreenPicture part(int x, int y, int partWidth, int partHeight) const;
    /// From a binary PPM file's bytes; of no size if they aren't one.
    static ScreenPicture ofPPM(const std::string& bytes);
    bool operator==(const ScreenPicture&) const = default;
};

} // namespace vintra
