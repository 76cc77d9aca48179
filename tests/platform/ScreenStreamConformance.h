#pragma once

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/ScreenCapture.h"

#include <gtest/gtest.h>
#include <utility>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

// What every backend's screen streams owe. A backend takes the suite by
//
//     INSTANTIATE_TYPED_TEST_SUITE_P(Name, ScreenStreamConformance, SomeScreenStreamBackend);
//
// with a default-constructible class that brings up a desktop with at least one display and has
//
//     ScreenCapture& screenCapture();
//     std::shared_ptr<DispatchQueue> makeQueue();  // serial
//     CMTime now();                                // of the host clock that stamps the samples
//     void changePicture();                        // the first display shows something new
//     bool waitUntil(std::function<bool()>);       // lets time go by until the condition holds; false after
//     10 s void letPass(double seconds);                // of the host clock void endStreams(); // what makes
//     running streams end by themselves

/// Takes samples down as they come. Any thread.
class ScreenSampleCollector : public SCStreamOutput {
public:
    void stream(SCStream&, const CMSampleBuffer& sample, SCStreamOutputType type) override {
        MutexLock lock(mutex);
        if (type != SCStreamOutputType::screen) return;
        samples_.push_back(sample);
        dropOld();
    }
    void stream(SCStream&, const SCMissedFrames& didMissFrames) override {
        MutexLock lock(mutex);
        missed_.push_back(didMissFrames);
    }
    std::vector<SCMissedFrames> missed() const {
        MutexLock lock(mutex);
        return missed_;
    }
    /// From now on only the newest samples are held, so that a stream never lacks buffers.
    void keepOnly(size_t newest) {
        MutexLock lock(mutex);
        kept = newest;
        dropOld();
    }
    std::vector<CMSampleBuffer> samples() const {
        MutexLock lock(mutex);
        return samples_;
    }
    /// Those whose status is complete.
    std::vector<CMSampleBuffer> completeSamples() const {
        std::vector<CMSampleBuffer> complete;
        for (const CMSampleBuffer& sample : samples()) {
            if (status(sample) == static_cast<int64_t>(SCFrameStatus::complete)) complete.push_back(sample);
        }
        return complete;
    }
    void forget() {
        std::vector<CMSampleBuffer> forgotten;
        MutexLock lock(mutex);
        samples_.swap(forgotten);
    }
    static std::optional<int64_t> status(const CMSampleBuffer& sample) {
        if (sample.attachments().empty()) return std::nullopt;
        const auto& attachments = sample.attachments().front();
        const auto found = attachments.find(SCStreamFrameInfoStatus);
        if (found == attachments.end()) return std::nullopt;
        const auto* number = std::get_if<int64_t>(&found->second);
        return number ? std::optional(*number) : std::nullopt;
    }

private:
    void dropOld() REQUIRES(mutex) {
        if (samples_.size() <= kept) return;
        samples_.erase(samples_.begin(), samples_.end() - static_cast<ptrdiff_t>(kept));
    }

    mutable Mutex mutex;
    size_t kept GUARDED_BY(mutex) = 1000;
    std::vector<SCMissedFrames> missed_ GUARDED_BY(mutex);
    std::vector<CMSampleBuffer> samples_ GUARDED_BY(mutex);
};

/// Takes down how a stream ended. Any thread.
class ScreenStopListener : public SCStreamDelegate {
public:
    void stream(SCStream&, const SystemError& didStopWithError) override {
        MutexLock lock(mutex);
        errors_.push_back(didStopWithError);
    }
    std::vector<SystemError> errors() const {
        MutexLock lock(mutex);
        return errors_;
    }

private:
    mutable Mutex mutex;
    std::vector<SystemError> errors_ GUARDED_BY(mutex);
};

