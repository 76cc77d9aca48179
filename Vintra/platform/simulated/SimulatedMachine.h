#pragma once

#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/simulated/SimulatedAssetProbing.h"
#include "Vintra/platform/simulated/SimulatedAssetWriters.h"
#include "Vintra/platform/simulated/SimulatedAudioDeviceIO.h"
#include "Vintra/platform/simulated/SimulatedAudioHardware.h"
#include "Vintra/platform/simulated/SimulatedCameras.h"
#include "Vintra/platform/simulated/SimulatedCaptureDevices.h"
#include "Vintra/platform/simulated/SimulatedCaptureOverlayWindows.h"
#include "Vintra/platform/simulated/SimulatedDispatchQueues.h"
#include "Vintra/platform/simulated/SimulatedFileManager.h"
#include "Vintra/platform/simulated/SimulatedFloatingPreviewWindows.h"
#include "Vintra/platform/simulated/SimulatedHostClock.h"
#include "Vintra/platform/simulated/SimulatedJournal.h"
#include "Vintra/platform/simulated/SimulatedLog.h"
#include "Vintra/platform/simulated/SimulatedMainThread.h"
#include "Vintra/platform/simulated/SimulatedProcessInfo.h"
#include "Vintra/platform/simulated/SimulatedRateConversion.h"
#include "Vintra/platform/simulated/SimulatedScreenCapture.h"
#include "Vintra/platform/simulated/SimulatedScreens.h"
#include "Vintra/platform/simulated/SimulatedUserDefaults.h"
#include "Vintra/platform/simulated/SimulatedViolations.h"
#include "Vintra/platform/simulated/SimulatedWallClock.h"
#include "Vintra/platform/simulated/SimulatedWindowList.h"
#include "Vintra/platform/simulated/SimulatedWindowQuestion.h"
#include "Vintra/platform/simulated/SimulatedWorkspace.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace vintra {

/// A deterministic computer on virtual time: one real thread, the same run every time. A test owns it,
/// scripts its services through their members, hands `platform()` to what it tests, and lets time pass.
/// Declare it before everything that uses it; when it goes, what was still to happen is dropped.
class SimulatedMachine {
public:
    SimulatedMachine();
    ~SimulatedMachine();
    SimulatedMachine(const SimulatedMachine&) = delete;
    SimulatedMachine& operator=(const SimulatedMachine&) = delete;

    Platform platform() const;

    /// Lets that much time pass.
    void run(double seconds) { time->advance(seconds); }
    /// Runs what is due now, without letting time pass.
    void settle() { time->settle(); }
    /// Lets time pass until the predicate holds; false if the limit came first.
    bool runMainUntil(const std::function<bool()>& predicate, double limitSeconds = 60) {
        return time->runUntil(predicate, limitSeconds);
    }
    /// Runs the task on the main thread to its end: its result or its exception. Throws
    /// `std::runtime_error` if it still waits when the limit is reached.
    template <typename Result>
    Result complete(Task<Result> task, double limitSeconds = 60) {
        TaskScope scope;
        CompletedTask<Result> outcome;
        mainThread->runNow([&] { scope.start(keep(std::move(task), outcome)); });
        if (!runMainUntil([&] { return scope.isIdle(); }, limitSeconds))
            throw std::runtime_error("the task still waits");
        if (outcome.failure) std::rethrow_exception(outcome.failure);
        if constexpr (!std::is_void_v<Result>) return std::move(*outcome.value);
    }
    /// Host time now.
    CMTime now() const { return hostClock->now(); }

    const std::shared_ptr<VirtualTime> time;
    const std::shared_ptr<SimulatedMainThread> mainThread;
    const std::shared_ptr<SimulatedHostClock> hostClock;
    const std::shared_ptr<SimulatedWallClock> wallClock;
    const std::shared_ptr<SimulatedJournal> journal;
    const std::shared_ptr<SimulatedDispatchQueues> dispatchQueues;
    const std::shared_ptr<SimulatedLog> log;
    const std::shared_ptr<SimulatedUserDefaults> userDefaults;
    const std::shared_ptr<SimulatedFileManager> fileManager;
    const std::shared_ptr<SimulatedProcessInfo> processInfo;
    const std::shared_ptr<SimulatedViolations> violations;
    const std::shared_ptr<SimulatedAssetWriters> assetWriters;
    const std::shared_ptr<SimulatedRateConversion> rateConversion;
    const std::shared_ptr<SimulatedAssetProbing> assetProbing;
    const std::shared_ptr<SimulatedAudioHardware> audioHardware;
    const std::shared_ptr<SimulatedAudioDeviceIO> audioDeviceIO;
    const std::shared_ptr<SimulatedCameras> cameras;
    const std::shared_ptr<SimulatedCaptureDevices> captureDevices;
    const std::shared_ptr<SimulatedScreenCapture> screenCapture;
    const std::shared_ptr<SimulatedScreens> screens;
    const std::shared_ptr<SimulatedCaptureOverlayWindows> captureOverlayWindows;
    const std::shared_ptr<SimulatedFloatingPreviewWindows> floatingPreviewWindows;
    const std::shared_ptr<SimulatedWindowList> windowList;
    const std::shared_ptr<SimulatedWindowQuestion> windowQuestion;
    const std::shared_ptr<SimulatedWorkspace> workspace;
    MachineFacts facts;
    CrashReportFolder crashReports{.folder = URL::fileURL("/reports"), .pathExtension = "ips"};

private:
    template <typename Result>
    struct CompletedTask {
        std::optional<detail::CompletionValue<Result>> value;
        std::exception_ptr failure;
    };
    template <typename Result>
    static Task<void> keep(Task<Result> task, CompletedTask<Result>& outcome) {
        try {
            if constexpr (std::is_void_v<Result>) {
                co_await std::move(task);
            } else {
                outcome.value.emplace(co_await std::move(task));
            }
        } catch (...) {
            outcome.failure = std::current_exception();
        }
    }
};

} // namespace vintra
