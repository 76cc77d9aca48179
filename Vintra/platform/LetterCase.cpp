#include "Vintra/platform/LetterCase.h"

#include "Vintra/platform/LetterCaseTable.h"
#include "Vintra/platform/UTF8.h"

#include <algorithm>
#include <span>

namespace vintra {
namespace {

using detail::CaseExpansion;
using detail::CaseRange;

struct CaseMapping {
    std::span<const CaseRange> ranges;
    std::span<const CaseExpansion> expansions;
};

uint32_t mappedByRange(uint32_t scalar, std::span<const CaseRange> ranges) {
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), scalar,
                         [](uint32_t value, const CaseRange& range) { return value < range.first; });
    if (after == ranges.begin()) return scalar;
    const CaseRange& range = *(after - 1);
    if (scalar > range.last || (scalar - range.first) % range.stride != 0) return scalar;
    return static_cast<uint32_t>(static_cast<int64_t>(scalar) + range.delta);
}

void appendMapped(std::string& result, uint32_t scalar, const CaseMapping& mapping) {
    const auto found = std::lower_bound(
        mapping.expansions.begin(), mapping.expansions.end(), scalar,
        [](const CaseExpansion& expansion, uint32_t value) { return expansion.scalar < value; });
    if (found == mapping.expansions.end() || found->scalar != scalar) {
        appendScalar(result, mappedByRange(scalar, mapping.ranges));
        return;
    }
    for (const uint32_t mapped : found->mapped)
        if (mapped != 0) appendScalar(result, mapped);
}

std::string mapped(std::string_view text, const CaseMapping& mapping) {
    std::string result;
    result.reserve(text.size());
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        if (scalar.isValid) {
            appendMapped(result, scalar.value, mapping);
        } else {
            result += text[offset];
        }
        offset += scalar.length;
    }
    return result;
}

} // namespace

std::string lowercased(std::string_view text) {
    return mapped(text, {detail::kLowercaseRanges, detail::kLowercaseExpansions});
}

std::string uppercased(std::string_view text) {
    return mapped(text, {detail::kUppercaseRanges, detail::kUppercaseExpansions});
}

} // namespace vintra
