#include "Vintra/platform/linux/runtime/CoreDumps.h"

#include "Vintra/platform/linux/runtime/CrashReporter.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace vintra::CoreDumps {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kPatience = 5'000'000'000; // nanoseconds
constexpr size_t kMostBytes = 1 << 18;       // of its answer: what is behind that isn't told

/// The process, with its output at the end of a pipe; nothing if it can't be started.
std::optional<pid_t> spawn(std::vector<std::string> command, int output) {
    std::vector<char*> arguments;
    for (std::string& word : command)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(process) : std::nullopt;
}

/// False if the output didn't end in time.
bool readAll(int input, std::string& text) {
    const int64_t deadline = monotonicNanoseconds() + kPatience;
    std::array<char, 4096> piece{};
    while (true) {
        const int64_t left = deadline - monotonicNanoseconds();
        if (left <= 0) return false;
        pollfd ready{.fd = input, .events = POLLIN, .revents = 0};
        const int count = ::poll(&ready, 1, static_cast<int>(left / 1'000'000 + 1));
        if (count < 0 && errno != EINTR) return false;
        if (count <= 0) continue;
        const ssize_t bytes = ::read(input, piece.data(), piece.size());
        if (bytes == 0) return true;
        if (bytes < 0 && errno != EINTR) return false;
        if (bytes > 0 && text.size() < kMostBytes) text.append(piece.data(), static_cast<size_t>(bytes));
    }
}

/// What the command prints; nothing unless it succeeds in time.
std::optional<std::string> outputOf(std::vector<std::string> command) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    const FileDescriptor input(ends[0]);
    std::optional<pid_t> process;
    {
        const FileDescriptor output(ends[1]);
        process = spawn(std::move(command), ends[1]);
    }
    if (!process) return std::nullopt;
    std::string text;
    const bool hasEnded = readAll(input.get(), text);
    if (!hasEnded) ::kill(*process, SIGKILL);
    int status = 0;
    while (::waitpid(*process, &status, 0) < 0 && errno == EINTR) {
    }
    const bool isFine = hasEnded && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return isFine ? std::optional(std::move(text)) : std::nullopt;
}

/// The number in the line "PID: 4711 (vintra)"; empty if there is none.
std::string processOf(std::string_view text) {
    constexpr std::string_view kLabel = "PID: ";
    const size_t label = text.find(kLabel);
    if (label == std::string_view::npos) return "";
    const size_t begin = label + kLabel.size();
    const size_t end = std::min(text.find_first_not_of("0123456789", begin), text.size());
    return std::string(text.substr(begin, end - begin));
}

bool hasReportOf(const std::string& process, const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().stem().string().ends_with("-" + process)) return true;
    }
    return false;
}

} // namespace

void gather(const URL& folder, const std::string& programName, const std::string& executablePath) {
    const auto told = outputOf({"coredumpctl", "info", "-1", "--no-pager", "--since=-24h", executablePath});
    if (!told) return;
    const std::string process = processOf(*told);
    const fs::path directory = folder.path();
    if (process.empty() || hasReportOf(process, directory)) return;
    std::error_code error;
    fs::create_directories(directory, error);
    const fs::path report =
        directory / (programName + "-core-" + process + "." + CrashReporter::kPathExtension);
    const fs::path unfinished = report.string() + ".unfinished";
    {
        std::ofstream stream(unfinished);
        stream << "What the system has kept of a crash of " << programName << ":\n\n" << *told;
    }
    fs::rename(unfinished, report, error);
}

} // namespace vintra::CoreDumps
