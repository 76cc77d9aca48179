#pragma once

#include "Vintra/platform/linux/desktop/MainThreadBus.h"
#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/updates/FakePackageKit.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace vintra {

/// A bus of the test's own with a PackageKit on it, and what talks to it.
class PackageKitFixture : public ::testing::Test {
protected:
    static constexpr int64_t kBusPatience = 30'000'000'000; // nanoseconds

    /// Who talks on the bus goes before it does.
    void serve(FakePackageKit::Script script) {
        service.reset();
        service = std::make_unique<FakePackageKit>(privateBus.address(), std::move(script));
    }
    template <typename Value>
    Value awaited(const std::optional<Value>& value) {
        EXPECT_TRUE(loop->runUntil([&] { return value.has_value(); }, kBusPatience));
        return value.value_or(Value());
    }

    TemporaryFolder folder;
    PrivateBus privateBus;
    const std::shared_ptr<LinuxEventLoop> loop = std::make_shared<LinuxEventLoop>();
    const std::shared_ptr<LinuxFileManager> files = std::make_shared<LinuxFileManager>();
    const std::shared_ptr<LinuxDispatchQueues> queues = std::make_shared<LinuxDispatchQueues>();
    std::unique_ptr<FakePackageKit> service;
    MainThreadBus bus{*loop, MessageBus::system, privateBus.address()};
};

} // namespace vintra
