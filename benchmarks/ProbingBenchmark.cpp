// What probing the files of a take costs against ffprobe on the same files, in processor time, so that other
// work on the machine does not count. Needs ffmpeg and ffprobe. Prints each round and the ratio of the
// medians; ffprobe is also measured doing nothing, for each of its runs starts a process.

#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/timeline/Media.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vintra {
namespace {

constexpr int kRounds = 9;

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// Processor seconds of this process, or of its children that have ended.
double processorSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void run(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    int status = 1;
    const int started = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (started != 0 || waitpid(process, &status, 0) != process || status != 0) {
        std::fprintf(stderr, "%s failed\n", command[0].c_str());
        std::exit(1);
    }
}

/// An hour of screen at 60 frames with sound, a camera at 30, and sound files, as a take has them.
std::vector<std::string> makeFiles(const std::string& folder) {
    const auto ffmpeg = [](std::vector<std::string> options) {
        options.insert(options.begin(), {"ffmpeg", "-v", "error", "-y"});
        run(options);
    };
    const std::string second = folder + "/second.mov";
    std::vector<std::string> files;
    for (const std::string rate : {"60", "30"}) {
        const std::string movie = folder + "/movie" + rate + ".mov";
        ffmpeg({"-f", "lavfi", "-i", "color=s=1920x1080:d=10:r=" + rate, "-f", "lavfi", "-i",
                "sine=d=10:r=48000", "-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac", second});
        ffmpeg({"-stream_loop", "359", "-i", second, "-c", "copy", movie});
        files.push_back(movie);
    }
    for (const std::string name : {"mic", "computer-audio", "extra"}) {
        files.push_back(folder + "/" + name + ".wav");
        ffmpeg({"-f", "lavfi", "-i", "sine=d=60:r=48000", "-c:a", "pcm_s24le", files.back()});
    }
    return files;
}

double probeAll(const std::vector<std::string>& files) {
    LinuxAssetProbing probing;
    const double before = processorSeconds(RUSAGE_SELF);
    for (const std::string& file : files) {
        if (!TimelineFile::Media::probe(URL::fileURL(file), probing)) {
            std::fprintf(stderr, "%s can't be probed\n", file.c_str());
            std::exit(1);
        }
    }
    return processorSeconds(RUSAGE_SELF) - before;
}

double ffprobeAll(const std::vector<std::string>& files) {
    const double before = processorSeconds(RUSAGE_CHILDREN);
    for (const std::string& file : files)
        run({"ffprobe", "-v", "error", "-show_format", "-show_streams", file});
    return processorSeconds(RUSAGE_CHILDREN) - before;
}

double startFfprobe(size_t times) {
    const double before = processorSeconds(RUSAGE_CHILDREN);
    for (; times > 0; --times)
        run({"ffprobe", "-v", "error", "-version"});
    return processorSeconds(RUSAGE_CHILDREN) - before;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

std::string processorName() {
    std::ifstream facts("/proc/cpuinfo");
    for (std::string line; std::getline(facts, line);)
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    return "unknown";
}

void compare(const char* title, const std::vector<std::string>& files) {
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> starting;
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(probeAll(files));
        theirs.push_back(ffprobeAll(files));
        starting.push_back(startFfprobe(files.size()));
    }
    std::printf("%s (%zu files): probing %.2f ms, ffprobe %.2f ms, of which starting %.2f ms\n", title,
                files.size(), median(ours) * 1e3, median(theirs) * 1e3, median(starting) * 1e3);
    std::printf("  ratio to ffprobe %.3f; to ffprobe without its starting %.3f\n",
                median(ours) / median(theirs), median(ours) / (median(theirs) - median(starting)));
}

} // namespace
} // namespace vintra

int main() {
    std::string folder = (std::filesystem::temp_directory_path() / "vintra-probing-XXXXXX").string();
    if (!mkdtemp(folder.data())) return 1;
    const std::vector<std::string> files = vintra::makeFiles(folder);
    std::printf("%s; medians of %d rounds, processor time\n", vintra::processorName().c_str(),
                vintra::kRounds);
    vintra::compare("movies of an hour at 60 and 30 frames", {files.begin(), files.begin() + 2});
    vintra::compare("WAV files of a minute", {files.begin() + 2, files.end()});
    vintra::compare("the whole take", files);
    std::filesystem::remove_all(folder);
}
