#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vintra {

/// A graphics driver that a test stands in for: EGL and OpenGL ES in one library, which knows two pixel formats, XRGB8888
/// and XBGR8888, and ways to lay a picture that no processor would. What it is told to do, and what it has noticed.
struct FakeGraphics {
    static constexpr uint64_t kTiled = 0x0100'0000'0000'0002; ///< tiles of 4 × 4, one after another
    static constexpr uint64_t kTwoPlanes =
        0x0100'0000'0000'0003; ///< every other row lies in the second plane
    static constexpr uint64_t kExternalOnly = 0x0100'0000'0000'0004;
    static constexpr const char* kSymbol = "vintraFakeGraphics";

    bool hasImport = true;
    bool hasSurfacelessImport = true; ///< the display without a device imports too
    int blindCards = 0;               ///< before the one that imports
    bool hasModifiers = true;
    bool hasSurfaceless = true; ///< else devices alone
    bool hasBgra = true;
    uint64_t refusedModifier = ~uint64_t{0}; ///< offered, and then not imported
    bool failsToRead = false;

    std::atomic<int> images = 0;
    std::atomic<int> contexts = 0;
    std::atomic<int> reads = 0;
    std::atomic<int> callsElsewhere = 0; ///< on a thread that has no context

    /// Which pixel of the memory shows there, of a picture of that width.
    static constexpr size_t tiledIndex(size_t x, size_t y, size_t width) {
        return (y / 4 * (width / 4) + x / 4) * 16 + y % 4 * 4 + x % 4;
    }
};

} // namespace vintra