/// The outcome of a call that ends by a completion. Any thread.
class CompletionResult {
public:
    std::function<void(std::optional<SystemError>)> function() {
        return [state = state](std::optional<SystemError> error) {
            MutexLock lock(state->mutex);
            ++state->calls;
            state->error = std::move(error);
        };
    }
    int calls() const {
        MutexLock lock(state->mutex);
        return state->calls;
    }
    std::optional<SystemError> error() const {
        MutexLock lock(state->mutex);
        return state->error;
    }

private:
    struct State {
        Mutex mutex;
        int calls GUARDED_BY(mutex) = 0;
        std::optional<SystemError> error GUARDED_BY(mutex);
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

template <typename Backend>
class ScreenStreamConformance : public ::testing::Test {
protected:
    SCShareableContent content() {
        auto read = std::make_shared<ContentRead>();
        backend.screenCapture().getShareableContent(false, true, [read](ScreenCapture::Content result) {
            MutexLock lock(read->mutex);
            read->content = std::move(result);
        });
        EXPECT_TRUE(backend.waitUntil([&] {
            MutexLock lock(read->mutex);
            return read->content.has_value();
        }));
        MutexLock lock(read->mutex);
        EXPECT_FALSE(read->content->error.has_value());
        return read->content->content;
    }
    SCStreamConfiguration configuration(const SCDisplay& display) {
        SCStreamConfiguration result;
        result.width = display.width & ~1;
        result.height = display.height & ~1;
        result.minimumFrameInterval = CMTimeMake(1, kFramesASecond);
        return result;
    }
    std::shared_ptr<SCStream> makeStream(const SCDisplay& display) {
        auto stream = backend.screenCapture().makeStream({SCContentFilter::Display{display, {}, {}}},
                                                         configuration(display), listener);
        stream->addStreamOutput(collector, SCStreamOutputType::screen, queue);
        return stream;
    }
    std::optional<SystemError> start(SCStream& stream) {
        CompletionResult started;
        stream.startCapture(started.function());
        EXPECT_TRUE(backend.waitUntil([&] { return started.calls() == 1; }));
        return started.error();
    }
    std::optional<SystemError> stop(SCStream& stream) {
        CompletionResult stopped;
        stream.stopCapture(stopped.function());
        EXPECT_TRUE(backend.waitUntil([&] { return stopped.calls() == 1; }));
        return stopped.error();
    }
    /// A stream of the first display that has delivered its first frame.
    std::shared_ptr<SCStream> runningStream() {
        const SCShareableContent shareable = content();
        EXPECT_FALSE(shareable.displays.empty());
        if (shareable.displays.empty()) return nullptr;
        auto stream = makeStream(shareable.displays.front());
        EXPECT_EQ(start(*stream), std::nullopt);
        EXPECT_TRUE(waitForFrames(1));
        return stream;
    }
    bool waitForFrames(size_t count) {
        return backend.waitUntil([this, count] { return collector->completeSamples().size() >= count; });
    }

    static constexpr int32_t kFramesASecond = 30;

    Backend backend;
    std::shared_ptr<DispatchQueue> queue = backend.makeQueue();
    std::shared_ptr<ScreenSampleCollector> collector = std::make_shared<ScreenSampleCollector>();
    std::shared_ptr<ScreenStopListener> listener = std::make_shared<ScreenStopListener>();

private:
    struct ContentRead {
        Mutex mutex;
        std::optional<ScreenCapture::Content> content GUARDED_BY(mutex);
    };
};

TYPED_TEST_SUITE_P(ScreenStreamConformance);

TYPED_TEST_P(ScreenStreamConformance, everyDisplayHasAnIdOfItsOwnAndASize) {
    const SCShareableContent shareable = this->content();
    ASSERT_FALSE(shareable.displays.empty());
    std::vector<uint32_t> ids;
    for (const SCDisplay& display : shareable.displays) {
        EXPECT_GT(display.width, 0);
        EXPECT_GT(display.height, 0);
        EXPECT_EQ(std::ranges::count(ids, display.displayID), 0);
        ids.push_back(display.displayID);
    }
}

TYPED_TEST_P(ScreenStreamConformance, theFirstFrameComesThoughNothingChanges) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(ScreenSampleCollector::status(this->collector->samples().front()),
              static_cast<int64_t>(SCFrameStatus::complete));
    this->stop(*stream);
}

TYPED_TEST_P(ScreenStreamConformance, onlyCompleteFramesCarryAPictureAndEveryFrameAStatus) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    this->backend.changePicture();
    ASSERT_TRUE(this->waitForFrames(2));
    this->backend.letPass(0.2);
    this->stop(*stream);
    for (const CMSampleBuffer& sample : this->collector->samples()) {
        const auto status = ScreenSampleCollector::status(sample);
        ASSERT_TRUE(status.has_value());
        const bool isComplete = *status == static_cast<int64_t>(SCFrameStatus::complete);
        EXPECT_EQ(sample.imageBuffer() != nullptr, isComplete);
    }
}

