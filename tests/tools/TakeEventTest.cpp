#include "tools/vintra-take/TakeEvent.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

TEST(TakeEventTest, theTimeIsThatOfTheTakeAndOfTheWall) {
    // `date -u -d @1795249184` says Sat Nov 21 08:19:44 UTC 2026.
    const TakeEvent event{.seconds = 4.25, .time = {1'795'249'184.25}, .text = "A “track”\nstopped."};
    EXPECT_EQ(textOf(event), "at 4.2 s: A “track”\nstopped.");
    const std::string line = jsonLineOf(event);
    EXPECT_EQ(line.find('\n'), line.size() - 1) << "one line";
    EXPECT_EQ(nlohmann::json::parse(line), (nlohmann::json{{"event", "warning"},
                                                           {"seconds", 4.25},
                                                           {"time", "2026-11-21T08:19:44.250Z"},
                                                           {"text", "A “track”\nstopped."}}));
}

TEST(TakeEventTest, aTimeIsRoundedToTheMillisecond) {
    EXPECT_EQ(utcText({0}), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(utcText({0.9996}), "1970-01-01T00:00:01.000Z");
    EXPECT_EQ(utcText({-0.25}), "1969-12-31T23:59:59.750Z");
}

} // namespace
} // namespace vintra
