#include "Vintra/platform/linux/desktop/QuitSignals.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"

#include <csignal>
#include <gtest/gtest.h>

namespace vintra {
namespace {

bool isDefault(int signal) {
    struct sigaction now {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_DFL;
}

TEST(QuitSignalsTest, theFirstAndTheSecondAskToQuitAndTheThirdIsAnyPrograms) {
    ASSERT_TRUE(isDefault(SIGTERM));
    LinuxEventLoop loop;
    int count = 0;
    const QuitSignals signals(loop, [&] { ++count; });
    ::raise(SIGTERM);
    EXPECT_TRUE(loop.runUntil([&] { return count == 1; }, 30'000'000'000));
    EXPECT_FALSE(isDefault(SIGTERM));
    ::raise(SIGINT);
    EXPECT_TRUE(loop.runUntil([&] { return count == 2; }, 30'000'000'000));
    EXPECT_TRUE(isDefault(SIGTERM));
}

} // namespace
} // namespace vintra
