#include "Vintra/video/SlotGrid.h"

#include "Vintra/platform/CheckedMath.h"

#include <cmath>

namespace vintra {
namespace {

constexpr int32_t kPhaseTimescale = 600;
/// How far from the next slot, in slots, a frame may lie and still take it.
constexpr double kTolerance = 0.65;

} // namespace

SlotGrid SlotGrid::begin(CMTime at, int32_t rate) {
    return {.anchor = at, .rate = rate < 1 ? 1 : rate, .phase = std::nullopt};
}

std::optional<int64_t> SlotGrid::slot(CMTime pts, int64_t last) {
    if (!pts.isNumeric() || !anchor.isNumeric()) return std::nullopt;
    const double x = CMTimeGetSeconds(pts - anchor);
    if (x < 0) return std::nullopt;
    const double y = 1.0 / rate;
    if (!phase) phase = std::round(std::fmod(x, y) * kPhaseTimescale) / kPhaseTimescale;
    const double exact = (x - *phase) / y;
    if (last >= 0) {
        const int64_t next = checkedSum(last, 1);
        const double distance = exact - static_cast<double>(next);
        if (distance < -kTolerance) return std::nullopt;
        if (!(distance > kTolerance)) return next;
    }
    return checkedInt64(std::round(exact));
}

double SlotGrid::exactSlotOf(CMTime time) const {
    return (CMTimeGetSeconds(time - anchor) - *phase) * rate;
}

int64_t SlotGrid::slotAt(CMTime time) const {
    return isFixed() ? checkedInt64(std::floor(exactSlotOf(time))) : 0;
}

int64_t SlotGrid::nearestSlot(CMTime time) const {
    return isFixed() ? checkedInt64(std::round(exactSlotOf(time))) : 0;
}

std::optional<int64_t> SlotGrid::lastSlotBefore(CMTime time) const {
    if (!isFixed()) return std::nullopt;
    return checkedDifference(checkedInt64(std::ceil(exactSlotOf(time))), 1);
}

CMTime SlotGrid::startOf(int64_t slot) const {
    const int64_t phaseValue = checkedInt64(std::round(phase.value_or(0) * kPhaseTimescale));
    return anchor + CMTimeMake(phaseValue, kPhaseTimescale) + CMTimeMake(slot, rate);
}

} // namespace vintra
