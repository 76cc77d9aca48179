#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

class MarkersTest : public RecorderFixture {};

TEST_F(MarkersTest, aMarkerIsInTheTakeAtItsSecond) {
    start();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    const CMTime commonStart = *recorder->recordingCommonStartTime;
    machine.run(1.5);
    const double first = CMTimeGetSeconds(machine.now() - commonStart);
    recorder->addMarker();
    EXPECT_EQ(*recorder->markerCount, 1);
    EXPECT_TRUE(*recorder->markerJustAdded);
    machine.run(0.7);
    recorder->addMarker();
    machine.run(0.7);
    EXPECT_TRUE(*recorder->markerJustAdded) << "the second marker's flash";
    machine.run(0.5);
    EXPECT_FALSE(*recorder->markerJustAdded);
    stop();
    ASSERT_TRUE(recorder->lastTakeFiles().has_value());
    ASSERT_EQ(recorder->lastTakeFiles()->markers.size(), 2u);
    EXPECT_NEAR(recorder->lastTakeFiles()->markers[0], first, 1e-6);
    EXPECT_NEAR(recorder->lastTakeFiles()->markers[1], first + 0.7, 1e-6);
}

TEST_F(MarkersTest, theNextTakeBeginsWithoutAny) {
    start();
    recorder->addMarker();
    stop();
    EXPECT_FALSE(*recorder->markerJustAdded) << "the flash ends with the take";
    for (const std::string& name : files())
        machine.fileManager->removeItem(URL::fileURL(path(name)));
    start();
    EXPECT_EQ(*recorder->markerCount, 0);
    stop();
    EXPECT_TRUE(recorder->lastTakeFiles()->markers.empty());
}

TEST_F(MarkersTest, thereIsNoneOutsideOfATake) {
    recorder->addMarker();
    EXPECT_EQ(*recorder->markerCount, 0);
    EXPECT_FALSE(*recorder->markerJustAdded);
}

} // namespace
} // namespace vintra
