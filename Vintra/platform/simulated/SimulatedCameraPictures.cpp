#include "Vintra/platform/simulated/SimulatedCameraPictures.h"

#include <cstring>
#include <utility>
#include <vector>

namespace vintra {
namespace {

constexpr size_t kStep = 64; // bytes between the places of two large pictures

/// The planes of a picture whose rows have no bytes to spare.
struct Layout {
    explicit Layout(CMVideoDimensions size)
        : width(static_cast<size_t>(size.width))
        , height(static_cast<size_t>(size.height))
        , chromaWidth((width + 1) / 2)
        , chromaHeight((height + 1) / 2) {}

    size_t bytes() const { return width * height + 2 * chromaWidth * chromaHeight; }
    std::shared_ptr<CVPixelBuffer> over(uint8_t* memory, std::shared_ptr<void> owner) const {
        std::vector<CVPixelBuffer::Plane> planes{
            {memory, width, height, width},
            {memory + width * height, chromaWidth, chromaHeight, 2 * chromaWidth}};
        return CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, width, height,
                                   std::move(planes), std::move(owner));
    }

    size_t width;
    size_t height;
    size_t chromaWidth;
    size_t chromaHeight;
};

std::shared_ptr<uint8_t> makeMemory(size_t bytes) {
    return {new uint8_t[bytes]{}, [](const uint8_t* memory) { delete[] memory; }};
}

/// Steele and Vigna's SplitMix64 over the words of the memory.
void fillWithNoise(uint8_t* memory, size_t bytes, uint64_t seed) {
    for (size_t at = 0; at + sizeof(uint64_t) <= bytes; at += sizeof(uint64_t)) {
        seed += 0x9E3779B97F4A7C15u;
        uint64_t word = (seed ^ (seed >> 30)) * 0xBF58476D1CE4E5B9u;
        word = (word ^ (word >> 27)) * 0x94D049BB133111EBu;
        word ^= word >> 31;
        std::memcpy(memory + at, &word, sizeof word);
    }
}

void putNumber(uint8_t* at, int64_t number) {
    std::memcpy(at, &number, sizeof number);
}

} // namespace

std::shared_ptr<CVPixelBuffer> SimulatedCameraPictures::make(CMVideoDimensions size, int64_t number) {
    const Layout layout(size);
    if (layout.bytes() <= kMostSmallBytes) {
        const size_t bytes = layout.bytes() < sizeof number ? sizeof number : layout.bytes();
        auto memory = makeMemory(bytes);
        fillWithNoise(memory.get(), bytes, static_cast<uint64_t>(number) << 20);
        putNumber(memory.get(), number);
        return layout.over(memory.get(), memory);
    }
    auto& field = fields[{size.width, size.height}];
    if (!field) {
        const size_t bytes = layout.bytes() + static_cast<size_t>(kLargeNumbers) * kStep;
        field = makeMemory(bytes);
        fillWithNoise(field.get(), bytes, 1);
        for (int64_t each = 0; each < kLargeNumbers; ++each)
            putNumber(field.get() + static_cast<size_t>(each) * kStep, each);
    }
    return layout.over(field.get() + static_cast<size_t>(number % kLargeNumbers) * kStep, field);
}

std::shared_ptr<CVPixelBuffer> SimulatedCameraPictures::makeBlack(CMVideoDimensions size) {
    constexpr int kBlackLuma = 16;
    constexpr int kNoChroma = 128;
    auto& black = blacks[{size.width, size.height}];
    const Layout layout(size);
    if (!black) {
        auto memory = makeMemory(layout.bytes());
        std::memset(memory.get(), kBlackLuma, layout.width * layout.height);
        std::memset(memory.get() + layout.width * layout.height, kNoChroma,
                    layout.bytes() - layout.width * layout.height);
        black = layout.over(memory.get(), memory);
    }
    return layout.over(black->plane(0).baseAddress, black);
}

int64_t SimulatedCameraPictures::numberOf(const CVPixelBuffer& picture) {
    int64_t number = 0;
    std::memcpy(&number, picture.plane(0).baseAddress, sizeof number);
    return number;
}

} // namespace vintra
