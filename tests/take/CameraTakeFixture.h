#pragma once

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/simulated/SimulatedCameraPictures.h"
#include "tests/take/RecorderFixture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// A recorder with cameras, and what stands in their movies.
class CameraTakeFixture : public RecorderFixture {
protected:
    struct Placed {
        int64_t slot = 0;
        int64_t number = 0;
        bool operator==(const Placed&) const = default;
    };

    void plugThree() {
        plugCamera("desk", "Desk");
        plugCamera("side", "Side");
        plugCamera("top", "Top");
    }
    /// What stands where in a camera's movie, from the take's common start on; the phase is below one slot.
    std::vector<Placed> placed(const std::string& name, int64_t rate = 30) const {
        std::vector<Placed> result;
        const int64_t slotTicks = kHostTimescale / rate;
        for (const CMSampleBuffer& sample : cameraTrack(name)->accepted()) {
            const CMTime at = sample.presentationTimeStamp() - *recorder->recordingCommonStartTime;
            EXPECT_EQ(at.timescale, kHostTimescale);
            EXPECT_FALSE(at.hasBeenRounded());
            result.push_back(
                {at.value / slotTicks, SimulatedCameraPictures::numberOf(*sample.imageBuffer())});
        }
        return result;
    }
    /// That each slot of the movie is there once and shows the next picture of the camera.
    void expectWhole(const std::string& name, size_t atLeast, int64_t rate = 30) const {
        const auto pictures = placed(name, rate);
        ASSERT_GE(pictures.size(), atLeast) << name;
        for (size_t i = 1; i < pictures.size(); ++i) {
            ASSERT_EQ(pictures[i].slot, pictures[i - 1].slot + 1) << name;
            ASSERT_EQ(pictures[i].number, pictures[i - 1].number + 1) << name;
        }
    }
    bool warns(const std::string& text) const { return lastError().find(text) != std::string::npos; }
    std::vector<std::string> callsOf(const std::string& call) const {
        std::vector<std::string> names;
        for (const std::string& each : machine.journal->calls) {
            if (each.ends_with(": " + call)) names.push_back(each.substr(0, each.size() - call.size() - 2));
        }
        return names;
    }
};

} // namespace vintra
