#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "tests/platform/DispatchQueueConformance.h"
#include "tests/platform/FileManagerConformance.h"
#include "tests/platform/HostClockConformance.h"
#include "tests/platform/MainThreadConformance.h"
#include "tests/platform/UserDefaultsConformance.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

struct SimulatedBackend {
    SimulatedMachine machine;

    HostClock& hostClock() { return *machine.hostClock; }
    DispatchQueues& dispatchQueues() { return *machine.dispatchQueues; }
    MainThread& mainThread() { return *machine.mainThread; }
    bool waitUntil(const std::function<bool()>& done) { return machine.runMainUntil(done); }

    UserDefaults& userDefaults() { return *machine.userDefaults; }
    void reopen() {}

    FileManager& fileManager() { return *machine.fileManager; }
    URL folder() { return URL::fileURL("/tmp"); }
    void makeLink(const URL& at, const std::string& target) {
        machine.fileManager->putLink(at.path(), target);
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, HostClockConformance, SimulatedBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, DispatchQueueConformance, SimulatedBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, MainThreadConformance, SimulatedBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, UserDefaultsConformance, SimulatedBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, FileManagerConformance, SimulatedBackend);

} // namespace
} // namespace vintra
