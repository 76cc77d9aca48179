// Leading silence for a recorded WAV on a real disk, against `cp` of the same file on the same disk. Both
// leave the copy in the page cache. 86 MB are ten minutes of one channel, 1 GB an hour of two.
//
//     TMPDIR=/where/takes/go build/release/bin/WavPaddingBenchmark

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/runtime/LinuxProcessInfo.h"
#include "Vintra/take/WavFile.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace vintra;

void append(std::vector<uint8_t>& bytes, const char* tag,
            std::initializer_list<std::pair<uint32_t, int>> numbers) {
    bytes.insert(bytes.end(), tag, tag + 4);
    for (const auto& [number, length] : numbers) {
        for (int index = 0; index < length; ++index)
            bytes.push_back(static_cast<uint8_t>(number >> (8 * index)));
    }
}

/// A folder of its own with one WAV of 48 kHz, 24 bits, one channel.
class RecordedWav {
public:
    explicit RecordedWav(uint32_t dataLength) {
        std::string pattern = std::filesystem::temp_directory_path() / "vintra-padding-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        folder = pattern;
        std::vector<uint8_t> header;
        append(header, "RIFF", {{dataLength + 36, 4}});
        append(header, "WAVE", {});
        append(header, "fmt ", {{16, 4}, {1, 2}, {1, 2}, {48000, 4}, {144000, 4}, {3, 2}, {24, 2}});
        append(header, "data", {{dataLength, 4}});
        files.createFile(url());
        const auto file = files.openForWriting(url());
        file->write(header.data(), header.size());
        const std::vector<uint8_t> piece(1'000'000, 0x5A);
        for (uint32_t written = 0; written < dataLength; written += 1'000'000)
            file->write(piece.data(), piece.size());
        file->close();
    }
    ~RecordedWav() { std::filesystem::remove_all(folder); }

    URL url() const { return URL::fileURL(folder + "/a_mic.wav"); }
    std::string folder;
    LinuxFileManager files;
};

void padding(benchmark::State& state) {
    const auto length = static_cast<uint32_t>(state.range(0)) * 1'000'000;
    RecordedWav wav(length);
    LinuxProcessInfo process;
    for (auto _ : state)
        padWavFileWithLeadingSilence(wav.files, process, wav.url(), 0.5);
    const uint64_t expected = 44 + length + static_cast<uint64_t>(state.iterations()) * 72'000;
    if (wav.files.sizeOfFile(wav.url()) != expected) state.SkipWithError("the file wasn't padded");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * length);
}
BENCHMARK(padding)->Arg(86)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

void copyByCp(benchmark::State& state) {
    const auto length = static_cast<uint32_t>(state.range(0)) * 1'000'000;
    RecordedWav wav(length);
    const std::string copy = wav.folder + "/copy.wav";
    const std::string command = "cp '" + wav.url().path() + "' '" + copy + "'";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) state.SkipWithError("cp failed");
        state.PauseTiming();
        std::filesystem::remove(copy);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * length);
}
BENCHMARK(copyByCp)->Arg(86)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

} // namespace

BENCHMARK_MAIN();