TYPED_TEST_P(ScreenStreamConformance, picturesAreOfThePixelFormatAskedFor) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    this->stop(*stream);
    const auto image = this->collector->completeSamples().front().imageBuffer();
    EXPECT_EQ(image->pixelFormat(), kCVPixelFormatType_32BGRA);
    EXPECT_GT(image->width(), 0u);
    EXPECT_GT(image->height(), 0u);
    EXPECT_GE(image->plane(0).bytesPerRow, image->width() * 4);
}

TYPED_TEST_P(ScreenStreamConformance, stampsIncreaseByTheMinimumIntervalAndLieBetweenTheStartAndNow) {
    const CMTime before = this->backend.now();
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    for (size_t frames = 2; frames <= 6; ++frames) {
        this->backend.changePicture();
        ASSERT_TRUE(this->waitForFrames(frames));
    }
    const CMTime after = this->backend.now();
    this->stop(*stream);
    const auto samples = this->collector->completeSamples();
    const CMTime interval = CMTimeMake(1, this->kFramesASecond);
    CMTime earliest = before;
    for (const CMSampleBuffer& sample : samples) {
        const CMTime stamp = sample.presentationTimeStamp();
        ASSERT_TRUE(stamp.isNumeric());
        EXPECT_GE(stamp, earliest) << describe(stamp) << " " << describe(earliest);
        earliest = stamp + interval;
    }
    EXPECT_LE(samples[5].presentationTimeStamp(), after);
}

TYPED_TEST_P(ScreenStreamConformance, aStillScreenSendsNoFurtherPicture) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    this->backend.letPass(0.5);
    this->stop(*stream);
    EXPECT_EQ(this->collector->completeSamples().size(), 1u);
}

TYPED_TEST_P(ScreenStreamConformance, aChangedPictureIsAFreshBufferAndTheEarlierOneStaysAsItWas) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    const auto first = this->collector->completeSamples().front().imageBuffer();
    const auto& plane = first->plane(0);
    const size_t bytes = plane.bytesPerRow * plane.height;
    const std::vector<uint8_t> pixels(plane.baseAddress, plane.baseAddress + (plane.baseAddress ? bytes : 0));
    this->backend.changePicture();
    ASSERT_TRUE(this->waitForFrames(2));
    this->stop(*stream);
    EXPECT_NE(this->collector->completeSamples()[1].imageBuffer(), first);
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), plane.baseAddress));
}

TYPED_TEST_P(ScreenStreamConformance, aPreparedStreamSendsNothingUntilItIsStartedAndIsStoppedLikeAnyOther) {
    const SCDisplay display = this->content().displays.front();
    for (const bool isStarted : {true, false}) {
        this->collector->forget();
        const auto stream = this->makeStream(display);
        CompletionResult prepared;
        stream->prepareCapture(prepared.function());
        ASSERT_TRUE(this->backend.waitUntil([&] { return prepared.calls() == 1; }));
        EXPECT_FALSE(prepared.error().has_value());
        this->backend.changePicture();
        this->backend.letPass(0.3);
        EXPECT_TRUE(this->collector->samples().empty());
        if (isStarted) {
            const CMTime before = this->backend.now();
            ASSERT_FALSE(this->start(*stream).has_value());
            ASSERT_TRUE(this->waitForFrames(1));
            EXPECT_GE(this->collector->completeSamples().front().presentationTimeStamp(), before);
            this->backend.changePicture();
            ASSERT_TRUE(this->waitForFrames(2));
        }
        this->stop(*stream);
        const size_t sent = this->collector->samples().size();
        this->backend.changePicture();
        this->backend.letPass(0.2);
        EXPECT_EQ(this->collector->samples().size(), sent);
        EXPECT_EQ(prepared.calls(), 1);
    }
}

