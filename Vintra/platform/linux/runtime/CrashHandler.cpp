#include "Vintra/platform/linux/runtime/CrashHandler.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vintra::crashHandler {
namespace {

constexpr std::array kCrashes{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS};
constexpr int kMostFrames = 64;
constexpr size_t kLogLines = 100;
constexpr size_t kTextLength = 256;
constexpr int64_t kPatienceWithThread = 100'000'000; // nanoseconds, for a thread to tell its calls
constexpr int64_t kPatienceWithAll = 2'000'000'000;
constexpr int64_t kLookAgain = 1'000'000; // nanoseconds

using Text = std::array<char, kTextLength>;

/// All that the handler works on is here before it runs.
struct State {
    std::array<char, PATH_MAX> folder{};
    Text name{};
    Text version{};
    Text machine{};
    std::array<Text, kLogLines> log{};
    std::atomic<uint64_t> logLines{0};
    std::atomic<pid_t> crashed{0};                ///< the thread that crashed first
    std::atomic<pid_t> asked{0};                  ///< the thread that is to tell its calls
    std::atomic<int> file{-1};                    ///< of the report
    alignas(16) std::array<char, 65'536> stack{}; ///< of the main thread's handler
};
State state;

/// What asks a thread for its calls: nothing else of this program uses it.
int askingSignal() {
    return SIGRTMIN + 5;
}

pid_t threadID() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

int64_t nanosecondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * INT64_C(1'000'000'000) + now.tv_nsec;
}

template <size_t Size>
void keep(std::array<char, Size>& in, std::string_view text) {
    const size_t length = std::min(text.size(), Size - 1);
    std::memcpy(in.data(), text.data(), length);
    in[length] = '\0';
}

void put(int file, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        bytes += written;
        count -= static_cast<size_t>(written);
    }
}

void put(int file, const char* text) {
    put(file, text, std::strlen(text));
}

/// A number as text, without the C library's formatting, which a signal must not use.
struct Digits {
    explicit Digits(uint64_t number, unsigned base = 10, int width = 1) {
        int count = 0;
        do {
            *--begin = "0123456789abcdef"[number % base];
            number /= base;
            ++count;
        } while (number > 0 || count < width);
    }
    std::array<char, 32> bytes{}; // the last one stays zero
    char* begin = bytes.data() + bytes.size() - 1;
};

void put(int file, const Digits& number) {
    put(file, number.begin);
}

/// Text that grows by pieces up to its size.
template <size_t Size>
struct Composed {
    Composed& operator<<(const char* text) {
        for (; *text != '\0' && length + 1 < Size; ++text)
            bytes[length++] = *text;
        return *this;
    }
    Composed& operator<<(const Digits& number) { return *this << number.begin; }
    std::array<char, Size> bytes{};
    size_t length = 0;
};

struct UTC {
    int64_t year;
    unsigned month, day, hour, minute, second;
};

