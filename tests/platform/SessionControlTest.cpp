#include "Vintra/platform/SessionControl.h"

#include "Vintra/platform/CaptureAccess.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>

namespace vintra {
namespace {

class SessionControlTest : public testing::Test {
protected:
    std::shared_ptr<AVCaptureSession> makeSession(const std::string& uid) {
        machine.audioHardware->plug(uid, "A device", 1);
        auto session = machine.captureDevices->makeSession();
        session->addInput(
            machine.captureDevices->makeDeviceInput(machine.captureDevices->deviceWithUniqueID(uid)));
        return session;
    }
    bool access() {
        return machine.complete(
            requestAccessIfNeeded(machine.captureDevices, *machine.mainThread, AVMediaType::audio));
    }

    SimulatedMachine machine;
    SessionControl control{*machine.dispatchQueues, *machine.mainThread};
};

TEST_F(SessionControlTest, aStartReturnsAtOnceAndAStopWhenTheSessionHasStopped) {
    const auto session = makeSession("one");
    machine.audioHardware->device("one")->startSeconds = 1;
    const CMTime begun = machine.now();
    bool hasStarted = false;
    control.start(session, [&] {
        EXPECT_TRUE(session->isRunning());
        hasStarted = true;
    });
    EXPECT_EQ(machine.now(), begun);
    EXPECT_FALSE(session->isRunning());
    EXPECT_FALSE(hasStarted);
    machine.run(1.1);
    EXPECT_TRUE(session->isRunning());
    EXPECT_TRUE(hasStarted);
    machine.complete(control.stop(session));
    EXPECT_FALSE(session->isRunning());
}

TEST_F(SessionControlTest, aStopWaitsForTheStartBeforeItAndTheMainThreadIsFree) {
    const auto session = makeSession("one");
    machine.audioHardware->device("one")->startSeconds = 1; // a device that hangs
    bool isFree = false;
    machine.time->after(500'000'000, [&] { machine.mainThread->post([&] { isFree = true; }); });
    control.start(session, [] {});
    machine.complete(control.stop(session));
    EXPECT_TRUE(isFree);
    EXPECT_FALSE(session->isRunning());
}

TEST_F(SessionControlTest, accessIsAskedForOnlyWhereItNeverWas) {
    auto& authorization = machine.captureDevices->authorization[AVMediaType::audio];
    authorization = AVAuthorizationStatus::authorized;
    EXPECT_TRUE(access());
    authorization = AVAuthorizationStatus::denied;
    EXPECT_FALSE(access());
    authorization = AVAuthorizationStatus::restricted;
    EXPECT_FALSE(access());
    EXPECT_TRUE(machine.captureDevices->accessRequests.empty());
    authorization = AVAuthorizationStatus::notDetermined;
    machine.captureDevices->userGrantsAccess = false;
    EXPECT_FALSE(access());
    EXPECT_EQ(machine.captureDevices->accessRequests, std::vector<AVMediaType>{AVMediaType::audio});
    authorization = AVAuthorizationStatus::notDetermined;
    machine.captureDevices->userGrantsAccess = true;
    EXPECT_TRUE(access());
}

} // namespace
} // namespace vintra
