#include "Vintra/app/qt/ShrunkPicture.h"

#include "Vintra/platform/CVPixelBuffer.h"

#include <algorithm>
#include <cstdint>

namespace vintra {
namespace {

/// Across and down, of the camera's pixels for one of the result.
constexpr int kTaps = 3;

struct Sample {
    int first = 0;
    int second = 0;
    int third = 0;
};

/// The mean of a few places in the part of the source that a pixel of the result stands for.
template <typename Read>
Sample mean(int x, int y, QSize from, QSize to, Read read) {
    Sample sum;
    for (int row = 0; row < kTaps; ++row) {
        const int sourceY =
            static_cast<int>((int64_t{y} * kTaps + row) * from.height() / (int64_t{to.height()} * kTaps));
        for (int column = 0; column < kTaps; ++column) {
            const int sourceX = static_cast<int>((int64_t{x} * kTaps + column) * from.width() /
                                                 (int64_t{to.width()} * kTaps));
            const Sample value = read(sourceX, sourceY);
            sum = {sum.first + value.first, sum.second + value.second, sum.third + value.third};
        }
    }
    constexpr int kCount = kTaps * kTaps;
    return {sum.first / kCount, sum.second / kCount, sum.third / kCount};
}

/// Rec. 709, video range.
QRgb rgbOfYCbCr(const Sample& sample) {
    const int y = 298 * (sample.first - 16);
    const int cb = sample.second - 128;
    const int cr = sample.third - 128;
    const auto clamped = [](int value) { return std::clamp(value >> 8, 0, 255); };
    return qRgb(clamped(y + 459 * cr + 128), clamped(y - 55 * cb - 136 * cr + 128),
                clamped(y + 541 * cb + 128));
}

template <typename Pixel>
QImage filled(QSize size, Pixel pixel) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = pixel(x, y);
    }
    return image;
}

QImage shrunkBGRA(const CVPixelBuffer& picture, QSize from, QSize to) {
    const CVPixelBuffer::Plane& plane = picture.plane(0);
    return filled(to, [&](int x, int y) {
        const Sample color = mean(x, y, from, to, [&](int sourceX, int sourceY) {
            const uint8_t* const pixel = plane.baseAddress +
                                         static_cast<size_t>(sourceY) * plane.bytesPerRow +
                                         static_cast<size_t>(sourceX) * 4;
            return Sample{pixel[2], pixel[1], pixel[0]};
        });
        return qRgb(color.first, color.second, color.third);
    });
}

QImage shrunkYCbCr(const CVPixelBuffer& picture, QSize from, QSize to) {
    const CVPixelBuffer::Plane& luma = picture.plane(0);
    const CVPixelBuffer::Plane& chroma = picture.plane(1);
    return filled(to, [&](int x, int y) {
        return rgbOfYCbCr(mean(x, y, from, to, [&](int sourceX, int sourceY) {
            const auto column = static_cast<size_t>(sourceX);
            const auto row = static_cast<size_t>(sourceY);
            const uint8_t* const pair = chroma.baseAddress +
                                        std::min(row / 2, chroma.height - 1) * chroma.bytesPerRow +
                                        2 * std::min(column / 2, chroma.width - 1);
            return Sample{luma.baseAddress[row * luma.bytesPerRow + column], pair[0], pair[1]};
        }));
    });
}

bool isReadable(const CVPixelBuffer& picture, size_t planes) {
    if (picture.planeCount() != planes) return false;
    for (size_t plane = 0; plane < planes; ++plane) {
        if (!picture.plane(plane).baseAddress) return false;
    }
    return picture.width() > 0 && picture.height() > 0;
}

} // namespace

QImage shrunkPicture(const CVPixelBuffer& picture, QSize within) {
    const QSize from(static_cast<int>(picture.width()), static_cast<int>(picture.height()));
    QSize to = from.scaled(within, Qt::KeepAspectRatio);
    if (to.width() > from.width()) to = from;
    if (to.isEmpty()) return {};
    if (picture.pixelFormat() == kCVPixelFormatType_32BGRA && isReadable(picture, 1))
        return shrunkBGRA(picture, from, to);
    const bool isYCbCr = picture.pixelFormat() == kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange;
    return isYCbCr && isReadable(picture, 2) ? shrunkYCbCr(picture, from, to) : QImage();
}

} // namespace vintra
