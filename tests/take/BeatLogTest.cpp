#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

/// What the beat's log says of the screen's writer.
class BeatLogTest : public RecorderFixture {
protected:
    std::vector<std::string> writerStates() const {
        std::vector<std::string> states;
        for (const std::string& line : machine.log->texts("screen-beat")) {
            const size_t at = line.rfind("; ");
            if (at != std::string::npos) states.push_back(line.substr(at + 2));
        }
        return states;
    }
};

TEST_F(BeatLogTest, aWriterThatWritesIsToldByItsStatusAlone) {
    start();
    machine.run(2.5);
    EXPECT_EQ(writerStates(), (std::vector<std::string>{"writer status 1", "writer status 1"}));
    stop();
}

TEST_F(BeatLogTest, aWriterThatFailedIsToldWithItsError) {
    start();
    machine.run(1.5);
    writer("take_video.mov")->fail("The disk is full.");
    machine.run(1);
    EXPECT_EQ(writerStates(),
              (std::vector<std::string>{"writer status 1", "writer status 3 (The disk is full.)"}));
    stop();
}

} // namespace
} // namespace vintra
