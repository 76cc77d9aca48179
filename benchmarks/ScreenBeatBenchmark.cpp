// What the screen beat costs a take for each frame: one `frame` and one firing of its timer, before an input
// that takes everything and does nothing. Next to it, as the measure of a period: the budget of a frame at 60
// a second is 16.7 ms.
//
//     build/release/bin/ScreenBeatBenchmark

#include "Vintra/video/CameraWriteQueue.h"
#include "Vintra/video/PictureWatch.h"
#include "Vintra/video/ScreenBeat.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <functional>
#include <utility>

namespace {

using namespace vintra;

class SetClock : public HostClock {
public:
    CMTime now() const override { return time; }
    void sleep(int64_t) override {}
    CMTime time = CMTimeMake(1000 * int64_t{kHostTimescale}, kHostTimescale);
};

class SilentLog : public Log {
public:
    bool isEnabled(LogLevel) const override { return false; }
    void write(const std::string&, LogLevel, const std::string&) override {}
};

/// Keeps the beat's handler for the benchmark to call.
class HandlerQueue : public DispatchQueue {
public:
    const std::string& label() const override { return name; }
    void async(std::function<void()> work) override { work(); }
    void sync(const std::function<void()>& work) override { work(); }
    std::unique_ptr<DispatchTimer> makeTimer(DispatchTimerSchedule,
                                             std::function<void()> newHandler) override {
        handler = std::move(newHandler);
        return std::make_unique<Timer>();
    }
    std::function<void()> handler;

private:
    class Timer : public DispatchTimer {
    public:
        void resume() override {}
        void cancel() override {}
    };
    std::string name = "benchmark";
};

class TrivialInput : public AVAssetWriterInput {
public:
    AVMediaType mediaType() const override { return AVMediaType::video; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return true; }
    bool append(const CMSampleBuffer& sample) override {
        benchmark::DoNotOptimize(sample.isValid());
        ++appended;
        return true;
    }
    void extendLast(CMTime) override {}
    void markAsFinished() override {}
    int64_t appended = 0;

private:
    AVOutputSettings settings = AVVideoSettings{};
};

struct Take {
    std::shared_ptr<SetClock> clock = std::make_shared<SetClock>();
    std::shared_ptr<HandlerQueue> queue = std::make_shared<HandlerQueue>();
    std::shared_ptr<TrivialInput> input = std::make_shared<TrivialInput>();
    std::shared_ptr<ScreenBeat> beat = std::make_shared<ScreenBeat>(clock, std::make_shared<SilentLog>());
    std::shared_ptr<CVPixelBuffer> image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 16, 16);
    CMTime anchor = clock->time;

    CMSampleBuffer sampleOfNow() const {
        return CMSampleBuffer::makeVideo(image, {.duration = kCMTimeInvalid,
                                                 .presentationTimeStamp = clock->time,
                                                 .decodeTimeStamp = kCMTimeInvalid});
    }
    void begin(int32_t rate) {
        beat->begin({.at = anchor,
                     .rate = rate,
                     .into = input,
                     .on = queue,
                     .wrote = [](CMTime) {},
                     .lost = [](CMTime) {},
                     .writerStatus = [] { return std::string(); }});
    }
    void nextSlot(int32_t rate) { clock->time.value += kHostTimescale / rate; }
};

/// The screen changes in every slot.
void frameAndTick(benchmark::State& state) {
    const auto rate = static_cast<int32_t>(state.range(0));
    Take take;
    take.begin(rate);
    for (auto _ : state) {
        take.beat->frame(take.sampleOfNow());
        take.queue->handler();
        take.nextSlot(rate);
    }
    state.counters["written"] = static_cast<double>(take.input->appended);
}
BENCHMARK(frameAndTick)->Arg(30)->Arg(60);

/// The screen stands still: each firing writes a copy.
void tickOnAStillScreen(benchmark::State& state) {
    Take take;
    take.begin(30);
    take.beat->frame(take.sampleOfNow());
    for (auto _ : state) {
        take.nextSlot(30);
        take.queue->handler();
    }
    state.counters["written"] = static_cast<double>(take.input->appended);
}
BENCHMARK(tickOnAStillScreen);

void cameraSubmit(benchmark::State& state) {
    Take take;
    CameraWriteQueue queue(take.clock);
    queue.begin(take.anchor, 30);
    for (auto _ : state) {
        benchmark::DoNotOptimize(queue.submit(take.sampleOfNow(), take.input));
        take.nextSlot(30);
    }
}
BENCHMARK(cameraSubmit);

/// The fingerprint of a 3840 × 2160 camera picture, and a copy of its luma plane as the measure.
void fingerprint(benchmark::State& state) {
    const auto image = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 3840, 2160);
    std::memset(image->plane(0).baseAddress, 7, image->plane(0).bytesPerRow * 2160);
    for (auto _ : state)
        benchmark::DoNotOptimize(PictureWatch::fingerprint(*image));
}
BENCHMARK(fingerprint);

void copyOfTheSamePlane(benchmark::State& state) {
    const auto from = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 3840, 2160);
    const auto to = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 3840, 2160);
    const size_t bytes = from->plane(0).bytesPerRow * 2160;
    std::memset(from->plane(0).baseAddress, 7, bytes);
    for (auto _ : state) {
        std::memcpy(to->plane(0).baseAddress, from->plane(0).baseAddress, bytes);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(copyOfTheSamePlane);

} // namespace

BENCHMARK_MAIN();