/// The civil date of a count of days, by the eras of 400 years that begin in March (the algorithm of H. Hinnant, "chrono-Compatible Low-Level Date Algorithms").
UTC utc(int64_t seconds) {
    const int64_t days = seconds / 86'400 + 719'468; // since 0000-03-01
    const int64_t era = days / 146'097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146'097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned monthFromMarch = (5 * dayOfYear + 2) / 153;
    const unsigned month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const auto ofDay = static_cast<unsigned>(seconds % 86'400);
    return {.year = era * 400 + yearOfEra + (month <= 2 ? 1 : 0),
            .month = month,
            .day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1,
            .hour = ofDay / 3600,
            .minute = ofDay / 60 % 60,
            .second = ofDay % 60};
}

int openReport(const UTC& now) {
    Composed<PATH_MAX> path;
    path << state.folder.data() << "/" << state.name.data() << "-"
         << Digits(static_cast<uint64_t>(now.year), 10, 4) << "-" << Digits(now.month, 10, 2) << "-"
         << Digits(now.day, 10, 2) << "-" << Digits(now.hour, 10, 2) << Digits(now.minute, 10, 2)
         << Digits(now.second, 10, 2) << "-" << Digits(static_cast<uint64_t>(getpid())) << "."
         << kRawExtension;
    return open(path.bytes.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
}

const char* nameOf(int signal) {
    switch (signal) {
    case SIGSEGV:
        return "SIGSEGV, memory that isn't there";
    case SIGBUS:
        return "SIGBUS, memory that can't be reached";
    case SIGFPE:
        return "SIGFPE, arithmetic";
    case SIGILL:
        return "SIGILL, an instruction that isn't one";
    case SIGABRT:
        return "SIGABRT, the program gave up";
    case SIGSYS:
        return "SIGSYS, a forbidden call";
    default:
        return "signal";
    }
}

void putCalls(int file) {
    std::array<void*, kMostFrames> frames{};
    const int count = backtrace(frames.data(), kMostFrames);
    backtrace_symbols_fd(frames.data(), count, file);
}

void putThreadName(int file, pid_t thread) {
    Composed<64> path;
    path << "/proc/self/task/" << Digits(static_cast<uint64_t>(thread)) << "/comm";
    std::array<char, 32> name{};
    const int comm = open(path.bytes.data(), O_RDONLY | O_CLOEXEC);
    const ssize_t length = comm < 0 ? 0 : read(comm, name.data(), name.size() - 1);
    if (comm >= 0) close(comm);
    put(file, "\nThread ");
    put(file, Digits(static_cast<uint64_t>(thread)));
    put(file, " ");
    for (ssize_t i = 0; i < length && name[static_cast<size_t>(i)] != '\n'; ++i)
        put(file, &name[static_cast<size_t>(i)], 1);
}

void putHeader(int file, int signal, const siginfo_t& info, const UTC& now) {
    put(file, state.name.data());
    put(file, " ");
    put(file, state.version.data());
    put(file, "\n");
    put(file, state.machine.data());
    put(file, "\nTime: ");
    put(file, Digits(static_cast<uint64_t>(now.year), 10, 4));
    put(file, "-");
    put(file, Digits(now.month, 10, 2));
    put(file, "-");
    put(file, Digits(now.day, 10, 2));
    put(file, " ");
    put(file, Digits(now.hour, 10, 2));
    put(file, ":");
    put(file, Digits(now.minute, 10, 2));
    put(file, ":");
    put(file, Digits(now.second, 10, 2));
    put(file, " UTC\nSignal: ");
    put(file, Digits(static_cast<uint64_t>(signal)));
    put(file, " (");
    put(file, nameOf(signal));
    put(file, ")");
    if (signal == SIGSEGV || signal == SIGBUS) {
        put(file, " at 0x");
        put(file, Digits(reinterpret_cast<uint64_t>(info.si_addr), 16));
    }
    put(file, "\n");
}

/// A thread that waits for a lock, in the kernel or for ever in a loop answers too; one that blocks the signal doesn't.
void askForCalls(int file, pid_t thread) {
    put(file, ":\n");
    state.asked = thread;
    if (syscall(SYS_tgkill, getpid(), thread, askingSignal()) != 0) return;
    const int64_t deadline = nanosecondsNow() + kPatienceWithThread;
    while (state.asked == thread && nanosecondsNow() < deadline) {
        const timespec pause{.tv_sec = 0, .tv_nsec = kLookAgain};
        nanosleep(&pause, nullptr);
    }
    pid_t expected = thread;
    if (state.asked.compare_exchange_strong(expected, 0)) put(file, "(doesn't answer)\n");
}

void onAsked(int, siginfo_t*, void*) {
    const int savedError = errno;
    const pid_t self = threadID();
    if (state.asked == self) {
        putCalls(state.file);
        pid_t expected = self;
        state.asked.compare_exchange_strong(expected, 0);
    }
    errno = savedError;
}

/// An entry of a folder as the kernel gives it: the C library's reading of folders allocates.
struct FolderEntry {
    uint64_t inode;
    int64_t offset;
    uint16_t length;
    uint8_t type;
    char name[1];
};

void putOtherThreads(int file, pid_t self) {
    const int folder = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    const int64_t deadline = nanosecondsNow() + kPatienceWithAll;
    alignas(FolderEntry) std::array<char, 4096> buffer{};
    long length = 0;
    while ((length = syscall(SYS_getdents64, folder, buffer.data(), buffer.size())) > 0) {
        for (long offset = 0; offset < length;) {
            const auto* entry = reinterpret_cast<const FolderEntry*>(buffer.data() + offset);
            offset += entry->length;
            const auto thread = static_cast<pid_t>(std::strtol(entry->name, nullptr, 10));
            if (thread <= 0 || thread == self) continue;
            putThreadName(file, thread);
            if (nanosecondsNow() < deadline) askForCalls(file, thread);
        }
    }
    close(folder);
}

void putLog(int file) {
    const uint64_t count = state.logLines;
    put(file, "\nLast lines of the log:\n");
    for (uint64_t i = count - std::min<uint64_t>(count, kLogLines); i < count; ++i) {
        put(file, state.log[i % kLogLines].data());
        put(file, "\n");
    }
}

void report(int signal, const siginfo_t& info, pid_t self) {
    const UTC now = utc(static_cast<int64_t>(time(nullptr)));
    const int file = openReport(now);
    if (file < 0) return;
    state.file = file;
    putHeader(file, signal, info, now);
    putThreadName(file, self);
    put(file, ", which crashed:\n");
    putCalls(file);
    putOtherThreads(file, self);
    putLog(file);
    fsync(file);
    close(file);
}

void onCrash(int signal, siginfo_t* info, void*) {
    const pid_t self = threadID();
    pid_t none = 0;
    if (state.crashed.compare_exchange_strong(none, self)) {
        report(signal, *info, self);
    } else if (none != self) {
        // Another thread is at it, and ends the process.
        while (true)
            pause();
    }
    // The signal is blocked up to the handler's return, and then does what it would have done.
    ::signal(signal, SIG_DFL);
    raise(signal);
}

void handle(int signal, void (*with)(int, siginfo_t*, void*), int flags) {
    struct sigaction action {};
    action.sa_sigaction = with;
    action.sa_flags = SA_SIGINFO | flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void install(const std::string& folder, const std::string& name, const std::string& version,
             const std::string& machine) {
    keep(state.folder, folder);
    keep(state.name, name);
    keep(state.version, version);
    keep(state.machine, machine);
    // The first call loads the library that unwinds.
    std::array<void*, 1> frame{};
    backtrace(frame.data(), 1);
    stack_t stack{};
    stack.ss_sp = state.stack.data();
    stack.ss_size = state.stack.size();
    sigaltstack(&stack, nullptr);
    handle(askingSignal(), onAsked, SA_RESTART);
    for (const int crash : kCrashes)
        handle(crash, onCrash, SA_ONSTACK);
}

void noteLogLine(std::string_view line) {
    keep(state.log[state.logLines++ % kLogLines], line);
}

} // namespace vintra::crashHandler
