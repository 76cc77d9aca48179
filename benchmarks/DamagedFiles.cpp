// Probes damaged variants of real files, for builds with a sanitizer: not part of any test run.
//
//     DamagedFiles [count of each (100000)] [first seed (1)] FILE...
//
// Prints how many could still be read, the slowest, and the seed of each that took over a second.

#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/take/WavFile.h"
#include "Vintra/timeline/Media.h"
#include "tests/support/ByteMutation.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

using namespace vintra;

namespace {

struct Tally {
    long read = 0;
    double slowest = 0; // seconds
};

std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Tally probeDamaged(const std::string& path, long count, unsigned firstSeed) {
    LinuxAssetProbing probing;
    LinuxFileManager files;
    const std::string original = contentsOf(path);
    const std::string copy =
        std::filesystem::temp_directory_path() /
        ("vintra-damaged-" + std::to_string(getpid()) + std::filesystem::path(path).extension().string());
    Tally tally;
    for (unsigned seed = firstSeed; seed < firstSeed + static_cast<unsigned>(count); ++seed) {
        std::mt19937 random(seed);
        std::ofstream(copy, std::ios::binary | std::ios::trunc) << damaged(original, random);
        const auto begin = std::chrono::steady_clock::now();
        const URL url = URL::fileURL(copy);
        tally.read += TimelineFile::Media::probe(url, probing).has_value();
        static_cast<void>(readWavHeader(files, url));
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        if (seconds.count() > 1) std::printf("seed %u: %.2f s\n", seed, seconds.count());
        tally.slowest = std::max(tally.slowest, seconds.count());
    }
    std::filesystem::remove(copy);
    return tally;
}

} // namespace

int main(int argc, char** argv) {
    int next = 1;
    const auto number = [&](long otherwise) {
        if (next >= argc) return otherwise;
        char* end = nullptr;
        const long value = std::strtol(argv[next], &end, 10);
        if (*end != 0 || value < 1) return otherwise;
        ++next;
        return value;
    };
    const long count = number(100'000);
    const auto seed = static_cast<unsigned>(number(1));
    if (next >= argc) {
        std::fputs("usage: DamagedFiles [COUNT] [SEED] FILE...\n", stderr);
        return 2;
    }
    for (; next < argc; ++next) {
        const Tally tally = probeDamaged(argv[next], count, seed);
        std::printf("%s: %ld variants, %ld still read, the slowest in %.0f ms\n", argv[next], count,
                    tally.read, tally.slowest * 1000);
    }
    return 0;
}