TYPED_TEST_P(ScreenStreamConformance, noSampleComesAfterTheStop) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(this->stop(*stream), std::nullopt);
    this->queue->sync([] {});
    this->collector->forget();
    this->backend.changePicture();
    this->backend.letPass(0.3);
    EXPECT_TRUE(this->collector->samples().empty());
    EXPECT_TRUE(this->listener->errors().empty());
}

TYPED_TEST_P(ScreenStreamConformance, aStreamThatEndsByItselfSaysSoOnceInASentence) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    this->backend.endStreams();
    ASSERT_TRUE(this->backend.waitUntil([&] { return !this->listener->errors().empty(); }));
    this->stop(*stream);
    this->backend.letPass(0.2);
    ASSERT_EQ(this->listener->errors().size(), 1u);
    EXPECT_FALSE(this->listener->errors().front().localizedDescription().empty());
    EXPECT_FALSE(this->listener->errors().front().domain().empty());
}

TYPED_TEST_P(ScreenStreamConformance, aDisplayThatIsNotThereIsRefused) {
    SCDisplay unknown = this->content().displays.front();
    for (const SCDisplay& display : this->content().displays) {
        unknown.displayID = std::max(unknown.displayID, display.displayID + 1);
    }
    std::optional<SystemError> refusal;
    try {
        refusal = this->start(*this->makeStream(unknown));
    } catch (const SystemError& error) {
        refusal = error;
    }
    ASSERT_TRUE(refusal.has_value());
    EXPECT_FALSE(refusal->localizedDescription().empty());
    EXPECT_TRUE(this->collector->samples().empty());
}

TYPED_TEST_P(ScreenStreamConformance, anOutputThatHasGoneIsNoTrouble) {
    const auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    this->collector.reset();
    this->backend.changePicture();
    this->backend.letPass(0.1);
    EXPECT_EQ(this->stop(*stream), std::nullopt);
    EXPECT_TRUE(this->listener->errors().empty());
}

TYPED_TEST_P(ScreenStreamConformance, aStreamLetGoOfWhileItRunsJustEnds) {
    auto stream = this->runningStream();
    ASSERT_NE(stream, nullptr);
    stream.reset();
    this->queue->sync([] {});
    this->collector->forget();
    this->backend.changePicture();
    this->backend.letPass(0.2);
    EXPECT_TRUE(this->collector->samples().empty());
    EXPECT_TRUE(this->listener->errors().empty());
}

REGISTER_TYPED_TEST_SUITE_P(
    ScreenStreamConformance, everyDisplayHasAnIdOfItsOwnAndASize, theFirstFrameComesThoughNothingChanges,
    onlyCompleteFramesCarryAPictureAndEveryFrameAStatus, picturesAreOfThePixelFormatAskedFor,
    stampsIncreaseByTheMinimumIntervalAndLieBetweenTheStartAndNow, aStillScreenSendsNoFurtherPicture,
    aChangedPictureIsAFreshBufferAndTheEarlierOneStaysAsItWas, noSampleComesAfterTheStop,
    aPreparedStreamSendsNothingUntilItIsStartedAndIsStoppedLikeAnyOther,
    aStreamThatEndsByItselfSaysSoOnceInASentence, aDisplayThatIsNotThereIsRefused,
    anOutputThatHasGoneIsNoTrouble, aStreamLetGoOfWhileItRunsJustEnds);

} // namespace vintra
