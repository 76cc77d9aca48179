#include "Vintra/platform/UUID.h"
#include "Vintra/platform/simulated/SimulatedProcessInfo.h"

#include <gtest/gtest.h>
#include <unordered_set>

namespace vintra {
namespace {

TEST(UUIDTest, itIsWrittenInUpperCaseInFiveGroups) {
    UUID id;
    for (size_t i = 0; i < id.bytes.size(); ++i)
        id.bytes[i] = static_cast<uint8_t>(0x11 * i);
    EXPECT_EQ(id.uuidString(), "00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(UUID{}.uuidString(), "00000000-0000-0000-0000-000000000000");
}

TEST(UUIDTest, equalIdentitiesAreEqualAndHashAlike) {
    UUID one;
    one.bytes[15] = 1;
    UUID other = one;
    EXPECT_EQ(one, other);
    EXPECT_EQ(std::hash<UUID>{}(one), std::hash<UUID>{}(other));
    other.bytes[0] = 1;
    EXPECT_NE(one, other);
    EXPECT_LT(one, other);
}

TEST(UUIDTest, simulatedOnesAreDistinctWellFormedAndTheSameInEveryRun) {
    SimulatedProcessInfo first;
    SimulatedProcessInfo second;
    std::unordered_set<UUID> seen;
    for (int i = 0; i < 1000; ++i) {
        const UUID id = first.makeUUID();
        EXPECT_EQ(id, second.makeUUID());
        EXPECT_TRUE(seen.insert(id).second);
        EXPECT_EQ(id.bytes[6] >> 4, 4) << "version";
        EXPECT_EQ(id.bytes[8] >> 6, 2) << "variant";
    }
}

} // namespace
} // namespace vintra
