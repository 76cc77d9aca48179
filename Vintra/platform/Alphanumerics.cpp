#include "Vintra/platform/Alphanumerics.h"

#include "Vintra/platform/AlphanumericTable.h"

#include <algorithm>
#include <iterator>

namespace vintra {

bool isAlphanumeric(uint32_t scalar) {
    const auto range =
        std::ranges::lower_bound(detail::kAlphanumericRanges, scalar, {}, &detail::ScalarRange::last);
    return range != std::end(detail::kAlphanumericRanges) && range->first <= scalar;
}

} // namespace vintra
