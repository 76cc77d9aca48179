// What one cycle of each side costs the two real-time threads of the relay, in buffers of 512 stereo frames:
// a `consume` and a `produce`, alone and with both threads in each other's way. Next to them a plain memcpy
// of the same bytes into and out of a buffer.
//
//     build/release/bin/RelayRingBenchmark

#include "Vintra/audio/RelayRing.h"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace vintra;

constexpr int64_t kCycleFrames = 512;
constexpr size_t kCycleSamples = kCycleFrames * 2;

struct Cycle {
    std::vector<float> samples = std::vector<float>(kCycleSamples, 0.25f);
    AudioBuffer buffer{2, kCycleSamples * sizeof(float), samples.data()};
    AudioBufferList list() const { return {&buffer, 1}; }
};

void copyInAndOut(benchmark::State& state) {
    const Cycle in;
    Cycle out;
    std::vector<float> between(kCycleSamples);
    for (auto _ : state) {
        std::memcpy(between.data(), in.samples.data(), kCycleSamples * sizeof(float));
        benchmark::ClobberMemory();
        std::memcpy(out.samples.data(), between.data(), kCycleSamples * sizeof(float));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(copyInAndOut);

void consumeAndProduce(benchmark::State& state) {
    RelayRing ring({2 * kCycleFrames, false});
    const Cycle in;
    const Cycle out;
    ring.consume(in.list());
    for (auto _ : state) {
        ring.consume(in.list());
        ring.produce(out.list());
    }
    const auto counters = ring.counters();
    if (counters.underruns + counters.overruns + counters.skips + counters.repeats > 0)
        state.SkipWithError("the relay lost its balance");
}
BENCHMARK(consumeAndProduce);

/// The relay's ring, as the threads below use it.
class Relay {
public:
    void in(const Cycle& cycle, int64_t) { ring.consume(cycle.list()); }
    void out(const Cycle& cycle, int64_t) { ring.produce(cycle.list()); }
    bool lostItsBalance() const {
        const auto counters = ring.counters();
        return counters.underruns + counters.overruns + counters.skips + counters.repeats > 0;
    }

private:
    RelayRing ring{{2 * kCycleFrames, false}};
};

/// The measure: the same bytes copied into and out of memory of the same size, with no lock and no account.
class PlainCopy {
public:
    void in(const Cycle& cycle, int64_t number) {
        std::memcpy(place(number), cycle.samples.data(), kCycleSamples * sizeof(float));
    }
    void out(Cycle& cycle, int64_t number) {
        std::memcpy(cycle.samples.data(), place(number), kCycleSamples * sizeof(float));
    }
    bool lostItsBalance() const { return false; }

private:
    float* place(int64_t number) { return between.data() + static_cast<size_t>(number % 32) * kCycleSamples; }
    std::vector<float> between = std::vector<float>(32 * kCycleSamples);
};

/// Two threads that follow each other closely, as fast as they can: neither gets more than two cycles ahead,
/// so the ring stays in its band and every cycle is copied whole.
template <typename Between>
class FollowingThreads {
public:
    static constexpr int64_t kCalls = 200'000;

    void run() {
        between.in(cycle, 0);
        std::thread output([this] { produceAll(); });
        consumeAll();
        output.join();
        std::ranges::sort(consumed);
        std::ranges::sort(produced);
    }
    /// Microseconds of a pair: the sum of both sides.
    double percentile(double part) const {
        const auto index = static_cast<size_t>(part * static_cast<double>(kCalls - 1));
        return consumed[index] + produced[index];
    }
    bool lostItsBalance() const { return between.lostItsBalance(); }

private:
    using Clock = std::chrono::steady_clock;

    template <typename Call>
    static double microseconds(const Call& call) {
        const auto begin = Clock::now();
        call();
        return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
    }
    void consumeAll() {
        for (double& duration : consumed) {
            while (cyclesIn - cyclesOut >= 2)
                std::this_thread::yield();
            duration = microseconds([this] { between.in(cycle, cyclesIn + 1); });
            ++cyclesIn;
        }
    }
    void produceAll() {
        Cycle out;
        for (double& duration : produced) {
            while (cyclesIn - cyclesOut < 1)
                std::this_thread::yield();
            duration = microseconds([&] { between.out(out, cyclesOut); });
            ++cyclesOut;
        }
    }

    Between between;
    const Cycle cycle;
    std::atomic<int64_t> cyclesIn{0};
    std::atomic<int64_t> cyclesOut{0};
    std::vector<double> consumed = std::vector<double>(kCalls);
    std::vector<double> produced = std::vector<double>(kCalls);
};

/// Each call timed by itself; the time of a reading of the clock is in it.
template <typename Between>
void byTwoThreads(benchmark::State& state) {
    for (auto _ : state) {
        FollowingThreads<Between> threads;
        threads.run();
        if (threads.lostItsBalance()) state.SkipWithError("the relay lost its balance");
        state.counters["median_us"] = threads.percentile(0.5);
        state.counters["p99.9_us"] = threads.percentile(0.999);
        state.counters["max_us"] = threads.percentile(1);
    }
}
BENCHMARK(byTwoThreads<PlainCopy>)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(byTwoThreads<Relay>)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
