#include "Vintra/platform/linux/movie/ColourConverter.h"

#include "Vintra/platform/linux/movie/ColourRows.h"

namespace vintra {
namespace {

ColourConverter::Variant fastest() {
    for (const auto variant : {ColourConverter::Variant::avx2, ColourConverter::Variant::sse2})
        if (ColourConverter::isSupported(variant)) return variant;
    return ColourConverter::Variant::portable;
}

} // namespace

bool ColourConverter::isSupported(Variant variant) {
#if defined(__x86_64__)
    return variant != Variant::avx2 || __builtin_cpu_supports("avx2") != 0;
#else
    return variant == Variant::portable;
#endif
}

ColourConverter::ColourConverter()
    : ColourConverter(fastest()) {}

ColourConverter::ColourConverter(Variant variant)
    : convertRowPair(convertColourRowsPortable) {
    switch (variant) {
    case Variant::portable:
        break;
    case Variant::sse2:
        convertRowPair = convertColourRowsSse2;
        break;
    case Variant::avx2:
        convertRowPair = convertColourRowsAvx2;
        break;
    }
}

void ColourConverter::convert(const CVPixelBuffer& source, const BiPlanarPicture& destination) const {
    const CVPixelBuffer::Plane& plane = source.plane(0);
    for (size_t y = 0; y + 1 < source.height(); y += 2) {
        const uint8_t* const top = plane.baseAddress + y * plane.bytesPerRow;
        uint8_t* const luma = destination.luma + y * destination.lumaRow;
        convertRowPair(top, top + plane.bytesPerRow, source.width(), luma, luma + destination.lumaRow,
                       destination.chroma + y / 2 * destination.chromaRow);
    }
}

} // namespace vintra
