#include "Vintra/platform/CVPixelBuffer.h"

#include <new>
#include <utility>

namespace vintra {
namespace {

constexpr size_t kRowAlignment = 64; // bytes: a cache line, and the widest vector register in use

size_t alignedRow(size_t bytes) {
    return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

std::shared_ptr<uint8_t> alignedMemory(size_t bytes) {
    static constexpr std::align_val_t alignment{kRowAlignment};
    return {static_cast<uint8_t*>(::operator new(bytes == 0 ? 1 : bytes, alignment)),
            [](uint8_t* memory) { ::operator delete(memory, alignment); }};
}

} // namespace

CVPixelBuffer::CVPixelBuffer(uint32_t format, size_t width, size_t height, std::vector<Plane> planes,
                             std::shared_ptr<void> owner)
    : format(format)
    , pixelWidth(width)
    , pixelHeight(height)
    , planes(std::move(planes))
    , owner(std::move(owner)) {}

std::shared_ptr<CVPixelBuffer> CVPixelBuffer::make(uint32_t pixelFormat, size_t width, size_t height) {
    if (pixelFormat == kCVPixelFormatType_32BGRA) {
        const size_t row = alignedRow(4 * width);
        auto memory = alignedMemory(row * height);
        std::vector<Plane> planes{{memory.get(), width, height, row}};
        return make(pixelFormat, width, height, std::move(planes), std::move(memory));
    }
    if (pixelFormat == kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange) {
        const size_t chromaWidth = (width + 1) / 2;
        const size_t chromaHeight = (height + 1) / 2;
        const size_t lumaRow = alignedRow(width);
        const size_t chromaRow = alignedRow(2 * chromaWidth);
        auto memory = alignedMemory(lumaRow * height + chromaRow * chromaHeight);
        uint8_t* const luma = memory.get();
        std::vector<Plane> planes{{luma, width, height, lumaRow},
                                  {luma + lumaRow * height, chromaWidth, chromaHeight, chromaRow}};
        return make(pixelFormat, width, height, std::move(planes), std::move(memory));
    }
    return nullptr;
}

std::shared_ptr<CVPixelBuffer> CVPixelBuffer::make(uint32_t pixelFormat, size_t width, size_t height,
                                                   std::vector<Plane> planes, std::shared_ptr<void> owner) {
    return std::shared_ptr<CVPixelBuffer>(
        new CVPixelBuffer(pixelFormat, width, height, std::move(planes), std::move(owner)));
}

} // namespace vintra
