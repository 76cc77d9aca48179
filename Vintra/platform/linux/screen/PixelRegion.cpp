#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace vintra {
namespace {

constexpr size_t kMostRects = 12;
/// How many unchanged pixels may be copied along to save one rectangle: about what another request costs.
constexpr int64_t kMergeSlack = 16'384;

int64_t growth(const PixelRect& a, const PixelRect& b) {
    return boundingBox(a, b).area() - a.area() - b.area();
}

} // namespace

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
    const int left = std::max(a.x, b.x);
    const int top = std::max(a.y, b.y);
    const PixelRect common{left, top, std::min(a.right(), b.right()) - left,
                           std::min(a.bottom(), b.bottom()) - top};
    return common.isEmpty() ? PixelRect{} : common;
}

PixelRect evenSized(PixelRect rect) {
    if (rect.width > 1) rect.width &= ~1;
    if (rect.height > 1) rect.height &= ~1;
    return rect;
}

PixelRect boundingBox(const PixelRect& a, const PixelRect& b) {
    if (a.isEmpty()) return b;
    if (b.isEmpty()) return a;
    const int left = std::min(a.x, b.x);
    const int top = std::min(a.y, b.y);
    return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

void PixelRegion::add(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    PixelRect added = rect;
    // A merged rectangle may in turn be close to another.
    while (!rects_.empty()) {
        size_t nearest = 0;
        int64_t least = std::numeric_limits<int64_t>::max();
        for (size_t i = 0; i < rects_.size(); ++i) {
            const int64_t grows = growth(rects_[i], added);
            if (grows < least) {
                least = grows;
                nearest = i;
            }
        }
        if (least > kMergeSlack && rects_.size() < kMostRects) break;
        added = boundingBox(rects_[nearest], added);
        rects_[nearest] = rects_.back();
        rects_.pop_back();
    }
    rects_.push_back(added);
}

int64_t PixelRegion::area() const {
    int64_t sum = 0;
    for (const PixelRect& rect : rects_)
        sum += rect.area();
    return sum;
}

std::vector<RowBand> PixelRegion::rowBands(int leastGap) const {
    std::vector<RowBand> bands;
    for (const PixelRect& rect : rects_)
        bands.push_back({rect.y, rect.bottom()});
    std::sort(bands.begin(), bands.end(),
              [](const RowBand& a, const RowBand& b) { return a.first < b.first; });
    std::vector<RowBand> joined;
    for (const RowBand& band : bands) {
        if (!joined.empty() && band.first - joined.back().end < leastGap) {
            joined.back().end = std::max(joined.back().end, band.end);
        } else {
            joined.push_back(band);
        }
    }
    return joined;
}

} // namespace vintra
