#pragma once

#include "Vintra/platform/EventLoop.h"

#include <array>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vintra {

/// What every event loop owes beside what every main thread does. The test's own thread is the main thread. A
/// backend's test names its own `Backend`, made afresh for each test:
///
///     struct Backend {
///         EventLoop& eventLoop();
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, EventLoopConformance, Backend);
template <typename Backend>
class EventLoopConformance : public ::testing::Test {
protected:
    using Readiness = EventLoop::Readiness;

    /// Two connected descriptors, neither of which waits; closed at the end if they are still open.
    struct Connection {
        Connection() {
            EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
        }
        ~Connection() {
            closeEnd(0);
            closeEnd(1);
        }
        Connection(const Connection&) = delete;
        Connection& operator=(const Connection&) = delete;
        void closeEnd(size_t end) {
            if (ends[end] >= 0) close(ends[end]);
            ends[end] = -1;
        }
        int near() const { return ends[0]; }
        int far() const { return ends[1]; }
        void send(const std::string& text) const {
            EXPECT_EQ(write(far(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
        }
        /// Until nothing more goes in.
        void fill() const {
            const std::vector<char> bytes(65'536);
            while (write(near(), bytes.data(), bytes.size()) > 0) {
            }
        }
        void drain() const {
            std::vector<char> bytes(65'536);
            while (read(far(), bytes.data(), bytes.size()) > 0) {
            }
        }
        std::array<int, 2> ends{-1, -1};
    };

    EventLoop& loop() { return backend.eventLoop(); }
    /// Several runs, each of which looks at all descriptors.
    void runAFewTimes() {
        for (int run = 0; run < 10; ++run) {
            loop().post([this] { loop().stop(); });
            loop().run();
        }
    }
    [[nodiscard]] std::shared_ptr<void> stopWhenReadable(int descriptor) {
        return loop().watch(descriptor, Readiness::readable, [this] { loop().stop(); });
    }

    Backend backend;
};

TYPED_TEST_SUITE_P(EventLoopConformance);

TYPED_TEST_P(EventLoopConformance, postedWorkRunsInItsOrder) {
    std::vector<int> heard;
    for (int i = 0; i < 100; ++i)
        this->loop().post([&, i] { heard.push_back(i); });
    this->loop().post([this] { this->loop().stop(); });
    this->loop().run();
    ASSERT_EQ(heard.size(), 100u);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(heard[static_cast<size_t>(i)], i);
}

TYPED_TEST_P(EventLoopConformance, aStopLeavesLaterWorkForTheNextRun) {
    int done = 0;
    this->loop().post([&] {
        ++done;
        this->loop().stop();
    });
    this->loop().post([&] {
        ++done;
        this->loop().stop();
    });
    this->loop().run();
    EXPECT_EQ(done, 1);
    this->loop().run();
    EXPECT_EQ(done, 2);
}

TYPED_TEST_P(EventLoopConformance, aStopBeforeTheRunEndsItAtItsBeginning) {
    bool hasRun = false;
    this->loop().post([&] { hasRun = true; });
    this->loop().stop();
    this->loop().run();
    EXPECT_FALSE(hasRun);
    this->runAFewTimes();
    EXPECT_TRUE(hasRun);
}

TYPED_TEST_P(EventLoopConformance, aStopFromAnotherThreadEndsTheRun) {
    std::thread other;
    this->loop().post([&] { other = std::thread([this] { this->loop().stop(); }); });
    this->loop().run();
    other.join();
}

TYPED_TEST_P(EventLoopConformance, aPostFromAnotherThreadWakesTheRun) {
    std::thread other;
    bool wasOnMain = false;
    this->loop().post([&] {
        other = std::thread([&] {
            this->loop().post([&] {
                wasOnMain = this->loop().isCurrent();
                this->loop().stop();
            });
        });
    });
    this->loop().run();
    other.join();
    EXPECT_TRUE(wasOnMain);
}

TYPED_TEST_P(EventLoopConformance, aReadableDescriptorCallsItsBlockUntilAllIsRead) {
    const typename TestFixture::Connection connection;
    std::string heard;
    const auto watch = this->loop().watch(connection.near(), EventLoop::Readiness::readable, [&] {
        char byte = 0;
        if (read(connection.near(), &byte, 1) == 1) heard += byte;
        if (heard.size() == 3) this->loop().stop();
    });
    this->runAFewTimes();
    EXPECT_EQ(heard, "");
    std::thread other([&] { connection.send("abc"); });
    this->loop().run();
    other.join();
    this->runAFewTimes();
    EXPECT_EQ(heard, "abc");
}

TYPED_TEST_P(EventLoopConformance, aWritableDescriptorCallsItsBlock) {
    const typename TestFixture::Connection connection;
    connection.fill();
    int calls = 0;
    const auto watch = this->loop().watch(connection.near(), EventLoop::Readiness::writable, [&] {
        ++calls;
        this->loop().stop();
    });
    this->runAFewTimes();
    EXPECT_EQ(calls, 0);
    std::thread other([&] { connection.drain(); });
    this->loop().run();
    other.join();
    EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(EventLoopConformance, oneDescriptorMayBeWatchedForBoth) {
    const typename TestFixture::Connection connection;
    bool isReadable = false;
    bool isWritable = false;
    const auto reading =
        this->loop().watch(connection.near(), EventLoop::Readiness::readable, [&] { isReadable = true; });
    const auto writing =
        this->loop().watch(connection.near(), EventLoop::Readiness::writable, [&] { isWritable = true; });
    this->runAFewTimes();
    EXPECT_FALSE(isReadable);
    EXPECT_TRUE(isWritable);
    connection.send("a");
    this->runAFewTimes();
    EXPECT_TRUE(isReadable);
}

TYPED_TEST_P(EventLoopConformance, aHangUpIsReadiness) {
    typename TestFixture::Connection connection;
    const auto reading = this->stopWhenReadable(connection.near());
    connection.closeEnd(1);
    this->loop().run();
    char byte = 0;
    EXPECT_EQ(read(connection.near(), &byte, 1), 0);

    typename TestFixture::Connection full;
    full.fill();
    const auto writing =
        this->loop().watch(full.near(), EventLoop::Readiness::writable, [this] { this->loop().stop(); });
    full.closeEnd(1);
    this->loop().run();
}

TYPED_TEST_P(EventLoopConformance, aWatchThatWasLetGoOfIsOver) {
    const typename TestFixture::Connection connection;
    int calls = 0;
    auto watch = this->loop().watch(connection.near(), EventLoop::Readiness::readable, [&] {
        ++calls;
        this->loop().stop();
    });
    connection.send("a");
    this->loop().run();
    EXPECT_EQ(calls, 1);
    watch.reset();
    this->runAFewTimes();
    EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(EventLoopConformance, aBlockMayLetGoOfItsOwnWatch) {
    const typename TestFixture::Connection connection;
    std::vector<int> heard;
    std::shared_ptr<void> watch;
    const auto captured = std::make_shared<int>(7);
    watch = this->loop().watch(connection.near(), EventLoop::Readiness::readable, [&, captured] {
        watch.reset();
        heard.push_back(*captured);
    });
    connection.send("a");
    this->runAFewTimes();
    EXPECT_EQ(heard, std::vector<int>{7});
    EXPECT_EQ(captured.use_count(), 1);
}

TYPED_TEST_P(EventLoopConformance, aBlockMayLetGoOfAnotherWatchThatIsReadyToo) {
    const typename TestFixture::Connection first;
    const typename TestFixture::Connection second;
    std::vector<std::shared_ptr<void>> watches;
    int calls = 0;
    for (const int descriptor : {first.near(), second.near()}) {
        watches.push_back(this->loop().watch(descriptor, EventLoop::Readiness::readable, [&] {
            ++calls;
            watches.clear();
        }));
    }
    first.send("a");
    second.send("a");
    this->runAFewTimes();
    EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(EventLoopConformance, aBlockMayWatchAnotherDescriptor) {
    const typename TestFixture::Connection first;
    const typename TestFixture::Connection second;
    second.send("a");
    bool isHeard = false;
    std::shared_ptr<void> inner;
    std::shared_ptr<void> outer = this->loop().watch(first.near(), EventLoop::Readiness::readable, [&] {
        outer.reset();
        inner = this->loop().watch(second.near(), EventLoop::Readiness::readable, [&] { isHeard = true; });
    });
    first.send("a");
    this->runAFewTimes();
    EXPECT_TRUE(isHeard);
}

TYPED_TEST_P(EventLoopConformance, aDescriptorThatIsClosedWhileItIsWatchedIsWatchedNoLonger) {
    typename TestFixture::Connection connection;
    int calls = 0;
    const auto watch =
        this->loop().watch(connection.near(), EventLoop::Readiness::readable, [&] { ++calls; });
    connection.closeEnd(0);
    this->runAFewTimes();
    EXPECT_EQ(calls, 0);
    // The loop still sleeps: the thread that runs it has used hardly any of the processor's time.
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    std::thread other([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        this->loop().stop();
    });
    this->loop().run();
    getrusage(RUSAGE_THREAD, &after);
    other.join();
    const auto microseconds = [](const rusage& usage) {
        return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1'000'000 + usage.ru_utime.tv_usec +
               usage.ru_stime.tv_usec;
    };
    EXPECT_LT(microseconds(after) - microseconds(before), 20'000);
}

TYPED_TEST_P(EventLoopConformance, workThatPostsWorkKeepsNoDescriptorWaiting) {
    const typename TestFixture::Connection connection;
    std::function<void()> again = [&] { this->loop().post(again); };
    again();
    const auto watch = this->stopWhenReadable(connection.near());
    connection.send("a");
    this->loop().run();
    again = [] {}; // the next piece is the last
    this->runAFewTimes();
}

TYPED_TEST_P(EventLoopConformance, aDescriptorThatStaysReadyKeepsNoWorkWaiting) {
    const typename TestFixture::Connection connection;
    const auto watch = this->loop().watch(connection.near(), EventLoop::Readiness::readable, [] {});
    connection.send("a");
    std::vector<int> heard;
    this->loop().post([&] {
        heard.push_back(1);
        this->loop().post([&] {
            heard.push_back(2);
            this->loop().stop();
        });
    });
    this->loop().run();
    EXPECT_EQ(heard, (std::vector<int>{1, 2}));
}

REGISTER_TYPED_TEST_SUITE_P(EventLoopConformance, postedWorkRunsInItsOrder, aStopLeavesLaterWorkForTheNextRun,
                            aStopBeforeTheRunEndsItAtItsBeginning, aStopFromAnotherThreadEndsTheRun,
                            aPostFromAnotherThreadWakesTheRun, aReadableDescriptorCallsItsBlockUntilAllIsRead,
                            aWritableDescriptorCallsItsBlock, oneDescriptorMayBeWatchedForBoth,
                            aHangUpIsReadiness, aWatchThatWasLetGoOfIsOver, aBlockMayLetGoOfItsOwnWatch,
                            aBlockMayLetGoOfAnotherWatchThatIsReadyToo, aBlockMayWatchAnotherDescriptor,
                            aDescriptorThatIsClosedWhileItIsWatchedIsWatchedNoLonger,
                            workThatPostsWorkKeepsNoDescriptorWaiting,
                            aDescriptorThatStaysReadyKeepsNoWorkWaiting);

} // namespace vintra
