#include "Vintra/platform/linux/wayland/UncachedCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace vintra {
namespace {

TEST(UncachedCopy, everyByteArrivesFromAnywhereAndNoneBesides) {
    std::vector<uint8_t> from(512);
    std::iota(from.begin(), from.end(), uint8_t{1});
    for (size_t begin = 0; begin < 70; ++begin) {
        for (size_t count = 0; count < 300; ++count) {
            std::vector<uint8_t> to(count + 2, 0xee);
            copyUncached(to.data() + 1, from.data() + begin, count);
            ASSERT_EQ(to.front(), 0xee);
            ASSERT_EQ(to.back(), 0xee);
            ASSERT_TRUE(
                std::equal(to.begin() + 1, to.end() - 1, from.begin() + static_cast<ptrdiff_t>(begin)))
                << begin << ", " << count;
        }
    }
}

} // namespace
} // namespace vintra
