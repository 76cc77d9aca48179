#include "Vintra/app/VersionOrder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vintra {
namespace {

TEST(VersionOrderTest, versionsStandInTheirOrder) {
    const std::vector<std::string> order{"",
                                         "0.9",
                                         "1.0b2",
                                         "1.0b10",
                                         "1.0rc1",
                                         "1.0",
                                         "1.0.1",
                                         "1.2",
                                         "1.10",
                                         "2",
                                         "2.0.0.1",
                                         "10.0",
                                         "99999999999999999998.0",
                                         "99999999999999999999.0"};
    for (size_t left = 0; left < order.size(); ++left) {
        for (size_t right = 0; right < order.size(); ++right) {
            EXPECT_EQ(compareVersions(order[left], order[right]) < 0, left < right)
                << order[left] << " and " << order[right];
            EXPECT_EQ(compareVersions(order[left], order[right]) > 0, left > right)
                << order[left] << " and " << order[right];
        }
    }
}

TEST(VersionOrderTest, whatSaysTheSameIsAsLate) {
    for (const auto& [left, right] : {std::pair{"1.0", "1"},
                                      {"1.0.0", "1"},
                                      {"01.2", "1.02"},
                                      {"1-2", "1.2"},
                                      {"", "0"},
                                      {"1.", "1"},
                                      {"...", ""}}) {
        EXPECT_TRUE(compareVersions(left, right) == 0) << left << " and " << right;
        EXPECT_TRUE(compareVersions(right, left) == 0) << left << " and " << right;
    }
}

} // namespace
} // namespace vintra
