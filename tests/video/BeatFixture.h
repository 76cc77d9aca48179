#pragma once

#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/video/ScreenBeat.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace vintra {

/// A beat on virtual time. All times are counted from the take's start, 1,000 s on the host clock.
class BeatFixture : public testing::Test {
protected:
    void begin(int32_t newRate) {
        rate = newRate;
        anchor = machine.now();
        isFinished = false;
        beat->begin({.at = anchor,
                     .rate = rate,
                     .into = input,
                     .on = queue,
                     .wrote = [this](CMTime time) { wrote.push_back(time); },
                     .lost = [this](CMTime time) { lost.push_back(time); },
                     .writerStatus = [] { return "writer status 1"; }});
    }

    CMTime now() const { return machine.now() - anchor; }
    /// Lets time pass up to that instant of the take.
    void runTo(double seconds) {
        machine.time->advanceTo(1000 * INT64_C(1'000'000'000) + nanosecondsFromSeconds(seconds));
    }
    /// A frame captured at that time, given to the beat 1 ms later.
    CMSampleBuffer capture(CMTime time) { return deliver(time, CMTimeGetSeconds(time) + 0.001); }
    CMSampleBuffer captureAt(int64_t slot) { return capture(CMTimeMake(slot, rate)); }
    CMSampleBuffer deliver(CMTime capturedAt, double arrivalSeconds) {
        runTo(arrivalSeconds);
        const CMSampleBuffer sample = picture(anchor + capturedAt);
        queue->sync([&] { beat->frame(sample); });
        return sample;
    }
    ScreenBeat::Totals finish(CMTime at) {
        ScreenBeat::Totals totals;
        const bool wasIdle = isFinished;
        queue->sync([&] { totals = beat->finish(anchor + at); });
        if (!wasIdle) checkAccount(at);
        isFinished = true;
        return totals;
    }
    /// Every slot from the first picture to the stop counts once, and as what was written there.
    void checkAccount(CMTime at) const {
        const FrameAccount account = beat->account();
        if (input->appended.empty()) return;
        // Counted from the first picture written.
        const CMTime first = input->appended.front().presentationTimeStamp();
        const auto position = [&](CMTime time) { return CMTimeGetSeconds(time - first) * rate; };
        const auto slotAt = [&](CMTime time) { return static_cast<int64_t>(std::round(position(time))); };
        int64_t own = 0;
        int64_t copies = 0;
        const CVPixelBuffer* latest = nullptr;
        for (const auto& sample : input->appended) {
            const CVPixelBuffer* const image = sample.imageBuffer().get();
            (image == latest ? copies : own) += 1;
            latest = image;
        }
        EXPECT_EQ(account.own, own);
        EXPECT_LE(account.copied, copies);
        EXPECT_GE(account.copied + account.lost, copies) << "a copy counts as one, or as a loss known later";
        EXPECT_GE(account.unchanged, 0);
        EXPECT_LE(account.lost, static_cast<int64_t>(lost.size()));
        auto end = static_cast<int64_t>(std::ceil(position(anchor + at) - 1e-6));
        end = std::max(end, slotAt(input->appended.back().presentationTimeStamp()) + 1);
        bool isExact = true; // where no loss, of a time off the grid, is at either end
        for (const CMTime time : lost)
            isExact = isExact && slotAt(time) > 0 && slotAt(time) + 1 < end;
        if (isExact) {
            EXPECT_EQ(account.slots(), end);
        } else {
            EXPECT_GE(account.slots(), end);
        }
    }

    /// The stop comes at that time, and the beat is finished 1 ms later.
    ScreenBeat::Totals finishAt(double seconds) {
        runTo(seconds + 0.001);
        return finish(CMTimeMake(static_cast<int64_t>(seconds * kHostTimescale + 0.5), kHostTimescale));
    }

    /// The slots of all samples written, for a phase of so many 1/600 s. Each must stand on its slot exactly
    /// and last one slot.
    std::vector<int64_t> slots(int64_t phase = 0) const {
        std::vector<int64_t> result;
        for (const auto& sample : input->appended)
            result.push_back(slotOf(sample, phase));
        return result;
    }
    int64_t slotOf(const CMSampleBuffer& sample, int64_t phase = 0) const {
        const CMTime pts = sample.presentationTimeStamp();
        const int64_t ticksOfASlot = kHostTimescale / rate;
        const int64_t ticks = pts.value - anchor.value - phase * (kHostTimescale / 600);
        const bool exact =
            pts.timescale == kHostTimescale && !pts.hasBeenRounded() && ticks % ticksOfASlot == 0;
        EXPECT_TRUE(exact) << describe(pts);
        EXPECT_EQ(describe(sample.duration()), "1/" + std::to_string(rate));
        EXPECT_FALSE(sample.timing().decodeTimeStamp.isValid());
        return exact ? ticks / ticksOfASlot : -1;
    }
    std::vector<std::string> logged() const { return machine.log->texts("screen-beat"); }
    /// Holds the timer of the next take back for that long.
    void holdTimerBack(double seconds) {
        machine.dispatchQueues->setTimerLateness([seconds](const std::string&, int64_t firing) {
            return firing == 0 ? nanosecondsFromSeconds(seconds) : 0;
        });
    }

    SimulatedMachine machine;
    std::shared_ptr<DispatchQueue> queue =
        machine.dispatchQueues->makeSerialQueue("com.screenrecorder.videoOutput");
    std::shared_ptr<ScriptedInput> input = std::make_shared<ScriptedInput>();
    std::shared_ptr<ScreenBeat> beat = std::make_shared<ScreenBeat>(machine.hostClock, machine.log);
    int32_t rate = 30;
    bool isFinished = true; ///< idle, so that a `finish` ends no take
    CMTime anchor;
    std::vector<CMTime> wrote;
    std::vector<CMTime> lost;
};

/// first, first + 1, ... last
inline std::vector<int64_t> slotRange(int64_t first, int64_t last) {
    std::vector<int64_t> result;
    for (int64_t slot = first; slot <= last; ++slot)
        result.push_back(slot);
    return result;
}

} // namespace vintra
