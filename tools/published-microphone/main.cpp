// Publishes a microphone that plays a known signal until it is told to end by SIGINT or SIGTERM. Prints
// "ready" once others can find it.

#include "tools/testsignals/PublishedSource.h"
#include "tools/testsignals/TestSignal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <unistd.h>

namespace {

constexpr const char* kUsage = R"(usage: published-microphone [options]
  --name NAME            node.name (vintra.headless.microphone)
  --description TEXT     node.description (Headless Microphone)
  --channels N           1...128 (1); above 64 PipeWire 0.3 shows it and delivers nothing
  --rate HZ              (48000)
  --signal KIND          sine, tones, counter, clock or silence (sine)
  --frequency HZ         of the sine, or of the first tone (440)
  --level DB             of the peak against full scale (-12)
)";

struct Options {
    vintra::PublishedSourceOptions source;
    vintra::TestSignal signal;
};

bool readOption(Options& options, std::string_view name, const char* value) {
    if (name == "--name") {
        options.source.name = value;
    } else if (name == "--description") {
        options.source.description = value;
    } else if (name == "--channels") {
        options.source.channels = static_cast<uint32_t>(std::atoi(value));
    } else if (name == "--rate") {
        options.source.sampleRate = static_cast<uint32_t>(std::atoi(value));
    } else if (name == "--frequency") {
        options.signal.frequency = std::atof(value);
    } else if (name == "--level") {
        options.signal.levelDB = std::atof(value);
    } else if (name == "--signal") {
        const auto kind = vintra::signalKindNamed(value);
        if (!kind) return false;
        options.signal.kind = *kind;
    } else {
        return false;
    }
    return true;
}

/// The nearest frame, counted from the start of the machine's clock; `time` in nanoseconds.
uint64_t clockFrame(int64_t time, uint32_t sampleRate) {
    constexpr uint64_t second = 1'000'000'000;
    const auto nanoseconds = static_cast<uint64_t>(time);
    return nanoseconds / second * sampleRate + (nanoseconds % second * sampleRate + second / 2) / second;
}

bool isUsable(const Options& options) {
    return options.source.channels >= 1 && options.source.channels <= 128 &&
           options.source.sampleRate >= 8000 && options.source.sampleRate <= 192000;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    bool understood = argc % 2 == 1;
    for (int index = 1; understood && index + 1 < argc; index += 2) {
        understood = readOption(options, argv[index], argv[index + 1]);
    }
    if (!understood || !isUsable(options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    options.signal.sampleRate = options.source.sampleRate;

    // Taken by sigwait below; PipeWire's threads inherit the mask.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    vintra::PublishedSource source(
        options.source, [signal = options.signal](const vintra::SourceFrames& frames) {
            const bool isClock = signal.kind == vintra::SignalKind::clock;
            signal.fill(frames.samples, frames.frames, frames.channels,
                        isClock ? clockFrame(frames.firstFrameTime, signal.sampleRate) : frames.firstFrame);
        });
    source.onLost = [] { kill(getpid(), SIGTERM); };
    if (!source.start()) return 1;
    std::puts("ready");
    std::fflush(stdout);
    int received = 0;
    sigwait(&signals, &received);
    return 0;
}
